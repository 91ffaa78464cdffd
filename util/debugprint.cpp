#include "util/debugprint.h"

#include <utility>

#include "platform/dispatch/DispatchQueue.h"
#include "platform/foundation/Console.h"

namespace qov {

void debugprint(std::string line) {
    platform::DispatchQueue::main().async(
        [line = std::move(line)] { platform::console::print(line); });
}

void safeprint(std::string line) {
    debugprint(std::move(line));
}

}  // namespace qov
