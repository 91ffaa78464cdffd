#pragma once

#include <cstdint>
#include <string>

namespace qov {

/// What every entry of a listing has: a number of its own and how a view shows it.
class FileBase {
 public:
    /// Takes the next number of the process: the first entry ever made has 1. Any thread.
    FileBase();
    virtual ~FileBase() = default;
    FileBase(const FileBase&) = delete;
    FileBase& operator=(const FileBase&) = delete;

    std::int64_t _id = -1;
    bool _remote = false;    ///< lives elsewhere; nothing here sets it
    bool _expanded = false;  ///< its children are visible
    bool _selected = false;
    std::int64_t _indent = 0;  ///< depth below the root; 0 for the root and for what lies in it

    std::int64_t getID() const { return _id; }
    std::string getIDFormatted() const;

    /// Prints the state as console lines. An indent below 0 is a fatal error.
    virtual void dumpout() const;
};

}  // namespace qov
