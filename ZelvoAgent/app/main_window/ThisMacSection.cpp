#include "app/main_window/ThisMacSection.h"

#include "app/main_window/FoldersRow.h"
#include "app/main_window/PermissionRow.h"
#include "app/main_window/SettingPicker.h"
#include "app/widgets/Button.h"
#include "app/widgets/Card.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/SwitchRow.h"
#include "app/widgets/TextLabel.h"

#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace zelvo {

namespace {

constexpr std::array modes = {RecordingMode::off, RecordingMode::local, RecordingMode::share};
constexpr std::array policies = {QueuePolicy::ask, QueuePolicy::automatic, QueuePolicy::never};
constexpr char const* strictKey = "zelvo.strictGuard";

template <class Values, class Value>
int placeOf(Values const& values, Value value)
{
    return static_cast<int>(std::ranges::find(values, value) - values.begin());
}

template <class Values>
QStringList titlesOf(Values const& values)
{
    QStringList titles;
    for (auto const value : values)
        titles.append(toQString(title(value)));
    return titles;
}

QStringList retentionTitles()
{
    QStringList titles;
    for (std::int64_t const days : RecordingSettings::retentionChoices)
        titles.append(days == 1 ? worded("menu.recording.oneDay") : worded("menu.recording.days", days));
    return titles;
}

} // namespace

ThisMacSection::ThisMacSection(AppServices const& services, QWidget* parent)
    : QWidget(parent), services(services)
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing::medium);
    column->addWidget(
        new TextLabel(worded("main.thisMac"), TextLabel::Size::heading, TextLabel::Tone::primary, this));
    addPermissions(*column);
    column->addWidget(new Divider(this));
    addSwitches(*column);
    addRecordings(*column);
    column->addWidget(new Divider(this));
    addReach(*column);
}

void ThisMacSection::addPermissions(QVBoxLayout& column)
{
    auto const help = [this] { services.openWindow(AppWindow::permissionHelp); };
    screen = new PermissionRow(worded("permission.screenRecording"), help, this);
    accessibility = new PermissionRow(worded("permission.accessibility"), help, this);
    column.addWidget(screen);
    column.addWidget(accessibility);
}

void ThisMacSection::addSwitches(QVBoxLayout& column)
{
    AgentState& state = services.parts.state;
    keepAwake = new SwitchRow(worded("menu.keepAwake"), worded("main.keepAwake.note"), this);
    keepAwake->onTurned([&state](bool on) { state.setKeepAwakeWhileWorking(on); });
    cursor = new SwitchRow(worded("settings.agentCursor"), QString(), this);
    cursor->onTurned([&state](bool on) { state.setShowAgentCursor(on); });
    strict = new SwitchRow(worded("settings.strictGuard"), worded("settings.strictGuard.note"), this);
    strict->onTurned(
        [&settings = services.platform.defaults()](bool on) { settings.setBoolean(strictKey, on); });
    for (SwitchRow* const row : {keepAwake, cursor, strict})
        column.addWidget(row);
}

void ThisMacSection::addRecordings(QVBoxLayout& column)
{
    RecordingState& recording = services.parts.recording.state();
    mode = new SettingPicker(
        worded("menu.recording"), titlesOf(modes),
        [&recording](int index) { recording.setMode(modes[static_cast<std::size_t>(index)]); }, this);
    retention = new SettingPicker(
        worded("menu.recording.keep"), retentionTitles(),
        [&recording](int index) {
            recording.setRetentionDays(RecordingSettings::retentionChoices[static_cast<std::size_t>(index)]);
        },
        this);
    showRecordings = new Button(worded("menu.recording.show"), Button::Kind::link, this);
    showRecordings->onPressed([&recording] { recording.showInFinder(); });
    QueueCoordinator& coordinator = services.parts.queue;
    queue = new SettingPicker(
        worded("menu.queuePolicy"), titlesOf(policies),
        [&coordinator](int index) { coordinator.setPolicy(policies[static_cast<std::size_t>(index)]); },
        this);
    column.addWidget(mode);
    column.addWidget(retention);
    column.addWidget(showRecordings, 0, Qt::AlignLeading);
    column.addWidget(queue);
}

void ThisMacSection::addReach(QVBoxLayout& column)
{
    folders = new FoldersRow(services, this);
    column.addWidget(folders);
    auto* const hidden = new Button(worded("main.hiddenApps"), Button::Kind::secondary, this);
    hidden->onPressed([this] { services.openWindow(AppWindow::hiddenApps); });
    column.addWidget(hidden);
}

bool ThisMacSection::isStrict() const
{
    return services.platform.defaults().boolean(strictKey).value_or(false);
}

void ThisMacSection::refresh(Permissions const& permissions)
{
    AgentState const& state = services.parts.state;
    RecordingState const& recording = services.parts.recording.state();
    screen->setGranted(permissions.screenRecording);
    accessibility->setGranted(permissions.accessibility);
    keepAwake->setOn(state.keepAwakeWhileWorking());
    cursor->setOn(state.showAgentCursor());
    strict->setOn(isStrict());
    mode->setChosen(placeOf(modes, recording.mode()));
    retention->setChosen(placeOf(RecordingSettings::retentionChoices, recording.retentionDays()));
    bool const records = recording.mode() != RecordingMode::off;
    retention->setVisible(records);
    showRecordings->setVisible(records);
    queue->setChosen(placeOf(policies, services.parts.queue.policy()));
}

} // namespace zelvo
