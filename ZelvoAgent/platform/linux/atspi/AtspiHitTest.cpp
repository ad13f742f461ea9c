#include "platform/linux/atspi/AtspiHitTest.h"

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

/// Levels of a window that are searched; pages nest deeply.
constexpr std::size_t maxLevels = 100;
/// Levels from a part of a field up to the field.
constexpr int maxAroundAPart = 6;
constexpr int maxGuesses = 3;

bool isAField(std::string_view axRole)
{
    return axRole == "AXTextField" || axRole == "AXTextArea" || axRole == "AXSecureTextField" ||
           axRole == "AXComboBox" || axRole == "AXPopUpButton" || axRole == "AXSlider" || axRole == "AXTab" ||
           axRole == "AXDisclosureTriangle" || axRole == "AXSegmentedControl";
}

bool isAContainer(std::string_view axRole)
{
    return axRole == "AXGroup" || axRole == "AXUnknown" || axRole == "AXScrollArea" || axRole == "AXImage";
}

/// Whether an element of this role may stack its children on top of one another. GTK 3 uses other roles for
/// boxes and lists, which do not.
bool mayStack(AtspiRole role)
{
    return role == AtspiRole::dialog || role == AtspiRole::frame || role == AtspiRole::panel ||
           role == AtspiRole::layeredPane || role == AtspiRole::window;
}

/// The share of a rectangle that is inside another one, from 0 to 1.
double partInside(DesktopRect const& rect, DesktopRect const& other)
{
    auto const overlap = [](double start, double length, double from, double size) {
        return std::max(0.0, std::min(start + length, from + size) - std::max(start, from));
    };
    double const area = rect.width * rect.height;
    return area <= 0 ? 0
                     : overlap(rect.x, rect.width, other.x, other.width) *
                           overlap(rect.y, rect.height, other.y, other.height) / area;
}

} // namespace

std::optional<AtspiNode::Index> AtspiHitTest::find(DesktopPoint point)
{
    for (AtspiPlaces::Front const& front : places.windowsAt(point)) {
        auto const hit = findIn(front, point);
        if (hit) {
            Index const whole = wholeOf(*hit, point);
            askTexts(whole);
            return whole;
        }
        // A popup takes the press, so nothing below it can.
        if (front.isPopup)
            return std::nullopt;
    }
    return std::nullopt;
}

std::optional<AtspiNode::Index> AtspiHitTest::findIn(AtspiPlaces::Front const& front, DesktopPoint point)
{
    if (!front.element)
        return findDropped(front.bounds, point);
    Chain const chain = agreedIn(*front.element, point);
    if (chain.empty())
        return std::nullopt;
    if (auto const over = overlay(chain, point))
        return deepest(*over, point);
    bool const isAnswered = chain.size() > 1;
    Index const hit = isAnswered && !hasFew(chain.back()) ? chain.back() : deepest(chain.back(), point);
    return isAnswered && isBlank(hit) ? anythingElse(*front.element, point).value_or(hit) : hit;
}

AtspiHitTest::Chain AtspiHitTest::agreedIn(Index window, DesktopPoint point)
{
    auto const at = places.reportedAt(window, point);
    if (!at)
        return agreed({window}, point);
    Chain chain = agreed(asked(window, *at), point);
    // Chromium reports its window in scaled units, but may expect pixels.
    if (ReportedPoint const pixel = places.pixelAt(point); chain.size() <= 1 && pixel != *at)
        chain = agreed(asked(window, pixel), point);
    return chain;
}

AtspiHitTest::Chain AtspiHitTest::asked(Index window, ReportedPoint at)
{
    AtspiToolkit const toolkit = inquiry.toolkitOf(nodes[window].peer);
    if (toolkit.hitAnswer == AtspiHitAnswer::none)
        return {window};
    if (toolkit.hitAnswer == AtspiHitAnswer::child)
        return childByChild(window, at);
    Chain chain = {window};
    std::optional<Index> before;
    for (int i = 0; i < maxGuesses; ++i) {
        auto const hit = inquiry.hitIn(window, at);
        if (hit == before)
            break;
        before = hit;
        chain = hit ? upFrom(*hit, window) : Chain{window};
        if (!toolkit.guessesHits)
            break;
    }
    return chain;
}

