#include "drivers/HiddenAppsStore.h"

#include "base/Hop.h"

#include <boost/asio/strand.hpp>

namespace zelvo {

namespace {

constexpr std::string_view key = "dev.zelvo.hiddenApps";

} // namespace

HiddenAppsStore::HiddenAppsStore(Executor agent, UserDefaults& defaults)
    : strand(asio::make_strand(agent)), defaults(defaults)
{
}

Task<std::set<std::string>> HiddenAppsStore::bundleIds()
{
    co_return co_await on(strand, [this] { return readOnStrand(); });
}

Task<std::size_t> HiddenAppsStore::count()
{
    co_return co_await on(strand, [this] { return readOnStrand().size(); });
}

Task<bool> HiddenAppsStore::isHidden(std::optional<std::string> bundleId)
{
    if (!bundleId)
        co_return false;
    co_return co_await on(strand, [&] { return readOnStrand().contains(*bundleId); });
}

Task<> HiddenAppsStore::add(std::string bundleId)
{
    co_await on(strand, [&] {
        std::set<std::string> all = readOnStrand();
        all.insert(bundleId);
        persistOnStrand(all);
    });
    co_await defaults.written(); // Hiding removes a right, so it must be on disk first.
}

Task<> HiddenAppsStore::remove(std::string bundleId)
{
    co_await on(strand, [&] {
        std::set<std::string> all = readOnStrand();
        all.erase(bundleId);
        persistOnStrand(all);
    });
    co_await defaults.written();
}

std::set<std::string> HiddenAppsStore::readOnStrand()
{
    std::vector<std::string> const stored = defaults.textArray(key).value_or(std::vector<std::string>{});
    return {stored.begin(), stored.end()};
}

void HiddenAppsStore::persistOnStrand(std::set<std::string> const& bundleIds)
{
    defaults.setTextArray(key, {bundleIds.begin(), bundleIds.end()});
}

} // namespace zelvo
