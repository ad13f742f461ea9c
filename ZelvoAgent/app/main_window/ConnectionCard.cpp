#include "app/main_window/ConnectionCard.h"

#include "app/WrappedLabel.h"
#include "app/widgets/Button.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"
#include "base/Text.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QVBoxLayout>

namespace zelvo {

namespace {

constexpr std::size_t maxPlatformName = 80; // Characters.

/// A menu takes "&" for a mnemonic.
QString asMenuText(QString text)
{
    return text.replace('&', "&&");
}

} // namespace

ConnectionCard::ConnectionCard(GrantedConnection granted, AppServices const& services, QWidget* parent)
    : QWidget(parent), connection(std::move(granted)), services(services)
{
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    auto* const card = new Card(this);
    whole->addWidget(card);
    QString const name = shownText(connection.platformName, maxPlatformName);
    auto* const top = new QHBoxLayout;
    top->setSpacing(spacing::small);
    top->addWidget(new ElidedLabel(name, TextLabel::Size::normal, TextLabel::Tone::primary, card), 1);
    auto* const manage = new Button(worded("main.manage"), Button::Kind::link, card);
    manage->setAccessibleName(worded("main.manage") + ": " + name);
    manage->onPressed([this, manage] {
        QMenu* const menu = newMenu();
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->popup(manage->mapToGlobal(QPoint(0, manage->height())));
    });
    top->addWidget(manage);
    card->column().addLayout(top);
    card->column().addWidget(new TextLabel(toQString(shortList(connection.scopes)), TextLabel::Size::small,
                                           TextLabel::Tone::secondary, card));
}

QMenu* ConnectionCard::newMenu()
{
    auto* const menu = new QMenu(this);
    menu->setAccessibleName(worded("main.manage"));
    for (AgentScope const scope : connection.scopes)
        menu->addAction(asMenuText(toQString(title(scope))))->setEnabled(false);
    addSharing(*menu);
    menu->addSeparator();
    QAction* const end = menu->addAction(worded("menu.disconnect"));
    QObject::connect(end, &QAction::triggered, this, [this] { disconnect(); });
    return menu;
}

void ConnectionCard::addSharing(QMenu& menu)
{
    bool const isShared = services.parts.recording.state().mode() == RecordingMode::share;
    if (!isShared || !connection.holds(AgentScope::record))
        return;
    menu.addSeparator();
    QAction* const shares = menu.addAction(worded("menu.recording.shareWith"));
    shares->setCheckable(true);
    shares->setChecked(connection.shareRecordings.value_or(false));
    QObject::connect(shares, &QAction::triggered, this, [this](bool on) { share(on); });
}

// The stored value is what the menu shows, so a question without a yes leaves it as it was.
void ConnectionCard::share(bool on)
{
    spawn(services.contexts.main,
          [&sharing = services.parts.recording.sharing(), id = connection.id, on]() -> Task<> {
              if (on)
                  co_await sharing.ask(id);
              else
                  co_await sharing.set(id, false);
          });
}

// Only the console can bring a connection back, so the person is asked.
void ConnectionCard::disconnect()
{
    std::string const name = text::shownInLine(connection.platformName, maxPlatformName);
    ConfirmationPresenter::Choice question{.title = localized("main.disconnect.title", {name}),
                                           .detail = localized("main.disconnect.detail", {name}),
                                           .allowTitle = localized("menu.disconnect"),
                                           .denyTitle = localized("common.cancel")};
    spawn(services.contexts.main, [&parts = services.parts, id = connection.id, question]() -> Task<> {
        constexpr std::int64_t timeoutMs = 180'000;
        ConfirmationDecision const decision = co_await parts.confirmations.askChoice(question, timeoutMs);
        if (decision.isAllowed())
            parts.state.revoke(id);
    });
}

} // namespace zelvo
