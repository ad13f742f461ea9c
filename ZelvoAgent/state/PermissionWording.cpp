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

/// The keys of the texts about a cause.
struct Keys {
    std::string_view cause;
    std::string_view cure;
    std::string_view action = {};
};

Keys keysOf(PermissionCause::Kind kind)
{
    using Kind = PermissionCause::Kind;
    switch (kind) {
    case Kind::noDisplay:
        return {"permission.cause.display", "permission.cure.display"};
    case Kind::waylandSession:
        return {"permission.cause.wayland", "permission.cure.wayland"};
    case Kind::incompleteServer:
        return {"permission.cause.extensions", "permission.cure.extensions"};
    case Kind::noAccessibilityBus:
        return {"permission.cause.accessibilityBus", "permission.cure.accessibilityBus"};
    case Kind::startedTooEarly:
        return {"permission.cause.startedTooEarly", "permission.cure.startedTooEarly"};
    case Kind::grantNotAsked:
        return {"permission.cause.grantNotAsked", "permission.cure.grantNotAsked", "permission.action.ask"};
    case Kind::grantPending:
        return {"permission.cause.grantPending", "permission.cure.grantPending"};
    case Kind::grantRefused:
        return {"permission.cause.grantRefused", "permission.cure.grantRefused",
                "permission.action.askAgain"};
    case Kind::grantWithdrawn:
        return {"permission.cause.grantWithdrawn", "permission.cure.grantWithdrawn",
                "permission.action.askAgain"};
    case Kind::grantWithoutInput:
        return {"permission.cause.grantWithoutInput", "permission.cure.grantWithoutInput",
                "permission.action.askAgain"};
    case Kind::noGrantService:
        return {"permission.cause.grantService", "permission.cure.grantService"};
    case Kind::extensionNotInstalled:
        return {"permission.cause.extensionNotInstalled", "permission.cure.extensionNotInstalled",
                "permission.action.install"};
    case Kind::extensionNeedsSignIn:
        return {"permission.cause.extensionNeedsSignIn", "permission.cure.extensionNeedsSignIn"};
    case Kind::extensionDisabled:
        return {"permission.cause.extensionDisabled", "permission.cure.extensionDisabled",
                "permission.action.enable"};
    case Kind::extensionUnsupported:
        return {"permission.cause.extensionUnsupported", "permission.cure.extensionUnsupported"};
    case Kind::extensionOfAnother:
        return {"permission.cause.extensionOfAnother", "permission.cure.extensionOfAnother"};
    case Kind::programNotRegistered:
        return {"permission.cause.programNotRegistered", "permission.cure.programNotRegistered",
                "permission.action.register"};
    case Kind::noWindowPlaces:
        return {"permission.cause.windowPlaces", "permission.cure.windowPlaces"};
    case Kind::noHiddenWindows:
        return {"permission.cause.hiddenWindows", "permission.cure.hiddenWindows"};
    case Kind::noHotKey:
        return {"permission.cause.hotKey", "permission.cure.hotKey"};
    case Kind::noClipboard:
        return {"permission.cause.clipboard", "permission.cure.clipboard"};
    case Kind::noOverlays:
        return {"permission.cause.overlays", "permission.cure.overlays"};
    }
    return {};
}

} // namespace

PermissionHelp helpFor(PermissionCause const& cause)
{
    Keys const keys = keysOf(cause.kind);
    PermissionHelp help;
    help.cause = cause.names.empty() ? localized(keys.cause) : localized(keys.cause, {listed(cause.names)});
    help.cure = localized(keys.cure);
    if (!keys.action.empty())
        help.action = localized(keys.action);
    return help;
}

} // namespace zelvo
