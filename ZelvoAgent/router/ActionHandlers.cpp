#include "router/ActionHandlers.h"

#include "base/Hop.h"
#include "state/ActivityWording.h"
#include "wire/records/SystemCommands.h"

#include <algorithm>
#include <limits>

namespace zelvo {

namespace {

constexpr Duration frontmostWait = 2s;
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

Task<json::value> ActionHandlers::perform(Admission admission)
{
    std::vector<InputAction> const actions = actionsFrom(admission.frame.params);
    std::string const expected = read::text(admission.frame.params, "expectBundleId").value_or("");
    if (isBusy)
        throw AgentError::machineBusy;
    ControlLease const lease(isBusy);
    services.elements.serve(admission.frame.connectionId);
    co_await on(services.contexts.main, [this] { services.state.markWorking(); });
    co_await services.recorder.agentActed(admission.frame.connectionId, admission.platformName());
    co_await performBatch(actions, expected, admission.asker);
    if (admission.connection)
        co_await log(*admission.connection, admission.loggedAgentName(), actions);
    co_return records::toJson(records::Done{});
}

/// Everything is checked again before each action, and once more after a question: the person may have taken
/// a minute.
Task<> ActionHandlers::performBatch(std::vector<InputAction> actions,
                                    std::string expected,
                                    std::optional<Asker> asker)
{
    ActionGuard& guard = services.guard;
    for (std::size_t i = 0; i < actions.size(); ++i) {
        ActionGuard::Front front;
        front.expected = expected;
        front.maxWait = i == 0 ? frontmostWait : Duration::zero();
        co_await guard.assertMayAct(actions[i], front, i);
        StrictActions::Recheck const recheck = [&guard, &actions, front,
                                                i](std::optional<std::string> application) {
            ActionGuard::Front again = front;
            again.askedFor = std::move(application);
            again.maxWait = frontmostWait; // The panel was in front.
            return guard.assertMayAct(actions[i], std::move(again), i);
        };
        if (!asker || !co_await performStrictly(actions[i], *asker, recheck)) {
            if (asker)
                co_await confirm(actions[i], *asker, recheck);
            co_await execute(actions[i]);
        }
        services.strict.noteInput();
    }
}

Task<bool> ActionHandlers::performStrictly(InputAction action, Asker asker, StrictActions::Recheck recheck)
{
    if (!services.isStrict || !services.isStrict())
        co_return false;
    StrictActions::Turn turn{.asker = std::move(asker), .recheck = std::move(recheck)};
    co_return co_await services.strict.perform(std::move(action), std::move(turn));
}

/// Other buttons than the left, half a click, a drag and typed text commit nothing that is known beforehand.
Task<> ActionHandlers::confirm(InputAction action, Asker asker, StrictActions::Recheck recheck)
{
    if (auto const* const pressed = std::get_if<InputAction::ClickElement>(&action.value)) {
        auto const application = services.elements.applicationOf(pressed->snapshotId);
        std::optional<ProbedElement> found;
        Confirmations::Look const look = [&]() -> Task<std::optional<ProbedElement>> {
            found = co_await services.elements.foundAt(pressed->snapshotId, pressed->elementId);
            co_return found;
        };
        Confirmations::Recheck const again = [&] { return recheck(application); };
        bool const isAllowed = co_await services.confirmations.askAboutPress(look, std::move(asker), again);
        // What needed no question is not taken for the element, whatever is there a moment later.
        if (!isAllowed)
            services.elements.assertSame(pressed->snapshotId, pressed->elementId, *found);
    } else if (auto const* const chord = std::get_if<InputAction::Key>(&action.value)) {
        Confirmations::Keys keys;
        keys.names = chord->keys;
        keys.front = co_await services.probe.frontmostApp();
        // A key goes to whatever is in front, so the yes is for that application alone.
        std::string const application = keys.front ? keys.front->bundleId : "";
        Confirmations::Recheck const again = [&] { return recheck(application); };
        co_await services.confirmations.askAboutKeys(std::move(keys), std::move(asker), again);
    } else if (auto const* const click = std::get_if<InputAction::Click>(&action.value);
               click && click->button == MouseButton::left) {
        Confirmations::Recheck const again = [&] { return recheck(std::nullopt); };
        co_await services.confirmations.askAboutClick(click->point, std::move(asker), again);
    }
}

Task<> ActionHandlers::execute(InputAction action)
{
    auto const perform = [this]<class Kind>(Kind kind) -> Task<> {
        if constexpr (std::is_same_v<Kind, InputAction::Wait>)
            return wait(kind.ms);
        else if constexpr (requires { services.elements.perform(std::move(kind)); })
            return services.elements.perform(std::move(kind));
        else
            return services.input.perform(std::move(kind));
    };
    co_await std::visit(perform, std::move(action.value));
}

/// A pause or a lock cuts it short, so that nobody waits for days; the next action meets the check.
Task<> ActionHandlers::wait(std::int64_t ms)
{
    Clock& clock = services.clock;
    Instant const end = clock.now() + waitOf(ms);
    try {
        while (clock.now() < end) {
            co_await clock.sleepThroughCancel(std::min<Duration>(end - clock.now(), waitSlice));
            co_await on(services.contexts.main, [this] { services.state.assertReady(); });
        }
    } catch (AgentError const&) {
        co_return;
    }
}

Task<> ActionHandlers::log(GrantedConnection connection,
                           std::optional<std::string> agentName,
                           std::vector<InputAction> actions)
{
    // The words rest on every character that was typed, which takes a while for a long text.
    ActivityWording::Actions words = co_await on(services.contexts.workers, [&] {
        auto const front = services.workspace.frontmostApplication();
        bool const isNamed = front && !front->localizedName.empty();
        return ActivityWording::actions(actions,
                                        isNamed ? std::optional(front->localizedName) : std::nullopt);
    });
    co_await on(services.contexts.main, [&] {
        AgentState::LogLine line{.platform = connection.platformName, .summary = std::move(words.summary)};
        line.kind = ActivityKind::actions;
        line.connectionId = connection.id;
        line.note = std::move(words.note);
        line.detail = std::move(words.detail);
        line.agentName = agentName;
        services.state.log(std::move(line));
    });
}

} // namespace zelvo
