#include "state/PermissionWording.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

namespace zelvo {

namespace {

constexpr std::size_t maxNames = 8;
constexpr std::size_t maxNameLength = 80;

std::string listed(std::vector<std::string> const& names)
{
    std::string list;
    for (std::size_t i = 0; i < names.size() && i < maxNames; ++i)
        list += (i > 0 ? localized("list.separator") : "") + text::shownInLine(names[i], maxNameLength);
    return names.size() > maxNames ? list + "…" : list;
}

} // namespace

PermissionHelp helpFor(PermissionCause const& cause)
{
    switch (cause.kind) {
    case PermissionCause::Kind::noDisplay:
        return {localized("permission.cause.display"), localized("permission.cure.display")};
    case PermissionCause::Kind::waylandSession:
        return {localized("permission.cause.wayland"), localized("permission.cure.wayland")};
    case PermissionCause::Kind::incompleteServer:
        return {localized("permission.cause.extensions", {listed(cause.names)}),
                localized("permission.cure.extensions")};
    case PermissionCause::Kind::noAccessibilityBus:
        return {localized("permission.cause.accessibilityBus"),
                localized("permission.cure.accessibilityBus")};
    case PermissionCause::Kind::startedTooEarly:
        return {localized("permission.cause.startedTooEarly", {listed(cause.names)}),
                localized("permission.cure.startedTooEarly")};
    }
    return {};
}

} // namespace zelvo
