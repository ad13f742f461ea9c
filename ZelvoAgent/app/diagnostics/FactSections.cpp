#include "app/diagnostics/FactSections.h"

#include "app/WrappedLabel.h"
#include "app/menu/StatusButton.h"
#include "app/widgets/Button.h"
#include "base/LocalizedTexts.h"

#include <QDateTime>
#include <QVBoxLayout>

#include <chrono>

namespace zelvo {

namespace {

constexpr std::size_t maxDetail = 600; // Characters.

QString yesOrNo(bool value)
{
    return worded(value ? "common.yes" : "common.no");
}

/// The buttons that fit a link that is not there.
AgentStatus statusOf(GatewayConnectionState const& gateway, UpdateSource updates)
{
    using Kind = GatewayConnectionState::Kind;
    AgentStatus status;
    if (gateway.kind == Kind::retrying)
        status.action = AgentStatus::Action::reconnectNow;
    else if (gateway.kind == Kind::tokenRejected)
        status.action = AgentStatus::Action::relink;
    else if (gateway.kind == Kind::updateRequired && updates == UpdateSource::itself)
        status.action = AgentStatus::Action::update;
    return status;
}

} // namespace

ServerSection::ServerSection(AppServices const& services, QWidget* parent)
    : DiagnosticsSection("diag.server.title", parent), services(services),
      connection(addLine("diag.server.connection"))
{
    addLine("diag.server.link")->setShownText(toQString(services.parts.runtime.httpBase()));
    addLine("diag.server.socket")->setShownText(toQString(services.parts.runtime.gatewayUrl()));
    addHint("diag.server.hint");
    action = new StatusButton(services, false, this);
    column().addWidget(action, 0, Qt::AlignLeading);
    refresh();
}

void ServerSection::refresh()
{
    GatewayConnectionState const& gateway = services.parts.state.gateway();
    QString text = toQString(gateway.title());
    if (auto const detail = gateway.detail(services.updater.source()); detail && !detail->empty())
        text += '\n' + shownText(*detail, maxDetail);
    connection->setShownText(text);
    action->setStatus(statusOf(gateway, services.updater.source()));
}

PermissionsSection::PermissionsSection(PermissionsWatch& permissions, QWidget* parent)
    : DiagnosticsSection("diag.permissions.title", parent), permissions(permissions),
      screen(addLine("permission.screenRecording")), accessibility(addLine("permission.accessibility"))
{
    addHint("diag.permissions.hint");
    auto* const again = new Button(worded("common.refresh"), Button::Kind::secondary, this);
    again->onPressed([this] {
        this->permissions.look();
        refresh();
    });
    column().addWidget(again, 0, Qt::AlignLeading);
    refresh();
}

void PermissionsSection::refresh()
{
    screen->setShownText(yesOrNo(permissions.current().screenRecording));
    accessibility->setShownText(yesOrNo(permissions.current().accessibility));
}

StateSection::StateSection(AgentState const& state, QWidget* parent)
    : DiagnosticsSection("diag.state.title", parent), state(state), paused(addLine("diag.state.paused")),
      now(addLine("diag.state.now"))
{
    addText(worded("diag.state.history"), TextLabel::Size::normal, TextLabel::Tone::secondary);
    history = addText(QString(), TextLabel::Size::small, TextLabel::Tone::primary);
    addHint("diag.state.hint");
    refresh();
}

void StateSection::refresh()
{
    paused->setShownText(yesOrNo(state.isPaused()));
    now->setShownText(toQString(rawValue(state.availability())));
    QStringList lines;
    for (AvailabilityChange const& change : state.availabilityHistory())
        lines.append(lineOf(change));
    history->setShownText(lines.isEmpty() ? worded("diag.state.empty") : lines.join('\n'));
}

QString lineOf(AvailabilityChange const& change)
{
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(change.at.time_since_epoch());
    QString const time = QDateTime::fromSecsSinceEpoch(seconds.count()).toString("HH:mm:ss");
    return toQString(rawValue(change.from)) + " → " + toQString(rawValue(change.to)) + "  " + time;
}

} // namespace zelvo
