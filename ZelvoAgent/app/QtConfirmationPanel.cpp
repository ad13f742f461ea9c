#include "app/QtConfirmationPanel.h"

#include "app/ConfirmationDialog.h"
#include "app/OwnWindows.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

namespace zelvo {

QtConfirmationPanel::QtConfirmationPanel(PanelContents contents, Clock& clock)
    : dialog(std::make_unique<ConfirmationDialog>(std::move(contents), clock))
{
}

QtConfirmationPanel::~QtConfirmationPanel()
{
    dialog->leave();
    dialog.release()->deleteLater(); // One of its own buttons may be what led here.
}

ConfirmationPanelMaker QtConfirmationPanel::maker(Clock& clock)
{
    return [&clock](PanelContents contents) {
        return std::make_unique<QtConfirmationPanel>(std::move(contents), clock);
    };
}

void QtConfirmationPanel::show(Instant end, Reports reports)
{
    dialog->present(end, std::move(reports));
}

void QtConfirmationPanel::takeAway()
{
    dialog->leave();
}

DesktopRect QtConfirmationPanel::frame() const
{
    QScreen const* const screen = QGuiApplication::primaryScreen();
    QPoint const origin = screen ? screen->geometry().topLeft() : QPoint();
    // The widget keeps the frame that it knew first; its window asks for what the window manager has put on.
    QWindow const* const window = dialog->windowHandle();
    QRect const frame = (window ? window->frameGeometry() : dialog->frameGeometry()).translated(-origin);
    return {static_cast<double>(frame.x()), static_cast<double>(frame.y()),
            static_cast<double>(frame.width()), static_cast<double>(frame.height())};
}

OwnWindow QtConfirmationPanel::ownWindow() const
{
    return ownWindowOf(*dialog);
}

} // namespace zelvo
