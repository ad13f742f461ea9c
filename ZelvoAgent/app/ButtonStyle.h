#pragma once

#include "app/Theme.h"

#include <QString>

namespace zelvo {

/// The style sheets of a window's buttons. With the first two a button keeps its appearance; with the third
/// the button that Return presses at the moment is filled.
QString primaryButtonStyle(Theme const& theme);
QString plainButtonStyle(Theme const& theme);
QString answerButtonStyle(Theme const& theme);

} // namespace zelvo
