#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// A run of the real program.
struct Run {
    int code = -1;    ///< exit code, or -1 where a signal ended it
    int signal = 0;   ///< that signal
    std::string out;  ///< standard output, where it was not sent elsewhere
    std::string err;
    long peakKilobytes = 0;  ///< resident
};

/// A folder of its own for a test, removed with it.
class Folder {
 public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string operator/(const std::string& file) const { return path_ + "/" + file; }
    /// Names of all files, hidden ones too, sorted.
    std::vector<std::string> files() const;

 private:
    std::string path_;
};

/// Runs a shell command in which $K is the program; its own standard output and error are caught.
Run shell(const std::string& command);
/// The same, without a shell: kelvane with these arguments, ended by `signal` once it has written.
Run interrupted(const std::vector<std::string>& arguments, int signal, const Folder& folder);

std::string contents(const std::string& path);
void write(const std::string& path, const std::string& bytes);
