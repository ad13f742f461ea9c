#pragma once

#include "app/AnswerFilter.h"
#include "app/ConsentOfferView.h"
#include "base/Task.h"
#include "gateway/LinkCoordinator.h"

#include <QDialog>

#include <optional>

namespace zelvo {

/// The consent window: shows who asks for this machine and how sure that is, and takes the person's answer,
/// right by right. A view over LinkCoordinator, which decides. Return allows, Escape and closing the window
/// deny. A yes must be deliberate (AnswerFilter), above all after another request took the place of the one
/// that was shown; the window then says so. Thread: main.
class ConsentWindow final : public QDialog {
public:
    ConsentWindow(LinkCoordinator& coordinator, Executor main, Clock& clock);

    /// Raises the window above all others and gives it the keyboard.
    void bringToFront();
    /// Called when the person has closed the window, whatever it showed.
    std::function<void()> onClosed;

protected:
    void reject() override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void showNew();
    void rebuild();
    QWidget* newContent();
    QWidget* newMessage();
    void allow(LinkOffer seen);

    LinkCoordinator& coordinator;
    Executor main;
    AnswerFilter filter;
    std::optional<LinkOffer> shownOffer;
    bool replacesAnother = false; // The offer that was shown before had no answer.
    std::optional<std::string> shownError;
    QWidget* content = nullptr;
    ConsentOfferView* offerView = nullptr; // The content, while there is an offer.
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
