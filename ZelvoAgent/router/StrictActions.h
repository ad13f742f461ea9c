#pragma once

#include "drivers/HiddenAppGuard.h"
#include "drivers/OwnUiGuard.h"
#include "router/Confirmations.h"
#include "router/ElementHandlers.h"
#include "router/ShownInput.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace zelvo {

/// Carries out input actions under the person's strict guard: whatever could press a button is judged like a
/// left click on it. Thread: the router's strand.
class StrictActions {
public:
    struct Services {
        Executor workers;
        ElementProbing& probe;
        HiddenAppGuard& hiddenGuard;
        OwnUiGuard& ownUi;
        Confirmations& confirmations;
        ElementHandlers& elements;
        InputDriving& input;
        ShownInput& shown;
    };
    /// Checks everything again after a question. application: see ActionGuard::Front::askedFor
    using Recheck = std::function<Task<>(std::optional<std::string> application)>;
    /// For whom an action runs, and how it is checked again.
    struct Turn {
        Asker asker;
        Recheck recheck;
    };

    explicit StrictActions(Services services) : services(std::move(services)) {}

    /// Judges an action and carries it out. False, with nothing done, for the kinds that the strict guard
    /// leaves as they are.
    Task<bool> perform(InputAction action, Turn turn);
    /// Call after each action: it may have moved the keyboard focus.
    void noteInput() { mayHaveMoved = true; }

private:
    Task<> run(InputAction::Click action, Turn turn);
    Task<> run(InputAction::ClickElement action, Turn turn);
    Task<> run(InputAction::MouseDown action, Turn turn);
    Task<> run(InputAction::MouseUp action, Turn turn);
    Task<> run(InputAction::Drag action, Turn turn);
    Task<> run(InputAction::Type action, Turn turn);
    Task<> run(InputAction::Key action, Turn turn);
    Task<> run(InputAction::SetValue action, Turn turn);
    Task<> setText(InputAction::SetValue action, Turn turn);

    struct Hold {
        DesktopPoint from;
        DesktopPoint to;
        MouseButton button = MouseButton::left;
    };
    Task<> release(Hold hold, Turn turn);
    /// Brings the pointer there first: what is there may be shown only while the pointer is over it.
    Task<> askAboutClick(DesktopPoint at, MouseButton button, Turn turn);
    /// Resumes when the application has handled that the pointer is there; false if it may not have.
    Task<bool> pointAt(DesktopPoint at);
    /// isHandled  whether what is there now can be known; if not, a press needs a yes in any case
    Task<std::optional<ConfirmationSubject>>
    subjectOf(DesktopPoint at, MouseButton button, bool isHandled, Asker asker);
    Task<> askAboutPiece(std::string piece, Turn turn);
    Task<> askAboutKeys(std::vector<std::string> keys, Turn turn);

    Services services;
    std::map<MouseButton, DesktopPoint> pressedAt; // strand; by mouse_down
    bool mayHaveMoved = true;                      // strand; the keyboard focus, since it was last looked at
};

} // namespace zelvo
