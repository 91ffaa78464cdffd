#include "platform/foundation/NSError.h"

#include <gtest/gtest.h>

namespace {

using platform::NSError;

TEST(NSErrorTest, TextsReadAsOnThePlatform) {
    const NSError status(platform::NSOSStatusErrorDomain, -10875);
    EXPECT_EQ(status.localizedDescription(),
              "The operation couldn’t be completed. (OSStatus error -10875.)");
    EXPECT_EQ(status.description(), "Error Domain=NSOSStatusErrorDomain Code=-10875 \"(null)\"");
    const NSError described("D", 13, "Denied");
    EXPECT_EQ(described.localizedDescription(), "Denied");
    EXPECT_EQ(described.description(), "Error Domain=D Code=13 \"Denied\"");
    EXPECT_EQ(NSError("D", 7).localizedDescription(),
              "The operation couldn’t be completed. (D error 7.)");
    EXPECT_FALSE(NSError());
}

}  // namespace
