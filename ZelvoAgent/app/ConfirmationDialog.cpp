#include "app/ConfirmationDialog.h"

#include "app/ButtonStyle.h"
#include "app/DetailView.h"
#include "app/ExactText.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QAccessible>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace zelvo {

namespace {

// Points.
constexpr int margin = 24;
constexpr int gap = 12;
constexpr int buttonGap = 8;
constexpr int contentWidth = 420 - 2 * margin;
constexpr int maxDetailHeight = 220;
constexpr int cardPadding = 8;
constexpr int barHeight = 3;

// Characters.
constexpr std::size_t maxTitleLength = 300;
constexpr std::size_t maxButtonLength = 40;
constexpr std::size_t maxDescriptionLength =
    1000; // For a screen reader, which can read on in the text itself.

constexpr int barSteps = 1000;
constexpr std::chrono::milliseconds ticking{200};

QString worded(std::string_view key)
{
    return QString::fromStdString(localized(key));
}

} // namespace

ConfirmationDialog::ConfirmationDialog(PanelContents contents, Clock& clock)
    : contents(std::move(contents)), clock(clock), filter(clock, [this](int key) { return wouldAllow(key); })
{
    setWindowTitle("Zelvo");
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                   Qt::WindowStaysOnTopHint);
    build();
    paintIn(palette());
    setAccessibleName(title->accessibleName());
    setAccessibleDescription(shownText(this->contents.detail, maxDescriptionLength));
    tick.setInterval(ticking);
    QObject::connect(&tick, &QTimer::timeout, this, [this] { showTimeLeft(); });
}

void ConfirmationDialog::build()
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(gap);
    column->setSizeConstraint(QLayout::SetFixedSize);
    title =
        new WrappedLabel(shownText(contents.title, maxTitleLength), Theme::titleFont(), contentWidth, this);
    column->addWidget(title);
    addDetail(*column);
    addRemember(*column);
    column->addStretch();
    addButtons(*column);
    column->addStrut(contentWidth);
}

void ConfirmationDialog::addDetail(QVBoxLayout& column)
{
    card = new QFrame(this);
    card->setObjectName("card");
    auto* const inside = new QVBoxLayout(card);
    inside->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    QFont font = this->font();
    if (contents.isExact) {
        font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setPointSizeF(this->font().pointSizeF());
    }
    detail = new DetailView(exactLines(contents.detail), font, contentWidth - 2 * cardPadding - 2,
                            maxDetailHeight, card);
    detail->setAccessibleName(worded("confirm.detail"));
    detail->onScrolled = [this] { showMoreBelow(); };
    inside->addWidget(detail);
    column.addWidget(card);
    moreBelow = new WrappedLabel(worded("confirm.moreBelow"), Theme::smallFont(), contentWidth, this);
    moreBelow->hide();
    column.addWidget(moreBelow);
}

void ConfirmationDialog::addRemember(QVBoxLayout& column)
{
    if (!contents.showsRemember)
        return;
    remember = new QCheckBox(worded("confirm.rememberSession"), this);
    column.addWidget(remember);
}

void ConfirmationDialog::addButtons(QVBoxLayout& column)
{
    timeLeft = new QLabel(this);
    timeLeft->setFont(Theme::smallFont());
    deny = newButton(contents.denyTitle);
    QObject::connect(deny, &QPushButton::clicked, this, [this] { report(reports.deny); });
    allow = newButton(contents.allowTitle);
    allow->setDefault(true);
    QObject::connect(allow, &QPushButton::clicked, this, [this] {
        if (auto const onAllow = reports.allow) // Empty when an assistive tool presses late.
            onAllow(remember && remember->isChecked());
    });

    auto* const row = new QHBoxLayout;
    row->setSpacing(buttonGap);
    row->addWidget(timeLeft);
    row->addStretch();
    row->addWidget(deny);
    row->addWidget(allow);
    column.addLayout(row);

    timeBar = new QProgressBar(this);
    timeBar->setRange(0, barSteps);
    timeBar->setTextVisible(false);
    timeBar->setFixedHeight(barHeight);
    column.addWidget(timeBar);
}

