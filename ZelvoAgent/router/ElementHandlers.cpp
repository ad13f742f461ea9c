#include "router/ElementHandlers.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <array>

namespace zelvo {

namespace {

constexpr Duration settlePause = 60ms;

using OptionalText = std::optional<std::string>;

std::shared_ptr<UiTreeSnapshot const> snapshotOf(SnapshotStore const& snapshots, std::string const& id)
{
    auto snapshot = snapshots.find(id);
    if (!snapshot)
        throw AgentError::snapshotExpired;
    return snapshot;
}

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

/// Is what is at a place now what the snapshot says was there?
bool sameElement(ProbedElement const& probed, UiElementInfo const& info)
{
    if (probed.role != info.role)
        return false;
    std::vector<std::string> const expected =
        presentTexts({info.title, info.elementDescription, info.identifier});
    std::vector<std::string> const found = presentTexts({probed.title, probed.label, probed.identifier});
    return expected.empty() || std::ranges::find_first_of(expected, found) != expected.end();
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

UiElementInfo ElementHandlers::element(std::string const& snapshotId, std::string const& elementId) const
{
    return elementOf(*snapshotOf(services.snapshots, snapshotId), elementId);
}

Task<> ElementHandlers::perform(InputAction::ClickElement action)
{
    auto const snapshot = snapshotOf(services.snapshots, action.snapshotId);
    UiElementInfo const info = elementOf(*snapshot, action.elementId);
    if (snapshot->app)
        co_await assertFromFrontmostApp(*snapshot->app);
    InputAction::Click const click{.point = info.frame.center()};
    co_await on(services.workers, [&] { services.ownUi.assertClickAllowed(click.point); });
    auto const probed = co_await services.probe.element(click.point);
    if (!probed || !sameElement(*probed, info))
        throw otherElementNow(info, probed);
    co_await services.shown.perform(click);
}

Task<> ElementHandlers::assertFromFrontmostApp(UiTreeSnapshot::App app)
{
    auto front = co_await services.probe.frontmostApp();
    if (front && text::equalIgnoringCase(front->bundleId, app.bundleId))
        co_return;
    if (front && front->isHidden)
        front.reset();
    DetailedAgentError failure;
    failure.error = AgentError::appNotFrontmost;
    failure.message = (front ? front->name : "Another app") + " is in front, but the snapshot was taken in " +
                      app.name + ".";
    failure.details = {{"expected", app.bundleId},
                       {"actual", front ? front->bundleId : ""},
                       {"actualName", front ? front->name : ""}};
    throw failure;
}

Task<> ElementHandlers::perform(InputAction::SetValue action)
{
    UiElementInfo const info = element(action.snapshotId, action.elementId);
    co_await services.hiddenGuard.assertFrontmostAllowed();
    InputAction::Click const click{.point = info.frame.center()};
    co_await services.hiddenGuard.assertPointAllowed(click.point);
    co_await services.shown.perform(click);
    co_await services.clock.sleepThroughCancel(settlePause);
    std::vector<std::string> const selectAll{"cmd", "a"};
    co_await services.input.pressKeys(selectAll);
    InputAction::Type typed{.text = std::move(action.text)};
    co_await services.shown.perform(std::move(typed));
}

} // namespace zelvo
