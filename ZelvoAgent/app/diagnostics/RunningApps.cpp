#include "app/diagnostics/RunningApps.h"

#include "app/widgets/NameOrder.h"
#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"

#include <algorithm>
#include <utility>

namespace zelvo {

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

int RunningApps::indexOf(std::optional<std::int32_t> pid) const
{
    auto const found = std::ranges::find_if(apps, [pid](RunningApp const& app) { return app.id == pid; });
    return found == apps.end() ? -1 : static_cast<int>(found - apps.begin());
}

std::optional<std::int32_t> RunningApps::pidAt(int index) const
{
    if (index < 0 || static_cast<std::size_t>(index) >= apps.size())
        return std::nullopt;
    return apps[static_cast<std::size_t>(index)].id;
}

void RunningApps::refresh()
{
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive), &workspace = services.platform.workspace(),
           ownPid = services.platform.facts().ownPid(), workers = services.contexts.workers]() -> Task<> {
              auto const running =
                  co_await on(workers, [&workspace] { return workspace.runningApplications(); });
              if (weak.expired())
                  co_return;
              std::vector<RunningApp> next = pickableApps(running, ownPid);
              if (next == apps)
                  co_return;
              apps = std::move(next);
              changed();
          });
}

} // namespace zelvo