QPushButton* ConfirmationDialog::newButton(std::string const& words)
{
    QString const text = shownText(words, maxButtonLength);
    auto* const button = new QPushButton(QString(text).replace('&', "&&"), this);
    button->setAccessibleName(text);
    return button;
}

void ConfirmationDialog::paintIn(QPalette const& palette)
{
    Theme const theme(palette);
    QString const buttons = answerButtonStyle(theme);
    deny->setStyleSheet(buttons);
    allow->setStyleSheet(buttons);
    card->setStyleSheet(QString("#card { background: %1; border: 1px solid %2; border-radius: 10px; }"
                                "QPlainTextEdit { background: transparent; }")
                            .arg(theme.card.name(), theme.line.name()));
    timeBar->setStyleSheet(QString("QProgressBar { background: %1; border: none; border-radius: 1px; }"
                                   "QProgressBar::chunk { background: %2; border-radius: 1px; }")
                               .arg(theme.line.name(), theme.accent.name()));
    QPalette quiet = palette;
    quiet.setColor(QPalette::WindowText, theme.secondary);
    timeLeft->setPalette(quiet);
    QPalette warning = palette;
    warning.setColor(QPalette::WindowText, theme.warning);
    moreBelow->setPalette(warning);
}

void ConfirmationDialog::present(Instant timeIsUp, ConfirmationPanel::Reports next)
{
    begin = clock.now();
    end = timeIsUp;
    reports = std::move(next);
    showTimeLeft();
    tick.start();
    detail->setFocus(); // Neither an answer nor the check box, so that a space from a typing person presses
                        // nothing.
    adjustSize();
    placeInTheMiddle();
    filter.open(*this);
    show();
    raise();
    activateWindow();
}

void ConfirmationDialog::leave()
{
    reports = {};
    tick.stop();
    hide();
}

void ConfirmationDialog::placeInTheMiddle()
{
    QScreen const* const screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QSize const size = sizeHint().expandedTo(minimumSizeHint());
    move(screen->availableGeometry().center() - QPoint(size.width() / 2, size.height() / 2));
}

// The answer may destroy this window.
void ConfirmationDialog::report(std::function<void()> const& callback)
{
    if (auto const kept = callback)
        kept();
}

void ConfirmationDialog::reject()
{
    report(reports.deny);
}

void ConfirmationDialog::closeEvent(QCloseEvent* event)
{
    event->ignore();
    report(reports.close);
}

void ConfirmationDialog::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && timeBar)
        paintIn(palette());
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        filter.activate();
    if (event->type() == QEvent::WindowStateChange && isMinimized())
        setWindowState(Qt::WindowNoState); // The person must not miss it.
}

void ConfirmationDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    showMoreBelow();
    QAccessibleEvent alert(this, QAccessible::Alert); // A screen reader speaks it at once.
    QAccessible::updateAccessibility(&alert);
}

void ConfirmationDialog::showMoreBelow()
{
    moreBelow->setVisible(detail->hasMoreBelow());
}

void ConfirmationDialog::showTimeLeft()
{
    Duration const left = std::max(end - clock.now(), Duration::zero());
    auto const seconds = std::chrono::ceil<std::chrono::seconds>(left).count();
    QString const text = QString::fromStdString(localized("confirm.closesIn", {std::int64_t{seconds}}));
    if (timeLeft->text() != text)
        timeLeft->setText(text);
    double const share =
        end > begin ? static_cast<double>(left.count()) / static_cast<double>((end - begin).count()) : 0;
    timeBar->setValue(static_cast<int>(share * barSteps));
}

bool ConfirmationDialog::wouldAllow(int key) const
{
    if (key == Qt::Key_Return || key == Qt::Key_Enter)
        return allow->isDefault();
    return (key == Qt::Key_Space || key == Qt::Key_Select) && allow->hasFocus();
}

} // namespace zelvo
