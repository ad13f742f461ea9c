#include "app/ConsentOfferView.h"

#include "app/ButtonStyle.h"
#include "app/Glyph.h"
#include "app/ScopeRow.h"
#include "app/Theme.h"
#include "app/WrappedLabel.h"
#include "base/LocalizedTexts.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

// Points.
constexpr int glyphGap = 8;
constexpr int cardMargin = 14;
constexpr int rowGap = 12;

// Characters. A host name has at most 253; a shorter limit could hide its end and make it look like another.
constexpr std::size_t maxNameLength = 80;
constexpr std::size_t maxDomainLength = 253;
constexpr std::size_t maxFailureLength = 600;

QString worded(std::string_view key)
{
    return QString::fromStdString(localized(key));
}

QString worded(std::string_view key, QString const& argument)
{
    return QString::fromStdString(localized(key, {argument.toStdString()}));
}

// A sign and its text.
QWidget* signedLine(Glyph::Shape shape,
                    QColor const& color,
                    QString const& text,
                    QFont const& font,
                    int width,
                    QWidget* parent)
{
    auto* const line = new QWidget(parent);
    auto* const row = new QHBoxLayout(line);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(glyphGap);
    row->addWidget(new Glyph(shape, color, line), 0, Qt::AlignTop);
    auto* const label = new WrappedLabel(text, font, width - Glyph::size - glyphGap, line);
    label->setColor(color);
    row->addWidget(label, 0, Qt::AlignVCenter);
    return line;
}

} // namespace

ConsentOfferView::ConsentOfferView(
    LinkCoordinator& coordinator, Request request, int width, Answers answers, QWidget* parent)
    : QWidget(parent), coordinator(coordinator), offer(std::move(request.offer)),
      replacesAnother(request.replacesAnother), columnWidth(width)
{
    setFocusPolicy(Qt::ClickFocus); // Without a policy the dialog passes the focus on to "Allow".
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(rowGap);
    addNotice(*column);
    addHeader(*column);
    addScopes(*column);
    failurePlace = new QVBoxLayout;
    column->addLayout(failurePlace);
    addFooter(*column, std::move(answers));
    refresh();
}

void ConsentOfferView::addNotice(QVBoxLayout& column)
{
    if (!replacesAnother)
        return;
    Theme const theme(palette());
    column.addWidget(signedLine(Glyph::Shape::warning, theme.warning, worded("consent.changed"), font(),
                                columnWidth, this));
}

void ConsentOfferView::addHeader(QVBoxLayout& column)
{
    QString const name = shownText(offer.platformName, maxNameLength);
    QString const title =
        offer.isPersonal ? worded("consent.personal") : worded("consent.platformAsks", name);
    column.addWidget(new WrappedLabel(title, Theme::titleFont(), columnWidth, this));
    addOrigin(column);
}

void ConsentOfferView::addOrigin(QVBoxLayout& column)
{
    Theme const theme(palette());
    if (offer.verifiedDomain) {
        QString const text =
            worded("consent.domainVerified", shownText(*offer.verifiedDomain, maxDomainLength));
        column.addWidget(signedLine(Glyph::Shape::seal, theme.accent, text, font(), columnWidth, this));
    } else if (!offer.isPersonal) {
        QString const text = worded("consent.domainUnverified");
        column.addWidget(signedLine(Glyph::Shape::warning, theme.warning, text, font(), columnWidth, this));
    }
}