AtspiHitTest::Chain AtspiHitTest::childByChild(Index window, ReportedPoint at)
{
    Chain chain = {window};
    while (chain.size() < maxLevels) {
        auto const child = inquiry.hitIn(chain.back(), at);
        // The toolkit returns the element itself if no child is at the point.
        if (!child || std::ranges::find(chain, *child) != chain.end() || !nodes.hang(*child, chain.back()))
            break;
        askPlace(*child);
        chain.push_back(*child);
    }
    inquiry.ask(chain.back(), AtspiQuestion::childCount);
    return chain;
}

AtspiHitTest::Chain AtspiHitTest::upFrom(Index hit, Index window)
{
    inquiry.ask(hit, AtspiQuestion::childCount);
    Chain chain = {hit};
    while (chain.back() != window && chain.size() < maxLevels) {
        askPlace(chain.back());
        auto const parent = inquiry.parentOf(chain.back());
        if (!parent || std::ranges::find(chain, *parent) != chain.end())
            return {window};
        chain.push_back(*parent);
    }
    if (chain.back() != window)
        return {window};
    std::ranges::reverse(chain);
    for (std::size_t i = 1; i < chain.size(); ++i)
        if (!nodes.hang(chain[i], chain[i - 1]))
            return {window};
    return chain;
}

AtspiHitTest::Chain AtspiHitTest::agreed(Chain chain, DesktopPoint point)
{
    for (Index const index : chain)
        known.identify(index);
    // A parent need not be drawn where its child is.
    while (!chain.empty() && !isAt(chain.back(), point))
        chain.pop_back();
    return chain;
}

std::optional<AtspiNode::Index> AtspiHitTest::overlay(Chain const& chain, DesktopPoint point)
{
    if (chain.size() < 2 || inquiry.toolkitOf(nodes[chain.front()].peer).hitAnswer != AtspiHitAnswer::child)
        return std::nullopt;
    Chain stacks;
    for (Index const index : chain | std::views::take(chain.size() - 1))
        if (mayStack(nodes[index].role.value_or(AtspiRole::invalid)))
            stacks.push_back(index);
    for (Index const index : stacks)
        inquiry.ask(index, AtspiQuestion::childCount);
    std::erase_if(stacks, [this](Index index) { return !hasFew(index); });
    for (Index const index : stacks)
        inquiry.ask(index, AtspiQuestion::children);
    for (Index const index : stacks) {
        Chain const children = childrenOf(index);
        auto const given = std::ranges::find_first_of(children, chain);
        for (Index const child : std::ranges::subrange(given, children.end()) | std::views::reverse)
            if (std::ranges::find(chain, child) == chain.end() && isAt(child, point))
                return child;
    }
    return std::nullopt;
}

AtspiNode::Index AtspiHitTest::deepest(Index index, DesktopPoint point)
{
    return below(index, point, 0).value_or(index);
}

std::optional<AtspiNode::Index> AtspiHitTest::below(Index index, DesktopPoint point, std::size_t level)
{
    if (level >= maxLevels || lookedAt >= maxLookedAt)
        return std::nullopt;
    Chain const children = childrenOf(index);
    lookedAt += children.size();
    // The last drawn is on top.
    for (Index const child : children | std::views::reverse) {
        if (isAt(child, point))
            return below(child, point, level + 1).value_or(child);
        if (isElsewhere(child))
            if (auto const hit = below(child, point, level + 1))
                return hit;
    }
    return std::nullopt;
}

bool AtspiHitTest::isElsewhere(Index index)
{
    AtspiNode const& node = nodes[index];
    if (node.has(AtspiState::defunct))
        return false;
    return !node.role || (known.isShowing(index) && node.role == AtspiRole::pageTab);
}

bool AtspiHitTest::isBlank(Index index)
{
    if (!inquiry.toolkitOf(nodes[index].peer).guessesHits || !isAContainer(nodes.axRole(index).role))
        return false;
    for (std::optional<Index> at = index; at; at = nodes[*at].parent)
        if (nodes[*at].role == AtspiRole::documentWeb)
            return false;
    return true;
}

