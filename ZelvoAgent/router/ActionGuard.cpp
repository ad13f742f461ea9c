#include "router/ActionGuard.h"

#include "base/Hop.h"

namespace zelvo {

Task<> ActionGuard::assertMayAct(InputAction action, Front front, std::size_t index)
{
    // First, so that whatever comes to the front during the checks ends the action.
    if (services.beginAction)
        co_await services.beginAction();
    co_await on(services.contexts.main, [this] { services.state.assertReady(); });
    if (!services.permissions().accessibility)
        throw AgentError::permissionMissing;
    co_await assertInFront(std::move(front), index);
    co_await assertTargetAllowed(std::move(action));
}

/// Once the one that the yes is for is in front, no other one is waited for.
Task<> ActionGuard::assertInFront(Front front, std::size_t index)
{
    FrontmostCheck& frontmost = services.frontmost;
    Duration const wait = front.askedFor ? Duration::zero() : front.maxWait;
    if (front.askedFor && front.askedFor->empty())
        co_await frontmost.assertNothingInFront(front.maxWait, index);
    else if (front.askedFor)
        co_await frontmost.assertInFront(*front.askedFor, front.maxWait, index);
    if (!front.expected.empty())
        co_await frontmost.assertInFront(front.expected, wait, index);
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
