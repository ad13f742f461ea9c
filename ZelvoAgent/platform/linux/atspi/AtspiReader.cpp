#include "platform/linux/atspi/AtspiReader.h"

#include "platform/linux/atspi/AtspiFocus.h"
#include "platform/linux/atspi/AtspiHitTest.h"
#include "platform/linux/atspi/ChromiumWaking.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::size_t maxSearchedForMenuBar = 300;
constexpr Duration maxWaking = 1s;     // Once per process; includes reading what was found.
constexpr Duration describing = 200ms; // The part of it reserved for that reading.
constexpr Duration wakingPause = 20ms;

std::vector<AccessibilityElement> handles(std::vector<AtspiNode::Index> const& indices)
{
    std::vector<AccessibilityElement> elements;
    elements.reserve(indices.size());
    for (auto const index : indices)
        elements.push_back({index});
    return elements;
}

/// Without places on the screen those in windows are still worth something.
AtspiScreen usable(AtspiScreen screen)
{
    bool const isKnown = !screen.isKnown || screen.isKnown();
    return isKnown ? std::move(screen) : AtspiScreen{.from = ReportedFrom::corner};
}

AtspiToolkit toolkitOf(std::string const& name, AtspiScreen const& screen)
{
    AtspiToolkit toolkit = atspiToolkitOf(name);
    toolkit.placesInWindow = toolkit.placesInWindow || screen.from != ReportedFrom::screen;
    return toolkit;
}

} // namespace

AtspiReader::AtspiReader(Clock& clock,
                         std::unique_ptr<AtspiLink> link,
                         AtspiKnowledgeBox& knowledge,
                         AtspiScreen screen,
                         std::int32_t pid,
                         Duration messagingTimeout)
    : clock(clock), knowledge(knowledge), screen(usable(std::move(screen))), pid(pid),
      exchange(messagingTimeout)
{
    if (!link)
        return;
    bus = &exchange.addLink(std::move(link));
    AtspiApplicationSearch search(exchange, *bus, knowledge);
    auto application = search.find(pid);
    hasLooked = search.hasLooked();
    if (!application)
        return;
    found = std::move(*application);
    inquiry = std::make_unique<AtspiInquiry>(exchange, nodes, *bus, search.daemon());
    inquiry->addApplication(found.peer, pid, toolkitOf(found.toolkit, this->screen));
    known = std::make_unique<AtspiElements>(*inquiry, nodes);
    if (found.isWoken)
        known->noteWoken();
    texts = std::make_unique<AtspiTexts>(*inquiry, nodes, *known);
    names = std::make_unique<AtspiNames>(*inquiry, nodes, *known, found);
    places = std::make_unique<AtspiPlaces>(*inquiry, nodes, *known);
    edits = std::make_unique<AtspiEditing>(*inquiry, nodes);
    ahead = std::make_unique<AtspiReadAhead>(exchange, *inquiry, nodes, *known, *places);
    inquiry->onAnswered = [this](Index index, AtspiQuestion question) { ahead->noteAnswer(index, question); };
    nodes.find(found.peer, found.path);
}

std::optional<bool> AtspiReader::isOnBus() const
{
    if (inquiry)
        return true;
    return hasLooked ? std::optional(false) : std::nullopt;
}

void AtspiReader::plan(AccessibilityPlan next)
{
    if (!ahead)
        return;
    if (ahead->hasPlan()) {
        inquiry->startAnew();
        places->forget();
        lastWindows.clear();
    }
    exchange.trustAgain();
    exchange.setDeadline(std::chrono::steady_clock::now() + (next.deadline - clock.now()));
    inquiry->allowsProcess = next.allowsProcess;
    ahead->plan(std::move(next));
}

bool AtspiReader::isReadable(AccessibilityElement element) const
{
    return inquiry && element.index < nodes.size();
}

void AtspiReader::follow(Index index)
{
    if (!ahead->hasPlan() || !ahead->current().describes)
        return;
    if (!ahead->covers(index)) {
        if (!places->hasBegun()) {
            auto const roots = lastWindows;
            beginPlaces();
            lastWindows = roots;
        }
        // A root of the walk. The windows after it are roots too.
        auto const window = std::ranges::find(lastWindows, index);
        if (window == lastWindows.end())
            ahead->startAt({index});
        else
            ahead->startAt({window, lastWindows.end()});
    }
    ahead->reach(index);
}

