#include "platform/audiotoolbox/AUParameter.h"

#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/foundation/numberText.h"

namespace platform {

AUValue AUParameter::value() const {
    const auto tree = tree_.lock();
    if (!tree || !tree->valueProvider_) return value_.load(std::memory_order_relaxed);
    const auto value = tree->valueProvider_(*this);
    value_.store(value, std::memory_order_relaxed);
    return value;
}

void AUParameter::setValue(AUValue value, AUParameterObserverToken originator,
                           AUParameterAutomationEventType type) {
    value_.store(value, std::memory_order_relaxed);
    const auto tree = tree_.lock();
    if (!tree) return;
    if (tree->valueObserver_) tree->valueObserver_(*this, value);
    tree->notifyObservers(*this, value, originator, type);
}

void AUParameter::didChangeValue(AUParameterObserverToken originator) {
    if (const auto tree = tree_.lock())
        tree->notifyObservers(*this, value(), originator, AUParameterAutomationEventTypeValue);
}

std::string AUParameter::stringFromValue(const AUValue* value) const {
    const auto tree = tree_.lock();
    if (tree && tree->stringFromValue_) return tree->stringFromValue_(*this, value);
    return numberText(value ? *value : this->value(), NumberForm::general);
}

}  // namespace platform
