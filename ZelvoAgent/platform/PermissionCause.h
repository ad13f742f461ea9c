#pragma once

#include <string>
#include <vector>

namespace zelvo {

/// Why agents lack something that they need.
struct PermissionCause {
    enum class Kind {
        noDisplay,          ///< the display server cannot be reached
        waylandSession,     ///< the X server only shows its windows to a Wayland session
        incompleteServer,   ///< `names`: what the display server lacks, by its own names
        noAccessibilityBus, ///< its service is not installed or does not answer
        startedTooEarly,    ///< `names`: running applications that can be read only after a restart

        // The desktop asks the person before it lets a program see the screen and act.
        grantNotAsked,
        grantPending, ///< the desktop's dialog is open
        grantRefused,
        grantWithdrawn,    ///< the person ended it in the desktop's indicator
        grantWithoutInput, ///< given for pictures alone
        noGrantService,    ///< `names`: the service that should ask, which does not answer

        // Part of the desktop that this program brings along.
        extensionNotInstalled,
        extensionNeedsSignIn, ///< installed; the desktop looks at it when the person signs in
        extensionDisabled,
        extensionUnsupported, ///< not made for this version of the desktop
        extensionOfAnother,   ///< `names`: the program that the installed extension answers
        programNotRegistered, ///< the desktop does not know the program, so it refuses pictures

        // What a desktop cannot give, whatever the person allows.
        noWindowPlaces,  ///< places of windows and their elements
        noHiddenWindows, ///< pictures without some windows: there are none while a hidden application runs
        noHotKey,
        noClipboard,
        noOverlays,
    };

    Kind kind{};
    std::vector<std::string> names = {};
    bool operator==(PermissionCause const&) const = default;
};

/// Whether SystemAccess::request() does something about it.
constexpr bool canBeRequested(PermissionCause::Kind kind)
{
    using Kind = PermissionCause::Kind;
    return kind == Kind::grantNotAsked || kind == Kind::grantRefused || kind == Kind::grantWithdrawn ||
           kind == Kind::grantWithoutInput || kind == Kind::extensionNotInstalled ||
           kind == Kind::extensionDisabled || kind == Kind::programNotRegistered;
}

/// The causes by what they keep away. `startedTooEarly` is in `accessibility`, also while that is granted.
struct PermissionCauses {
    std::vector<PermissionCause> accessibility;
    std::vector<PermissionCause> screenRecording;
    std::vector<PermissionCause> lacks = {}; ///< what works less well here, with all permissions
    bool operator==(PermissionCauses const&) const = default;
};

} // namespace zelvo