bool AtspiReader::meet(Index index)
{
    follow(index);
    known->identify(index);
    return known->exists(index);
}

std::optional<std::string> AtspiReader::text(AccessibilityElement element, AccessibilityAttribute attribute)
{
    if (!isReadable(element) || !meet(element.index))
        return std::nullopt;
    Index const index = element.index;
    switch (attribute) {
    case AccessibilityAttribute::role:
        return std::string(nodes.axRole(index).role);
    case AccessibilityAttribute::subrole: {
        AxRole const ax = nodes.axRole(index);
        return ax.subrole.empty() ? std::nullopt : std::optional<std::string>(ax.subrole);
    }
    case AccessibilityAttribute::title:
        return texts->titleOf(index);
    case AccessibilityAttribute::description:
        return texts->descriptionOf(index);
    case AccessibilityAttribute::help:
        return texts->helpOf(index);
    case AccessibilityAttribute::identifier:
        return texts->identifierOf(index);
    case AccessibilityAttribute::value:
        return texts->valueOf(index);
    default:
        return std::nullopt;
    }
}

std::optional<bool> AtspiReader::flag(AccessibilityElement element, AccessibilityAttribute attribute)
{
    if (!isReadable(element) || !meet(element.index) || !nodes[element.index].states)
        return std::nullopt;
    AtspiNode const& node = nodes[element.index];
    switch (attribute) {
    case AccessibilityAttribute::enabled:
        return node.has(AtspiState::enabled) && node.has(AtspiState::sensitive);
    case AccessibilityAttribute::focused:
        return node.has(AtspiState::focused);
    case AccessibilityAttribute::isDefault:
        return node.has(AtspiState::isDefault);
    case AccessibilityAttribute::isForm:
        return node.role == AtspiRole::form;
    default:
        return std::nullopt;
    }
}

std::optional<AccessibilityElement> AtspiReader::element(AccessibilityElement element,
                                                         AccessibilityAttribute attribute)
{
    if (!isReadable(element))
        return std::nullopt;
    if (attribute == AccessibilityAttribute::parent)
        return parentOf(element.index);
    if (element != application())
        return std::nullopt;
    std::optional<Index> index;
    if (attribute == AccessibilityAttribute::focusedUiElement)
        index = focusedElement();
    else if (attribute == AccessibilityAttribute::focusedWindow)
        index = focusedWindow();
    else if (attribute == AccessibilityAttribute::currentMenuItem)
        index = currentMenuItem();
    else if (attribute == AccessibilityAttribute::defaultButton)
        index = defaultButton();
    else if (attribute == AccessibilityAttribute::menuBar)
        index = menuBar();
    return index ? std::optional(AccessibilityElement{*index}) : std::nullopt;
}

std::optional<std::vector<AccessibilityElement>> AtspiReader::elements(AccessibilityElement element,
                                                                       AccessibilityAttribute attribute)
{
    if (!isReadable(element))
        return std::nullopt;
    std::optional<std::vector<Index>> indices;
    if (attribute == AccessibilityAttribute::children) {
        follow(element.index);
        indices = childrenOf(element.index);
    } else if (attribute == AccessibilityAttribute::windows && element == application())
        indices = windows();
    return indices ? std::optional(handles(*indices)) : std::nullopt;
}

std::optional<std::vector<AtspiNode::Index>> AtspiReader::childrenOf(Index index)
{
    known->identify(index);
    if (nodes[index].has(AtspiState::defunct))
        return std::nullopt;
    inquiry->ensure(index, AtspiQuestion::children);
    return nodes[index].children;
}

std::optional<std::vector<AtspiNode::Index>> AtspiReader::windows()
{
    auto const children = childrenOf(0);
    if (!children)
        return std::nullopt;
    // Ask all at once; one at a time each would cost a round trip.
    if (!exchange.isSilent(found.peer))
        for (Index const child : *children)
            known->askIdentity(child);
    lastWindows.clear();
    for (Index const child : *children) {
        known->identify(child);
        AtspiNode const& node = nodes[child];
        // Any role: a plain Qt window has the role "filler".
        if (known->exists(child) && (node.has(AtspiState::showing) || node.has(AtspiState::visible) ||
                                     node.has(AtspiState::iconified)))
            lastWindows.push_back(child);
    }
    return lastWindows;
}

