#include "app/ButtonStyle.h"

namespace zelvo {

namespace {

// The rules of a filled button, for buttons that match the selector.
QString filled(QString const& selector, Theme const& theme)
{
    return QString("%7 { background: %1; color: %2; border: 2px solid %1; border-radius: 8px;"
                   " padding: 6px 22px; font-weight: 600; }"
                   "%7:focus { border-color: %3; }"
                   "%7:hover { background: %4; border-color: %4; }"
                   "%7:disabled { background: %5; border-color: %5; color: %6; }")
        .arg(theme.accent.name(), theme.onAccent.name(), theme.dark ? QString("#ffffff") : QString("#10142a"),
             theme.accent.darker(theme.dark ? 90 : 115).name(), theme.line.name(), theme.secondary.name(),
             selector);
}

} // namespace

QString primaryButtonStyle(Theme const& theme)
{
    return filled("QPushButton", theme);
}

QString plainButtonStyle(Theme const& theme)
{
    return QString("QPushButton { background: transparent; border: 2px solid %1; border-radius: 8px; "
                   "padding: 6px 22px; }"
                   "QPushButton:focus { border-color: %2; }"
                   "QPushButton:hover { background: %1; }")
        .arg(theme.line.name(), theme.accent.name());
}

QString answerButtonStyle(Theme const& theme)
{
    // Bold from the start, so that the button does not grow when it is filled.
    return plainButtonStyle(theme) + "QPushButton { font-weight: 600; }" +
           filled("QPushButton:default", theme);
}

} // namespace zelvo
