#include "hosts/window/makeInstance.h"

#include "editor/AudioUnitViewController.h"
#include "hosts/instance/Instance.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts {

std::unique_ptr<Instance> makeInstance(const std::shared_ptr<platform::RunLoop>& loop,
                                       std::string* error) {
    platform::NSError reason;
    auto instance = Instance::create(&reason, loop, std::make_shared<AudioUnitViewController>());
    if (!instance) *error = "the effect cannot be made: " + reason.localizedDescription();
    return instance;
}

}  // namespace qov::hosts
