#include "router/ActionGuard.h"

#include "base/Hop.h"

namespace zelvo {

Task<>
ActionGuard::assertMayAct(InputAction action, std::string expected, std::size_t index, Duration maxWait)
{
    // First, so that whatever comes to the front during the checks ends the action.
    if (services.beginAction)
        co_await services.beginAction();
    co_await on(services.contexts.main, [this] { services.state.assertReady(); });
    if (!services.permissions().accessibility)
        throw AgentError::permissionMissing;
    if (!expected.empty())
        co_await services.frontmost.assertInFront(std::move(expected), maxWait, index);
    co_await assertTargetAllowed(std::move(action));
}

Task<> ActionGuard::assertTargetAllowed(InputAction action)
{
    if (std::holds_alternative<InputAction::Wait>(action.value)) {
        co_await services.hiddenGuard.assertFrontmostAllowed();
        co_return;
    }
    if (co_await services.questionPending()) {
        DetailedAgentError busy;
        busy.error = AgentError::machineBusy;
        busy.message = "Waiting for the person to answer a confirmation. Try again after they decide.";
        throw busy;
    }
    if (auto const point = action.targetPoint()) {
        co_await services.hiddenGuard.assertPointAllowed(*point);
        co_await on(services.contexts.workers, [&] { services.ownUi.assertClickAllowed(*point); });
        co_return;
    }
    if (action.isTextInput()) {
        auto const front = co_await services.probe.frontmostApp();
        services.ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    }
    co_await services.hiddenGuard.assertFrontmostAllowed();
}

} // namespace zelvo
