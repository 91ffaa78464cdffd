#pragma once

#include <string>

namespace platform {

class FileManager;
class NSError;
class URL;

/// Is asked before a file manager touches an item, and again when that went wrong. The answers
/// here are the platform's own when there is no delegate: do it, and stop after an error.
/// Of an operation on a URL the URL variant is asked, of one on a path the path variant.
/// The file manager here removes and creates; nothing in the system copies, moves or links, and
/// those questions are for one that does.
class FileManagerDelegate {
 public:
    using Path = std::string;

    virtual ~FileManagerDelegate() = default;

    virtual bool shouldRemoveItem(FileManager&, const Path&) { return true; }
    virtual bool shouldRemoveItem(FileManager&, const URL&) { return true; }
    virtual bool shouldCopyItem(FileManager&, const Path&, const Path&) { return true; }
    virtual bool shouldCopyItem(FileManager&, const URL&, const URL&) { return true; }
    virtual bool shouldMoveItem(FileManager&, const Path&, const Path&) { return true; }
    virtual bool shouldMoveItem(FileManager&, const URL&, const URL&) { return true; }
    virtual bool shouldLinkItem(FileManager&, const Path&, const Path&) { return true; }
    virtual bool shouldLinkItem(FileManager&, const URL&, const URL&) { return true; }

    // clang-format off
    virtual bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError&, const Path&) { return false; }
    virtual bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError&, const URL&) { return false; }
    virtual bool shouldProceedAfterErrorCopyingItem(FileManager&, const NSError&, const Path&, const Path&) { return false; }
    virtual bool shouldProceedAfterErrorCopyingItem(FileManager&, const NSError&, const URL&, const URL&) { return false; }
    virtual bool shouldProceedAfterErrorMovingItem(FileManager&, const NSError&, const Path&, const Path&) { return false; }
    virtual bool shouldProceedAfterErrorMovingItem(FileManager&, const NSError&, const URL&, const URL&) { return false; }
    virtual bool shouldProceedAfterErrorLinkingItem(FileManager&, const NSError&, const Path&, const Path&) { return false; }
    virtual bool shouldProceedAfterErrorLinkingItem(FileManager&, const NSError&, const URL&, const URL&) { return false; }
    // clang-format on
};

}  // namespace platform
