#include "app/menu/MenuPanel.h"

#include "app/OwnWindows.h"
#include "app/Theme.h"
#include "app/menu/CompactActivity.h"
#include "app/menu/LiveAgentsSection.h"
#include "app/menu/StatusButton.h"
#include "app/menu/StatusHeader.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/SwitchRow.h"
#include "app/widgets/TextLabel.h"
#include "app/widgets/ToolkitPoint.h"

#include <QApplication>
#include <QCloseEvent>
#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int gap = 6; // Points between the icon and the panel.

QVBoxLayout& columnOf(QWidget& content)
{
    return static_cast<QVBoxLayout&>(*content.layout());
}

} // namespace

MenuPanel::MenuPanel(AppServices const& services) : ContentWindow("Zelvo"), services(services)
{
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    following.emplace_back(services.parts.state.changed.connect([this] { refreshSoon(); }));
    following.emplace_back(services.parts.recording.state().changed.connect([this] { refreshSoon(); }));
}

void MenuPanel::open(QRect const& icon)
{
    anchor = icon;
    permissions = services.platform.access().current();
    if (!isBuilt())
        rebuild();
    refresh();
    bringToFront();
    presses = services.platform.presses().observe([this](DesktopPoint point) { pressed(point); });
    raiseWindow(services, *this, Raising::keptAbove);
}

QWidget* MenuPanel::newContent()
{
    scrolled = new QWidget;
    auto* const column = new QVBoxLayout(scrolled);
    column->setContentsMargins(spacing::large, spacing::large, spacing::large, spacing::large);
    column->setSpacing(spacing::medium);
    addHead(*scrolled);
    addRecent(*scrolled);
    addFoot(*scrolled);
    refreshSoon();
    return new ScrollColumn(scrolled, this);
}

void MenuPanel::addHead(QWidget& content)
{
    header = new StatusHeader(true, &content);
    action = new StatusButton(services, true, &content);
    recording = new TextLabel(worded("menu.recording.active"), TextLabel::Size::small,
                              TextLabel::Tone::secondary, &content);
    LiveAgentsSection::Services forAgents{
        .platformName = [this](std::optional<std::string> const& id) -> std::optional<std::string> {
            auto const connection = services.parts.state.connection(id);
            return connection ? std::optional(connection->platformName) : std::nullopt;
        },
        .setPaused = [this](std::string ref,
                            bool paused) { services.parts.runtime.setAgentPaused(std::move(ref), paused); }};
    agents = new LiveAgentsSection(std::move(forAgents), &content);
    for (QWidget* const part : std::initializer_list<QWidget*>{header, action, recording, agents})
        columnOf(content).addWidget(part);
}

void MenuPanel::addRecent(QWidget& content)
{
    auto* const heading = new QHBoxLayout;
    heading->addWidget(
        new TextLabel(worded("menu.recent"), TextLabel::Size::heading, TextLabel::Tone::primary, &content),
        1);
    auto* const all = new Button(worded("menu.seeAll"), Button::Kind::link, &content);
    all->onPressed([this] { openWindow(AppWindow::main); });
    heading->addWidget(all);
    recent = new CompactActivity(&content);
    columnOf(content).addWidget(new Divider(&content));
    columnOf(content).addLayout(heading);
    columnOf(content).addWidget(recent);
}

void MenuPanel::addFoot(QWidget& content)
{
    keepAwake = new SwitchRow(worded("menu.keepAwake"), QString(), &content);
    keepAwake->onTurned([this](bool on) { services.parts.state.setKeepAwakeWhileWorking(on); });
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(spacing::small);
    auto* const open = new Button(worded("menu.open"), Button::Kind::secondary, &content);
    open->onPressed([this] { openWindow(AppWindow::main); });
    auto* const quit = new Button(worded("menu.quit"), Button::Kind::secondary, &content);
    quit->onPressed([this] { services.quit(); });
    buttons->addWidget(open, 1);
    buttons->addWidget(quit, 1);
    columnOf(content).addWidget(new Divider(&content));
    columnOf(content).addWidget(keepAwake);
    columnOf(content).addLayout(buttons);
}

void MenuPanel::openWindow(AppWindow which)
{
    services.openWindow(which);
    close();
}

void MenuPanel::refresh()
{
    if (!isBuilt())
        return;
    AgentState const& state = services.parts.state;
    AgentStatus const status = AgentStatus::current(state, permissions, services.updater.source());
    header->setStatus(status);
    action->setStatus(status);
    recording->setVisible(services.parts.recording.state().isRecording());
    agents->setAgents(state.liveAgents());
    recent->setEntries(state.activity());
    keepAwake->setOn(state.keepAwakeWhileWorking());
    fit();
}

// As high as its content, while the screen has room for it.
void MenuPanel::fit()
{
    scrolled->layout()->activate();
    QScreen const* screen = QGuiApplication::screenAt(anchor.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QRect const work = screen->availableGeometry();
    int const wanted = scrolled->layout()->totalHeightForWidth(panelWidth);
    QSize const size(std::min(panelWidth, work.width()), std::min(wanted, work.height()));
    QRect const place = panelPlace(anchor, size, screen->geometry(), work);
    setFixedSize(place.size());
    move(place.topLeft());
}

void MenuPanel::changeEvent(QEvent* event)
{
    ContentWindow::changeEvent(event);
    // A menu or tool tip of the panel's own takes no activation.
    if (event->type() == QEvent::ActivationChange && isVisible() && !isActiveWindow())
        close();
}

void MenuPanel::closeEvent(QCloseEvent* event)
{
    presses.reset();
    ContentWindow::closeEvent(event);
}

void MenuPanel::pressed(DesktopPoint point)
{
    auto const display = services.platform.overlays().mainDisplay();
    QPoint const place = toolkitPoint(point, display ? display->scale : 1, toolkitScreens());
    // The icon closes the panel itself; it would open again otherwise.
    if (!anchor.contains(place) && !isOwn(place))
        close();
}

// Whether the panel is there, or a menu or tool tip of it.
bool MenuPanel::isOwn(QPoint place) const
{
    auto const covers = [&](QWidget const* window) {
        if (!window->isVisible() || !window->frameGeometry().contains(place))
            return false;
        while (window && window != this)
            window = window->parentWidget();
        return window == this;
    };
    return std::ranges::any_of(QApplication::topLevelWidgets(), covers);
}

void MenuPanel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    painter.setPen(Theme(palette()).line);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

QRect panelPlace(QRect const& icon, QSize const& panel, QRect const& screen, QRect const& workArea)
{
    QPoint const middle = icon.center();
    int const left = middle.x() - screen.left();
    int const right = screen.right() - middle.x();
    int const top = middle.y() - screen.top();
    int const bottom = screen.bottom() - middle.y();
    int const nearest = std::min({left, right, top, bottom});
    QRect place(QPoint(), panel);
    place.moveCenter(middle);
    if (nearest == top)
        place.moveTop(std::max(icon.bottom() + gap, workArea.top()));
    else if (nearest == bottom)
        place.moveBottom(std::min(icon.top() - gap, workArea.bottom()));
    else if (nearest == left)
        place.moveLeft(std::max(icon.right() + gap, workArea.left()));
    else
        place.moveRight(std::min(icon.left() - gap, workArea.right()));
    place.moveRight(std::min(place.right(), workArea.right()));
    place.moveBottom(std::min(place.bottom(), workArea.bottom()));
    place.moveLeft(std::max(place.left(), workArea.left()));
    place.moveTop(std::max(place.top(), workArea.top()));
    return place;
}

} // namespace zelvo
