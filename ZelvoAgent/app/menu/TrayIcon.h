#pragma once

#include "app/menu/MarkDrawing.h"

#include <QColor>
#include <QObject>
#include <QRect>

#include <functional>
#include <memory>
#include <optional>

class QSystemTrayIcon;

namespace zelvo {

/// The program's icon in the desktop's tray. It has no menu of its own, because the tray would draw that in a
/// process whose windows agents can reach. Thread: main.
class TrayIcon {
public:
    /// onClicked  gets the icon's place, or the pointer's if the tray does not report it
    explicit TrayIcon(std::function<void(QRect)> onClicked);
    ~TrayIcon();

    /// Whether the desktop has a tray, and the colour that the tray wants for icons of one colour.
    void setTray(bool isPresent, std::optional<QColor> wanted);
    void setState(ZelvoMark::State next, bool records, QString const& text);
    /// The icon in the tray; null without a tray.
    QSystemTrayIcon* shown() const { return icon.get(); }
    /// The desktop's palette changed.
    void repaint();

private:
    void draw();
    void clicked();
    /// Looks at what the icon is drawn on, for a tray that does not say which colour it wants.
    void measureGround();

    std::function<void(QRect)> onClicked;
    std::unique_ptr<QSystemTrayIcon> icon; // Null without a tray.
    std::optional<QColor> foreground;
    std::optional<QColor> measured; // As the tray's ground needs it; `nullopt` if the ground is not known.
    ZelvoMark::State state = ZelvoMark::State::idle;
    bool isRecording = false;
    QString toolTip;
    QObject lifetime; // Ends the measurement that is under way.
};

} // namespace zelvo
