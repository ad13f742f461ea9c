#include "app/ConsentWindow.h"

#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QEvent>
#include <QVBoxLayout>

namespace zelvo {

namespace {

// Points.
constexpr int margin = 24;
constexpr int contentWidth = 440;
constexpr std::size_t maxErrorLength = 1000; // Characters.

} // namespace

ConsentWindow::ConsentWindow(LinkCoordinator& coordinator, Executor main)
    : coordinator(coordinator), main(std::move(main))
{
    setWindowTitle(QString::fromStdString(localized("window.consent")));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSizeConstraint(QLayout::SetFixedSize);
    rebuild();
    following = coordinator.changed.connect([this] { refresh(); });
}

void ConsentWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
}

void ConsentWindow::refresh()
{
    if (coordinator.offer() != shownOffer || (!shownOffer && coordinator.error() != shownError))
        rebuild();
    else if (offerView)
        offerView->refresh();
}

void ConsentWindow::rebuild()
{
    shownOffer = coordinator.offer();
    shownError = coordinator.error();
    if (content) {
        content->hide();
        content->deleteLater(); // The call may come from one of its own buttons.
    }
    content = newContent();
    layout()->addWidget(content);
}

QWidget* ConsentWindow::newContent()
{
    offerView = nullptr;
    if (!shownOffer)
        return newMessage();
    ConsentOfferView::Answers answers{.deny = [this] { reject(); }, .allow = [this] { allow(); }};
    offerView = new ConsentOfferView(coordinator, *shownOffer, contentWidth, std::move(answers), this);
    return offerView;
}

QWidget* ConsentWindow::newMessage()
{
    auto* const message = new QWidget(this);
    auto* const column = new QVBoxLayout(message);
    column->setContentsMargins(0, 0, 0, 0);
    if (shownError) {
        QString const heading = QString::fromStdString(localized("link.error.generic"));
        column->addWidget(new WrappedLabel(heading, Theme::titleFont(), contentWidth, message));
    }
    QString const text = shownError ? shownText(*shownError, maxErrorLength)
                                    : QString::fromStdString(localized("consent.noRequest"));
    column->addWidget(new WrappedLabel(text, font(), contentWidth, message));
    return message;
}

void ConsentWindow::allow()
{
    if (!coordinator.offer())
        return;
    // The window may be gone before the answer arrives. Only what the person saw is allowed, and once: a
    // second press or another offer may come before the task starts.
    spawn(main,
          [&coordinator = coordinator, seen = *coordinator.offer(),
           granted = coordinator.granted()]() -> Task<> {
              if (coordinator.offer() == seen && !coordinator.isBusy())
                  co_await coordinator.complete({granted.begin(), granted.end()});
          });
}

// "Deny", Escape and the window's close button.
void ConsentWindow::reject()
{
    QDialog::reject();
    coordinator.cancel();
    if (onClosed)
        onClosed();
}

void ConsentWindow::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    bool const looksDifferent = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (looksDifferent && content)
        rebuild();
}

} // namespace zelvo
