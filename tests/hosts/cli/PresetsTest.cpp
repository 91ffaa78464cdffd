#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/Program.h"
#include "tests/hosts/cli/Sound.h"

namespace {

using testing::HasSubstr;

using Presets = ProgramTest;
TEST_F(Presets, SoundAsTheirParametersDoWhereverTheyAreNamed) {
    save(folder / "in.wav", {.samples = noise(20000)});
    ASSERT_EQ(kelvane("presets --save Mine --summary 'for me' --preset 'early right 2 ms' "
                      "--panorama L30")
                  .code,
              0);
    for (const auto& [preset, parameters] :
         {std::pair{"'wider PAD'", "--stereo-width 0.75"},
          {"7", "--test-mono"},
          {"Mine", "--phase-shift 2ms --panorama L30"},
          {"data/kelvane/presets/Mine.kelvane --panorama C", "--phase-shift 2ms"}}) {
        EXPECT_EQ(kelvane(std::string("render in.wav a.wav --preset ") + preset).code, 0) << preset;
        EXPECT_EQ(kelvane(std::string("render in.wav b.wav ") + parameters).code, 0);
        EXPECT_EQ(load(folder / "a.wav").samples, load(folder / "b.wav").samples) << preset;
    }
    EXPECT_THAT(kelvane("presets").out, HasSubstr("\nMine                         panorama L 30 %, "
                                                  "phase-shift 2.0 ms  for me\n"));

    write(folder / "wrong.kelvane", "# no\nstereo-width 2\n");
    expectErrors(
        "",
        {{"render in.wav a.wav --preset 'wider pat'", 2, "did you mean 'Wider pad'?\n"},
         {"render in.wav a.wav --preset wrong.kelvane", 1,
          "wrong.kelvane: line 2: stereo-width does not take '2'\n"},
         {"render in.wav a.wav --preset in.wav/none", 1, "in.wav/none: Not a directory\n"},
         {"presets --save ' Mine\t' --bypass", 1, "exists; -y (--overwrite) replaces it\n"},
         {"presets --save Other", 2, "--save: needs parameters or --preset"},
         {"presets --save ../Other --bypass", 2, "of your own: no number, slash or leading dot\n"},
         {"presets --save ' ' --bypass", 2, "takes a name of your own"},
         {"presets --save 'a\tb' --bypass", 2, "takes a name of your own"},
         {"presets --save 'wider pad' --bypass", 2, "takes a name of your own"}});
}

TEST(Completion, OfBashListsWhatTheProgramLists) {
    for (const auto& [words, completed] : {std::pair{"me", "measure"},
                                           {"render --st", "--stereo-width"},
                                           {"measure --fa", "--fail-if"},
                                           {"render --preset Wid", "Wider\\ pad"},
                                           {"render in.wav", ""}}) {
        const auto run = shell(std::string("bash -c 'kelvane() { \"$K\" \"$@\"; }; . ") +
                               KELVANE_COMPLETION + "; COMP_WORDS=(kelvane " + words +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelvane; "
                               "echo \"${COMPREPLY[*]}\"'");
        EXPECT_EQ(run.out, std::string(completed) + "\n") << words << run.err;
    }
}

}  // namespace
