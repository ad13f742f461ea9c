#pragma once

#include "app/Look.h"

#include <QString>

namespace zelvo {

/// The style sheets of a window's buttons. In the first pair a button keeps its look; with the third the one
/// that Return presses is filled, whichever that is at the time.
QString primaryButtonStyle(Look const& look);
QString plainButtonStyle(Look const& look);
QString answerButtonStyle(Look const& look);

} // namespace zelvo
