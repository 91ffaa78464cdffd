#pragma once

#include <optional>
#include <string>

#include "platform/foundation/URL.h"

namespace platform {

/// The program or plug-in that this code is in, and the folder of the files that belong to it.
class Bundle {
 public:
    /// Of the executable or, in a plug-in, of the shared object that the platform is linked into.
    static const Bundle& main();
    /// Of a given program or shared object; empty for one that the system cannot find.
    explicit Bundle(std::string modulePath) : modulePath_(std::move(modulePath)) {}

    /// The first of these that is a folder: Resources/ beside the module, `../share/NAME/` of an
    /// installation, NAME being the module's without extension, the module's own folder. Nothing
    /// if none of them is.
    std::optional<URL> resourceURL() const;

 private:
    std::string modulePath_;
};

}  // namespace platform
