#include "platform/foundation/itemError.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "platform/foundation/path.h"

namespace platform {
namespace {

struct Row {
    ItemOperation operation;
    int number;  // errno; 0 for any that is not in a row before
    NSFileError code;
    std::string_view sentence;  // %1 is the item's name, %2 its folder's
};

using enum ItemOperation;
// clang-format off
constexpr Row kRows[] = {
    {read, ENOENT, NSFileReadNoSuchFileError, "The file %1 couldn’t be opened because there is no such file."},
    {read, ENOTDIR, NSFileReadNoSuchFileError, "The file %1 couldn’t be opened because there is no such file."},
    {read, EACCES, NSFileReadNoPermissionError, "The file %1 couldn’t be opened because you don’t have permission to view it."},
    {read, 0, NSFileReadUnknownError, "The file %1 couldn’t be opened."},
    {remove, ENOENT, NSFileNoSuchFileError, "%1 couldn’t be removed."},
    {remove, EACCES, NSFileWriteNoPermissionError, "%1 couldn’t be removed because you don’t have permission to access it."},
    {remove, EROFS, NSFileWriteVolumeReadOnlyError, "%1 couldn’t be removed because the volume is read only."},
    {remove, 0, NSFileWriteUnknownError, "%1 couldn’t be removed."},
    {create, ENOENT, NSFileNoSuchFileError, "The folder %1 doesn’t exist."},
    {create, EEXIST, NSFileWriteFileExistsError, "The file %1 couldn’t be saved in the folder %2 because a file with the same name already exists."},
    {create, EACCES, NSFileWriteNoPermissionError, "You don’t have permission to save the file %1 in the folder %2."},
    {create, EROFS, NSFileWriteVolumeReadOnlyError, "You can’t save the file %1 because the volume is read only."},
    {create, ENOSPC, NSFileWriteOutOfSpaceError, "You can’t save the file %1 because the volume is out of space."},
    {create, 0, NSFileWriteUnknownError, "The file %1 couldn’t be saved in the folder %2."},
};
// clang-format on

int representative(int number) {
    return number == EPERM ? EACCES : number == EDQUOT ? ENOSPC : number;
}

}  // namespace

NSError itemError(ItemOperation operation, const std::string& path, int number) {
    const auto& row = *std::ranges::find_if(kRows, [&](const Row& each) {
        return each.operation == operation &&
               (each.number == 0 || each.number == representative(number));
    });
    const auto folder = path::lastPathComponent(path::deletingLastPathComponent(path));
    std::string sentence;
    for (std::size_t at = 0; at < row.sentence.size(); ++at) {
        if (row.sentence[at] != '%') {
            sentence += row.sentence[at];
            continue;
        }
        const bool isItem = row.sentence[++at] == '1';
        const auto name = isItem ? path::lastPathComponent(path) : folder.empty() ? "." : folder;
        sentence += "“" + name + "”";
    }
    return {NSCocoaErrorDomain, row.code, sentence};
}

}  // namespace platform
