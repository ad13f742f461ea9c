#include "confirm/ElementProbe.h"

#include "base/Hop.h"

namespace zelvo {

ElementProbe::ElementProbe(Executor workers, Workspace& workspace, HiddenAppsStore& hiddenApps)
    : workers(std::move(workers)), workspace(workspace), hiddenApps(hiddenApps)
{
}

Task<std::optional<FrontmostAppInfo>> ElementProbe::frontmostApp()
{
    auto const front = co_await on(workers, [this] { return workspace.frontmostApplication(); });
    if (!front)
        co_return std::nullopt;
    std::set<std::string> const hidden = co_await hiddenApps.bundleIds();
    std::optional<std::string> const bundleId = front->names.identifier(hidden);
    if (!bundleId)
        co_return std::nullopt;
    co_return FrontmostAppInfo{*bundleId, front->localizedName};
}

} // namespace zelvo
