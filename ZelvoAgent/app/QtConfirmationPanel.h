#pragma once

#include "confirm/ConfirmationPanel.h"

#include <memory>

namespace zelvo {

class Clock;
class ConfirmationDialog;

/// The panel as a Qt window. Thread: main.
class QtConfirmationPanel final : public ConfirmationPanel {
public:
    QtConfirmationPanel(PanelContents contents, Clock& clock);
    ~QtConfirmationPanel() override;
    QtConfirmationPanel(QtConfirmationPanel const&) = delete;
    QtConfirmationPanel& operator=(QtConfirmationPanel const&) = delete;

    static ConfirmationPanelMaker maker(Clock& clock);

    void show(Instant end, Reports reports) override;
    void takeAway() override;
    DesktopRect frame() const override;
    OwnWindow ownWindow() const override;

private:
    std::unique_ptr<ConfirmationDialog> dialog;
};

} // namespace zelvo
