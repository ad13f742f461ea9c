#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace zelvo {

/// The colours and font sizes of this program's windows, for the desktop's palette, light or dark. Thread:
/// main.
struct Theme {
    explicit Theme(QPalette const& palette);

    bool dark;
    QColor accent;    ///< primary actions and good news
    QColor onAccent;  ///< text on the accent colour
    QColor warning;   ///< text of a warning
    QColor secondary; ///< text of secondary importance
    QColor card;      ///< background of a group
    QColor line;      ///< borders and separators

    static QFont titleFont();
    static QFont headingFont();
    static QFont smallFont();
    /// For commands and their output.
    static QFont codeFont();
};

} // namespace zelvo
