#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audiotoolbox/AUParameter.h"

namespace platform {

/// Called after a value was set, on the thread that set it, with the run loop current that was so
/// when it was added: what it queues runs on that loop. It may set values and add observers, but
/// must not remove one: removal blocks until it returns. It is not called once that loop is gone.
using AUParameterObserver = std::function<void(AUParameterAddress address, AUValue value)>;

/// The same, with what a gesture does to the control.
using AUParameterAutomationObserver = std::function<void(AUParameterAddress address, AUValue value,
                                                         AUParameterAutomationEventType type)>;

/// The audio unit's part: takes a value that was set. On the setter's thread, as the others.
using AUImplementorValueObserver = std::function<void(AUParameter& parameter, AUValue value)>;
/// The audio unit's part: returns the present value.
using AUImplementorValueProvider = std::function<AUValue(const AUParameter& parameter)>;
/// The audio unit's part: the text for *value, or for the present value when value is null.
using AUImplementorStringFromValueCallback =
    std::function<std::string(const AUParameter& parameter, const AUValue* value)>;

/// All parameters of an audio unit, flat, in the order given. Observers may be added, removed and
/// called on any thread; the implementor's callbacks are set before the tree is shared.
class AUParameterTree {
 public:
    static std::shared_ptr<AUParameter> createParameterWithIdentifier(
        std::string identifier, std::string name, AUParameterAddress address, AUValue min,
        AUValue max, AudioUnitParameterUnit unit, std::string unitName,
        AudioUnitParameterOptions flags, std::vector<std::string> valueStrings,
        std::vector<AUParameterAddress> dependentParameters);

    /// Each parameter belongs to one tree.
    static std::shared_ptr<AUParameterTree> createTreeWithChildren(
        std::vector<std::shared_ptr<AUParameter>> children);

    const std::vector<std::shared_ptr<AUParameter>>& allParameters() const { return children_; }

    /// A parameter by its address, or by its identifier. Null if there is no such parameter.
    std::shared_ptr<AUParameter> parameterWithAddress(AUParameterAddress address) const;
    std::shared_ptr<AUParameter> valueForKey(std::string_view identifier) const;

    AUParameterObserverToken tokenByAddingParameterObserver(AUParameterObserver observer);
    AUParameterObserverToken tokenByAddingParameterAutomationObserver(
        AUParameterAutomationObserver observer);

    /// When it returns, the observer is not running on any thread and never will again.
    void removeParameterObserver(AUParameterObserverToken token);

    void setImplementorStringFromValueCallback(AUImplementorStringFromValueCallback callback);
    void setImplementorValueObserver(AUImplementorValueObserver observer);
    void setImplementorValueProvider(AUImplementorValueProvider provider);

 private:
    friend class AUParameter;
    struct Observer;
    class Call;
    using Observers = std::vector<std::shared_ptr<Observer>>;

    AUParameterTree() = default;
    AUParameterObserverToken add(AUParameterAutomationObserver observer);
    void notifyObservers(const AUParameter& parameter, AUValue value,
                         AUParameterObserverToken originator,
                         AUParameterAutomationEventType type) const;

    std::vector<std::shared_ptr<AUParameter>> children_;
    AUImplementorStringFromValueCallback stringFromValue_;
    AUImplementorValueObserver valueObserver_;
    AUImplementorValueProvider valueProvider_;

    mutable std::mutex mutex_;  // guards the pointer; a list, once published, never changes
    std::shared_ptr<const Observers> observers_ = std::make_shared<const Observers>();
};

}  // namespace platform