void ConsentOfferView::addScopes(QVBoxLayout& column)
{
    Theme const theme(palette());
    auto* const card = new QFrame(this);
    card->setObjectName("card");
    card->setStyleSheet(QString("#card { background: %1; border: 1px solid %2; border-radius: 10px; }")
                            .arg(theme.card.name(), theme.line.name()));
    auto* const list = new QVBoxLayout(card);
    list->setContentsMargins(cardMargin, cardMargin, cardMargin, cardMargin);
    list->setSpacing(rowGap);
    for (AgentScope const scope : offer.requestedScopes) {
        auto const turned = [this, scope](bool on) { coordinator.setGranted(scope, on); };
        auto* const row = new ScopeRow(scope, columnWidth - 2 * cardMargin, turned, card);
        rows[scope].push_back(row);
        list->addWidget(row);
    }
    card->setVisible(!offer.requestedScopes.empty());
    column.addWidget(card);

    bypassWarning = signedLine(Glyph::Shape::info, theme.secondary, worded("consent.bypassWarning"),
                               Theme::smallFont(), columnWidth, this);
    column.addWidget(bypassWarning);
}

void ConsentOfferView::addFooter(QVBoxLayout& column, Answers answers)
{
    Theme const theme(palette());
    QString const name = shownText(offer.platformName, maxNameLength);
    auto* const words =
        new WrappedLabel(worded("consent.footer", name), Theme::smallFont(), columnWidth, this);
    words->setColor(theme.secondary);
    column.addWidget(words);

    deny = new QPushButton(worded("confirm.deny"), this);
    deny->setStyleSheet(plainButtonStyle(theme));
    QObject::connect(deny, &QPushButton::clicked, this, std::move(answers.deny));
    allow = new QPushButton(worded("confirm.allow"), this);
    allow->setStyleSheet(primaryButtonStyle(theme));
    allow->setDefault(true);
    QObject::connect(allow, &QPushButton::clicked, this, std::move(answers.allow));

    auto* const row = new QHBoxLayout;
    row->setContentsMargins(0, rowGap / 2, 0, 0);
    row->addWidget(deny);
    row->addStretch();
    row->addWidget(allow);
    column.addLayout(row);
}

void ConsentOfferView::refresh()
{
    std::set<AgentScope> const& granted = coordinator.granted();
    for (auto const& [scope, shown] : rows)
        for (ScopeRow* const row : shown)
            row->setOn(granted.contains(scope));
    bypassWarning->setVisible(std::ranges::any_of(granted, bypassesHiddenApps));
    enableAllow(!coordinator.isBusy() && granted.contains(AgentScope::screen));
    showFailure();
}

// A disabled button passes the focus on, here to "Deny", where the next Return would deny. So this view takes
// the focus, and returns it when the answer did not get through.
void ConsentOfferView::enableAllow(bool enabled)
{
    if (!enabled && allow->hasFocus()) {
        allowHadFocus = true;
        setFocus();
    }
    allow->setEnabled(enabled);
    if (enabled && std::exchange(allowHadFocus, false) && hasFocus())
        allow->setFocus();
}

void ConsentOfferView::takeFocus()
{
    for (AgentScope const scope : offer.requestedScopes)
        for (ScopeRow* const row : rows[scope])
            if (row->takeFocus())
                return;
    setFocus();
}

bool ConsentOfferView::wouldGive(int key) const
{
    bool const isReturn = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (!isReturn && key != Qt::Key_Space && key != Qt::Key_Select)
        return false;
    auto const wouldTurnOn = [](ScopeRow const* row) { return row->hasFocusWhileOff(); };
    for (auto const& [scope, shown] : rows)
        if (std::ranges::any_of(shown, wouldTurnOn)) // Some desktops press a switch with Return as well.
            return true;
    return isReturn ? allow->isDefault() : allow->hasFocus();
}

// After a failed answer the offer stays, so that the person can try again.
void ConsentOfferView::showFailure()
{
    std::optional<std::string> const& error = coordinator.error();
    QString const text = error ? shownText(*error, maxFailureLength) : QString();
    if (text == failureText)
        return;
    failureText = text;
    delete failure;
    failure = nullptr;
    if (text.isEmpty())
        return;
    failure = signedLine(Glyph::Shape::warning, Theme(palette()).warning, text, Theme::smallFont(),
                         columnWidth, this);
    failurePlace->addWidget(failure);
}

} // namespace zelvo
