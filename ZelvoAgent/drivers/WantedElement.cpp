#include "drivers/WantedElement.h"

#include "base/Text.h"
#include "drivers/TreeWalk.h"

#include <algorithm>

namespace zelvo {

namespace {

/// Upper case, because the lower case of a letter can depend on its place in the word.
bool containsUpper(std::optional<std::string> const& text, std::string const& upper)
{
    return text && text::uppercased(*text).find(upper) != std::string::npos;
}

} // namespace

bool WantedElement::isOperable() const
{
    return role && TreeWalk::isInteractive(*role);
}

/// A snapshot that ended at a limit proves no disappearance.
WantedElement::Finding WantedElement::in(UiTreeSnapshot const& snapshot) const
{
    Texts texts{.upperName = text::uppercased(name.value_or("")), .value = std::nullopt};
    if (value)
        texts.value = text::prefix(*value, TreeWalk::maxValueLength);
    auto const isSuch = [&](UiElementInfo const& element) {
        return describes(element, texts) && isReached(element);
    };
    auto const found = std::ranges::find_if(snapshot.elements, isSuch);
    bool const isThere = found != snapshot.elements.end();
    if (until == Until::disappears)
        return {.isMatched = !isThere && !snapshot.truncated, .element = std::nullopt};
    return {.isMatched = isThere, .element = isThere ? std::optional(*found) : std::nullopt};
}

bool WantedElement::describes(UiElementInfo const& element, Texts const& texts) const
{
    return (!role || element.role == *role) && (!value || element.value == texts.value) &&
           (!name || containsUpper(element.title, texts.upperName) ||
            containsUpper(element.elementDescription, texts.upperName));
}

bool WantedElement::isReached(UiElementInfo const& element) const
{
    return (until != Until::enabled || element.enabled) && (until != Until::focused || element.focused);
}

} // namespace zelvo
