#include "hosts/cli/TreeCommand.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>

#include "files/FileEnumerator.h"
#include "files/Folder.h"
#include "hosts/cli/parseOptions.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"

namespace qov::cli {
namespace {

using platform::FileManager;

struct Options {
    std::string folder;
    std::string format;
    std::string page;
    std::string path;
    bool removeLitter = false;
    bool diagnostics = false;
};

/// In quotation marks and on one line, whatever the name holds.
std::string shown(const std::string& name) {
    std::string text = "'";
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x20 || byte == 0x7f ? fmt::format("\\x{:02x}", byte) : std::string(1, c);
    }
    return text + "'";
}

/// Where the console's lines go until the end of the scope.
class ConsoleLines {
 public:
    explicit ConsoleLines(platform::console::Sink sink)
        : before_(platform::console::setSink(std::move(sink))) {}
    ~ConsoleLines() { platform::console::setSink(std::move(before_)); }
    ConsoleLines(const ConsoleLines&) = delete;
    ConsoleLines& operator=(const ConsoleLines&) = delete;

 private:
    platform::console::Sink before_;
};

/// A file manager that has opened one folder and read its attributes beforehand, so that nothing
/// that the enumerator takes for granted about this folder can fail any more, whatever happens to
/// it meanwhile.
class OpenedFolder : public FileManager {
 public:
    explicit OpenedFolder(std::string path) : path_(std::move(path)) {
        bool isDirectory = false;
        if (!FileManager::fileExists(path_, &isDirectory))
            throw Failure(fmt::format("{}: there is no such folder", shown(path_)));
        if (!isDirectory)
            throw Failure(
                fmt::format("{} is not a folder; kelvane tree lists a folder", shown(path_)));
        walk_ = FileManager::enumerator(path_);
        if (!walk_)
            throw Failure(
                fmt::format("{} cannot be read: {}", shown(path_), strerrordesc_np(errno)));
        platform::NSError error;
        const auto attributes = FileManager::attributesOfItem(path_, &error);
        if (!attributes || !walk_->directoryAttributes())
            throw Failure(error.localizedDescription());
        attributes_ = *attributes;
    }

    /// errno of the last time that the folder could not become the current one.
    int enteringError() const { return enteringError_; }

    bool changeCurrentDirectoryPath(const std::string& path) override {
        const bool entered = FileManager::changeCurrentDirectoryPath(path);
        if (!entered) enteringError_ = errno;
        return entered;
    }
    std::unique_ptr<platform::DirectoryEnumerator> enumerator(
        const std::string& path) const override {
        return path == path_ ? std::move(walk_) : FileManager::enumerator(path);
    }
    bool fileExists(const std::string& path, bool* isDirectory) const override {
        if (path != path_) return FileManager::fileExists(path, isDirectory);
        if (isDirectory) *isDirectory = true;
        return true;
    }
    std::optional<platform::FileAttributes> attributesOfItem(
        const std::string& path, platform::NSError* error) const override {
        if (path == path_) return attributes_;
        return FileManager::attributesOfItem(path, error);
    }

 private:
    std::string path_;
    mutable std::unique_ptr<platform::DirectoryEnumerator> walk_;  // given out once
    platform::FileAttributes attributes_;
    int enteringError_ = 0;
};

/// Is asked about every removal, so there is no moment between looking and deleting at which
/// something could slip through: declines all unless they were allowed, and keeps account.
class LitterAccount : public platform::FileManagerDelegate {
 public:
    LitterAccount(bool allowed, const std::string& folder)
        : allowed_(allowed), prefix_(folder + "/") {}

    using FileManagerDelegate::shouldProceedAfterErrorRemovingItem;
    using FileManagerDelegate::shouldRemoveItem;
    bool shouldRemoveItem(FileManager&, const platform::URL& url) override {
        const auto& path = url.path();
        // What lies in a piece of litter belongs to it.
        if (names_.empty() || !path.starts_with(last_ + "/")) {
            last_ = path;
            names_.push_back(path.starts_with(prefix_) ? path.substr(prefix_.size()) : path);
        }
        return allowed_;
    }
    bool shouldProceedAfterErrorRemovingItem(FileManager&, const platform::NSError& error,
                                             const platform::URL&) override {
        failures_.push_back(error.localizedDescription());
        return false;
    }

    /// Below the folder, without what lies in them.
    const std::vector<std::string>& names() const { return names_; }
    const std::vector<std::string>& failures() const { return failures_; }

    std::string shownNames() const {
        constexpr std::size_t most = 20;
        std::string text;
        for (std::size_t i = 0; i < std::min(most, names_.size()); ++i)
            text += (i ? ", " : "") + shown(names_[i]);
        return names_.size() > most ? fmt::format("{} and {} more", text, names_.size() - most)
                                    : text;
    }

 private:
    bool allowed_;
    std::string prefix_, last_;
    std::vector<std::string> names_, failures_;
};

/// The enumerator moves to the folder, so that a relative path would not mean the same any more.
std::string absolutePath(const std::string& folder) {
    if (folder.starts_with('/')) return folder;
    const auto here = FileManager::defaultManager()->currentDirectoryPath();
    if (here.empty())
        throw Failure(fmt::format("{}: the current folder no longer exists; give a whole path",
                                  shown(folder)));
    return folder == "." || folder == "./" ? here : (here == "/" ? "" : here) + "/" + folder;
}

void write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throw Failure("the standard output cannot be written");
}

