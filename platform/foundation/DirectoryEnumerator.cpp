#include "platform/foundation/DirectoryEnumerator.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "platform/foundation/fileStatus.h"

namespace platform {
namespace {

/// One folder on the way down: its names not yet given out, the next one last.
struct Folder {
    std::string prefix;  // relative path with a trailing separator, or empty for the top
    std::vector<FolderEntry> names;
};

std::vector<FolderEntry> sortedFolder(int descriptor) {
    auto entries = readFolder(descriptor);
    std::ranges::sort(entries, std::ranges::greater(), &FolderEntry::name);
    return entries;
}

class Walk : public DirectoryEnumerator {
 public:
    Walk(int top, std::vector<FolderEntry> names)
        : top_(top), attributes_(attributesOfDescriptor(top)) {
        folders_.push_back({"", std::move(names)});
    }
    ~Walk() override { close(top_); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    std::optional<std::string> nextObject() override {
        if (std::exchange(descends_, false)) enter(last_);
        while (!folders_.empty() && folders_.back().names.empty()) folders_.pop_back();
        level_ = static_cast<long>(folders_.size());
        if (folders_.empty()) return std::nullopt;
        auto& folder = folders_.back();
        auto path = folder.prefix + folder.names.back().name;
        descends_ = folder.names.back().mayBeDirectory;
        folder.names.pop_back();
        if (descends_) last_ = path;
        return path;
    }
    long level() const override { return level_; }
    const std::optional<FileAttributes>& directoryAttributes() const override {
        return attributes_;
    }

 private:
    void enter(const std::string& path) {
        const int descriptor =
            openat(top_, path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (descriptor < 0) return;
        folders_.push_back({path + "/", sortedFolder(descriptor)});
    }

    int top_;
    std::optional<FileAttributes> attributes_;
    std::vector<Folder> folders_;
    std::string last_;
    bool descends_ = false;
    long level_ = 0;
};

}  // namespace

std::unique_ptr<DirectoryEnumerator> DirectoryEnumerator::open(const std::string& path) {
    const int top = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (top < 0) return nullptr;
    const int copy = fcntl(top, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
        const int number = errno;
        close(top);
        errno = number;
        return nullptr;
    }
    return std::make_unique<Walk>(top, sortedFolder(copy));
}

}  // namespace platform
