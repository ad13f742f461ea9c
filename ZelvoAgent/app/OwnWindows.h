#pragma once

#include "app/AppServices.h"
#include "platform/WindowFocus.h"

class QWidget;

namespace zelvo {

/// The window of a widget for WindowFocus. Thread: main.
OwnWindow ownWindowOf(QWidget const& window);

/// How a window comes to the front.
enum class Raising { activated, keptAbove };

/// Asks the display server to bring a window of this program to the front, as soon as it shows it, within a
/// second. The person's click may have been on another program's tray, so that the toolkit's own request is
/// not enough. Thread: main.
void raiseWindow(AppServices const& services, QWidget const& window, Raising raising);

} // namespace zelvo
