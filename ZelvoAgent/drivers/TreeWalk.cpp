#include "drivers/TreeWalk.h"

#include "base/Text.h"

#include <string>
#include <unordered_set>

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

constexpr std::string_view passwordRole = "AXSecureTextField";

std::unordered_set<std::string_view> const interactiveRoles = {
    "AXButton",   "AXTextField",   "AXTextArea",    "AXSecureTextField",    "AXLink",
    "AXCheckBox", "AXRadioButton", "AXPopUpButton", "AXMenuItem",           "AXMenuButton",
    "AXComboBox", "AXSlider",      "AXTab",         "AXDisclosureTriangle", "AXSegmentedControl"};

/// Roles that usually only group other elements.
std::unordered_set<std::string_view> const containerRoles = {"AXGroup", "AXLayoutArea", "AXLayoutItem",
                                                             "AXSplitGroup", "AXUnknown"};

bool says(std::optional<std::string> const& text)
{
    return text && !text::trimmed(*text).empty();
}

std::size_t bytesOfTexts(UiElementInfo const& info)
{
    std::size_t bytes = 0;
    for (auto const* text : {&info.title, &info.elementDescription, &info.value, &info.identifier})
        bytes += *text ? (*text)->size() : 0;
    for (std::string const& action : info.actions)
        bytes += action.size();
    return bytes;
}

} // namespace

bool TreeWalk::isInteractive(std::string_view role)
{
    return interactiveRoles.contains(role);
}

void TreeWalk::run(std::vector<AccessibilityElement> const& roots)
{
    for (AccessibilityElement const root : roots) {
        walk(root, 0);
        if (truncated)
            return;
    }
}

void TreeWalk::walk(AccessibilityElement element, int depth)
{
    bool const isFull = collected.size() >= static_cast<std::size_t>(limits.maxElements);
    if (depth > limits.maxDepth || isFull || clock.now() > deadline) {
        truncated = true;
        return;
    }
    if (auto info = describe(element, collected.size()))
        keep(*std::move(info), element);
    if (truncated)
        return;
    auto const children = reader.elements(element, Attribute::children);
    if (!children)
        return;
    for (AccessibilityElement const child : *children) {
        walk(child, depth + 1);
        if (truncated)
            return;
    }
}

void TreeWalk::keep(UiElementInfo info, AccessibilityElement element)
{
    textBytes += bytesOfTexts(info);
    truncated = textBytes > limits.maxTextBytes;
    if (truncated)
        return;
    collected.push_back(std::move(info));
    if (reader.isRelative())
        names.push_back(reader.nameOf(element));
}

/// Asks the cheap attributes first, so that a dropped element costs as few queries as possible.
std::optional<UiElementInfo> TreeWalk::describe(AccessibilityElement element, std::size_t index)
{
    auto role = reader.text(element, Attribute::role);
    if (!role || (interactiveOnly && !isInteractive(*role)))
        return std::nullopt;
    auto const frame = frameOf(element);
    if (!frame)
        return std::nullopt;

    UiElementInfo info;
    info.frame = *frame;
    info.title = reader.text(element, Attribute::title);
    info.elementDescription = reader.text(element, Attribute::description);
    info.identifier = reader.text(element, Attribute::identifier);
    info.actions = reader.actionNames(element);
    if (containerRoles.contains(*role) && info.actions.empty() && !hasSomethingToSay(info, element))
        return std::nullopt;
    if (*role != passwordRole)
        if (auto const value = reader.text(element, Attribute::value))
            info.value = text::prefix(*value, maxValueLength);
    info.id = "e" + std::to_string(index);
    info.role = *std::move(role);
    info.subrole = reader.text(element, Attribute::subrole);
    info.enabled = reader.flag(element, Attribute::enabled).value_or(true);
    info.focused = reader.flag(element, Attribute::focused).value_or(false);
    return info;
}

bool TreeWalk::hasSomethingToSay(UiElementInfo const& info, AccessibilityElement element)
{
    return says(info.title) || says(info.elementDescription) || says(reader.text(element, Attribute::value));
}

/// `nullopt` if the element has no visible extent.
std::optional<UiElementInfo::Frame> TreeWalk::frameOf(AccessibilityElement element)
{
    auto const position = reader.position(element);
    if (!position)
        return std::nullopt;
    auto const size = reader.size(element);
    if (!size || !(size->width > 0) || !(size->height > 0))
        return std::nullopt;
    return UiElementInfo::Frame{position->x, position->y, size->width, size->height};
}

} // namespace zelvo
