#pragma once

#include "app/AnswerFilter.h"
#include "app/DetailCard.h"
#include "base/Clock.h"
#include "confirm/ConfirmationPanel.h"

#include <QDialog>
#include <QTimer>

#include <vector>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace zelvo {

/// The window of a question: what it is about, how long it stays open, and two answers. Return presses the
/// filled one, which is "Allow" until the person moves to "Deny" with Tab; Escape denies. A yes must be
/// deliberate (AnswerFilter): Return and Space allow only after 0.4 s in which the window had the keyboard
/// and no other key came, a repeated key never does, and a click counts only 0.4 s after the window opened.
/// Thread: main.
class ConfirmationDialog final : public QDialog {
public:
    ConfirmationDialog(PanelContents contents, Clock& clock);

    void present(Instant timeIsUp, ConfirmationPanel::Reports next);
    /// Hides it; reports nothing after this.
    void leave();

protected:
    void reject() override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void build();
    void addCards(QVBoxLayout& column);
    DetailCard* newCard(DetailCard::Contents part, int highest);
    DetailCard* newCard(PanelSection const& section, bool isWarning);
    void addRemember(QVBoxLayout& column);
    void addButtons(QVBoxLayout& column);
    QPushButton* newButton(std::string const& words);
    void paintIn(QPalette const& palette);
    void showTimeLeft();
    void placeInTheMiddle();
    bool wouldAllow(int key) const;
    void report(std::function<void()> const& callback);

    PanelContents const contents;
    Clock& clock;
    AnswerFilter filter;
    ConfirmationPanel::Reports reports;
    Instant begin{};
    Instant end{};
    QTimer tick;
    QLabel* title = nullptr;
    std::vector<DetailCard*> cards;
    DetailCard* detail = nullptr;  // One of the cards.
    QCheckBox* remember = nullptr; // Null without the option to remember.
    QLabel* timeLeft = nullptr;
    QProgressBar* timeBar = nullptr;
    QPushButton* deny = nullptr;
    QPushButton* allow = nullptr;
};

} // namespace zelvo
