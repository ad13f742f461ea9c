#include "recording/RecordingSharing.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr std::int64_t questionMs = 300'000;
constexpr std::size_t maxNameLength = 80; // Characters.

/// Holds a connection in a set while it exists.
class Place {
public:
    Place(std::set<std::string>& taken, std::string connectionId) : taken(taken), id(std::move(connectionId))
    {
        taken.insert(id);
    }
    ~Place() { taken.erase(id); }
    Place(Place const&) = delete;
    Place& operator=(Place const&) = delete;

private:
    std::set<std::string>& taken;
    std::string const id;
};

/// A platform's name must not pass for a text of this program, nor push that text out of view.
ConfirmationPresenter::Choice question(std::string const& platformName)
{
    std::string const name = text::shownInLine(platformName, maxNameLength);
    return {.title = localized("recording.share.title", {name}),
            .detail = localized("recording.share.detail", {name}),
            .allowTitle = localized("recording.share.allow"),
            .denyTitle = localized("recording.share.deny")};
}

} // namespace

Task<bool> RecordingSharing::ask(std::string connectionId)
{
    auto const connection = services.state.connection(connectionId);
    if (!connection || open.contains(connectionId))
        co_return false;
    Place const standing(open, connectionId);
    co_return co_await putQuestion(connectionId, connection->platformName);
}

Task<bool> RecordingSharing::putQuestion(std::string connectionId, std::string platformName)
{
    ConfirmationDecision const decision = co_await services.askChoice(question(platformName), questionMs);
    if (decision == ConfirmationDecision::denied()) {
        services.state.setShareRecordings(false, connectionId);
        co_await services.state.written(); // This removes a right, so it must be on disk first.
    }
    // The connection may have been revoked while the question was open.
    if (!decision.isAllowed() || !services.state.connection(connectionId))
        co_return false;
    bool const isShared = co_await set(connectionId, true);
    co_return isShared&& services.state.connection(connectionId).has_value();
}

Task<bool> RecordingSharing::set(std::string connectionId, bool shared)
{
    if (!co_await sendChoice(connectionId, shared)) {
        logFailure();
        co_return false;
    }
    logSet(connectionId, shared);
    if (!shared)
        co_await services.state.written();
    co_return shared;
}

Task<bool> RecordingSharing::sendChoice(std::string connectionId, bool shared)
{
    AsyncMutex::Lock const lock = co_await sending.lock();
    bool const hasAgreed = co_await services.sendSharing(connectionId, shared);
    if (hasAgreed)
        services.state.setShareRecordings(shared, connectionId);
    co_return hasAgreed;
}

void RecordingSharing::askUndecided()
{
    std::vector<std::string> undecided;
    for (auto const& [id, connection] : services.state.connections())
        if (connection.holds(AgentScope::record) && !connection.shareRecordings)
            undecided.push_back(id);
    for (std::string const& id : undecided)
        spawn(services.main, [this, id]() -> Task<> { co_await ask(id); });
}

void RecordingSharing::logSet(std::string const& connectionId, bool shared)
{
    auto const connection = services.state.connection(connectionId);
    services.state.log(
        {.platform = connection ? connection->platformName : localized("common.platform"),
         .summary = localized(shared ? "recording.share.allowedLog" : "recording.share.stoppedLog"),
         .kind = ActivityKind::recording,
         .connectionId = connectionId});
}

void RecordingSharing::logFailure()
{
    services.state.log({.platform = localized("activity.app"),
                        .summary = localized("recording.share.failed"),
                        .kind = ActivityKind::recording});
}

} // namespace zelvo