/// Makes the page that was asked for; a wrong identifier is the user's to mend.
void showPage(FileTree& tree, const Options& options) {
    const bool whole = !options.path.empty();
    const auto& given = whole ? options.path : options.page;
    if (given.empty()) return;
    const std::string identifier =
        given == "root" ? std::string(rootContainerItemIdentifier) : given;
    whole ? tree.makeExpandedPath(identifier) : tree.makeExpandedPage(identifier);
    const bool isTop = identifier == rootContainerItemIdentifier ||
                       (whole && identifier == workingSetContainerItemIdentifier);
    if (!tree.filelist().empty() || isTop) return;
    const auto entry = tree.findFileWithUID(identifier);
    if (entry)
        throw Failure(fmt::format("--{} {}: {} is a file; a folder has a page",
                                  whole ? "path" : "page", given, shown(entry->subpath())));
    throw Failure(
        fmt::format("--{} {}: no entry below the folder has this number; "
                    "--format list shows the numbers",
                    whole ? "path" : "page", given));
}

void writeTree(const FileTree& tree, const std::string& format) {
    if (format == "dump") {
        const ConsoleLines toOutput([](std::string_view line) { write(std::string(line) + "\n"); });
        tree.dumpoutRoot();
        return;
    }
    // The forms begin with a line feed, a file ends with one.
    write((format == "xml" ? tree.xml() : tree.list()).substr(1) + "\n");
}

/// Says what is missing or incomplete; the exit code.
int reportGaps(const FileList& entries) {
    bool complete = true;
    for (const auto& entry : entries) {
        const auto* type = entry->attributes.find(platform::NSFileType);
        const char* gap = nullptr;
        if (!type)
            gap = "vanished or cannot be looked at; it has no size and no dates";
        else if (entry->isDirectory && !(entry->isReadeble && entry->isExecutable) &&
                 std::get<platform::FileAttributeType>(*type) == platform::NSFileTypeDirectory)
            gap = "is a folder that may not be read; what it holds is missing";
        if (!gap) continue;
        fmt::print(stderr, "kelvane: {} {}\n", shown(entry->subpath()), gap);
        complete = false;
    }
    return complete ? 0 : 1;
}

/// What was removed, and what could not be; false if anything could not.
bool reportRemoval(const LitterAccount& litter) {
    if (litter.failures().empty() && !litter.names().empty())
        fmt::print(stderr, "kelvane: removed {}\n", litter.shownNames());
    for (const auto& failure : litter.failures()) fmt::print(stderr, "kelvane: {}\n", failure);
    return litter.failures().empty();
}

int listTree(const Options& options) {
    const auto folder = absolutePath(options.folder);
    LitterAccount litter(options.removeLitter, folder);
    FileEnumerator enumerator;
    const auto opened = std::make_shared<OpenedFolder>(folder);
    enumerator.fileManager = opened;
    enumerator.defaultFileManager = std::make_shared<FileManager>();
    enumerator.defaultFileManager->setDelegate(&litter);
    enumerator.enumerate(folder);
    auto& tree = *enumerator.fileTree;
    if (!tree.root)
        throw Failure(fmt::format("{} cannot be entered: {}", shown(folder),
                                  strerrordesc_np(opened->enteringError())));
    if (!options.removeLitter && !litter.names().empty())
        throw Failure(
            fmt::format("{} holds what archives leave behind ({}); nothing was deleted: "
                        "to have it deleted, add --remove-litter",
                        shown(folder), litter.shownNames()));
    const bool removedAll = reportRemoval(litter);
    const auto entries = tree.filelist();
    showPage(tree, options);
    writeTree(tree, options.format);
    if (std::fflush(stdout)) throw Failure("the standard output cannot be written");
    return reportGaps(entries) == 0 && removedAll ? 0 : 1;
}

}  // namespace

int runTree(const Arguments& arguments) {
    CLI::App app(
        "Lists what is below a folder. Names are written as they are, also in the XML form.",
        "kelvane tree");
    Options options;
    app.add_option("DIR", options.folder, "the folder")->required();
    app.add_option("--format", options.format,
                   "xml: the tree; list: flat, with numbers; dump: every field\n"
                   "(list where a page is asked for, else xml)")
        ->check(CLI::IsMember({"xml", "list", "dump"}));
    auto* page = app.add_option("--page", options.page,
                                "one folder with its children, by its number in the list, or root");
    app.add_option("--path", options.path, "the same, and expands the folders above it")
        ->excludes(page);
    app.add_flag("--remove-litter", options.removeLitter,
                 "DELETE everything with __MACOSX or .DS_Store in its path below DIR");
    app.add_flag("--diagnostics", options.diagnostics, "show the console lines, on standard error");
    if (const auto code = parseOptions(app, arguments)) return *code;
    if (options.format.empty())
        options.format = options.page.empty() && options.path.empty() ? "xml" : "list";

    const ConsoleLines lines(options.diagnostics
                                 ? [](std::string_view line) { fmt::print(stderr, "{}\n", line); }
                                 : platform::console::Sink());
    return listTree(options);
}

}  // namespace qov::cli
