// Renders the demo's tour in memory and compares its checksum with the known one.
#include <cstdio>

#include "hosts/cli/Automation.h"
#include "hosts/cli/Effect.h"
#include "hosts/cli/Phrase.h"
#include "hosts/cli/Renderer.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/cli/checksum/tourChecksum.h"

int main(int, char** argv) {
    using namespace qov::cli;
    platform::console::setSink({});
    Phrase phrase = playPhrase();
    SampleChecksum checksum;
    Effect effect(Phrase::rate);
    Renderer renderer(effect, readAutomation(argv[1], Phrase::rate), 512, Timing::aligned, false,
                      [&](const float* left, const float* right, std::uint32_t frames) {
                          for (std::uint32_t i = 0; i < frames; ++i)
                              checksum.add(left[i], right[i]);
                      });
    renderer.process(phrase.left.data(), phrase.right.data(),
                     static_cast<std::uint32_t>(phrase.left.size()));
    renderer.finish();
    std::printf("%016llx, known %016llx\n", static_cast<unsigned long long>(checksum.value()),
                static_cast<unsigned long long>(tourChecksum));
    return checksum.value() == tourChecksum ? 0 : 1;
}
