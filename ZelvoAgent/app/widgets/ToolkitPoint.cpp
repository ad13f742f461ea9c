#include "app/widgets/ToolkitPoint.h"

#include <QGuiApplication>
#include <QScreen>

#include <cmath>

namespace zelvo {

namespace {

// The pixel's point, not the nearest one: the last pixel of a window is still in it.
QPoint whole(QPointF point)
{
    return {static_cast<int>(std::floor(point.x())), static_cast<int>(std::floor(point.y()))};
}

bool contains(ToolkitScreen const& screen, QPointF pixel)
{
    QPointF const inside = pixel - screen.geometry.topLeft();
    QSizeF const size = QSizeF(screen.geometry.size()) * screen.ratio;
    return inside.x() >= 0 && inside.y() >= 0 && inside.x() < size.width() && inside.y() < size.height();
}

} // namespace

std::vector<ToolkitScreen> toolkitScreens()
{
    std::vector<ToolkitScreen> screens;
    for (QScreen const* const screen : QGuiApplication::screens()) // The main one is the first.
        screens.push_back({screen->geometry(), screen->devicePixelRatio()});
    return screens;
}

QPoint toolkitPoint(DesktopPoint point, double scale, std::span<ToolkitScreen const> screens)
{
    QPointF const inPoints(point.x, point.y);
    if (screens.empty())
        return whole(inPoints);
    QPointF const pixel = QPointF(screens.front().geometry.topLeft()) + inPoints * scale;
    for (ToolkitScreen const& screen : screens) {
        QPointF const corner(screen.geometry.topLeft());
        if (contains(screen, pixel))
            return whole(corner + (pixel - corner) / screen.ratio);
    }
    return whole(pixel);
}

} // namespace zelvo
