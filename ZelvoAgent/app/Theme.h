#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace zelvo {

/// The colours and letter sizes of this program's windows, fitting the desktop's palette, light or dark.
/// Thread: main.
struct Theme {
    explicit Theme(QPalette const& palette);

    bool dark;
    QColor accent;    ///< what invites and what is good
    QColor onAccent;  ///< letters on the accent colour
    QColor warning;   ///< letters of a warning
    QColor secondary; ///< letters of what stands beside the matter
    QColor card;      ///< the ground of a group
    QColor line;      ///< borders and what separates

    static QFont titleFont();
    static QFont smallFont();
};

} // namespace zelvo
