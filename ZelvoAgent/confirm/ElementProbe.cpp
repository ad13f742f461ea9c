#include "confirm/ElementProbe.h"

#include "base/Hop.h"
#include "confirm/ButtonRoles.h"
#include "confirm/ElementDescription.h"

#include <algorithm>

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

constexpr Duration maxProbe = 1s;
constexpr Duration messagingTimeout = 250ms;

std::optional<std::string> nonEmpty(std::string text)
{
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

ElementProbe::ElementProbe(Executor workers, Platform& platform, HiddenAppsStore& hiddenApps)
    : workers(std::move(workers)), platform(platform), hiddenApps(hiddenApps)
{
}

Task<std::optional<ProbedElement>> ElementProbe::element(DesktopPoint at)
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] { return elementNow(at, hidden); });
}

Task<std::optional<ProbedElement>> ElementProbe::element(NamedElement named)
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] {
        Probed found;
        visitNamed(named, hidden, [&](auto&, auto, ProbedElement const& seen) { found = seen; });
        return found;
    });
}

Task<ElementOperating::Outcome> ElementProbe::operate(ElementOperation operation)
{
    if (!isTrusted())
        co_return ElementOperating::Outcome::stopped;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] { return operateNow(operation, hidden); });
}

Task<std::optional<ProbedElement>> ElementProbe::frontmostDialog()
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] { return dialogNow(hidden); });
}

Task<std::optional<FrontmostAppInfo>> ElementProbe::frontmostApp()
{
    auto const front = co_await on(workers, [this] { return platform.workspace().frontmostApplication(); });
    if (!front)
        co_return std::nullopt;
    std::optional<std::string> const bundleId = front->names.identifier();
    if (!bundleId)
        co_return std::nullopt;
    FrontmostAppInfo info{*bundleId, nonEmpty(front->localizedName).value_or(*bundleId), front->names};
    info.isHidden = front->names.isHidden(co_await hiddenApps.bundleIds());
    co_return info;
}

Task<std::optional<ProbedElement>> ElementProbe::focusedElement()
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] { return inFront(hidden, focusedIn); });
}

Task<std::optional<ProbedElement>> ElementProbe::currentElement()
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] { return inFront(hidden, currentIn); });
}

Task<std::optional<ProbedElement>> ElementProbe::defaultButton()
{
    if (!isTrusted())
        co_return std::nullopt;
    Hidden const hidden = co_await hiddenApps.bundleIds();
    co_return co_await on(workers, [&] {
        auto button = inFront(hidden, defaultButtonIn);
        if (!button && inFront(hidden, focusedFormIn))
            button = ProbedElement{.role = "AXButton", .isUnknown = true};
        return button;
    });
}

std::optional<ProbedElement> ElementProbe::elementNow(DesktopPoint at, Hidden const& hidden)
{
    auto const window = readableWindow(at, hidden);
    if (!window)
        return std::nullopt;
    auto const shows = [&](std::int32_t pid) {
        return std::ranges::any_of(window->embedded, [&](EmbeddedEntry const& inside) {
            return inside.ownerPid == pid && inside.bounds.contains(at);
        });
    };
    auto const reader = read(*window->ownerPid, shows);
    auto const hit = reader->elementAt(at);
    if (!hit)
        return std::nullopt;
    AccessibilityElement const pressed = nearestButton(*reader, *hit).value_or(*hit);
    ProbedElement probed = described(*reader, pressed);
    probed.appName = applicationOf(reader->processOf(pressed), *window->ownerPid, window->ownerName);
    return probed;
}

bool ElementProbe::visitNamed(NamedElement const& named, Hidden const& hidden, Visit const& visit)
{
    auto const front = readableFront(hidden);
    if (!front || front->pid != named.pid || named.name.empty())
        return false;
    // The process may also hold an application that is hidden.
    auto const process = platform.workspace().application(named.pid);
    if (process && process->names.isHidden(hidden))
        return false;
    auto const reader = read(named.pid, [](std::int32_t) { return false; });
    auto const found = reader->find(named.name);
    if (!found || reader->processOf(*found) != named.pid)
        return true;
    AccessibilityElement const pressed = nearestButton(*reader, *found).value_or(*found);
    ProbedElement seen = described(*reader, pressed);
    seen.appName = nonEmpty(front->localizedName);
    // What is not known in full may be anything.
    if (!reader->hasFallenSilent())
        visit(*reader, pressed, seen);
    return true;
}

ElementOperating::Outcome ElementProbe::operateNow(ElementOperation const& operation, Hidden const& hidden)
{
    using enum ElementOperating::Outcome;
    auto outcome = changed;
    auto const operate = [&](AccessibilityReader& reader, AccessibilityElement element,
                             ProbedElement const& seen) {
        if (seen != operation.expected)
            return;
        ElementDeed const deed =
            operation.text ? reader.replaceText(element, *operation.text) : reader.press(element);
        outcome = deed == ElementDeed::done ? done : deed == ElementDeed::refused ? refused : impossible;
    };
    return visitNamed(operation.element, hidden, operate) ? outcome : stopped;
}

