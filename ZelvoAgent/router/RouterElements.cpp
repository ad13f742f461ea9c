#include "base/Hop.h"
#include "base/Text.h"
#include "router/RpcRouter.h"

#include <algorithm>
#include <array>

namespace zelvo {

namespace {

constexpr Duration settlePause = 60ms;

using OptionalText = std::optional<std::string>;

UiElementInfo elementOf(UiTreeSnapshot const& snapshot, std::string const& elementId)
{
    auto const found = std::ranges::find(snapshot.elements, elementId, &UiElementInfo::id);
    if (found == snapshot.elements.end())
        throw AgentError::invalidRequest;
    return *found;
}

std::vector<std::string> presentTexts(std::array<OptionalText, 3> const& all)
{
    std::vector<std::string> present;
    for (OptionalText const& text : all)
        if (text && !text->empty())
            present.push_back(*text);
    return present;
}

DetailedAgentError otherElementNow(UiElementInfo const& info, std::optional<ProbedElement> const& probed)
{
    DetailedAgentError failure;
    failure.error = AgentError::snapshotExpired;
    failure.message = "A different element is at this spot now. Read the screen tree again.";
    failure.details = {
        {"elementId", info.id}, {"expectedRole", info.role}, {"actualRole", probed ? probed->role : ""}};
    return failure;
}

} // namespace

UiElementInfo RpcRouter::element(std::string const& snapshotId, std::string const& elementId) const
{
    auto const snapshot = snapshots.find(snapshotId);
    if (!snapshot)
        throw AgentError::snapshotExpired;
    return elementOf(*snapshot, elementId);
}

Task<> RpcRouter::clickElement(InputAction::ClickElement action)
{
    auto const snapshot = snapshots.find(action.snapshotId);
    if (!snapshot)
        throw AgentError::snapshotExpired;
    UiElementInfo const info = elementOf(*snapshot, action.elementId);
    if (snapshot->app)
        co_await assertFromFrontmostApp(*snapshot->app);
    DesktopPoint const point = info.frame.center();
    co_await on(contexts.workers, [&] { members.ownUi.assertClickAllowed(point); });
    auto const probed = co_await members.probe.element(point);
    if (!probed || !sameElement(*probed, info))
        throw otherElementNow(info, probed);
    co_await clickShown(point);
}

Task<> RpcRouter::assertFromFrontmostApp(UiTreeSnapshot::App app)
{
    auto const front = co_await members.probe.frontmostApp();
    if (front && text::equalIgnoringCase(front->bundleId, app.bundleId))
        co_return;
    DetailedAgentError failure;
    failure.error = AgentError::appNotFrontmost;
    failure.message = (front ? front->name : "Another app") + " is in front, but the snapshot was taken in " +
                      app.name + ".";
    failure.details = {{"expected", app.bundleId},
                       {"actual", front ? front->bundleId : ""},
                       {"actualName", front ? front->name : ""}};
    throw failure;
}

/// Is what is at a place now what the snapshot says was there?
bool RpcRouter::sameElement(ProbedElement const& probed, UiElementInfo const& info)
{
    if (probed.role != info.role)
        return false;
    std::vector<std::string> const expected =
        presentTexts({info.title, info.elementDescription, info.identifier});
    std::vector<std::string> const found = presentTexts({probed.title, probed.label, probed.identifier});
    return expected.empty() || std::ranges::find_first_of(expected, found) != expected.end();
}

/// Writes by typing: what stands there is selected first, and the text takes its place.
Task<> RpcRouter::setValue(InputAction::SetValue action)
{
    UiElementInfo const info = element(action.snapshotId, action.elementId);
    co_await members.hiddenGuard.assertFrontmostAllowed();
    co_await clickShown(info.frame.center());
    co_await clock.sleepThroughCancel(settlePause);
    std::vector<std::string> const selectAll{"cmd", "a"};
    co_await members.input.pressKeys(selectAll);
    co_await typeShown(std::move(action.text));
}

Task<> RpcRouter::typeShown(std::string text)
{
    // It may be long, and the agent's thread has the socket to look after.
    members.cursor.typed(co_await on(contexts.workers, [&] { return text::characterCount(text); }));
    co_await members.input.type(std::move(text));
}

Task<> RpcRouter::clickShown(DesktopPoint at)
{
    co_await members.cursor.approach(at);
    std::vector<Modifier> const none;
    co_await members.input.click(at, MouseButton::left, 1, none);
    members.cursor.clicked(at, 1);
}

} // namespace zelvo
