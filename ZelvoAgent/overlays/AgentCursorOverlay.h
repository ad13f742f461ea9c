#pragma once

#include "base/DelayedCall.h"
#include "overlays/AgentCursorModel.h"
#include "overlays/OverlayPanel.h"
#include "router/AgentCursorPresenting.h"

#include <boost/signals2/connection.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

class AgentState;

/// Opens the panel that shows the cursor; null if there is no screen. The model outlives the panel.
using CursorPanelMaker = std::function<std::unique_ptr<OverlayPanel>(AgentCursorModel&)>;

/// The agent's cursor: it travels to where the agent is about to act, and hides when the agent pauses. Shows
/// nothing while the person has it switched off, and stops where it is when agents may no longer act. Thread:
/// any for the operations of its interface; else main.
class AgentCursorOverlay final : public AgentCursorPresenting {
public:
    struct Services {
        Executor main;
        Clock& clock;
        AgentState& state;
        CursorPanelMaker makePanel;
    };

    explicit AgentCursorOverlay(Services services);

    AgentCursorModel const& shown() const { return model; }
    AgentCursorModel& shown() { return model; }
    /// Takes the pointer away at once.
    void hide();

    Task<> approach(DesktopPoint point) override;
    void clicked(DesktopPoint at, std::int64_t count) override;
    void dragged(DesktopPoint from, DesktopPoint to, std::int64_t durationMs) override;
    void scrolled(DesktopPoint at) override;
    void typed(std::size_t characters) override;
    void pressed(std::vector<std::string> const& keys) override;

private:
    bool isOn() const;
    /// Whether agents may act on the machine.
    bool isReady() const;
    void stopUnlessReady();
    /// Runs on main soon, if the cursor is on.
    void later(std::function<void()> work);
    /// How long the pointer takes to get there.
    Duration move(DesktopPoint to);
    void show();
    void sayWhereItStands(std::string what);
    void keepVisible(Duration extra);
    Services services;
    AgentCursorModel model;
    std::unique_ptr<OverlayPanel> panel;
    DelayedCall hiding;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Work for main holds it weakly.
    boost::signals2::scoped_connection stateChanges;
};

} // namespace zelvo
