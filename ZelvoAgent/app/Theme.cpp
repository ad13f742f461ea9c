#include "app/Theme.h"

#include <QApplication>
#include <QFontDatabase>

namespace zelvo {

namespace {

constexpr int middleLightness = 128;

QColor mixed(QColor const& first, QColor const& second, double share)
{
    auto const between = [share](int from, int to) { return static_cast<int>(from + (to - from) * share); };
    return {between(first.red(), second.red()), between(first.green(), second.green()),
            between(first.blue(), second.blue())};
}

QFont scaled(double factor)
{
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * factor);
    return font;
}

} // namespace

Theme::Theme(QPalette const& palette) : dark(palette.window().color().lightness() < middleLightness)
{
    QColor const ground = palette.window().color();
    QColor const letters = palette.windowText().color();
    accent = dark ? QColor(0x9d, 0xb2, 0xff) : QColor(0x33, 0x4f, 0xc9);
    onAccent = dark ? QColor(0x10, 0x16, 0x30) : QColor(Qt::white);
    warning = dark ? QColor(0xff, 0xc0, 0x69) : QColor(0x8a, 0x4b, 0x00);
    secondary = mixed(letters, ground, 0.3);
    card = dark ? mixed(ground, letters, 0.06) : mixed(ground, QColor(Qt::white), 0.7);
    line = mixed(ground, letters, 0.16);
}

QFont Theme::titleFont()
{
    QFont font = scaled(1.4);
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont Theme::headingFont()
{
    QFont font = scaled(1.1);
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont Theme::codeFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(smallFont().pointSizeF());
    return font;
}

QFont Theme::smallFont()
{
    return scaled(0.9);
}

} // namespace zelvo
