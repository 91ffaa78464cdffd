#include "platform/audiotoolbox/AUAudioUnitBus.h"

#include <utility>

#include "platform/audiotoolbox/AUAudioUnitStatus.h"
#include "platform/foundation/NSError.h"

namespace platform {

std::shared_ptr<AUAudioUnitBus> AUAudioUnitBus::initWithFormat(
    std::shared_ptr<AVAudioFormat> format, NSError* error) {
    std::shared_ptr<AUAudioUnitBus> bus(new AUAudioUnitBus);
    if (!bus->setFormat(std::move(format), error)) return nullptr;
    return bus;
}

bool AUAudioUnitBus::setFormat(std::shared_ptr<AVAudioFormat> format, NSError* error) {
    if (!format) {
        if (error) *error = NSError(NSOSStatusErrorDomain, kAudioUnitErr_FormatNotSupported);
        return false;
    }
    format_ = std::move(format);
    return true;
}

}  // namespace platform
