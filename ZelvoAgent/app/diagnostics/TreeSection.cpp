#include "app/diagnostics/TreeSection.h"

#include "app/Theme.h"
#include "app/diagnostics/TreeReport.h"
#include "app/widgets/Button.h"
#include "app/widgets/NameOrder.h"
#include "app/widgets/Picker.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/SwitchRow.h"
#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"
#include "wire/AgentError.h"

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <exception>

namespace zelvo {

namespace {

constexpr int reportHeight = 220; // Points.

Task<std::optional<std::int32_t>> frontmost(AppServices const& services)
{
    Workspace& workspace = services.platform.workspace();
    auto const front =
        co_await on(services.contexts.workers, [&workspace] { return workspace.frontmostApplication(); });
    co_return front ? std::optional(front->pid) : std::nullopt;
}

} // namespace

std::vector<RunningApp> pickableApps(std::vector<RunningApplication> const& all, std::int32_t ownPid)
{
    std::vector<RunningApp> apps;
    for (RunningApplication const& application : all)
        if (application.isRegular && application.pid != ownPid)
            apps.push_back({.id = application.pid,
                            .name = application.localizedName.empty() ? localized("common.app")
                                                                      : application.localizedName,
                            .bundleId = application.names.identifier()});
    sortByName(apps, &RunningApp::name);
    return apps;
}

TreeSection::TreeSection(AppServices const& services, QWidget* parent)
    : DiagnosticsSection("diag.tree.title", parent), services(services),
      picker(new Picker(worded("diag.tree.app"), this)),
      interactiveOnly(new SwitchRow(worded("diag.tree.interactiveOnly"), QString(), this)),
      captureNow(new Button(worded("diag.tree.captureNow"), Button::Kind::secondary, this)),
      captureIn5(new Button(worded("diag.tree.captureIn5"), Button::Kind::secondary, this)),
      report(new QPlainTextEdit(this)), nextSecond(services.contexts.main, services.platform.clock())
{
    addText(worded("diag.tree.app"), TextLabel::Size::small, TextLabel::Tone::secondary);
    auto* const choice = new QHBoxLayout;
    choice->addWidget(picker, 1);
    auto* const again = new Button(worded("diag.tree.refreshApps"), Button::Kind::link, this);
    again->onPressed([this] {
        if (onRefreshApps)
            onRefreshApps();
    });
    choice->addWidget(again);
    column().addLayout(choice);
    column().addWidget(interactiveOnly);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(captureNow, 1);
    buttons->addWidget(captureIn5, 1);
    column().addLayout(buttons);
    addHint("diag.tree.hint");
    report->setReadOnly(true);
    report->setFont(Theme::codeFont());
    report->setAccessibleName(worded("diag.tree.title"));
    report->setTabChangesFocus(true);
    report->setContextMenuPolicy(Qt::NoContextMenu);
    report->setMinimumHeight(reportHeight);
    report->hide();
    column().addWidget(report);
    captureNow->onPressed([this] { performSnapshot(); });
    captureIn5->onPressed([this] { snapshotAfter(5); });
    setApps({});
}

void TreeSection::setApps(std::vector<RunningApp> next)
{
    std::optional<std::int32_t> const picked =
        picker->currentIndex() > 0
            ? std::optional(apps[static_cast<std::size_t>(picker->currentIndex() - 1)].id)
            : std::nullopt;
    apps = std::move(next);
    picker->clear();
    picker->addItem(worded("diag.tree.frontmost"));
    for (RunningApp const& app : apps)
        picker->addItem(toQString(app.name));
    auto const found = std::ranges::find_if(apps, [&](RunningApp const& app) { return app.id == picked; });
    picker->setCurrentIndex(found == apps.end() ? 0 : static_cast<int>(found - apps.begin()) + 1);
}

void TreeSection::show(QString const& text)
{
    report->show();
    report->setPlainText(text);
}

void TreeSection::setBusy(bool busy)
{
    isSnapshotting = busy;
    captureNow->setEnabled(!isSnapshotting);
}

void TreeSection::snapshotAfter(int seconds)
{
    if (isSnapshotting || isCounting)
        return;
    isCounting = true;
    countDown(seconds);
}

void TreeSection::countDown(int seconds)
{
    if (seconds == 0) {
        isCounting = false;
        performSnapshot();
        return;
    }
    show(worded("diag.tree.switchNow") + '\n' + worded("diag.tree.countdown", seconds));
    nextSecond.in(1s, [this, seconds] { countDown(seconds - 1); });
}

void TreeSection::performSnapshot()
{
    if (isSnapshotting)
        return;
    setBusy(true);
    show(worded("diag.tree.capturing"));
    int const index = picker->currentIndex();
    std::optional<std::int32_t> const pid =
        index > 0 ? std::optional(apps[static_cast<std::size_t>(index - 1)].id) : std::nullopt;
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), pid, interactive = interactiveOnly->isOn()] {
              return perform(weak, pid, interactive);
          });
}

Task<> TreeSection::perform(std::weak_ptr<int> owner, std::optional<std::int32_t> pid, bool interactive)
{
    AccessibilityTree& tree = services.parts.tree;
    Clock& clock = services.platform.clock();
    ElectronAccessibility& electron = services.parts.electron;
    if (!pid)
        pid = co_await frontmost(services);
    Instant const begin = clock.now();
    std::string text;
    try {
        UiTreeSnapshot const snapshot = co_await tree.snapshot(TreeScope::frontmost, interactive, pid);
        auto const taken = std::chrono::duration_cast<std::chrono::milliseconds>(clock.now() - begin);
        TreeReport::Facts const facts{.isExpanded = pid && co_await electron.isManagedByUs(*pid),
                                      .interactiveOnly = interactive,
                                      .milliseconds = taken.count()};
        text = TreeReport::of(snapshot, facts);
    } catch (AgentError const error) {
        text = localized("diag.tree.failed", {std::string(defaultMessage(error))});
    } catch (std::exception const& error) {
        text = localized("diag.tree.failed", {std::string(error.what())});
    }
    if (owner.expired())
        co_return; // The window was closed meanwhile.
    setBusy(false);
    show(toQString(text));
}

} // namespace zelvo
