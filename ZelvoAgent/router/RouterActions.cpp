#include "base/Hop.h"
#include "drivers/FrontmostApp.h"
#include "router/RpcRouter.h"
#include "state/ActivityWording.h"

#include <algorithm>
#include <limits>

namespace zelvo {

namespace {

constexpr Duration frontmostWait = 2s;
constexpr Duration frontmostPoll = 50ms;
constexpr Duration waitSlice = 100ms;

std::vector<InputAction> actionsFrom(json::object const& params)
{
    json::array const* const entries = read::array(params, "actions");
    if (!entries)
        throw AgentError::invalidRequest;
    std::vector<InputAction> actions;
    actions.reserve(entries->size());
    for (json::value const& entry : *entries) {
        if (!entry.is_object())
            throw AgentError::invalidRequest;
        actions.push_back(InputAction::parse(entry.get_object()));
    }
    return actions;
}

/// The wait of an action, bounded so that no number of milliseconds overflows the clock.
Duration waitOf(std::int64_t ms)
{
    constexpr std::int64_t longest = std::numeric_limits<std::int32_t>::max();
    return std::chrono::milliseconds(std::clamp<std::int64_t>(ms, 0, longest));
}

/// Holds the right to act for as long as a batch runs, however it ends.
class ControlLease {
public:
    explicit ControlLease(bool& taken) : busy(taken) { busy = true; }
    ControlLease(ControlLease const&) = delete;
    ControlLease& operator=(ControlLease const&) = delete;
    ~ControlLease() { busy = false; }

private:
    bool& busy;
};

} // namespace

Task<json::value> RpcRouter::handleActions(RpcFrame frame)
{
    std::vector<InputAction> const actions = actionsFrom(frame.params);
    std::string const expected = read::text(frame.params, "expectBundleId").value_or("");
    if (controlBusy)
        throw AgentError::machineBusy;
    ControlLease const lease(controlBusy);
    auto const connection = co_await on(contexts.main, [&] {
        state.markWorking();
        return state.connection(frame.connectionId);
    });
    co_await members.recorder.agentActed(frame.connectionId, connection ? connection->platformName : "");
    co_await performBatch(actions, expected, connection);
    if (connection)
        co_await logActions(*connection, loggedAgentName(frame.agentName), actions);
    co_return json::object{{"ok", true}};
}

/// Everything is looked at again before each action, so that a pause, a lock or another application stops the
/// batch in its middle; and once more when a person was asked, who may have taken a minute.
Task<> RpcRouter::performBatch(std::vector<InputAction> actions,
                               std::string expected,
                               std::optional<GrantedConnection> connection)
{
    bool const asks = members.mode == AgentMode::connected && connection;
    for (std::size_t i = 0; i < actions.size(); ++i) {
        co_await assertMayAct(actions[i], expected, i, i == 0 ? frontmostWait : Duration::zero());
        if (asks && co_await confirm(actions[i], *connection))
            co_await assertMayAct(actions[i], expected, i, frontmostWait);
        co_await execute(actions[i]);
    }
}

Task<> RpcRouter::assertMayAct(InputAction action, std::string expected, std::size_t index, Duration maxWait)
{
    co_await on(contexts.main, [this] { state.assertReady(); });
    if (!members.permissions().accessibility)
        throw AgentError::permissionMissing;
    if (!expected.empty() && !co_await isInFront(expected, maxWait))
        throw co_await notFrontmost(expected, index);
    co_await checkHiddenApps(std::move(action));
}

/// A pause or a lock cuts it short, so that nobody waits for days; the next action meets the check.
Task<> RpcRouter::wait(std::int64_t ms)
{
    Instant const end = clock.now() + waitOf(ms);
    try {
        while (clock.now() < end) {
            co_await clock.sleepThroughCancel(std::min<Duration>(end - clock.now(), waitSlice));
            co_await on(contexts.main, [this] { state.assertReady(); });
        }
    } catch (AgentError const&) {
        co_return;
    }
}

Task<bool> RpcRouter::isInFront(std::string expected, Duration atMost)
{
    auto const current = [this]() -> Task<std::optional<std::string>> {
        auto const front = co_await members.probe.frontmostApp();
        co_return front ? std::optional(front->bundleId) : std::nullopt;
    };
    auto const outcome =
        co_await FrontmostApp::waitUntilFrontmost(clock, expected, atMost, frontmostPoll, current);
    co_return outcome.matched;
}

Task<DetailedAgentError> RpcRouter::notFrontmost(std::string expected, std::optional<std::size_t> failedIndex)
{
    auto const front = co_await members.probe.frontmostApp();
    DetailedAgentError failure;
    failure.error = AgentError::appNotFrontmost;
    failure.message = (front ? front->name : "another app") + " is in front, but " + expected +
                      " was expected. The action was not performed.";
    failure.details = {{"expected", expected},
                       {"actual", front ? front->bundleId : ""},
                       {"actualName", front ? front->name : ""}};
    if (failedIndex)
        failure.details["failedIndex"] = std::to_string(*failedIndex);
    co_return failure;
}

Task<> RpcRouter::checkHiddenApps(InputAction action)
{
    if (std::holds_alternative<InputAction::Wait>(action.value)) {
        co_await members.hiddenGuard.assertFrontmostAllowed();
        co_return;
    }
    if (co_await members.questionPending()) {
        DetailedAgentError busy;
        busy.error = AgentError::machineBusy;
        busy.message = "Waiting for the person to answer a confirmation. Try again after they decide.";
        throw busy;
    }
    if (auto const point = action.targetPoint()) {
        co_await members.hiddenGuard.assertPointAllowed(*point);
        co_await on(contexts.workers, [&] { members.ownUi.assertClickAllowed(*point); });
        co_return;
    }
    if (action.isTextInput()) {
        auto const front = co_await members.probe.frontmostApp();
        members.ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    }
    co_await members.hiddenGuard.assertFrontmostAllowed();
}

/// Carries out one action; overloads by its kind.
struct RpcRouter::Performer {
    RpcRouter& router;
    InputDriving& input = router.members.input;
    AgentCursorPresenting& cursor = router.members.cursor;

