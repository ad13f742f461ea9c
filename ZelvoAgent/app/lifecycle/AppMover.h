#pragma once

#include "app/lifecycle/AppLocation.h"
#include "app/lifecycle/Relaunch.h"
#include "base/Contexts.h"
#include "base/Task.h"
#include "confirm/ConfirmationPresenter.h"
#include "platform/InformationDictionary.h"
#include "platform/Installation.h"
#include "state/AgentState.h"

#include <cstdint>
#include <functional>
#include <string>

namespace zelvo {

/// Offers to put a program that runs from a misplaced path where it belongs. Thread: main. Lives as long as
/// the process.
class AppMover {
public:
    struct Services {
        Contexts contexts;
        Installation& installation;
        InformationDictionary& information;
        AgentState& state;
        std::function<Task<ConfirmationDecision>(ConfirmationPresenter::Choice, std::int64_t timeoutMs)>
            askChoice;
        Relaunch& relaunch;
        std::function<void()> terminate; ///< ends the process in the normal way
    };

    explicit AppMover(Services services) : services(std::move(services)) {}
    AppMover(AppMover const&) = delete;
    AppMover& operator=(AppMover const&) = delete;

    /// Looks at the place, and asks the person if it is a wrong one. Returns at once; the question may stay
    /// open for ten minutes.
    void checkOnLaunch();

private:
    /// A question by the keys of its texts.
    struct Words {
        char const* title;
        char const* detail;
        char const* allow;
    };

    Task<> check();
    Task<AppLocation::Verdict> verdict();
    Task<bool> isAllowed(Words words) const;
    Task<> offerInstalledCopy();
    Task<> offerMove();
    Task<> relaunch() const;

    Services services;
};

} // namespace zelvo
