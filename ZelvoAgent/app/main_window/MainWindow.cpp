#include "app/main_window/MainWindow.h"

#include "app/WrappedLabel.h"
#include "app/main_window/ConnectionsSection.h"
#include "app/main_window/ThisMacSection.h"
#include "app/menu/StatusActions.h"
#include "app/menu/StatusButton.h"
#include "app/menu/StatusHeader.h"
#include "app/updates/UpdateStatus.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/TextLabel.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

// Points.
constexpr QSize leastSize(760, 520);
constexpr QSize idealSize(880, 620);
constexpr QSize maximumStored(10'000, 10'000);
constexpr int sideWidth = 272;

constexpr char const* widthKey = "zelvo.mainWindow.width";
constexpr char const* heightKey = "zelvo.mainWindow.height";
constexpr std::size_t maxFailure = 300; // Characters.

} // namespace

MainWindow::MainWindow(AppServices const& services)
    : ContentWindow(worded("window.main")), services(services),
      permissions(
          services.platform.access(), services.contexts, services.platform.clock(), [this] { refreshSoon(); })
{
    setMinimumSize(leastSize);
    restoreSize();
    auto const soon = [this] { refreshSoon(); };
    following.emplace_back(services.parts.state.changed.connect(soon));
    following.emplace_back(services.parts.recording.state().changed.connect(soon));
    following.emplace_back(services.parts.queue.policyChanged.connect(soon));
    following.emplace_back(services.updater.changed.connect(soon));
}

void MainWindow::restoreSize()
{
    auto const stored = [&](char const* key, int least, int ideal, int most) {
        auto const value = services.platform.defaults().integer(key);
        return value && *value >= least && *value <= most ? static_cast<int>(*value) : ideal;
    };
    QSize const wanted(stored(widthKey, leastSize.width(), idealSize.width(), maximumStored.width()),
                       stored(heightKey, leastSize.height(), idealSize.height(), maximumStored.height()));
    QScreen const* const screen = QGuiApplication::primaryScreen();
    QSize const room = screen ? screen->availableGeometry().size() : wanted;
    resize(wanted.boundedTo(room).expandedTo(leastSize));
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!isMaximized() && !isFullScreen()) {
        services.platform.defaults().setInteger(widthKey, width());
        services.platform.defaults().setInteger(heightKey, height());
    }
    ContentWindow::closeEvent(event);
}

QWidget* MainWindow::newContent()
{
    auto* const content = new QWidget(this);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::large);
    column->setSpacing(spacing::large);
    column->addWidget(newHeader(content));
    auto* const middle = new QHBoxLayout;
    middle->setSpacing(spacing::margin);
    activity = new ActivityColumn(services.parts.state, services.platform.clock(), services.contexts.main,
                                  choice, content);
    middle->addWidget(activity, 1);
    middle->addWidget(newSide(content));
    column->addLayout(middle, 1);
    column->addWidget(new Divider(content));
    column->addWidget(newFooter(content));
    refresh();
    return content;
}

QWidget* MainWindow::newHeader(QWidget* parent)
{
    auto* const whole = new QWidget(parent);
    auto* const row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::medium);
    header = new StatusHeader(false, whole);
    row->addWidget(header, 1);
    pauseKey = new TextLabel(worded("main.pauseShortcut"), TextLabel::Size::small, TextLabel::Tone::secondary,
                             whole);
    pauseKey->setWordWrap(false);
    row->addWidget(pauseKey, 0, Qt::AlignVCenter);
    action = new StatusButton(services, false, whole);
    row->addWidget(action, 0, Qt::AlignVCenter);
    return whole;
}

QWidget* MainWindow::newSide(QWidget* parent)
{
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, spacing::small, 0);
    column->setSpacing(spacing::margin);
    connections = new ConnectionsSection(services, content);
    thisMac = new ThisMacSection(services, content);
    column->addWidget(connections);
    column->addWidget(thisMac);
    column->addStretch();
    auto* const area = new ScrollColumn(content, parent);
    area->setFixedWidth(sideWidth);
    return area;
}

QWidget* MainWindow::newFooter(QWidget* parent)
{
    auto* const whole = new QWidget(parent);
    auto* const row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing::small);
    QString const version = worded("main.version", services.parts.heartbeat.appVersion());
    row->addWidget(new TextLabel(version, TextLabel::Size::small, TextLabel::Tone::secondary, whole), 0,
                   Qt::AlignVCenter);
    updateFailure = new TextLabel(QString(), TextLabel::Size::small, TextLabel::Tone::warning, whole);
    row->addWidget(updateFailure, 1, Qt::AlignVCenter);
    row->addStretch();
    auto const add = [&](std::string_view key, std::function<void()> pressed) {
        auto* const button = new Button(worded(key), Button::Kind::link, whole);
        button->onPressed(std::move(pressed));
        row->addWidget(button);
        return button;
    };
    add("main.diagnostics", [this] { services.openWindow(AppWindow::diagnostics); });
    updates =
        add("main.checkUpdates", [this] { StatusActions::perform(AgentStatus::Action::update, services); });
    add("menu.quit", [this] { services.quit(); }); // The tray's panel may not exist.
    return whole;
}

void MainWindow::refresh()
{
    if (!header)
        return;
    AgentStatus const status =
        AgentStatus::current(services.parts.state, permissions.current(), services.updater.source());
    header->setStatus(status);
    action->setStatus(status);
    pauseKey->setVisible(status.showsPauseShortcut());
    activity->refresh();
    connections->refresh();
    thisMac->refresh(permissions.current());
    refreshUpdates();
}

void MainWindow::refreshUpdates()
{
    UpdateProgress const& progress = services.updater.progress();
    bool const isReady = progress.phase == UpdateProgress::Phase::ready;
    QString const label =
        isReady ? worded("main.installUpdate", shownVersion(progress.item)) : worded("main.checkUpdates");
    if (updates->label() != label)
        updates->setLabel(label);
    updates->setVisible(services.updater.canCheck());
    std::optional<std::string> const failure = services.updater.lastCheckFailed();
    updateFailure->setShownText(failure ? shownText(*failure, maxFailure) : QString());
    updateFailure->setVisible(failure && !isReady);
}

} // namespace zelvo
