#include "dsp/CircularBuffer.h"

namespace qov {

void CircularBuffer::reset() {
    clear();
    pos = size;
}

void CircularBuffer::rewind(std::int32_t frames) {
    if (frames >= 0 && frames <= size) pos = size - frames;
}

}  // namespace qov
