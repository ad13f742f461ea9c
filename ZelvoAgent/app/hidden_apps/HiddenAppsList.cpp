#include "app/hidden_apps/HiddenAppsList.h"

#include "app/widgets/NameOrder.h"
#include "base/Hop.h"
#include "base/Task.h"

namespace zelvo {

namespace {

// Names of ten thousand identifiers would take minutes of the disk.
constexpr std::size_t maxNamed = 500;

NamedApplication named(Workspace& workspace, std::string identifier)
{
    std::string name = identifier;
    if (auto const location = workspace.applicationLocation(identifier))
        if (auto const bundle = workspace.bundle(*location); bundle && !bundle->localizedName.empty())
            name = bundle->localizedName;
    return {.identifier = std::move(identifier), .name = std::move(name)};
}

HiddenAppsSnapshot
namedOnWorkers(Workspace& workspace, std::set<std::string> const& hidden, std::int32_t ownPid)
{
    HiddenAppsSnapshot all;
    for (std::string const& identifier : hidden)
        all.hidden.push_back(all.hidden.size() < maxNamed
                                 ? named(workspace, identifier)
                                 : NamedApplication{.identifier = identifier, .name = identifier});
    for (std::string_view const suggestion : HiddenAppsStore::suggestions) {
        std::string identifier(suggestion);
        if (!hidden.contains(identifier) && workspace.applicationLocation(identifier))
            all.suggested.push_back(named(workspace, std::move(identifier)));
    }
    std::set<std::string> seen;
    for (RunningApplication const& application : workspace.runningApplications()) {
        std::optional<std::string> const identifier = application.names.identifier();
        bool const isOwn = application.pid == ownPid;
        if (!application.isRegular || isOwn || !identifier || application.names.isHidden(hidden) ||
            !seen.insert(*identifier).second)
            continue;
        all.running.push_back(
            {.identifier = *identifier,
             .name = application.localizedName.empty() ? *identifier : application.localizedName});
    }
    for (auto* const list : {&all.hidden, &all.suggested, &all.running})
        sortByName(*list, &NamedApplication::name);
    return all;
}

Task<HiddenAppsSnapshot>
readAll(HiddenAppsStore* store, Workspace* workspace, Executor workers, std::int32_t ownPid)
{
    std::set<std::string> hidden = co_await store->bundleIds();
    auto const name = [workspace, hidden = std::move(hidden), ownPid] {
        return namedOnWorkers(*workspace, hidden, ownPid);
    };
    co_return co_await on(workers, name);
}

} // namespace

Task<HiddenAppsSnapshot> readHiddenApps(AppServices const& services)
{
    return readAll(&services.parts.hiddenApps, &services.platform.workspace(), services.contexts.workers,
                   services.platform.facts().ownPid());
}

void hideFromAgents(AppServices const& services,
                    std::string identifier,
                    bool hides,
                    std::function<void()> done)
{
    spawn(services.contexts.main,
          [&store = services.parts.hiddenApps, identifier = std::move(identifier), hides,
           done = std::move(done)]() -> Task<> {
              if (hides)
                  co_await store.add(identifier);
              else
                  co_await store.remove(identifier);
              done();
          });
}

} // namespace zelvo
