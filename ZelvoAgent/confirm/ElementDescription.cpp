#include "confirm/ElementDescription.h"

#include "confirm/ButtonRoles.h"

#include <algorithm>
#include <vector>

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

/// Each step up is a query to another process and delays every click.
constexpr int maxTestedForButton = 4;
constexpr int maxTestedForWindow = 12;
constexpr int maxTestedForPage = 40;
constexpr std::size_t maxTestedForForm = 300;

std::optional<std::string>
filledText(AccessibilityReader& reader, AccessibilityElement element, Attribute attribute)
{
    auto text = reader.text(element, attribute);
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

/// The elements around an element inside its web page, the closest first; `nullopt` outside a page.
std::optional<std::vector<AccessibilityElement>> ancestorsInPage(AccessibilityReader& reader,
                                                                 AccessibilityElement from)
{
    std::vector<AccessibilityElement> around;
    auto tested = reader.element(from, Attribute::parent);
    for (int count = 0; tested && count < maxTestedForPage; ++count) {
        if (reader.text(*tested, Attribute::role) == "AXWebArea")
            return around;
        around.push_back(*tested);
        tested = reader.element(*tested, Attribute::parent);
    }
    return std::nullopt;
}

/// A list to choose from holds no buttons, but it may be long.
bool isChoice(AccessibilityReader& reader, AccessibilityElement element)
{
    auto const role = reader.text(element, Attribute::role);
    return role == "AXPopUpButton" || role == "AXComboBox" || role == "AXList" || role == "AXMenu";
}

/// The first default button below an element.
/// passed  a part of it that has been searched
std::optional<AccessibilityElement> defaultButtonIn(AccessibilityReader& reader,
                                                    AccessibilityElement root,
                                                    std::optional<AccessibilityElement> passed)
{
    std::vector<AccessibilityElement> waiting = {root};
    for (std::size_t tested = 0; !waiting.empty() && tested < maxTestedForForm; ++tested) {
        AccessibilityElement const element = waiting.back();
        waiting.pop_back();
        if (reader.flag(element, Attribute::isDefault) == true)
            return element;
        if (element == passed || isChoice(reader, element))
            continue;
        auto const children = reader.elements(element, Attribute::children);
        if (children)
            waiting.insert(waiting.end(), children->rbegin(), children->rend());
    }
    return std::nullopt;
}

} // namespace

bool isInPage(AccessibilityReader& reader, AccessibilityElement element)
{
    return ancestorsInPage(reader, element).has_value();
}

std::optional<AccessibilityElement> buttonOfForm(AccessibilityReader& reader, AccessibilityElement field)
{
    auto const ancestors = ancestorsInPage(reader, field);
    std::optional<AccessibilityElement> passed;
    for (AccessibilityElement const around : ancestors.value_or(std::vector<AccessibilityElement>())) {
        if (auto const button = defaultButtonIn(reader, around, passed))
            return button;
        if (reader.flag(around, Attribute::isForm) == true)
            return std::nullopt;
        passed = around;
    }
    return std::nullopt;
}

std::optional<AccessibilityElement> formOf(AccessibilityReader& reader, AccessibilityElement field)
{
    auto const ancestors = ancestorsInPage(reader, field).value_or(std::vector<AccessibilityElement>());
    auto const form = std::ranges::find_if(ancestors, [&](AccessibilityElement around) {
        return reader.flag(around, Attribute::isForm) == true;
    });
    return form == ancestors.end() ? std::nullopt : std::optional(*form);
}

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