std::optional<ProbedElement> ElementProbe::dialogNow(Hidden const& hidden)
{
    auto const front = readableFront(hidden);
    // The program's own panels are never a dialog to ask about.
    if (!front || front->names.identifier() == ownBundleIdentifier)
        return std::nullopt;
    auto const reader = read(front->pid, [](std::int32_t) { return false; });
    auto const window = reader->element(reader->application(), Attribute::focusedWindow);
    if (!window)
        return std::nullopt;
    ProbedElement const seen = described(*reader, *window);
    bool const isSheet = seen.role == "AXSheet";
    if (!isSheet && !isDialogSubrole(seen.subrole))
        return std::nullopt;
    return ProbedElement{.role = seen.role,
                         .subrole = seen.subrole,
                         .title = seen.title,
                         .label = {},
                         .help = {},
                         .identifier = {},
                         .appName = nonEmpty(front->localizedName),
                         .windowSubrole = seen.subrole,
                         .isInSheet = isSheet};
}

std::optional<ProbedElement> ElementProbe::inFront(Hidden const& hidden, Find find)
{
    auto const front = readableFront(hidden);
    if (!front)
        return std::nullopt;
    auto const shows = [&](std::int32_t pid) { return isEmbedded(pid, front->pid, hidden); };
    auto const reader = read(front->pid, shows);
    auto const found = find(*reader);
    if (!found)
        return std::nullopt;
    ProbedElement probed = described(*reader, *found);
    probed.appName = applicationOf(reader->processOf(*found), front->pid, front->localizedName);
    return probed;
}

std::optional<AccessibilityElement> ElementProbe::focusedIn(AccessibilityReader& reader)
{
    return reader.element(reader.application(), Attribute::focusedUiElement);
}

std::optional<AccessibilityElement> ElementProbe::currentIn(AccessibilityReader& reader)
{
    auto const item = reader.element(reader.application(), Attribute::currentMenuItem);
    return item ? item : focusedIn(reader);
}

std::optional<AccessibilityElement> ElementProbe::focusedFormIn(AccessibilityReader& reader)
{
    auto const focused = focusedIn(reader);
    return focused ? formOf(reader, *focused) : std::nullopt;
}

/// A page has a default button in each of its forms.
std::optional<AccessibilityElement> ElementProbe::defaultButtonIn(AccessibilityReader& reader)
{
    auto const focused = focusedIn(reader);
    return focused && isInPage(reader, *focused)
               ? buttonOfForm(reader, *focused)
               : reader.element(reader.application(), Attribute::defaultButton);
}

std::optional<WindowEntry> ElementProbe::readableWindow(DesktopPoint at, Hidden const& hidden)
{
    auto windows = platform.windows().windows().value_or(std::vector<WindowEntry>());
    auto const top = std::ranges::find_if(windows, [&](WindowEntry const& each) { return each.isUnder(at); });
    if (top == windows.end() || top->isDesktop || !top->ownerPid ||
        *top->ownerPid == platform.facts().ownPid() || top->namesAt(at).isHidden(hidden))
        return std::nullopt;
    return std::move(*top);
}

std::optional<RunningApplication> ElementProbe::readableFront(Hidden const& hidden)
{
    auto front = platform.workspace().frontmostApplication();
    if (!front || front->pid == platform.facts().ownPid() || front->names.isHidden(hidden))
        return std::nullopt;
    return front;
}

bool ElementProbe::isEmbedded(std::int32_t pid, std::int32_t holder, Hidden const& hidden)
{
    auto const shows = [&](WindowEntry const& window) {
        return window.ownerPid == holder &&
               std::ranges::any_of(window.embedded, [&](EmbeddedEntry const& inside) {
                   return inside.ownerPid == pid && !inside.owner.isHidden(hidden);
               });
    };
    return std::ranges::any_of(platform.windows().windows().value_or(std::vector<WindowEntry>()), shows);
}

std::unique_ptr<AccessibilityReader> ElementProbe::read(std::int32_t pid, Shows shows)
{
    Instant const deadline = platform.clock().now() + maxProbe;
    auto reader = platform.accessibility().reader(pid, messagingTimeout);
    AccessibilityPlan plan;
    plan.deadline = deadline;
    // A process that is no application by itself, such as a page renderer, is part of this one.
    plan.allowsProcess = [this, shows = std::move(shows)](std::int32_t other) {
        return other != platform.facts().ownPid() &&
               (shows(other) || !platform.workspace().application(other));
    };
    reader->plan(std::move(plan));
    return reader;
}

std::optional<std::string>
ElementProbe::applicationOf(std::optional<std::int32_t> pid, std::int32_t known, std::string const& name)
{
    // Asking the display server is slow.
    if (pid == known && !name.empty())
        return name;
    auto const owner = pid ? platform.workspace().application(*pid) : std::nullopt;
    return owner ? nonEmpty(owner->localizedName) : std::nullopt;
}

} // namespace zelvo
