#include "platform/foundation/Bundle.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using platform::Bundle;
namespace fs = std::filesystem;

TEST(Bundle, MainIsTheProgramAtWork) {
    EXPECT_EQ(Bundle::main().executablePath(), fs::read_symlink("/proc/self/exe").string());
    ASSERT_TRUE(Bundle::main().resourceURL());
    EXPECT_TRUE(fs::is_directory(Bundle::main().resourceURL()->path()));
}

TEST(Bundle, ResourcesAreBesideTheModuleThenInShareThenTheModulesFolder) {
    const TemporaryFolder temporary;
    const fs::path prefix = temporary.path();
    fs::create_directories(prefix / "bin");
    const Bundle bundle((prefix / "bin/tool.so").string());
    const auto found = [&] { return fs::path(bundle.resourceURL()->path()); };

    EXPECT_EQ(found(), prefix / "bin");
    fs::create_directories(prefix / "share/tool");
    EXPECT_EQ(found(), prefix / "share/tool");
    fs::create_directories(prefix / "bin/Resources");
    EXPECT_EQ(found(), prefix / "bin/Resources");

    fs::remove_all(prefix);
    EXPECT_FALSE(bundle.resourceURL());
    EXPECT_FALSE(Bundle("").resourceURL());
}

}  // namespace
