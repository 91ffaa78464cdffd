#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

/// A fuzzer's input, read from its beginning; behind its end there are zeros.
class Bytes {
 public:
    Bytes(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}
    bool empty() const { return at_ == end_; }
    template <class Value>
    Value take() {
        Value value{};
        const auto length = std::min(sizeof value, static_cast<std::size_t>(end_ - at_));
        if (length > 0) std::memcpy(&value, at_, length);
        at_ += length;
        return value;
    }
    std::string rest() { return {std::exchange(at_, end_), end_}; }

 private:
    const std::uint8_t *at_, *end_;
};
