#pragma once

#include <string>

namespace platform {

class FileManager;
class NSError;
class URL;

/// Called before a file manager changes an item, and again if that failed. The defaults are those
/// without a delegate: go ahead, and stop after an error.
/// Operations on URLs call the URL variants, those on paths the path variants.
/// This file manager removes and creates only; the calls for copies, moves and links are there for
/// completeness.
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
