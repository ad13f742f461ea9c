#include "router/ElementHandlers.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration settlePause = 60ms;
constexpr auto textRoles =
    std::to_array<std::string_view>({"AXTextField", "AXTextArea", "AXSecureTextField", "AXComboBox"});

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

DetailedAgentError cannotOperate(UiElementInfo const& info, bool isSupported)
{
    DetailedAgentError failure;
    failure.error = AgentError::invalidRequest;
    failure.message = isSupported ? "The app did not let this element be operated."
                                  : "This desktop does not say where windows are, and the element offers no "
                                    "action that does this.";
    failure.details = {{"elementId", info.id}, {"role", info.role}};
    return failure;
}

DetailedAgentError operatingStopped()
{
    DetailedAgentError failure;
    failure.error = AgentError::machineBusy;
    failure.message = "Another window came to the front. The action was not performed.";
    return failure;
}

} // namespace

std::shared_ptr<UiTreeSnapshot const> ElementHandlers::snapshotOf(std::string const& id) const
{
    auto snapshot = services.snapshots.find(connection, id);
    if (!snapshot)
        throw AgentError::snapshotExpired;
    return snapshot;
}

UiElementInfo ElementHandlers::element(std::string const& snapshotId, std::string const& elementId) const
{
    return elementOf(*snapshotOf(snapshotId), elementId);
}

OptionalText ElementHandlers::applicationOf(std::string const& snapshotId) const
{
    auto const snapshot = snapshotOf(snapshotId);
    bool const isKnown = snapshot->app && !snapshot->app->bundleId.empty();
    return isKnown ? OptionalText(snapshot->app->bundleId) : std::nullopt;
}

bool ElementHandlers::hasPlaces(std::string const& snapshotId) const
{
    return !snapshotOf(snapshotId)->isRelative;
}

NamedElement ElementHandlers::named(std::string const& snapshotId, std::string const& elementId) const
{
    auto const snapshot = snapshotOf(snapshotId);
    auto const found = std::ranges::find(snapshot->elements, elementId, &UiElementInfo::id);
    auto const at = static_cast<std::size_t>(found - snapshot->elements.begin());
    return {.pid = snapshot->pid, .name = at < snapshot->names.size() ? snapshot->names[at] : ""};
}

Task<> ElementHandlers::perform(InputAction::ClickElement action)
{
    if (!hasPlaces(action.snapshotId)) {
        co_await operate(std::move(action.snapshotId), std::move(action.elementId), std::nullopt);
        co_return;
    }
    co_await assertMayBeClicked(action.snapshotId, action.elementId);
    InputAction::Click const click{.point = element(action.snapshotId, action.elementId).frame.center()};
    co_await services.shown.perform(click);
}

Task<ProbedElement> ElementHandlers::assertMayBeClicked(std::string snapshotId, std::string elementId)
{
    auto const snapshot = snapshotOf(snapshotId);
    UiElementInfo const info = elementOf(*snapshot, elementId);
    if (snapshot->app)
        co_await assertFromFrontmostApp(*snapshot->app);
    if (snapshot->isRelative) {
        co_await assertMayBeOperated();
    } else {
        DesktopPoint const point = info.frame.center();
        co_await on(services.workers, [&] { services.ownUi.assertClickAllowed(point); });
    }
    ProbedElement found = co_await foundAt(snapshotId, elementId);
    assertSame(snapshotId, elementId, found);
    co_return found;
}

Task<ProbedElement> ElementHandlers::foundAt(std::string snapshotId, std::string elementId)
{
    UiElementInfo const info = element(snapshotId, elementId);
    if (hasPlaces(snapshotId)) {
        auto probed = co_await services.probe.element(info.frame.center());
        if (!probed)
            throw otherElementNow(info, probed);
        co_return *std::move(probed);
    }
    NamedElement const wanted = named(snapshotId, elementId);
    if (wanted.name.empty())
        throw cannotOperate(info, false);
    auto seen = co_await services.probe.element(wanted);
    if (!seen)
        throw otherElementNow(info, seen);
    judged = {wanted, *seen};
    co_return *std::move(seen);
}

Task<> ElementHandlers::assertMayBeOperated()
{
    auto const front = co_await services.probe.frontmostApp();
    services.ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    co_await services.hiddenGuard.assertFrontmostAllowed();
}

Task<>
ElementHandlers::operate(std::string snapshotId, std::string elementId, std::optional<std::string> text)
{
    // The application must not have changed it between the judgement and now, not even in part.
    auto const before = std::exchange(judged, std::nullopt);
    ElementOperation operation{.element = named(snapshotId, elementId), .text = std::move(text)};
    operation.expected = co_await assertMayBeClicked(snapshotId, elementId);
    judged.reset();
    UiElementInfo const info = element(snapshotId, elementId);
    if (before && before->element == operation.element && before->seen != operation.expected)
        throw otherElementNow(info, operation.expected);
    using enum ElementOperating::Outcome;
    auto const outcome =
        services.operating ? co_await services.operating->operate(std::move(operation)) : impossible;
    if (outcome == changed)
        throw otherElementNow(info, std::nullopt);
    if (outcome == stopped)
        throw operatingStopped();
    if (outcome != done)
        throw cannotOperate(info, outcome == refused);
}

void ElementHandlers::assertSame(std::string const& snapshotId,
                                 std::string const& elementId,
                                 ProbedElement const& found) const
{
    UiElementInfo const info = element(snapshotId, elementId);
    if (!sameElement(found, info))
        throw otherElementNow(info, found);
}

Task<ProbedElement> ElementHandlers::assertHoldsText(InputAction::SetValue action)
{
    UiElementInfo const info = element(action.snapshotId, action.elementId);
    if (std::ranges::find(textRoles, info.role) == textRoles.end())
        throw AgentError::invalidRequest;
    co_await services.hiddenGuard.assertFrontmostAllowed();
    if (hasPlaces(action.snapshotId))
        co_await services.hiddenGuard.assertPointAllowed(info.frame.center());
    co_return co_await assertMayBeClicked(std::move(action.snapshotId), std::move(action.elementId));
}

Task<> ElementHandlers::assertFromFrontmostApp(UiTreeSnapshot::App app)
{
    auto front = co_await services.probe.frontmostApp();
    if (front && front->isHidden)
        front.reset();
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

Task<> ElementHandlers::perform(InputAction::SetValue action)
{
    if (!hasPlaces(action.snapshotId)) {
        co_await operate(std::move(action.snapshotId), std::move(action.elementId), std::move(action.text));
        co_return;
    }
    co_await selectText(action);
    InputAction::Type typed{.text = std::move(action.text)};
    co_await services.shown.perform(std::move(typed));
}

Task<> ElementHandlers::selectText(InputAction::SetValue action)
{
    UiElementInfo const info = element(action.snapshotId, action.elementId);
    co_await services.hiddenGuard.assertFrontmostAllowed();
    InputAction::Click const click{.point = info.frame.center()};
    co_await services.hiddenGuard.assertPointAllowed(click.point);
    co_await services.shown.perform(click);
    co_await services.clock.sleepThroughCancel(settlePause);
    std::vector<std::string> const selectAll{"cmd", "a"};
    co_await services.input.pressKeys(selectAll);
}

} // namespace zelvo
