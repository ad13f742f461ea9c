#pragma once

#include "app/AnswerGuard.h"
#include "base/Clock.h"
#include "confirm/ConfirmationPanel.h"

#include <QDialog>
#include <QTimer>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace zelvo {

class DetailView;

/// The window of a question: what it is about, how long it still stands, and two answers, of which the filled
/// one is pressed by Return: "Allow", unless the person has gone to "Deny" with Tab. Escape denies. A yes
/// has to be meant (AnswerGuard): Return and Space allow only when the window has had the keyboard and no
/// other key has come for 0.4 s, a repeated key never, and a click counts only 0.4 s after the opening.
/// Thread: main.
class ConfirmationDialog final : public QDialog {
public:
    ConfirmationDialog(PanelContents contents, Clock& clock);

    void present(Instant timeIsUp, ConfirmationPanel::Reports told);
    /// Hides it, and reports nothing any more.
    void leave();

protected:
    void reject() override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    void build();
    void addDetail(QVBoxLayout& column);
    void addRemember(QVBoxLayout& column);
    void addButtons(QVBoxLayout& column);
    QPushButton* newButton(std::string const& words);
    void paintIn(QPalette const& palette);
    void showMoreBelow();
    void showTimeLeft();
    void placeInTheMiddle();
    bool isUnwitting(QEvent const& event);
    bool wouldAllow(int key) const;
    void report(std::function<void()> const& told);

    PanelContents const contents;
    Clock& clock;
    AnswerGuard guard;
    ConfirmationPanel::Reports reports;
    Instant begin{};
    Instant end{};
    QTimer tick;
    QLabel* title = nullptr;
    QWidget* card = nullptr;
    DetailView* detail = nullptr;
    QLabel* moreBelow = nullptr;
    QCheckBox* remember = nullptr; // Null when it is not asked for.
    QLabel* timeLeft = nullptr;
    QProgressBar* timeBar = nullptr;
    QPushButton* deny = nullptr;
    QPushButton* allow = nullptr;
};

} // namespace zelvo
