#include "ZelvoGateway/AddressFiles.h"
#include "ZelvoGateway/ServerParts.h"
#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Log.h"
#include "base/Hop.h"
#include "base/UnusedMemory.h"

#include <boost/asio/post.hpp>

namespace zelvo::service {

namespace {

constexpr Duration maintenancePeriod = 60s;
constexpr Duration revokedKeysKept = 90 * 24h;

} // namespace

Task<> Server::Parts::runMaintenance()
{
    Instant const everybodyIsBack = clock.now() + settings.webhooks.absence;
    for (;;) {
        try {
            queue.runMaintenance();
            audit.runMaintenance();
            idempotent.runMaintenance();
            store.forgetRevokedKeys(clock.date() - dateSpan(revokedKeysKept));
            mcp.runMaintenance();
            co_await library.runMaintenance();
            webhookDispatcher.runMaintenance();
            if (metricsServer)
                backlog = store.backlog();
            co_await noteTls();
            if (clock.now() >= everybodyIsBack)
                online.noteAbsent();
            if (memory.hasRested())
                co_await on(workers.get_executor(), returnUnusedMemory);
        } catch (std::exception const& error) { // A full disk, for instance. The next round repeats it.
            Log::error(error.what());
        }
        co_await clock.sleep(maintenancePeriod);
    }
}

Task<> Server::Parts::noteTls()
{
    if (!tls)
        co_return;
    std::string const problem = co_await refreshTls();
    if (!problem.empty())
        Log::warning("keeps its old certificate: " + problem);
    tls->noteExpiry(clock.date());
}

/// Looks at the files of the certificate, and returns what is newly wrong with them.
Task<std::string> Server::Parts::refreshTls()
{
    std::function<void(TlsPair const&)> const replace = [this](TlsPair const& pair) { useCertificate(pair); };
    co_return co_await tls->refresh(replace);
}

/// First the file, whose disk may be full: programs on this computer and the port must agree.
void Server::Parts::useCertificate(TlsPair const& pair)
{
    folder.write(certificateFile, pair.certificate);
    http.setTls(pair.context);
}

void Server::Parts::reload(std::optional<Settings> next, std::function<void(std::vector<std::string>)> done)
{
    asio::post(io, [this, next = std::move(next), done = std::move(done)] {
        if (!isStopping())
            spawn(io.get_executor(), [this, next, done] { return reloadAll(next, done); });
    });
}

Task<> Server::Parts::reloadAll(std::optional<Settings> next,
                                std::function<void(std::vector<std::string>)> done)
{
    std::vector<std::string> problems;
    if (next) {
        settings.takeReloadable(*next);
        Log::use(settings.log);
    }
    try {
        takeKey();
    } catch (std::exception const& error) {
        problems.emplace_back(error.what());
    }
    try {
        if (tls)
            co_await refreshTls();
    } catch (std::exception const& error) {
        problems.emplace_back(error.what());
    }
    if (tls && !tls->problem().empty())
        problems.push_back("the certificate: " + tls->problem());
    if (!isStopping())
        done(std::move(problems));
}

void Server::Parts::takeKey()
{
    ApiKey const next = ApiKey::loadOrMake(folder);
    if (next.matches(key.value()))
        return;
    library.setKey(next); // First: what fails after it must not leave old addresses valid.
    keys.setBuiltIn(next);
    key = next;
}

} // namespace zelvo::service
