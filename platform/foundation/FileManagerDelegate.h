#pragma once

#include <string>

namespace platform {

class FileManager;
class NSError;
class URL;

/// Is asked before a file manager touches an item, and again when that went wrong. The answers
/// here are the platform's own when there is no delegate: do it, and stop after an error.
/// Of an operation on a URL the URL variant is asked, of one on a path the path variant.
class FileManagerDelegate {
 public:
    virtual ~FileManagerDelegate() = default;

    virtual bool shouldRemoveItem(FileManager&, const std::string& /*path*/) { return true; }
    virtual bool shouldRemoveItem(FileManager&, const URL&) { return true; }
    virtual bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError&,
                                                     const std::string& /*path*/) {
        return false;
    }
    virtual bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError&, const URL&) {
        return false;
    }
};

}  // namespace platform
