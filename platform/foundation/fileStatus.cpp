#include "platform/foundation/fileStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdint>

namespace platform {
namespace {

FileAttributeType typeOf(mode_t mode) {
    switch (mode & S_IFMT) {
        case S_IFDIR:
            return NSFileTypeDirectory;
        case S_IFREG:
            return NSFileTypeRegular;
        case S_IFLNK:
            return NSFileTypeSymbolicLink;
        case S_IFSOCK:
            return NSFileTypeSocket;
        case S_IFCHR:
            return NSFileTypeCharacterSpecial;
        case S_IFBLK:
            return NSFileTypeBlockSpecial;
        default:
            return NSFileTypeUnknown;
    }
}

Date dateOf(const statx_timestamp& time) {
    // Subtracted while whole, so that a double keeps the nanoseconds as well as it can.
    return Date::withTimeIntervalSinceReferenceDate(static_cast<double>(time.tv_sec) -
                                                    Date::timeIntervalBetween1970AndReferenceDate +
                                                    static_cast<double>(time.tv_nsec) * 1e-9);
}

Number unsignedNumber(std::uint64_t value) {
    return Number(value);
}

std::optional<FileAttributes> query(int descriptor, const char* path, int flags) {
    struct statx status {};
    if (statx(descriptor, path, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &status))
        return std::nullopt;
    const Date modified = dateOf(status.stx_mtime);
    const Date created = status.stx_mask & STATX_BTIME
                             ? dateOf(status.stx_btime)
                             : std::min(modified, dateOf(status.stx_ctime));
    return FileAttributes{
        {NSFileType, typeOf(status.stx_mode)},
        {NSFileSize, unsignedNumber(status.stx_size)},
        {NSFileCreationDate, created},
        {NSFileModificationDate, modified},
        {NSFilePosixPermissions, unsignedNumber(status.stx_mode & 07777)},
        {NSFileOwnerAccountID, unsignedNumber(status.stx_uid)},
        {NSFileGroupOwnerAccountID, unsignedNumber(status.stx_gid)},
        {NSFileReferenceCount, unsignedNumber(status.stx_nlink)},
        {NSFileSystemNumber, unsignedNumber(makedev(status.stx_dev_major, status.stx_dev_minor))},
        {NSFileSystemFileNumber, unsignedNumber(status.stx_ino)},
    };
}

}  // namespace

std::optional<FileAttributes> attributesOfPath(const std::string& path) {
    return query(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
}

std::optional<FileAttributes> attributesOfDescriptor(int descriptor) {
    return query(descriptor, "", AT_EMPTY_PATH);
}

}  // namespace platform
