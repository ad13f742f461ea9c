#pragma once

#include "app/widgets/Soon.h"

#include <QWidget>

#include <functional>

namespace zelvo {

/// A window whose content is built anew when the desktop's palette or font changes. Escape closes it, and it
/// stays on the screen when screens go. Its owner destroys it when it is closed. Thread: main.
class ContentWindow : public QWidget {
public:
    explicit ContentWindow(QString const& title);

    /// Called when the window was closed.
    std::function<void()> onClosed;
    /// Shows the window above the others and gives it the keyboard.
    void bringToFront();

protected:
    /// Builds all that the window shows, as a child of it. What a person chose in it must survive a second
    /// call; the keyboard's place and the scrolling do by themselves.
    virtual QWidget* newContent() = 0;
    void rebuild();
    bool isBuilt() const { return content != nullptr; }

    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void showMnemonics(bool shows);

    QWidget* content = nullptr;
    Soon rebuildSoon{[this] { rebuild(); }};
};

} // namespace zelvo
