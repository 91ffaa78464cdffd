#pragma once

#include <stdlib.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// A folder of its own, removed at the end of its scope, to which one can also lose one's rights.
class TemporaryFolder {
 public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kelvane-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
        std::filesystem::permissions(path_, std::filesystem::perms(0755));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::current_path("/", ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    /// Names of all that is in it, hidden ones too, sorted.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
    /// With the folders above it.
    void file(const std::string& name, const std::string& contents = "x") const {
        std::filesystem::create_directories(std::filesystem::path(*this / name).parent_path());
        std::ofstream(*this / name) << contents;
    }
    void folder(const std::string& name) const {
        std::filesystem::create_directories(*this / name);
    }
    void link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, *this / name);
    }

 private:
    std::string path_;
};

/// In its scope the process has the rights of an ordinary user, also where root runs the tests.
class WithoutPrivileges {
 public:
    WithoutPrivileges() {
        constexpr uid_t nobody = 65534;
        if (privileged_ && setresuid(nobody, nobody, 0) != 0) privileged_ = false;
    }
    ~WithoutPrivileges() {
        if (privileged_ && setresuid(0, 0, 0) != 0) abort();
    }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

 private:
    bool privileged_ = getuid() == 0;
};
