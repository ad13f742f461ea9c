#include "app/UserInterface.h"

#include "app/widgets/TextLabel.h"
#include "state/AgentStatus.h"

#include <QApplication>
#include <QEvent>

#include <utility>

namespace zelvo {

namespace {

constexpr auto welcomeDelay = 1s;
// The click on the icon takes the keyboard from the panel, which closes it, before the click itself arrives.
constexpr auto reopenPause = 300ms;

ZelvoMark::State markOf(AgentState const& state)
{
    if (state.isPaused())
        return ZelvoMark::State::paused;
    return state.isAgentWorking() ? ZelvoMark::State::working : ZelvoMark::State::idle;
}

QColor toQColor(Rgb color)
{
    return {color.red, color.green, color.blue};
}

} // namespace

UserInterface::UserInterface(AppServices given, ConsentPresenter& consent)
    : services(std::move(given)), consent(consent), windows(services),
      icon([this](QRect const& place) { togglePanel(place); }),
      welcomeTime(services.contexts.main, services.platform.clock())
{
    services.openWindow = [this](AppWindow which) { windows.open(which); };
}

UserInterface::~UserInterface() = default;

void UserInterface::start()
{
    following.emplace_back(services.parts.state.changed.connect([this] { drawSoon(); }));
    following.emplace_back(services.parts.recording.state().changed.connect([this] { drawSoon(); }));
    following.emplace_back(services.platform.access().observe([this] { drawSoon(); }));
    services.platform.tray().observe([this] { followTray(); });
    qApp->installEventFilter(this);
    drawIcon();
    followTray();
    welcomeTime.in(welcomeDelay, [this] { welcomeLater(); });
}

// A request that waits for an answer goes first.
void UserInterface::welcomeLater()
{
    if (consent.isShown() || services.parts.links.offer() || services.parts.links.isBusy())
        welcomeTime.in(welcomeDelay, [this] { welcomeLater(); });
    else
        welcome.showIfNeeded(services);
}

void UserInterface::bringToFront()
{
    windows.open(AppWindow::main);
    if (services.parts.links.offer())
        consent.show();
}

void UserInterface::hideIcon()
{
    isIconHidden = true;
    followTray();
}

void UserInterface::followTray()
{
    TrayState const now = services.platform.tray().current();
    icon.setTray(now.isPresent && !isIconHidden,
                 now.foreground ? std::optional(toQColor(*now.foreground)) : std::nullopt);
}

void UserInterface::drawIcon()
{
    AgentStatus const status = AgentStatus::current(
        services.parts.state, services.platform.access().current(), services.updater.source());
    icon.setState(markOf(services.parts.state), services.parts.recording.state().isRecording(),
                  "Zelvo: " + toQString(status.title));
}

void UserInterface::togglePanel(QRect const& place)
{
    Instant const now = services.platform.clock().now();
    if (panel) {
        panel->close();
        return;
    }
    if (panelClosedAt != Instant{} && now - panelClosedAt < reopenPause)
        return;
    panel = std::make_unique<MenuPanel>(services);
    panel->onClosed = [this] {
        panelClosedAt = services.platform.clock().now();
        panel.release()->deleteLater(); // The call comes from the panel itself.
    };
    panel->open(place);
}

bool UserInterface::eventFilter(QObject* receiver, QEvent* event)
{
    if (receiver == qApp && event->type() == QEvent::ApplicationPaletteChange)
        icon.repaint();
    return QObject::eventFilter(receiver, event);
}

} // namespace zelvo
