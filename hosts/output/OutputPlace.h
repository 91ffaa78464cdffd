#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace qov::hosts {

/// The target of an output: a file that appears under its name only when it is complete, or a
/// stream (standard output, a device, a named pipe) that is written as it comes.
///
/// A file is written beside its place and renamed by commit(); without it, at destruction or when a
/// signal ends the process, it is removed and what was there before stays. One at a time in a
/// process.
class OutputPlace {
 public:
    /// path: "-" is standard output. Throws Failure where nothing can be written there.
    explicit OutputPlace(const std::string& path);
    ~OutputPlace();
    OutputPlace(const OutputPlace&) = delete;
    OutputPlace& operator=(const OutputPlace&) = delete;

    /// Open for writing until commit(); the caller does not close it.
    int descriptor() const { return descriptor_; }
    /// Writes all of the bytes. Throws Failure where that fails.
    void write(std::string_view bytes) const;
    bool isStream() const { return temporary_.empty(); }
    /// For messages: the path, or "standard output".
    const std::string& name() const { return name_; }

    /// Closes, and gives the file its name. Throws Failure where that fails.
    void commit();

    /// Throws Failure: the name and what errno means; for a full disk, a closed pipe and the like.
    [[noreturn]] void failToWrite(int error) const;

 private:
    std::string name_;
    std::string target_;     ///< the file itself, with links resolved
    std::string temporary_;  ///< empty for streams
    int descriptor_ = -1;
};

/// Writes a whole output. path: as OutputPlace takes it. Throws Failure where that fails.
void writeOutput(const std::string& path, std::string_view bytes);
/// The same.
inline void writeOutput(const std::string& path, std::span<const std::byte> bytes) {
    writeOutput(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// Removes what a process that was killed has left of an output.
void removeUnfinished(const std::string& path, int process);

/// Writes all of the bytes, also when signals interrupt. False: failed, with errno set.
bool writeFully(int descriptor, const void* bytes, std::size_t count);

/// Whether both paths lead to one file, through links too; false where one does not exist.
bool isSameFile(const std::string& one, const std::string& other);

/// After this call SIGINT, SIGTERM and SIGHUP remove the file of the open OutputPlace, print so
/// in one line and end the process by that signal; writes to a closed pipe or beyond a size limit
/// fail with an error instead of a signal.
void watchSignals();

}  // namespace qov::hosts
