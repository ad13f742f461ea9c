#pragma once

#include "overlays/AgentCursorModel.h"
#include "overlays/OverlayPanel.h"

namespace zelvo {

/// Counts the panels that are open, and those that were ever opened.
struct FakeOverlays {
    class Panel final : public OverlayPanel {
    public:
        explicit Panel(FakeOverlays& owner) : owner(owner) { ++owner.open; }
        Panel(Panel const&) = delete;
        Panel& operator=(Panel const&) = delete;
        ~Panel() override { --owner.open; }

    private:
        FakeOverlays& owner;
    };

    int open = 0;
    int made = 0;
    bool hasScreen = true;

    /// Of the cursor's panel.
    auto cursorMaker()
    {
        return [make = maker()](AgentCursorModel&) { return make(); };
    }
    OverlayMaker maker()
    {
        return [this]() -> std::unique_ptr<OverlayPanel> {
            if (!hasScreen)
                return nullptr;
            ++made;
            return std::make_unique<Panel>(*this);
        };
    }
};

} // namespace zelvo
