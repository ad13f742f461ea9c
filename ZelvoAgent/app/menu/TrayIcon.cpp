#include "app/menu/TrayIcon.h"

#include <QApplication>
#include <QCursor>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <utility>

namespace zelvo {

namespace {

constexpr std::chrono::milliseconds untilDocked{500};
constexpr int middleLightness = 128;

} // namespace

TrayIcon::TrayIcon(std::function<void(QRect)> onClicked) : onClicked(std::move(onClicked)) {}

TrayIcon::~TrayIcon() = default;

void TrayIcon::setTray(bool isPresent, std::optional<QColor> wanted)
{
    foreground = wanted;
    if (!isPresent) {
        icon.reset();
        return;
    }
    if (icon) {
        draw();
        return;
    }
    icon = std::make_unique<QSystemTrayIcon>();
    draw();
    icon->setToolTip(toolTip);
    QObject::connect(icon.get(), &QSystemTrayIcon::activated, icon.get(), [this](auto const reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context)
            clicked();
    });
    icon->show();
    measureGround();
}

void TrayIcon::measureGround()
{
    if (foreground)
        return;
    QTimer::singleShot(untilDocked, &lifetime, [this] {
        QRect const place = icon ? icon->geometry() : QRect();
        QScreen* const screen = QGuiApplication::screenAt(place.center());
        if (place.isEmpty() || !screen)
            return; // A tray of the other kind, whose icons are not windows.
        // The mark leaves the icon's corner free.
        QPoint const corner = place.topLeft() - screen->geometry().topLeft();
        QImage const pixel = screen->grabWindow(0, corner.x(), corner.y(), 1, 1).toImage();
        if (pixel.isNull())
            return;
        bool const isDark = pixel.pixelColor(0, 0).lightness() < middleLightness;
        measured = isDark ? QColor(0xee, 0xee, 0xee) : QColor(0x20, 0x20, 0x20);
        draw();
    });
}

void TrayIcon::setState(ZelvoMark::State next, bool records, QString const& text)
{
    bool const looksSame = state == next && isRecording == records;
    state = next;
    isRecording = records;
    if (icon && !looksSame)
        draw();
    if (std::exchange(toolTip, text) != text && icon)
        icon->setToolTip(text);
}

void TrayIcon::repaint()
{
    if (!icon)
        return;
    draw();
    measureGround();
}

void TrayIcon::draw()
{
    QColor const byPalette = QApplication::palette().windowText().color();
    QColor const color = foreground ? *foreground : measured.value_or(byPalette);
    icon->setIcon(MenuBarIcon::image(state, isRecording, color));
}

void TrayIcon::clicked()
{
    QRect place = icon->geometry();
    if (place.isEmpty())
        place = QRect(QCursor::pos(), QSize(1, 1));
    onClicked(place);
}

} // namespace zelvo
