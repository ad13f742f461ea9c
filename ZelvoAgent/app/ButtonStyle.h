#pragma once

#include "app/Theme.h"

#include <QString>

namespace zelvo {

/// The style sheets of a window's buttons. In the first pair a button keeps its theme; with the third the one
/// that Return presses is filled, whichever that is at the time.
QString primaryButtonStyle(Theme const& theme);
QString plainButtonStyle(Theme const& theme);
QString answerButtonStyle(Theme const& theme);

} // namespace zelvo
