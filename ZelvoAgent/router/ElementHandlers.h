#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "confirm/ElementOperating.h"
#include "confirm/ElementProbing.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/OwnUiGuard.h"
#include "router/ShownInput.h"
#include "router/SnapshotStore.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace zelvo {

/// The actions on elements of a tree that was read, "click_element" and "set_value". They are part of
/// "actions.perform". Thread: the router's strand.
class ElementHandlers {
public:
    struct Services {
        Executor workers;
        Clock& clock;
        SnapshotStore const& snapshots;
        ElementProbing& probe;
        HiddenAppGuard& hiddenGuard;
        OwnUiGuard& ownUi;
        InputDriving& input;
        ShownInput& shown;
        ElementOperating* operating = nullptr; ///< null: elements without places are not operated
    };

    explicit ElementHandlers(Services services) : services(std::move(services)) {}

    /// Says whose batch begins. Until the next call, only that connection's snapshots are known.
    void serve(SnapshotStore::Connection batchOf)
    {
        connection = std::move(batchOf);
        judged.reset();
    }

    /// Throws AgentError: snapshotExpired, invalidRequest for an unknown element.
    UiElementInfo element(std::string const& snapshotId, std::string const& elementId) const;
    /// The application that a snapshot shows; `nullopt` if it is unknown. Throws AgentError::snapshotExpired.
    std::optional<std::string> applicationOf(std::string const& snapshotId) const;
    /// Whether a snapshot says where on the screen its elements are. If not, none of its frames is a place
    /// to point at. Throws AgentError::snapshotExpired.
    bool hasPlaces(std::string const& snapshotId) const;
    /// What is at the place of an element now, or what the element itself is now if it has none. Throws
    /// AgentError::snapshotExpired if nothing can be read there: what cannot be judged is not clicked.
    Task<ProbedElement> foundAt(std::string snapshotId, std::string elementId);
    /// Throws AgentError::snapshotExpired unless what was found there is the element.
    void
    assertSame(std::string const& snapshotId, std::string const& elementId, ProbedElement const& found) const;
    /// Throws unless the element is in front, unchanged and not one of this program; gives what is there now.
    Task<ProbedElement> assertMayBeClicked(std::string snapshotId, std::string elementId);
    /// Clicks an element if it is still the one that the snapshot shows. One without a place is pressed by
    /// its own action.
    Task<> perform(InputAction::ClickElement action);
    /// Types the text over what the element holds. One without a place is given the text.
    Task<> perform(InputAction::SetValue action);

    /// What the strict guard checks before a text is set: the element holds text, and a click on it passes
    /// the checks of "click_element". Gives what is there. Throws what perform(ClickElement) throws.
    Task<ProbedElement> assertHoldsText(InputAction::SetValue action);
    /// The part of "set_value" before the text: a click on the element and a selection of all its text.
    Task<> selectText(InputAction::SetValue action);

private:
    /// Throws AgentError::snapshotExpired.
    std::shared_ptr<UiTreeSnapshot const> snapshotOf(std::string const& id) const;
    Task<> assertFromFrontmostApp(UiTreeSnapshot::App app);
    NamedElement named(std::string const& snapshotId, std::string const& elementId) const;
    /// The checks of a click that need no place.
    Task<> assertMayBeOperated();
    /// Operates an element without a place: what was judged, or nothing.
    Task<> operate(std::string snapshotId, std::string elementId, std::optional<std::string> text);

    Services services;
    SnapshotStore::Connection connection; // strand; batches run one at a time
    /// The element without a place that was looked at last, for a question or a check.
    struct Judged {
        NamedElement element;
        ProbedElement seen;
    };
    std::optional<Judged> judged; // strand
};

} // namespace zelvo
