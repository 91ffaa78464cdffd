#include "hosts/cli/BatchOptions.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <system_error>
#include <thread>

#include <fmt/format.h>

#include "files/File.h"
#include "files/FileEnumerator.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/SoundFormat.h"
#include "hosts/cli/parseWhole.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/FileManagerDelegate.h"

namespace qov::cli {
namespace {

constexpr std::int64_t mostWorkers = 1024;

/// Declines every removal: an enumerator would remove the litter of archives.
class Keeper : public platform::FileManagerDelegate {
 public:
    using FileManagerDelegate::shouldRemoveItem;
    bool shouldRemoveItem(platform::FileManager&, const platform::URL&) override { return false; }
};

bool hasSoundEnding(const std::string& path) {
    auto ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    return !ending.empty() && soundFormat::containerNamed(std::string_view(ending).substr(1)) != 0;
}

/// The sound files below a folder, and the folders there that cannot be read.
std::vector<BatchInput> soundsBelow(const std::string& folder) {
    // The enumerator ends the program where a folder may be entered and not read.
    std::error_code error;
    const auto whole = std::filesystem::canonical(folder, error);
    if (!error) const std::filesystem::directory_iterator readable(whole, error);
    const auto before = std::filesystem::current_path();
    if (error) return {{folder, "", fmt::format("{}: {}", folder, error.message())}};
    Keeper keeper;
    FileEnumerator enumerator;
    enumerator.defaultFileManager = std::make_shared<platform::FileManager>();
    enumerator.defaultFileManager->setDelegate(&keeper);
    enumerator.enumerate(whole.string());
    std::filesystem::current_path(before);  // the enumerator went into the folder
    std::vector<BatchInput> inputs;
    for (const auto& file : enumerator.fileTree->filelist()) {
        const auto path = (std::filesystem::path(folder) / file->subpath()).string();
        if (!file->isDirectory && hasSoundEnding(file->subpath()))
            inputs.push_back({path, file->subpath()});
        if (file->isDirectory && access(path.c_str(), R_OK | X_OK) != 0)
            inputs.push_back({path, "", fmt::format("{}: {}", path, std::strerror(errno))});
    }
    if (inputs.empty())
        return {{folder, "", fmt::format("{}: has no sound files below it", folder)}};
    return inputs;
}

/// The paths of a list, one a line, or with a NUL behind each, as find -print0 writes them.
std::vector<std::string> listed(const std::string& path) {
    std::ifstream file;
    if (path != "-") {
        if (isFolder(path))
            throw Failure(fmt::format("{}: is a folder; --files-from takes a list of files", path));
        file.open(path);
        if (!file) throw Failure(fmt::format("{}: {}", path, std::strerror(errno)));
    }
    std::ostringstream bytes;
    bytes << (path == "-" ? std::cin : file).rdbuf();
    const auto text = bytes.str();
    const char end = text.find('\0') == text.npos ? '\n' : '\0';
    std::istringstream list(text);
    std::vector<std::string> paths;
    for (std::string line; std::getline(list, line, end);) {
        if (end == '\n' && line.ends_with('\r')) line.pop_back();
        if (!line.empty()) paths.push_back(line);
    }
    if (paths.empty()) throw Failure(fmt::format("{}: names no files", path));
    return paths;
}

/// A path without what leads out of a folder: "/a/./b" is "a/b".
std::string insideOf(const std::string& path) {
    const auto inside = std::filesystem::path(path).lexically_normal().relative_path();
    if (!inside.empty() && *inside.begin() == "..")
        throw Failure(fmt::format("{}: leads out of the output's folder", path), 2);
    return inside.string();
}

/// FNV-1a: the same on every machine.
std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const unsigned char byte : text) hash = (hash ^ byte) * 0x100000001B3;
    return hash;
}

struct Shard {
    std::uint64_t number, count;
};

Shard parseShard(const std::string& text) {
    Shard shard{};
    const std::string_view all = text;
    const auto slash = all.find('/');
    if (slash != all.npos && parseWhole(all.substr(0, slash), shard.number) &&
        parseWhole(all.substr(slash + 1), shard.count) && shard.number >= 1 &&
        shard.number <= shard.count)
        return shard;
    throw Failure(fmt::format("--shard {}: takes I/N, the Ith of N shares, as in 1/4", text), 2);
}

}  // namespace

void BatchOptions::declare(OptionParser& parser) {
    parser.addOption("-j,--jobs", jobs, "files at a time (all cores)", "N");
    parser.addOption(
        "--files-from", filesFrom,
        "take the files of a list, too, one a line or NUL-separated; - for standard input", "LIST");
    parser.addOption("--shard", shard,
                     "only the Ith of N shares of the files, the same on every machine", "I/N");
}

unsigned BatchOptions::workers() const {
    if (jobs.empty()) return std::max(1U, std::thread::hardware_concurrency());
    return static_cast<unsigned>(parseNumber("--jobs", jobs, std::int64_t{1}, mostWorkers));
}

bool BatchOptions::areMany(const std::vector<std::string>& paths) const {
    return paths.size() != 1 || !filesFrom.empty() || !shard.empty() || isFolder(paths[0]);
}

std::vector<BatchInput> BatchOptions::inputs(const std::vector<std::string>& paths) const {
    std::vector<BatchInput> inputs;
    for (const auto& path : paths) {
        if (path == "-") throw Failure("-: standard input is a file by itself", 2);
        if (isFolder(path))
            std::ranges::move(soundsBelow(path), std::back_inserter(inputs));
        else
            inputs.push_back({path, std::filesystem::path(path).filename().string()});
    }
    if (!filesFrom.empty())
        for (const auto& path : listed(filesFrom)) inputs.push_back({path, insideOf(path)});
    if (shard.empty()) return inputs;
    const auto [number, count] = parseShard(shard);
    for (auto& input : inputs)
        input.isOurs = hashOf(input.fault.empty() ? input.below : input.path) % count == number - 1;
    return inputs;
}

std::vector<BatchInput> BatchOptions::inputsFor(const std::vector<std::string>& paths,
                                                const std::string& folder) const {
    if (!isFolder(folder))
        throw Failure(fmt::format("{}: is not a folder, to which several files go; one that is to "
                                  "be made ends in /",
                                  folder),
                      2);
    std::error_code error;
    const auto place = std::filesystem::weakly_canonical(folder, error);
    if (std::filesystem::is_regular_file((place / "").parent_path(), error))
        throw Failure(fmt::format("{}: is a file, and several files go to a folder", folder), 2);
    for (const auto& path : paths) {
        if (!isFolder(path)) continue;
        const auto inside = place.lexically_relative(std::filesystem::canonical(path, error));
        if (!error && !inside.empty() && *inside.begin() != "..")
            throw Failure(fmt::format("{}: lies in {}; another run would take its files for inputs",
                                      folder, path),
                          2);
    }
    return inputs(paths);
}

bool isFolder(const std::string& path) {
    std::error_code error;
    return path.ends_with('/') || std::filesystem::is_directory(path, error);
}

std::string countOf(std::size_t files) {
    return fmt::format("{} {}", fmt::group_digits(files), files == 1 ? "file" : "files");
}

}  // namespace qov::cli
