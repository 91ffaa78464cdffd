#pragma once

#include <cstdint>
#include <memory>

namespace qov {

/// Owns the data bytes of one meta event. `mem` comes from std::malloc and goes to std::free with
/// the record, whatever `size` has been set to; no second owner may hold it.
class MyMetaEvent {
 public:
    /// Allocates `size` bytes, all 0. A negative size is a fatal error; without memory it throws
    /// std::bad_alloc.
    static std::shared_ptr<MyMetaEvent> init(std::int64_t size);
    /// Takes ownership of a buffer from std::malloc, which may be null.
    static std::shared_ptr<MyMetaEvent> init(std::int64_t size, std::uint8_t* mem);
    ~MyMetaEvent();
    MyMetaEvent(const MyMetaEvent&) = delete;
    MyMetaEvent& operator=(const MyMetaEvent&) = delete;

    std::int64_t size;  ///< bytes
    std::uint8_t* mem;

 private:
    MyMetaEvent(std::int64_t bytes, std::uint8_t* buffer) : size(bytes), mem(buffer) {}
};

}  // namespace qov
