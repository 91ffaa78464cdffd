#include "platform/foundation/fileStatus.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string_view>

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
        {NSFileSize, Number(status.stx_size)},
        {NSFileCreationDate, created},
        {NSFileModificationDate, modified},
        {NSFilePosixPermissions, Number(status.stx_mode & 07777)},
        {NSFileOwnerAccountID, Number(status.stx_uid)},
        {NSFileGroupOwnerAccountID, Number(status.stx_gid)},
        {NSFileReferenceCount, Number(status.stx_nlink)},
        {NSFileSystemNumber, Number(makedev(status.stx_dev_major, status.stx_dev_minor))},
        {NSFileSystemFileNumber, Number(status.stx_ino)},
    };
}

}  // namespace

std::optional<FileAttributes> attributesOfPath(const std::string& path) {
    return query(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW);
}

std::optional<FileAttributes> attributesOfDescriptor(int descriptor) {
    return query(descriptor, "", AT_EMPTY_PATH);
}

std::vector<FolderEntry> readFolder(int descriptor) {
    std::vector<FolderEntry> entries;
    DIR* stream = fdopendir(descriptor);
    if (!stream) {
        const int number = errno;
        close(descriptor);
        errno = number;
        return entries;
    }
    errno = 0;
    while (const dirent* entry = readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            entries.push_back(
                {std::string(name), entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN});
    }
    const int number = errno;
    closedir(stream);
    errno = number;
    return entries;
}

}  // namespace platform