std::optional<AtspiNode::Index> AtspiReader::focusedWindow()
{
    auto const all = windows();
    if (!all)
        return std::nullopt;
    auto const active =
        std::ranges::find_if(*all, [&](Index index) { return nodes[index].has(AtspiState::active); });
    lastWindows.clear();
    return active == all->end() ? std::nullopt : std::optional(*active);
}

std::optional<AccessibilityElement> AtspiReader::parentOf(Index index) const
{
    auto const parent = nodes[index].parent;
    return parent ? std::optional(AccessibilityElement{*parent}) : std::nullopt;
}

std::optional<AtspiNode::Index> AtspiReader::focusedElement()
{
    if (!focusedWindow())
        return std::nullopt;
    return onceBuilt([this]() -> std::optional<Index> {
        auto const window = focusedWindow();
        return window ? AtspiFocus(*inquiry, nodes, *known).findIn(*window) : std::nullopt;
    });
}

std::optional<AtspiNode::Index> AtspiReader::currentMenuItem()
{
    if (!inquiry || !inquiry->toolkitOf(found.peer).menusLeaveFocus)
        return std::nullopt;
    // A menu of its own, such as that of the right button, is a window.
    for (Index const window : windows().value_or(std::vector<Index>()))
        if (auto const item =
                AtspiFocus(*inquiry, nodes, *known, AtspiState::selected).findMenuItemIn(window))
            return item;
    return std::nullopt;
}

std::optional<AtspiNode::Index> AtspiReader::defaultButton()
{
    auto const window = focusedWindow();
    return window ? AtspiFocus(*inquiry, nodes, *known, AtspiState::isDefault).findIn(*window) : std::nullopt;
}

std::optional<AccessibilityElement> AtspiReader::elementAt(DesktopPoint point)
{
    if (!inquiry || isRelative())
        return std::nullopt;
    auto const hit = onceBuilt([&] { return hitTest(point); });
    return hit ? std::optional(AccessibilityElement{*hit}) : std::nullopt;
}

std::optional<AtspiNode::Index> AtspiReader::onceBuilt(std::function<std::optional<Index>()> const& look)
{
    if (!mayStillBuild())
        return look();
    auto const end = std::chrono::steady_clock::now() + maxWaking;
    exchange.setDeadline(std::min(exchange.currentDeadline().value_or(end), end));
    auto seen = look();
    if (!isStillEmpty(seen))
        return seen;
    do { // A browser that has just started falls silent while it works.
        if (sleeps())
            setFlag(application(), AccessibilityAttribute::manualAccessibility, true);
        seen = look();
    } while (isStillEmpty(seen) && waitForMore());
    found.isBuilt = true;
    remember([](AtspiKnowledge::Application& application) { application.isBuilt = true; });
    return seen;
}

std::optional<AtspiNode::Index> AtspiReader::hitTest(DesktopPoint point)
{
    announce(point);
    if (!places->hasBegun())
        beginPlaces();
    return AtspiHitTest(*inquiry, nodes, *known, *places).find(point);
}

/// Chromium returns a guess and asks its pages meanwhile.
void AtspiReader::announce(DesktopPoint point)
{
    auto const displays = screen.displays ? screen.displays() : std::vector<DisplayLayout>();
    if (!inquiry->toolkitOf(found.peer).guessesHits || displays.empty() || displays.front().scale != 1)
        return;
    PixelPoint const pixel = displays.front().toPixels(point);
    for (Index const window : windows().value_or(std::vector<Index>()))
        inquiry->announceHit(window, {pixel.x, pixel.y});
}

bool AtspiReader::mayStillBuild() const
{
    return found.toolkit == "Chromium" && !found.isBuilt;
}

bool AtspiReader::sleeps() const
{
    return found.toolkit == "Chromium" && !known->isAwake();
}

bool AtspiReader::isStillEmpty(std::optional<Index> seen)
{
    if (!seen)
        return true;
    std::string_view const role = nodes.axRole(*seen).role;
    return role == "AXWindow" || role == "AXWebArea" || role == "AXGroup" || role == "AXUnknown";
}

