#include "platform/foundation/itemError.h"

#include <cerrno>

#include "platform/foundation/path.h"

namespace platform {
namespace {

std::string quoted(const std::string& name) {
    return "“" + name + "”";
}

NSError cocoa(NSFileError code, const std::string& sentence) {
    return {NSCocoaErrorDomain, code, sentence};
}

NSError readError(const std::string& name, int number) {
    const auto sentence = "The file " + name + " couldn’t be opened";
    switch (number) {
        case ENOENT:
        case ENOTDIR:
            return cocoa(NSFileReadNoSuchFileError, sentence + " because there is no such file.");
        case EACCES:
        case EPERM:
            return cocoa(NSFileReadNoPermissionError,
                         sentence + " because you don’t have permission to view it.");
        default:
            return cocoa(NSFileReadUnknownError, sentence + ".");
    }
}

NSError removeError(const std::string& name, int number) {
    const auto sentence = name + " couldn’t be removed";
    switch (number) {
        case ENOENT:
            return cocoa(NSFileNoSuchFileError, sentence + ".");
        case EACCES:
        case EPERM:
            return cocoa(NSFileWriteNoPermissionError,
                         sentence + " because you don’t have permission to access it.");
        case EROFS:
            return cocoa(NSFileWriteVolumeReadOnlyError,
                         sentence + " because the volume is read only.");
        default:
            return cocoa(NSFileWriteUnknownError, sentence + ".");
    }
}

NSError createError(const std::string& name, const std::string& folder, int number) {
    const auto item = "the file " + name;
    const auto sentence = "The file " + name + " couldn’t be saved in the folder " + folder;
    switch (number) {
        case ENOENT:
            return cocoa(NSFileNoSuchFileError, "The folder " + name + " doesn’t exist.");
        case EEXIST:
            return cocoa(NSFileWriteFileExistsError,
                         sentence + " because a file with the same name already exists.");
        case EACCES:
        case EPERM:
            return cocoa(NSFileWriteNoPermissionError, "You don’t have permission to save " + item +
                                                           " in the folder " + folder + ".");
        case EROFS:
            return cocoa(NSFileWriteVolumeReadOnlyError,
                         "You can’t save " + item + " because the volume is read only.");
        case ENOSPC:
        case EDQUOT:
            return cocoa(NSFileWriteOutOfSpaceError,
                         "You can’t save " + item + " because the volume is out of space.");
        default:
            return cocoa(NSFileWriteUnknownError, sentence + ".");
    }
}

}  // namespace

NSError itemError(ItemOperation operation, const std::string& path, int number) {
    const auto name = quoted(path::lastPathComponent(path));
    switch (operation) {
        case ItemOperation::read:
            return readError(name, number);
        case ItemOperation::remove:
            return removeError(name, number);
        default:
            break;
    }
    const auto folder = path::lastPathComponent(path::deletingLastPathComponent(path));
    return createError(name, quoted(folder.empty() ? "." : folder), number);
}

}  // namespace platform
