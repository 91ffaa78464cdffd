#include "hosts/cli/TreeCommand.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using qov::cli::Arguments;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Outcome {
    int code;
    std::string output, errors;
};

Outcome tree(const Arguments& arguments) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Outcome outcome{0, "", ""};
    try {
        outcome.code = qov::cli::runTree(arguments);
    } catch (const qov::cli::Failure& failure) {
        outcome.code = failure.exitCode();
        std::fputs(failure.what(), stderr);
    }
    outcome.output = testing::internal::GetCapturedStdout();
    outcome.errors = testing::internal::GetCapturedStderr();
    return outcome;
}

std::string numberOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::to_string(status.st_ino) : "";
}

class TreeCommand : public testing::Test {
 protected:
    TemporaryFolder folder;
};

TEST_F(TreeCommand, WritesTheThreeFormsAndPagesToStandardOutputOnly) {
    folder.file("set/a.wav");
    folder.file("set/sub/b.wav");
    folder.file("other/c.wav");
    const auto xml = tree({folder.path() + "/"});
    EXPECT_EQ(xml.code, 0);
    EXPECT_EQ(xml.errors, "");
    EXPECT_THAT(xml.output, AllOf(testing::StartsWith("<folder path='" + folder.path() + "/' "),
                                  testing::EndsWith("\n</folder>\n"), HasSubstr("'b.wav'")));
    EXPECT_THAT(tree({folder.path(), "--format", "list"}).output,
                AllOf(testing::StartsWith("<!-- file list -->\n"), HasSubstr("'b.wav'")));
    const auto dump = tree({folder.path(), "--format", "dump", "--diagnostics"});
    EXPECT_THAT(dump.output, AllOf(HasSubstr(" filename='c.wav' />\n"), Not(HasSubstr("WARN"))));
    EXPECT_THAT(dump.errors, HasSubstr("WARNUNG: Unbekannter Typ"));
    const auto page = tree({folder.path(), "--page", numberOf(folder / "set")}).output;
    EXPECT_THAT(page, AllOf(HasSubstr("'set'"), HasSubstr("'a.wav'"), HasSubstr("'set/sub'"),
                            Not(HasSubstr("b.wav")), Not(HasSubstr("other"))));
    EXPECT_THAT(
        tree({folder.path(), "--path", numberOf(folder / "set/sub"), "--format", "xml"}).output,
        HasSubstr("subpath='set/sub' expanded='true'"));
    EXPECT_THAT(tree({folder.path(), "--page", "root"}).output, Not(HasSubstr("a.wav")));
}

TEST_F(TreeCommand, DeletesNothingUnlessToldTo) {
    folder.file("set/.DS_Store");
    folder.file("__MACOSX/x/new\nline");
    folder.file("set/a.wav");
    const auto refused = tree({folder.path()});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_THAT(refused.errors,
                AllOf(HasSubstr("'__MACOSX', 'set/.DS_Store'"), HasSubstr("--remove-litter"),
                      Not(HasSubstr("\n")), Not(HasSubstr("line"))));
    EXPECT_TRUE(std::filesystem::exists(folder / "__MACOSX/x/new\nline"));
    EXPECT_TRUE(std::filesystem::exists(folder / "set/.DS_Store"));

    const auto removed = tree({folder.path(), "--remove-litter"});
    EXPECT_EQ(removed.code, 0);
    EXPECT_THAT(removed.errors, HasSubstr("removed '__MACOSX', 'set/.DS_Store'"));
    EXPECT_THAT(removed.output, HasSubstr("'a.wav'"));
    EXPECT_FALSE(std::filesystem::exists(folder / "__MACOSX"));
    EXPECT_FALSE(std::filesystem::exists(folder / "set/.DS_Store"));
    EXPECT_TRUE(std::filesystem::exists(folder / "set/a.wav"));
}

TEST_F(TreeCommand, SaysWhatIsMissingFromWhatItWrote) {
    folder.file("secret/a");
    folder.file("safe/.DS_Store");
    folder.file("z");
    chmod((folder / "secret").c_str(), 0);
    chmod((folder / "safe").c_str(), 0555);
    const WithoutPrivileges nobody;
    const auto outcome = tree({folder.path(), "--remove-litter"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("'secret'"), HasSubstr("'z'")));
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("'secret' is a folder that may not be read"),
                                      HasSubstr("“.DS_Store” couldn’t be removed")));
}

TEST_F(TreeCommand, EndsWithOneClearLineWhereItCannotList) {
    folder.file("file");
    folder.file("locked/x");
    folder.file("unlisted/x");
    folder.link("nowhere", "dangling");
    chmod((folder / "locked").c_str(), 0444);
    chmod((folder / "unlisted").c_str(), 0111);
    const auto file = numberOf(folder / "file");
    const WithoutPrivileges nobody;
    struct Case {
        Arguments arguments;
        int code;
        std::string message;
    };
    for (const auto& expected :
         {Case{{folder / "file"}, 1, "/file' is not a folder"},
          Case{{folder / "none"}, 1, "/none': there is no such folder"},
          Case{{folder / "dangling"}, 1, "/dangling': there is no such folder"},
          Case{{""}, 2, "DIR: needs a value"},
          Case{{folder / "locked"}, 1, "/locked' cannot be entered: Permission denied"},
          Case{{folder / "unlisted"}, 1, "/unlisted' cannot be read: Permission denied"},
          Case{{folder.path(), "--page", "12"}, 1, "--page 12: no entry"},
          Case{{folder.path(), "--path", file}, 1, "'file' is a file"},
          Case{{folder.path(), "--format", "json"}, 2, "json"},
          Case{{folder.path(), "--page", "1", "--path", "1"}, 2, "--page"}, Case{{}, 2, "DIR"}}) {
        const auto outcome = tree(expected.arguments);
        EXPECT_EQ(outcome.code, expected.code) << expected.message;
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, AllOf(HasSubstr(expected.message), Not(HasSubstr("\n"))));
    }
}

}  // namespace
