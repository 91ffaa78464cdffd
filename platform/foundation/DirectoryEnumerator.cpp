#include "platform/foundation/DirectoryEnumerator.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "platform/foundation/fileStatus.h"

namespace platform {
namespace {

struct Name {
    std::string text;
    bool mayBeDirectory;
};

/// One folder on the way down: its names not yet given out, the next one last.
struct Folder {
    std::string prefix;  // relative path with a trailing separator, or empty for the top
    std::vector<Name> names;
};

/// Reads all names and closes the descriptor; what cannot be read is left out.
std::vector<Name> readNames(int descriptor) {
    std::vector<Name> names;
    DIR* stream = fdopendir(descriptor);
    if (!stream) {
        close(descriptor);
        return names;
    }
    while (const dirent* entry = readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        const bool mayBeDirectory = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
        names.push_back({std::string(name), mayBeDirectory});
    }
    closedir(stream);
    std::ranges::sort(names, std::ranges::greater(), &Name::text);
    return names;
}

class Walk : public DirectoryEnumerator {
 public:
    Walk(int top, std::vector<Name> names) : top_(top), attributes_(attributesOfDescriptor(top)) {
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
        auto path = folder.prefix + folder.names.back().text;
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
        folders_.push_back({path + "/", readNames(descriptor)});
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
    return std::make_unique<Walk>(top, readNames(copy));
}

}  // namespace platform