/// False if the remaining time is needed to read what was found.
bool AtspiReader::waitForMore()
{
    if (exchange.timeLeft() < describing)
        return false;
    exchange.trustAgain();
    exchange.linkOf(found.peer).wait(wakingPause);
    inquiry->startAnew();
    places->forget();
    lastWindows.clear();
    return true;
}

std::optional<std::int32_t> AtspiReader::processOf(AccessibilityElement element)
{
    return isReadable(element) ? inquiry->processOf(element.index) : std::nullopt;
}

std::string AtspiReader::nameOf(AccessibilityElement element)
{
    return isReadable(element) ? names->nameOf(element.index) : std::string();
}

std::optional<AccessibilityElement> AtspiReader::find(std::string const& name)
{
    auto const index = names ? names->find(name) : std::nullopt;
    return index ? std::optional(AccessibilityElement{*index}) : std::nullopt;
}

ElementDeed AtspiReader::press(AccessibilityElement element)
{
    return isReadable(element) ? edits->press(element.index) : ElementDeed::impossible;
}

ElementDeed AtspiReader::replaceText(AccessibilityElement element, std::string const& text)
{
    return isReadable(element) ? edits->replace(element.index, text) : ElementDeed::impossible;
}

std::optional<AtspiNode::Index> AtspiReader::menuBar()
{
    auto const window = focusedWindow();
    if (!window)
        return std::nullopt;
    std::vector<Index> row = {*window};
    for (std::size_t searched = 0; !row.empty() && searched < maxSearchedForMenuBar;) {
        std::vector<Index> below;
        for (Index const index : row) {
            known->identify(index);
            if (nodes[index].role == AtspiRole::menuBar && known->exists(index))
                return index;
            if (!known->exists(index) || ++searched >= maxSearchedForMenuBar)
                continue;
            for (Index const child : childrenOf(index).value_or(std::vector<Index>())) {
                if (below.size() < maxSearchedForMenuBar && !exchange.isSilent(found.peer))
                    known->askIdentity(child);
                below.push_back(child);
            }
        }
        row = std::move(below);
    }
    return std::nullopt;
}

void AtspiReader::beginPlaces()
{
    auto topLevels = windows().value_or(std::vector<Index>());
    std::erase_if(topLevels, [this](Index window) { return !known->isShowing(window); });
    places->begin(screen, pid, found.toolkit, std::move(topLevels));
}

std::optional<DesktopRect> AtspiReader::frameOf(AccessibilityElement element)
{
    if (!isReadable(element) || element == application() || !meet(element.index) ||
        !known->isShowing(element.index))
        return std::nullopt;
    if (!places->hasBegun())
        beginPlaces();
    return places->frameOf(element.index);
}

std::optional<DesktopPoint> AtspiReader::position(AccessibilityElement element)
{
    auto const frame = frameOf(element);
    return frame ? std::optional(DesktopPoint{frame->x, frame->y}) : std::nullopt;
}

std::optional<DesktopSize> AtspiReader::size(AccessibilityElement element)
{
    auto const frame = frameOf(element);
    return frame ? std::optional(DesktopSize{frame->width, frame->height}) : std::nullopt;
}

std::vector<std::string> AtspiReader::actionNames(AccessibilityElement element)
{
    if (!isReadable(element) || !meet(element.index))
        return {};
    if (known->can(element.index, atspi::hasAction))
        inquiry->ensure(element.index, AtspiQuestion::actions);
    return nodes[element.index].actions;
}

bool AtspiReader::setFlag(AccessibilityElement element, AccessibilityAttribute attribute, bool value)
{
    if (!isReadable(element) || element != application() ||
        attribute != AccessibilityAttribute::manualAccessibility)
        return false;
    if (!value)
        return true;
    auto const frames = windows();
    if (!frames || frames->empty())
        return false;
    if (!ChromiumWaking(exchange, *inquiry, nodes).wake(*frames))
        return false;
    noteWoken();
    inquiry->startAnew();
    places->forget();
    lastWindows.clear();
    return true;
}

void AtspiReader::noteWoken()
{
    known->noteWoken();
    remember([](AtspiKnowledge::Application& application) { application.isWoken = true; });
}

void AtspiReader::remember(std::function<void(AtspiKnowledge::Application&)> const& change)
{
    knowledge.change([&](AtspiKnowledge& all) {
        if (auto const entry = all.applications.find(found.name); entry != all.applications.end())
            change(entry->second);
    });
}

} // namespace zelvo
