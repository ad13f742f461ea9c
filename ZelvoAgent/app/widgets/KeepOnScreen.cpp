#include "app/widgets/KeepOnScreen.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int leastVisible = 60; // Points of a window that a person can get hold of.

bool isReachable(QRect const& frame)
{
    return std::ranges::any_of(QGuiApplication::screens(), [&](QScreen const* screen) {
        QRect const seen = screen->availableGeometry().intersected(frame);
        return seen.width() >= leastVisible && seen.height() >= leastVisible &&
               screen->availableGeometry().top() <= frame.top();
    });
}

void bringBack(QWidget& window)
{
    QScreen const* const screen = QGuiApplication::primaryScreen();
    if (!window.isVisible() || !screen || isReachable(window.frameGeometry()))
        return;
    QRect const room = screen->availableGeometry();
    window.resize(std::min(window.width(), room.width()), std::min(window.height(), room.height()));
    window.move(room.center() - QPoint(window.width() / 2, window.height() / 2));
}

} // namespace

void keepOnScreen(QWidget& window)
{
    auto const check = [&window] { bringBack(window); };
    auto const follow = [&window, check](QScreen* screen) {
        QObject::connect(screen, &QScreen::availableGeometryChanged, &window, check, Qt::QueuedConnection);
    };
    QObject::connect(qApp, &QGuiApplication::screenAdded, &window, follow);
    QObject::connect(qApp, &QGuiApplication::screenRemoved, &window, check, Qt::QueuedConnection);
    QObject::connect(qApp, &QGuiApplication::primaryScreenChanged, &window, check, Qt::QueuedConnection);
    for (QScreen* const screen : QGuiApplication::screens())
        follow(screen);
}

} // namespace zelvo
