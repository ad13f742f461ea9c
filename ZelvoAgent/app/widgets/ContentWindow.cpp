#include "app/widgets/ContentWindow.h"

#include "app/widgets/KeepOnScreen.h"
#include "app/widgets/Mnemonics.h"
#include "app/widgets/PlaceInView.h"

#include <QAccessibleWidget>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QVBoxLayout>

#include <optional>

namespace zelvo {

namespace {

// The toolkit takes a plain widget for a pane, even as a window.
QAccessibleInterface* newWindowInterface(QString const&, QObject* object)
{
    auto* const window = dynamic_cast<ContentWindow*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

} // namespace

ContentWindow::ContentWindow(QString const& title)
{
    [[maybe_unused]] static bool const isInstalled = (QAccessible::installFactory(newWindowInterface), true);
    setWindowTitle(title);
    setFocusPolicy(Qt::ClickFocus);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    keepOnScreen(*this);
}

void ContentWindow::bringToFront()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void ContentWindow::rebuild()
{
    std::optional<PlaceInView> place;
    if (content) {
        place.emplace(*content);
        content->hide();
        content->deleteLater(); // The call may come from one of its own buttons.
    }
    content = newContent();
    layout()->addWidget(content);
    content->show();
    if (place)
        place->restoreIn(*content);
}

void ContentWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    bool const looksDifferent = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (looksDifferent && content)
        rebuildSoon();
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        showMnemonics(false); // The release of the key went to another window.
}

void ContentWindow::showEvent(QShowEvent* event)
{
    if (!content)
        rebuild();
    QWidget::showEvent(event);
    if (!event->spontaneous())
        setFocus(); // No control has the keyboard until the person asks for one by Tab.
}

void ContentWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    if (onClosed)
        onClosed();
}

void ContentWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Alt)
        showMnemonics(true);
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void ContentWindow::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Alt)
        showMnemonics(false);
    QWidget::keyReleaseEvent(event);
}

void ContentWindow::showMnemonics(bool shows)
{
    if (shows && content)
        assignMnemonics(*content); // Labels change, and buttons come and go.
    setProperty(zelvo::showsMnemonics, shows);
    for (QPushButton* const button : findChildren<QPushButton*>())
        button->update();
}

} // namespace zelvo