    Task<> operator()(InputAction::Move action)
    {
        co_await cursor.approach(action.point);
        co_await input.move(action.point);
    }
    Task<> operator()(InputAction::Click action)
    {
        co_await cursor.approach(action.point);
        co_await input.click(action.point, action.button, action.count, action.modifiers);
        cursor.clicked(action.point, action.count);
    }
    Task<> operator()(InputAction::MouseDown action)
    {
        co_await cursor.approach(action.point);
        co_await input.mouseDown(action.point, action.button);
        cursor.clicked(action.point, 1);
    }
    Task<> operator()(InputAction::MouseUp action)
    {
        co_await cursor.approach(action.point);
        co_await input.mouseUp(action.point, action.button);
    }
    Task<> operator()(InputAction::Drag action)
    {
        co_await cursor.approach(action.from);
        cursor.dragged(action.from, action.to, action.durationMs);
        co_await input.drag(action.from, action.to, action.button, action.durationMs);
    }
    Task<> operator()(InputAction::Scroll action)
    {
        co_await cursor.approach(action.point);
        co_await input.scroll(action.point, action.dx, action.dy);
        cursor.scrolled(action.point);
    }
    Task<> operator()(InputAction::Type action) { co_await router.typeShown(std::move(action.text)); }
    Task<> operator()(InputAction::Key action)
    {
        cursor.pressed(action.keys);
        co_await input.pressKeys(action.keys);
    }
    Task<> operator()(InputAction::Wait action) { co_await router.wait(action.ms); }
    Task<> operator()(InputAction::ClickElement action) { co_await router.clickElement(std::move(action)); }
    Task<> operator()(InputAction::SetValue action) { co_await router.setValue(std::move(action)); }
};

Task<> RpcRouter::execute(InputAction action)
{
    Performer performer{*this};
    co_await std::visit([&](auto kind) { return performer(std::move(kind)); }, std::move(action.value));
}

Task<> RpcRouter::logActions(GrantedConnection connection,
                             std::optional<std::string> agentName,
                             std::vector<InputAction> actions)
{
    // The words rest on every character that was typed, which takes a while for a long text.
    ActivityWording::Actions words = co_await on(contexts.workers, [&] {
        auto const front = members.workspace.frontmostApplication();
        bool const isNamed = front && !front->localizedName.empty();
        return ActivityWording::actions(actions,
                                        isNamed ? std::optional(front->localizedName) : std::nullopt);
    });
    co_await on(contexts.main, [&] {
        AgentState::LogLine line{.platform = connection.platformName, .summary = std::move(words.summary)};
        line.kind = ActivityKind::actions;
        line.connectionId = connection.id;
        line.note = std::move(words.note);
        line.detail = std::move(words.detail);
        line.agentName = agentName;
        state.log(std::move(line));
    });
}

} // namespace zelvo
