#include "util/MyMetaEvent.h"

#include <cstdlib>
#include <new>

#include "platform/foundation/fatalError.h"

namespace qov {

std::shared_ptr<MyMetaEvent> MyMetaEvent::init(std::int64_t size) {
    if (size < 0) platform::fatalError("MyMetaEvent: the size is negative");
    // malloc of nothing may be null
    auto* const mem = std::calloc(static_cast<std::size_t>(size) + (size == 0), 1);
    if (!mem) throw std::bad_alloc();
    return init(size, static_cast<std::uint8_t*>(mem));
}

std::shared_ptr<MyMetaEvent> MyMetaEvent::init(std::int64_t size, std::uint8_t* mem) {
    return std::shared_ptr<MyMetaEvent>(new MyMetaEvent(size, mem));
}

MyMetaEvent::~MyMetaEvent() {
    std::free(mem);
}

}  // namespace qov
