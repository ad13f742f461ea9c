#include "app/ConsentWindow.h"

#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "app/widgets/KeepOnScreen.h"
#include "base/LocalizedTexts.h"

#include <QAccessible>
#include <QEvent>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

// Points.
constexpr int margin = 24;
constexpr int contentWidth = 440;
constexpr std::size_t maxErrorLength = 1000; // Characters.

} // namespace

ConsentWindow::ConsentWindow(LinkCoordinator& coordinator, Executor main, Clock& clock)
    : coordinator(coordinator), main(std::move(main)),
      filter(clock, [this](int key) { return offerView && offerView->wouldGive(key); })
{
    setWindowTitle(QString::fromStdString(localized("window.consent")));
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSizeConstraint(QLayout::SetFixedSize);
    showNew();
    keepOnScreen(*this);
    following = coordinator.changed.connect([this] { refresh(); });
}

void ConsentWindow::bringToFront()
{
    if (!isVisible())
        filter.open(*this);
    show();
    raise();
    activateWindow();
}

void ConsentWindow::refresh()
{
    if (coordinator.offer() != shownOffer || (!shownOffer && coordinator.error() != shownError))
        showNew();
    else if (offerView)
        offerView->refresh();
}

void ConsentWindow::showNew()
{
    bool const isOther = coordinator.offer() != shownOffer;
    replacesAnother = isOther && shownOffer && coordinator.offer();
    shownOffer = coordinator.offer();
    shownError = coordinator.error();
    rebuild();
    if (!isOther || !isVisible())
        return;
    filter.change();
    QAccessibleEvent alert(this, QAccessible::Alert); // A screen reader speaks it at once.
    QAccessible::updateAccessibility(&alert);
}

void ConsentWindow::rebuild()
{
    if (content) {
        content->hide();
        content->deleteLater(); // The call may come from one of its own buttons.
    }
    content = newContent();
    layout()->addWidget(content);
    content->show();
    if (offerView)
        offerView->takeFocus();
}

QWidget* ConsentWindow::newContent()
{
    offerView = nullptr;
    filter.setDeny(nullptr);
    if (!shownOffer)
        return newMessage();
    ConsentOfferView::Answers answers{.deny = [this] { reject(); },
                                      .allow = [this, seen = *shownOffer] { allow(seen); }};
    ConsentOfferView::Request request{.offer = *shownOffer, .replacesAnother = replacesAnother};
    offerView = new ConsentOfferView(coordinator, std::move(request), contentWidth, std::move(answers), this);
    filter.setDeny(offerView->denyButton());
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

// The window may be gone before the answer arrives. Only what the person saw is allowed, and once: a second
// press or another offer may come before the task starts.
void ConsentWindow::allow(LinkOffer seen)
{
    std::vector<AgentScope> granted;
    for (AgentScope const scope : coordinator.granted())
        if (std::ranges::find(seen.requestedScopes, scope) != seen.requestedScopes.end())
            granted.push_back(scope);
    spawn(main, [&coordinator = coordinator, seen = std::move(seen), granted]() -> Task<> {
        if (coordinator.offer() == seen && !coordinator.isBusy())
            co_await coordinator.complete(granted);
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
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        filter.activate();
    bool const looksDifferent = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (looksDifferent && content)
        rebuild();
}

} // namespace zelvo
