#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/WantedElement.h"
#include "platform/InterfaceWatch.h"
#include "router/Admission.h"
#include "router/FrontTree.h"
#include "state/AgentState.h"

#include <memory>
#include <optional>

namespace zelvo {

/// Waits for an element of the application in front. Changes that applications report wake it, and each look
/// passes the guards of a read tree. The right, the pause and the lock are checked during the whole wait.
/// Thread: the router's strand.
class ElementWaiting {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        AgentState& state;
        FrontTree& tree;
        InterfaceWatches& interfaces;
    };

    struct Request {
        WantedElement wanted;
        TreeScope scope{};
        Duration timeout{};         ///< how long to wait; the first look is never cut short
        std::optional<Asker> asker; ///< who needs the right; nullopt if no rights are checked
    };

    struct Result {
        bool isMatched = false;
        std::optional<UiElementInfo> element;           ///< the one that matched
        std::shared_ptr<UiTreeSnapshot const> snapshot; ///< in which it is; null without one
        Duration elapsed{};
    };

    explicit ElementWaiting(Services services) : services(std::move(services)) {}

    /// Throws AgentError as an action would, at once if a pause, a lock or the loss of the right ends the
    /// wait, and what FrontTree::read throws; but while no application is in front, it waits.
    Task<Result> wait(Request request);

private:
    class Wait;

    Services services;
};

} // namespace zelvo
