#include "app/main_window/ConnectionsSection.h"

#include "app/OpenInBrowser.h"
#include "app/main_window/ConnectionCard.h"
#include "app/widgets/Button.h"
#include "app/widgets/NameOrder.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QVBoxLayout>

namespace zelvo {

ConnectionsSection::ConnectionsSection(AppServices const& services, QWidget* parent)
    : QWidget(parent), services(services), cards(new QVBoxLayout),
      add(new Button(QString(), Button::Kind::secondary, this))
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::small);
    cards->setSpacing(spacing::small);
    column->addWidget(
        new TextLabel(worded("main.connections"), TextLabel::Size::heading, TextLabel::Tone::primary, this));
    column->addLayout(cards);
    column->addWidget(add);
    add->onPressed([this] { openConsole(this->services); });
    refresh();
}

void ConnectionsSection::refresh()
{
    Shown next{.connections = services.parts.state.connections(),
               .mode = services.parts.recording.state().mode()};
    if (shown == next)
        return;
    shown = std::move(next);
    while (QLayoutItem* const item = cards->takeAt(0)) {
        if (QWidget* const card = item->widget()) {
            card->hide();
            card->deleteLater(); // The change may come from one of its own menus.
        }
        delete item;
    }
    for (GrantedConnection& connection : byPlatformName(shown->connections))
        cards->addWidget(new ConnectionCard(std::move(connection), services, this));
    bool const isEmpty = shown->connections.empty();
    if (isEmpty)
        cards->addWidget(new TextLabel(worded("main.connections.empty"), TextLabel::Size::small,
                                       TextLabel::Tone::secondary, this));
    add->setLabel(worded(isEmpty ? "status.action.connect" : "main.connections.add"));
}

std::vector<GrantedConnection> byPlatformName(ConnectionMap const& connections)
{
    std::vector<GrantedConnection> all;
    for (auto const& [id, connection] : connections)
        all.push_back(connection);
    sortByName(all, &GrantedConnection::platformName);
    return all;
}

} // namespace zelvo