std::optional<AtspiNode::Index> AtspiHitTest::anythingElse(Index index, DesktopPoint point)
{
    if (lookedAt >= maxLookedAt || nodes[index].role == AtspiRole::documentWeb)
        return std::nullopt;
    Chain const children = childrenOf(index);
    lookedAt += children.size();
    for (Index const child : children | std::views::reverse) {
        if (!isAt(child, point))
            continue;
        if (auto const found = anythingElse(child, point))
            return found;
        if (!isAContainer(nodes.axRole(child).role) && nodes[child].role != AtspiRole::documentWeb)
            return child;
    }
    return std::nullopt;
}

std::optional<AtspiNode::Index> AtspiHitTest::findDropped(DesktopRect const& popup, DesktopPoint point)
{
    Chain row = places.windows();
    while (!row.empty() && lookedAt < maxLookedAt) {
        for (Index const index : row)
            known.askIdentity(index);
        Chain showing;
        for (Index const index : row) {
            known.identify(index);
            // GTK 3 does not mark a menu that a button opened as showing.
            if (!known.isShowing(index) && !(known.exists(index) && nodes[index].role == AtspiRole::menu))
                continue;
            showing.push_back(index);
            inquiry.ask(index, AtspiQuestion::children);
            if (places.mattersToPlaces(index))
                inquiry.ask(index, AtspiQuestion::extents);
        }
        lookedAt += row.size();
        row.clear();
        for (Index const index : showing) {
            if (places.isDropped(index) && isAt(index, point) &&
                partInside(*places.frameOf(index), popup) > 0.5)
                return deepest(index, point);
            inquiry.ensure(index, AtspiQuestion::children);
            auto const& children = nodes[index].children;
            if (children)
                row.insert(row.end(), children->begin(), children->end());
        }
    }
    return std::nullopt;
}

AtspiNode::Index AtspiHitTest::wholeOf(Index index, DesktopPoint point)
{
    std::string_view const role = nodes.axRole(index).role;
    bool const isText = role == "AXStaticText";
    if (!isText && !isAContainer(role))
        return index;
    auto above = nodes[index].parent;
    for (int i = 0; above && *above != 0 && i < maxAroundAPart; ++i, above = nodes[*above].parent) {
        std::string_view const around = nodes.axRole(*above).role;
        // The text of a multi-line field has elements of its own.
        if (isAField(around) && !(isText && around == "AXTextArea"))
            return isAt(*above, point) ? *above : index;
        // A drop-down list may contain a button; in GTK 4.18 that is a toggle button.
        bool const isButton = around == "AXButton" || around == "AXCheckBox" || around == "AXMenuButton";
        if (!isAContainer(around) && !(isButton && isPartOfAList(*above)))
            return index;
    }
    return index;
}

bool AtspiHitTest::isPartOfAList(Index button)
{
    auto const above = nodes[button].parent;
    return above && nodes.axRole(*above).role == "AXPopUpButton";
}

void AtspiHitTest::askTexts(Index index)
{
    constexpr int asFarAsAButton = 4;
    std::optional<Index> next = index;
    for (int i = 0; next && *next != 0 && i < asFarAsAButton; ++i, next = nodes[*next].parent) {
        if (!known.exists(*next) || !known.mayHaveTitle(*next))
            continue;
        inquiry.ask(*next, known.titleQuestion(*next));
        inquiry.ask(*next, known.descriptionQuestion(*next));
        if (auto const identifier = known.identifierQuestion(*next))
            inquiry.ask(*next, *identifier);
    }
}

bool AtspiHitTest::isAt(Index index, DesktopPoint point)
{
    known.identify(index);
    if (!known.isShowing(index))
        return false;
    auto const frame = places.frameOf(index);
    return frame && frame->contains(point);
}

bool AtspiHitTest::hasFew(Index index)
{
    inquiry.ensure(index, AtspiQuestion::childCount);
    auto const& count = nodes[index].childCount;
    return count && *count <= maxBelowAnAnswer;
}

AtspiHitTest::Chain AtspiHitTest::childrenOf(Index index)
{
    known.identify(index);
    inquiry.ensure(index, AtspiQuestion::children);
    Chain children = nodes[index].children.value_or(Chain());
    for (Index const child : children)
        askPlace(child);
    return children;
}

void AtspiHitTest::askPlace(Index index)
{
    known.askIdentity(index);
    inquiry.ask(index, AtspiQuestion::extents);
}

} // namespace zelvo
