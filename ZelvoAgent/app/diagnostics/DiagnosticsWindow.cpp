#include "app/diagnostics/DiagnosticsWindow.h"

#include "app/diagnostics/ConfirmSection.h"
#include "app/diagnostics/FactSections.h"
#include "app/diagnostics/HiddenSection.h"
#include "app/diagnostics/TreeSection.h"
#include "app/widgets/ScrollColumn.h"
#include "app/widgets/Spacing.h"
#include "base/Hop.h"
#include "base/Task.h"

#include <QVBoxLayout>

namespace zelvo {

namespace {

// Points.
constexpr QSize leastSize(480, 420);
constexpr QSize idealSize(560, 700);

} // namespace

DiagnosticsWindow::DiagnosticsWindow(AppServices const& services)
    : ContentWindow(worded("window.diagnostics")), services(services),
      permissions(services.platform.access(), services.contexts, services.platform.clock(), [this] { refreshSoon(); })
{
    setMinimumSize(leastSize);
    resize(idealSize);
    following.push_back(services.parts.state.changed.connect([this] { refreshSoon(); }));
}

QWidget* DiagnosticsWindow::newContent()
{
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::margin, spacing::margin, spacing::margin, spacing::margin);
    column->setSpacing(spacing::margin);
    facts = {new ServerSection(services, content), new PermissionsSection(permissions, content),
             new StateSection(services.parts.state, content)};
    for (DiagnosticsSection* const section : facts)
        column->addWidget(section);
    tree = new TreeSection(services, content);
    tree->onRefreshApps = [this] { refreshRunningApps(); };
    hidden = new HiddenSection(services, content);
    column->addWidget(tree);
    column->addWidget(hidden);
    column->addWidget(new ConfirmSection(services, content));
    column->addStretch();
    refreshRunningApps();
    return new ScrollColumn(content, this);
}

void DiagnosticsWindow::refresh()
{
    for (DiagnosticsSection* const section : facts)
        section->refresh();
}

void DiagnosticsWindow::refreshRunningApps()
{
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &workspace = services.platform.workspace(),
           ownPid = services.platform.facts().ownPid(), workers = services.contexts.workers]() -> Task<> {
              auto const all = co_await on(workers, [&workspace] { return workspace.runningApplications(); });
              if (weak.expired())
                  co_return;
              std::vector<RunningApp> const apps = pickableApps(all, ownPid);
              tree->setApps(apps);
              hidden->setApps(apps);
          });
}

} // namespace zelvo
