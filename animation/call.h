#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace qov {

/// Calls what a property holds, if it holds anything. The callee may replace or empty that very
/// property: it stays alive until it returns. Its own state (a mutable lambda's
/// captures) persists to the next call, which calling a copy would lose.
template <typename... Parameters, typename... Arguments>
void call(std::function<void(Parameters...)>& property, Arguments&&... arguments) {
    struct Shared {
        std::shared_ptr<std::function<void(Parameters...)>> callee;
        void operator()(Parameters... parameters) const {
            (*callee)(std::forward<Parameters>(parameters)...);
        }
    };
    if (!property) return;
    if (!property.template target<Shared>())
        property =
            Shared{std::make_shared<std::function<void(Parameters...)>>(std::move(property))};
    const Shared running = *property.template target<Shared>();
    running(std::forward<Arguments>(arguments)...);
}

}  // namespace qov
