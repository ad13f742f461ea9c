#include "app/ConfirmationDialog.h"

#include "app/ButtonStyle.h"
#include "app/DetailView.h"
#include "app/ExactText.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "app/widgets/KeepOnScreen.h"
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
constexpr int maxSharedDetailHeight = 110; // With other parts beside the detail.
constexpr int maxSectionHeight = 50;
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

// What a screen reader says when the question opens: the warning first.
std::string spoken(PanelContents const& contents)
{
    std::string text;
    if (contents.warning) {
        text = contents.warning->caption;
        for (std::string const& line : contents.warning->lines)
            text += "\n" + line;
        text += "\n";
    }
    return text + contents.detail;
}

} // namespace

ConfirmationDialog::ConfirmationDialog(PanelContents contents, Clock& clock)
    : contents(std::move(contents)), clock(clock), filter(clock, [this](int key) { return wouldAllow(key); })
{
    setWindowTitle("Zelvo");
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                   Qt::WindowStaysOnTopHint);
    build();
    keepOnScreen(*this);
    paintIn(palette());
    setAccessibleName(title->accessibleName());
    setAccessibleDescription(shownText(spoken(this->contents), maxDescriptionLength));
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
    addCards(*column);
    addRemember(*column);
    column->addStretch();
    addButtons(*column);
    column->addStrut(contentWidth);
}

// Each part scrolls for itself, so that none can push another, or the buttons, out of sight.
void ConfirmationDialog::addCards(QVBoxLayout& column)
{
    bool const isAlone = !contents.warning && contents.additions.empty();
    if (contents.warning)
        cards.push_back(newCard(*contents.warning, true));
    DetailCard::Contents main{.lines = exactLines(contents.detail)};
    detail = newCard(std::move(main), isAlone ? maxDetailHeight : maxSharedDetailHeight);
    cards.push_back(detail);
    for (PanelSection const& addition : contents.additions)
        cards.push_back(newCard(addition, false));
    for (DetailCard* const card : cards)
        column.addWidget(card);
}

DetailCard* ConfirmationDialog::newCard(DetailCard::Contents part, int highest)
{
    QFont font = this->font();
    if (contents.isExact) {
        font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setPointSizeF(this->font().pointSizeF());
    }
    return new DetailCard(std::move(part), font, contentWidth, highest, this);
}

DetailCard* ConfirmationDialog::newCard(PanelSection const& section, bool isWarning)
{
    QStringList lines;
    for (std::string const& line : section.lines)
        lines += exactLine(line);
    DetailCard::Contents part{.caption = QString::fromStdString(section.caption),
                              .lines = std::move(lines),
                              .isWarning = isWarning};
    return newCard(std::move(part), maxSectionHeight);
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
    filter.setDeny(deny);
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
    for (DetailCard* const card : cards)
        card->paintIn(palette);
    timeBar->setStyleSheet(QString("QProgressBar { background: %1; border: none; border-radius: 1px; }"
                                   "QProgressBar::chunk { background: %2; border-radius: 1px; }")
                               .arg(theme.line.name(), theme.accent.name()));
    QPalette quiet = palette;
    quiet.setColor(QPalette::WindowText, theme.secondary);
    timeLeft->setPalette(quiet);
}

void ConfirmationDialog::present(Instant timeIsUp, ConfirmationPanel::Reports next)
{
    begin = clock.now();
    end = timeIsUp;
    reports = std::move(next);
    showTimeLeft();
    tick.start();
    // Neither an answer nor the check box, so that a space from a typing person presses nothing.
    detail->detail().setFocus();
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
    QAccessibleEvent alert(this, QAccessible::Alert); // A screen reader speaks it at once.
    QAccessible::updateAccessibility(&alert);
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
