#include "confirm/ElementDescription.h"

#include "confirm/ButtonRoles.h"

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

/// Each step up is a query to another process and delays every click.
constexpr int maxTestedForButton = 4;
constexpr int maxTestedForWindow = 12;

std::optional<std::string>
filledText(AccessibilityReader& reader, AccessibilityElement element, Attribute attribute)
{
    auto text = reader.text(element, attribute);
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

} // namespace

std::optional<AccessibilityElement> nearestButton(AccessibilityReader& reader, AccessibilityElement from)
{
    std::optional<AccessibilityElement> tested = from;
    for (int count = 0; tested && count < maxTestedForButton; ++count) {
        if (isButtonRole(reader.text(*tested, Attribute::role).value_or("")))
            return tested;
        if (count + 1 < maxTestedForButton)
            tested = reader.element(*tested, Attribute::parent);
    }
    return std::nullopt;
}

WindowContext windowContext(AccessibilityReader& reader, AccessibilityElement from)
{
    std::optional<AccessibilityElement> tested = from;
    for (int count = 0; tested && count < maxTestedForWindow; ++count) {
        auto const role = reader.text(*tested, Attribute::role);
        if (role == "AXSheet" || role == "AXWindow")
            return {.subrole = filledText(reader, *tested, Attribute::subrole),
                    .isInSheet = role == "AXSheet"};
        if (count + 1 < maxTestedForWindow)
            tested = reader.element(*tested, Attribute::parent);
    }
    return {};
}

ProbedElement described(AccessibilityReader& reader, AccessibilityElement element)
{
    WindowContext const window = windowContext(reader, element);
    ProbedElement probed;
    probed.role = reader.text(element, Attribute::role).value_or("");
    probed.subrole = filledText(reader, element, Attribute::subrole);
    probed.title = filledText(reader, element, Attribute::title);
    probed.label = filledText(reader, element, Attribute::description);
    probed.help = filledText(reader, element, Attribute::help);
    probed.identifier = filledText(reader, element, Attribute::identifier);
    probed.windowSubrole = window.subrole;
    probed.isInSheet = window.isInSheet;
    return probed;
}

} // namespace zelvo
