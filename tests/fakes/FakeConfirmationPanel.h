#pragma once

#include "confirm/ConfirmationPanel.h"
#include "fakes/FakeWindowFocus.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace zelvo {

/// The calls that a fake panel got, and what a test does to it. Outlives the panel.
struct FakePanelRecord {
    PanelContents contents;
    std::uint32_t id = 0;
    bool isShown = false;
    bool wasTakenAway = false;
    bool isGone = false;
    Instant end{};
    DesktopRect frame{.x = 430, .y = 250, .width = 420, .height = 180};
    ConfirmationPanel::Reports reports; ///< kept after takeAway(), so that tests can call them too late
};

/// Makes panels that are windows 1001, 1002 and so on of a FakeWindowFocus.
class FakePanels {
public:
    explicit FakePanels(FakeWindowFocus& focus) : focus(focus) {}

    std::vector<std::shared_ptr<FakePanelRecord>> made;
    bool closesSlowly = false; ///< panels stay on the screen until the test calls FakeWindowFocus::close()
    std::function<void(FakePanelRecord&)> onShow;

    FakePanelRecord& last() { return *made.back(); }

    ConfirmationPanelMaker maker()
    {
        return [this](PanelContents contents) -> std::unique_ptr<ConfirmationPanel> {
            auto record = std::make_shared<FakePanelRecord>();
            record->contents = std::move(contents);
            record->id = 1001 + static_cast<std::uint32_t>(made.size());
            made.push_back(record);
            return std::make_unique<Panel>(*this, std::move(record));
        };
    }

private:
    class Panel final : public ConfirmationPanel {
    public:
        Panel(FakePanels& owner, std::shared_ptr<FakePanelRecord> record)
            : owner(owner), record(std::move(record))
        {
        }
        Panel(Panel const&) = delete;
        Panel& operator=(Panel const&) = delete;
        ~Panel() override { record->isGone = true; }

        void show(Instant end, Reports reports) override
        {
            record->isShown = true;
            record->end = end;
            record->reports = std::move(reports);
            owner.focus.open(record->id);
            if (owner.onShow)
                owner.onShow(*record);
        }
        void takeAway() override
        {
            record->isShown = false;
            record->wasTakenAway = true;
            if (!owner.closesSlowly)
                owner.focus.close(record->id);
        }
        DesktopRect frame() const override { return record->frame; }
        OwnWindow ownWindow() const override { return {record->id, "Zelvo"}; }

    private:
        FakePanels& owner;
        std::shared_ptr<FakePanelRecord> record;
    };

    FakeWindowFocus& focus;
};

} // namespace zelvo
