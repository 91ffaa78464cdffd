#include "platform/audiotoolbox/AUParameterTree.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

#include "platform/dispatch/RunLoop.h"

namespace platform {

/// One observer and how many threads are calling it. Removal sets the flag and then waits until the
/// count is 0; a call increments the count and then reads the flag: one of the two sees the other.
struct AUParameterTree::Observer {
    AUParameterAutomationObserver call;
    std::weak_ptr<RunLoop> loop;
    std::atomic<bool> removed{false};
    std::atomic<std::int32_t> callers{0};
};

/// Counts a caller during its lifetime, also when the observer throws.
class AUParameterTree::Call {
 public:
    explicit Call(std::atomic<std::int32_t>& callers) : callers_(callers) { ++callers_; }
    ~Call() {
        --callers_;
        callers_.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

 private:
    std::atomic<std::int32_t>& callers_;
};

std::shared_ptr<AUParameter> AUParameterTree::createParameterWithIdentifier(
    std::string identifier, std::string name, AUParameterAddress address, AUValue min, AUValue max,
    AudioUnitParameterUnit unit, std::string unitName, AudioUnitParameterOptions flags,
    std::vector<std::string> valueStrings, std::vector<AUParameterAddress> dependentParameters) {
    std::shared_ptr<AUParameter> parameter(new AUParameter);
    parameter->identifier_ = std::move(identifier);
    parameter->displayName_ = std::move(name);
    parameter->address_ = address;
    parameter->minValue_ = min;
    parameter->maxValue_ = max;
    parameter->unit_ = unit;
    parameter->unitName_ = std::move(unitName);
    parameter->flags_ = flags;
    parameter->valueStrings_ = std::move(valueStrings);
    parameter->dependentParameters_ = std::move(dependentParameters);
    return parameter;
}

std::shared_ptr<AUParameterTree> AUParameterTree::createTreeWithChildren(
    std::vector<std::shared_ptr<AUParameter>> children) {
    std::shared_ptr<AUParameterTree> tree(new AUParameterTree);
    for (const auto& parameter : children) parameter->tree_ = tree;
    tree->children_ = std::move(children);
    return tree;
}

std::shared_ptr<AUParameter> AUParameterTree::parameterWithAddress(
    AUParameterAddress address) const {
    const auto found = std::find_if(children_.begin(), children_.end(),
                                    [&](const auto& each) { return each->address() == address; });
    return found == children_.end() ? nullptr : *found;
}

std::shared_ptr<AUParameter> AUParameterTree::valueForKey(std::string_view identifier) const {
    const auto found = std::find_if(children_.begin(), children_.end(), [&](const auto& each) {
        return each->identifier() == identifier;
    });
    return found == children_.end() ? nullptr : *found;
}

AUParameterObserverToken AUParameterTree::tokenByAddingParameterObserver(
    AUParameterObserver observer) {
    return add([observer = std::move(observer)](AUParameterAddress address, AUValue value,
                                                AUParameterAutomationEventType) {
        observer(address, value);
    });
}

AUParameterObserverToken AUParameterTree::tokenByAddingParameterAutomationObserver(
    AUParameterAutomationObserver observer) {
    return add(std::move(observer));
}

AUParameterObserverToken AUParameterTree::add(AUParameterAutomationObserver observer) {
    const auto added = std::make_shared<Observer>();
    added->call = std::move(observer);
    added->loop = RunLoop::current().weak_from_this();
    const std::lock_guard lock(mutex_);
    auto next = std::make_shared<Observers>(*observers_);
    next->push_back(added);
    observers_ = std::move(next);
    return added.get();
}

void AUParameterTree::removeParameterObserver(AUParameterObserverToken token) {
    std::shared_ptr<Observer> removed;
    {
        const std::lock_guard lock(mutex_);
        auto next = std::make_shared<Observers>();
        for (const auto& observer : *observers_) {
            if (observer.get() == token)
                removed = observer;
            else
                next->push_back(observer);
        }
        observers_ = std::move(next);
    }
    if (!removed) return;
    removed->removed = true;
    while (const auto callers = removed->callers.load()) removed->callers.wait(callers);
}

void AUParameterTree::notifyObservers(const AUParameter& parameter, AUValue value,
                                      AUParameterObserverToken originator,
                                      AUParameterAutomationEventType type) const {
    std::shared_ptr<const Observers> observers;
    {
        const std::lock_guard lock(mutex_);
        observers = observers_;
    }
    for (const auto& observer : *observers) {
        if (observer.get() == originator) continue;
        const Call call(observer->callers);
        if (auto loop = observer->loop.lock(); loop && !observer->removed) {
            const RunLoop::MakeCurrent current(std::move(loop));
            observer->call(parameter.address(), value, type);
        }
    }
}

void AUParameterTree::setImplementorStringFromValueCallback(
    AUImplementorStringFromValueCallback callback) {
    stringFromValue_ = std::move(callback);
}

void AUParameterTree::setImplementorValueObserver(AUImplementorValueObserver observer) {
    valueObserver_ = std::move(observer);
}

void AUParameterTree::setImplementorValueProvider(AUImplementorValueProvider provider) {
    valueProvider_ = std::move(provider);
}

}  // namespace platform
