#include "platform/audiotoolbox/AUParameter.h"

#include <array>
#include <cstdio>

#include "platform/audiotoolbox/AUParameterTree.h"

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
    tree->tellObservers(*this, value, originator, type);
}

void AUParameter::didChangeValue(AUParameterObserverToken originator) {
    if (const auto tree = tree_.lock())
        tree->tellObservers(*this, value(), originator, AUParameterAutomationEventTypeValue);
}

std::string AUParameter::stringFromValue(const AUValue* value) const {
    const auto tree = tree_.lock();
    if (tree && tree->stringFromValue_) return tree->stringFromValue_(*this, value);
    std::array<char, 32> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%g", value ? *value : this->value());
    return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace platform
