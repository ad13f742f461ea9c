#include "app/ButtonStyle.h"

namespace zelvo {

namespace {

// The rules of a filled button, for the buttons that the selector fits.
QString filled(QString const& selector, Look const& look)
{
    return QString("%7 { background: %1; color: %2; border: 2px solid %1; border-radius: 8px;"
                   " padding: 6px 22px; font-weight: 600; }"
                   "%7:focus { border-color: %3; }"
                   "%7:hover { background: %4; border-color: %4; }"
                   "%7:disabled { background: %5; border-color: %5; color: %6; }")
        .arg(look.accent.name(), look.onAccent.name(), look.dark ? QString("#ffffff") : QString("#10142a"),
             look.accent.darker(look.dark ? 90 : 115).name(), look.line.name(), look.secondary.name(),
             selector);
}

} // namespace

QString primaryButtonStyle(Look const& look)
{
    return filled("QPushButton", look);
}

QString plainButtonStyle(Look const& look)
{
    return QString("QPushButton { background: transparent; border: 2px solid %1; border-radius: 8px; "
                   "padding: 6px 22px; }"
                   "QPushButton:focus { border-color: %2; }"
                   "QPushButton:hover { background: %1; }")
        .arg(look.line.name(), look.accent.name());
}

QString answerButtonStyle(Look const& look)
{
    // The heavy letters of the filled one from the start, so that it has room for them.
    return plainButtonStyle(look) + "QPushButton { font-weight: 600; }" + filled("QPushButton:default", look);
}

} // namespace zelvo
