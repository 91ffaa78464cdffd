#include "platform/foundation/NSError.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace {

using platform::NSError;

TEST(NSErrorTest, TextsReadAsOnThePlatform) {
    const NSError status(platform::NSOSStatusErrorDomain, -10875);
    EXPECT_EQ(status.localizedDescription(),
              "The operation couldn’t be completed. (OSStatus error -10875.)");
    EXPECT_EQ(status.description(), "Error Domain=NSOSStatusErrorDomain Code=-10875 \"(null)\"");
    const auto posix = NSError::fromErrno(EACCES);
    EXPECT_EQ(posix.localizedDescription(),
              "The operation couldn’t be completed. Permission denied");
    EXPECT_EQ(posix.description(),
              "Error Domain=NSPOSIXErrorDomain Code=13 \"The operation couldn’t be completed. "
              "Permission denied\"");
    EXPECT_EQ(NSError("D", 7).localizedDescription(),
              "The operation couldn’t be completed. (D error 7.)");
    EXPECT_FALSE(NSError());
}

}  // namespace
