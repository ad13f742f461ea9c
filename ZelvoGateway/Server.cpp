#include "ZelvoGateway/Server.h"

#include "ZelvoGateway/OpenRecordingFiles.h"
#include "ZelvoGateway/api/AuditApi.h"
#include "ZelvoGateway/api/CommandApi.h"
#include "ZelvoGateway/api/IdempotentRoutes.h"
#include "ZelvoGateway/api/MachineApi.h"
#include "ZelvoGateway/api/OpenApi.h"
#include "ZelvoGateway/api/PlatformApi.h"
#include "ZelvoGateway/api/RecordingApi.h"
#include "ZelvoGateway/api/WebhookApi.h"
#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/OpenWork.h"
#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/console/Console.h"
#include "ZelvoGateway/console/LinkPage.h"
#include "ZelvoGateway/console/McpSetup.h"
#include "ZelvoGateway/control/KeyService.h"
#include "ZelvoGateway/control/MachineEvents.h"
#include "ZelvoGateway/control/OnlineMachines.h"
#include "ZelvoGateway/http/HealthRoutes.h"
#include "ZelvoGateway/http/HttpServer.h"
#include "ZelvoGateway/machines/LocalMachineDirectory.h"
#include "ZelvoGateway/mcp/desktop/DesktopMcpHost.h"
#include "ZelvoGateway/mcp/transport/McpEndpoint.h"
#include "ZelvoGateway/metrics/MeasuredStore.h"
#include "ZelvoGateway/metrics/MetricsServer.h"
#include "ZelvoGateway/net/TlsIdentity.h"
#include "ZelvoGateway/net/TrustedProxies.h"
#include "ZelvoGateway/store/OpenStore.h"
#include "ZelvoGateway/store/StoreVersion.h"
#include "ZelvoGateway/webhooks/CurlWebhookSender.h"
#include "ZelvoGateway/webhooks/WebhookService.h"
#include "base/Hop.h"
#include "base/UnusedMemory.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

namespace {

constexpr char const* addressFile = "address";
constexpr char const* localAddressFile = "local-address"; // For programs on this computer.
constexpr char const* metricsFile = "metrics-address";
constexpr char const* certificateFile = "tls-certificate.pem"; // By which they know the gateway.
constexpr auto patienceAtEnd = std::chrono::seconds(5);
constexpr auto patienceInHaste = std::chrono::seconds(1);
constexpr Duration maintenancePeriod = 60s;
constexpr Duration loopPeriod = 1s; // Between two measurements of the loop.
constexpr Duration revokedKeysKept = 90 * 24h;

/// By these, programs on this computer find the gateway that runs.
void removeAddresses(DataFolder const& folder)
{
    for (char const* const file : {addressFile, localAddressFile, certificateFile, metricsFile})
        folder.remove(file);
}

/// Keeps other gateways out of the folder before anything in it is used, removes what one that was killed
/// left, and gives the key.
ApiKey takeFolder(DataFolder& folder)
{
    folder.lock();
    removeAddresses(folder);
    StoreVersion::removeUnfinishedCopies(folder.file(storeFile));
    return ApiKey::loadOrMake(folder);
}

/// The path of the program that runs.
std::string ownProgram()
{
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).string();
}

} // namespace

/// Everything that a server is made of, from the ground up.
class Server::Parts {
public:
    Parts(Settings wanted, Clock* clock);
    Parts(Parts const&) = delete;
    Parts& operator=(Parts const&) = delete;
    ~Parts();

    std::uint16_t port() const { return http.port(); }
    std::string address() const;
    std::string newConsoleLink();
    std::string metricsAddress() const { return metricsServer ? metricsServer->address() : ""; }
    void run(ServingWatch watch);
    void reload(std::optional<Settings> next, std::function<void(std::vector<std::string>)> done);
    void stop();
    void stopNow();

private:
    void begin();
    void beginServing(ServingWatch const& watch);
    Task<> beat(ServingWatch watch);
    void takeKey();
    bool isReady();
    void beginMetrics();
    GatewayReadings readings() const;
    Task<> measureLoop();
    void beginTls();
    void useCertificate(TlsPair const& pair);
    void addRoutes();
    Caller platformOf(HttpRequest const& head) const;
    Task<> runMaintenance();
    Task<std::string> refreshTls();
    Task<> noteTls();
    Task<> reloadAll(std::optional<Settings> next, std::function<void(std::vector<std::string>)> done);
    void finishWork();
    Task<> limitStop();
    void stopHere(HttpServer::Answers answers);
    bool isStopping() const { return work.isClosing(); }

    Settings settings;
    DataFolder folder;
    ApiKey key;
    SqliteStore stored;
    std::unique_ptr<PrometheusMetrics> prometheus; // Null while metrics are off.
    Metrics& metrics;
    MeasuredStore measured{stored, metrics};
    Store& store;
    MemoryBudget memory;
    OpenWork work;
    TrustedProxies proxies;
    // What still waits on `io` at the end is destroyed with it, after everything below and before the store.
    asio::io_context io{1};
    asio::thread_pool workers{2};
    asio::thread_pool fileWorkers{4}; // A place of recordings that does not answer delays nothing else.
    ServerClock ownClock{io.get_executor()};
    Clock& clock;
    std::shared_ptr<RecordingFiles const> files;
    LocalMachineDirectory machines;

    AuditLog audit;
    KeyService keys;
    RecordingIntake intake;
    RecordingLibrary library;
    ControlService control;
    CommandQueue queue;
    ConnectionService connections;
    LinkService links;
    CommandService commands;
    MachineEvents events;
    OnlineMachines online;
    CurlWebhookSender webhookSender;
    WebhookDispatcher webhookDispatcher;
    WebhookService webhooks;

    ConsoleSessions sessions;
    AttemptLimiter wrongKeys;
    AccessControl access;
    RequestLimits requestLimits;
    MachineApi machineApi;
    PlatformApi platformApi;
    CommandApi commandApi;
    RecordingApi recordingApi;
    AuditApi auditApi;
    IdempotentRoutes idempotent;
    WebhookApi webhookApi;
    Console console;
    McpSetup mcpSetup;
    LinkPage linkPage;
    HealthRoutes health;
    DesktopMcpHost mcpHost;
    McpEndpoint mcp;
    Routes routes;
    OpenApi openApi;
    HttpServer http;
    std::optional<MetricsServer> metricsServer; // Empty while metrics are off.
    Backlog backlog;                            // As of the last maintenance.
    std::optional<TlsIdentity> tls;             // Empty for plain HTTP.
    TaskHandle maintenance;
    TaskHandle beating;
    TaskHandle measuringLoop;
    TaskHandle stopLimit;
    std::chrono::seconds patience = patienceAtEnd; // For the last connections.
    boost::signals2::scoped_connection revocations;
};

Server::Parts::Parts(Settings wanted, Clock* clock)
    : settings(std::move(wanted)), folder(settings.dataFolder), key(takeFolder(folder)),
      stored(folder.file(storeFile)),
      prometheus(settings.metrics.isOn ? std::make_unique<PrometheusMetrics>(ZELVO_VERSION) : nullptr),
      metrics(prometheus ? *prometheus : Metrics::none()),
      store(prometheus ? static_cast<Store&>(measured) : stored),
      memory(settings.limits.memory, settings.limits.memoryOfCaller), proxies(settings.trustedProxies),
      clock(clock ? *clock : ownClock), files(openRecordingFiles(settings.recordingPlace, folder, store)),
      audit(store, this->clock, settings.audit, io.get_executor()),
      keys(store, audit, this->clock, io.get_executor()),
      intake(store, files, audit, settings, this->clock, fileWorkers.get_executor()),
      library(store, files, key, keys, audit, settings, this->clock, fileWorkers.get_executor()),
      control(store, audit, this->clock, settings, io.get_executor()), queue(store,
                                                                             control,
                                                                             audit,
                                                                             this->clock,
                                                                             settings,
                                                                             work,
                                                                             io.get_executor(),
                                                                             workers.get_executor(),
                                                                             metrics),
      connections(store, machines, control, queue, intake, library, audit, settings, io.get_executor()),
      links(store, audit, settings), commands(store,
                                              machines,
                                              control,
                                              queue,
                                              keys,
                                              audit,
                                              settings,
                                              this->clock,
                                              workers.get_executor(),
                                              metrics),
      events(machines, control, queue, connections), online(events, machines, store, this->clock),
      webhookSender(settings.webhooks),
      webhookDispatcher(store, webhookSender, settings.webhooks, this->clock, io.get_executor(), metrics),
      webhooks(store, webhookDispatcher, audit, settings, this->clock),
      sessions(this->clock, settings.console), wrongKeys(this->clock, settings.wrongKeys),
      access(keys, settings.publicUrl, sessions, wrongKeys), requestLimits(settings.rates, this->clock),
      machineApi(access,
                 links,
                 intake,
                 {.settings = settings,
                  .store = store,
                  .machines = machines,
                  .listener = online,
                  .memory = memory,
                  .workers = workers.get_executor(),
                  .clock = this->clock,
                  .metrics = metrics}),
      platformApi(access, links, connections, settings.limits),
      commandApi(access, commands, memory, settings.limits, workers.get_executor()),
      recordingApi(access, library, settings), auditApi(access, audit, settings.limits),
      idempotent(access, store, settings.answers, this->clock, workers.get_executor()),
      webhookApi(access, webhooks, settings.limits),
      console(access, store, connections, keys, audit, settings.limits),
      mcpSetup(access, settings, ownProgram()), linkPage(access, links, settings),
      health([this] { return isReady(); }, settings.limits.linkBody),
      mcpHost({.connections = connections,
               .commands = commands,
               .directory = machines,
               .store = store,
               .memory = memory,
               .clock = this->clock,
               .server = io.get_executor(),
               .workers = workers.get_executor()},
              ZELVO_VERSION),
      mcp({.callerOf = [this](HttpRequest const& head) { return platformOf(head); },
           .host = mcpHost,
           .rules = settings.mcp,
           .clock = this->clock,
           .memory = memory,
           .work = work,
           .executor = io.get_executor(),
           .workers = workers.get_executor()}),
      routes(access), openApi(access, routes, settings.limits, ZELVO_VERSION),
      http(io,
           {.limits = settings.limits,
            .routes = routes,
            .proxies = proxies,
            .memory = memory,
            .work = work,
            .workers = fileWorkers.get_executor(),
            .metrics = metrics,
            .requestLimits = &requestLimits,
            .access = &access})
{
    begin();
}

Server::Parts::~Parts()
{
    removeAddresses(folder);
    files->stop();
    workers.join();
    fileWorkers.join();
    clock.dropSleepers();
}

void Server::Parts::begin()
{
    keys.setBuiltIn(key);
    store.endInterruptedCommands(clock.date());
    library.begin();
    addRoutes();
    beginTls();
    beginMetrics();
    http.listen(settings.listen, settings.port);
    folder.write(addressFile, address() + "\n");
    folder.write(localAddressFile, http.localAddress() + "\n");
}

/// On a separate port, before the public one: a gateway whose metrics can't be served does not start.
void Server::Parts::beginMetrics()
{
    if (!prometheus)
        return;
    metricsServer.emplace(settings.metrics, MetricsServer::Parts{.metrics = *prometheus,
                                                                 .readings = [this] { return readings(); },
                                                                 .io = io,
                                                                 .work = work,
                                                                 .workers = workers.get_executor()});
    folder.write(metricsFile, metricsServer->address() + "\n");
}

GatewayReadings Server::Parts::readings() const
{
    return {.machines = machines.count(),
            .maxMachines = settings.limits.machines,
            .connections = http.connections(),
            .maxConnections = settings.limits.connections,
            .openWork = work.open(),
            .memoryUsed = settings.limits.memory - memory.available(),
            .memoryLimit = settings.limits.memory,
            .auditEvents = audit.waitingCount(),
            .queuedCommands = backlog.commands,
            .waitingDeliveries = backlog.deliveries};
}

/// By real time, like the loop itself.
Task<> Server::Parts::measureLoop()
{
    asio::steady_timer timer(io);
    for (;;) {
        timer.expires_after(loopPeriod);
        co_await timer.async_wait(asio::use_awaitable);
        metrics.loopWasLate(std::chrono::steady_clock::now() - timer.expiry());
    }
}

void Server::Parts::beginTls()
{
    if (!settings.tls.isOn())
        return;
    tls.emplace(settings.tls, workers.get_executor(), [](std::string const& text) { Log::warning(text); });
    useCertificate(tls->pair());
}

/// First the file, whose disk may be full: programs on this computer and the port must agree.
void Server::Parts::useCertificate(TlsPair const& pair)
{
    folder.write(certificateFile, pair.certificate);
    http.setTls(pair.context);
}

/// Looks at the files of the certificate, and returns what is newly wrong with them.
Task<std::string> Server::Parts::refreshTls()
{
    std::function<void(TlsPair const&)> const replace = [this](TlsPair const& pair) { useCertificate(pair); };
    co_return co_await tls->refresh(replace);
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

void Server::Parts::addRoutes()
{
    routes.add(console.routes());
    routes.add(mcpSetup.routes());
    routes.add(linkPage.routes());
    routes.add(health.routes());
    routes.add(mcp.routes());
    routes.add(machineApi.routes());
    routes.add(idempotent.over(platformApi.routes()));
    routes.add(idempotent.over(commandApi.routes()));
    routes.add(recordingApi.routes());
    routes.add(auditApi.routes());
    routes.add(idempotent.over(webhookApi.routes()));
    routes.add(openApi.routes());
}

std::string Server::Parts::address() const
{
    return settings.publicUrl.empty() ? http.localAddress() : settings.publicUrl;
}

std::string Server::Parts::newConsoleLink()
{
    return service::newConsoleLink(store, address(), settings.consoleLinkLifetime);
}

void Server::Parts::run(ServingWatch watch)
{
    http.start();
    if (metricsServer)
        metricsServer->start();
    // Spawned from inside the loop, where it starts at once. A task that is cancelled before it starts would
    // throw out of run().
    asio::post(io, [this, watch = std::move(watch)] {
        if (!http.isStopping())
            beginServing(watch);
    });
    while (!http.isStopping() && io.run_one() > 0) {
    }
    io.run_for(patience); // Until the last connection has ended.
}

void Server::Parts::beginServing(ServingWatch const& watch)
{
    maintenance = spawn(io.get_executor(), [this] { return runMaintenance(); });
    webhookDispatcher.begin();
    revocations = keys.observeRevocations([this](std::string const& keyId) {
        mcp.endKey(keyId);
        if (keyId == ApiKey::id)
            sessions.endAll();
    });
    if (metricsServer)
        measuringLoop = spawn(io.get_executor(), [this] { return measureLoop(); });
    if (watch.begins)
        watch.begins();
    if (watch.beats && watch.period > Duration::zero())
        beating = spawn(io.get_executor(), [this, watch] { return beat(watch); });
}

/// By real time: it says whether this process runs, which no other clock knows.
Task<> Server::Parts::beat(ServingWatch watch)
{
    asio::steady_timer timer(io);
    for (;;) {
        watch.beats();
        timer.expires_after(watch.period);
        co_await timer.async_wait(asio::use_awaitable);
    }
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

bool Server::Parts::isReady()
{
    if (isStopping())
        return false;
    try {
        store.assertReadable();
        return true;
    } catch (StoreError const&) {
        return false;
    }
}

/// Refuses all but platforms and the console.
Caller Server::Parts::platformOf(HttpRequest const& head) const
{
    access.assertPlatform(head);
    return access.callerOf(head);
}

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

void Server::Parts::stop()
{
    asio::post(io, [this] { finishWork(); });
}

void Server::Parts::stopNow()
{
    asio::post(io, [this] {
        patience = patienceInHaste;
        stopHere(HttpServer::Answers::dropped);
    });
}

/// Takes no more work, and stops when what is open has ended.
void Server::Parts::finishWork()
{
    if (isStopping())
        return;
    removeAddresses(folder); // Before the port is free for others.
    http.stopAccepting();
    work.close([this] { asio::post(io, [this] { stopHere(HttpServer::Answers::sent); }); });
    mcp.endListeners();
    stopLimit = spawn(io.get_executor(), [this] { return limitStop(); });
}

Task<> Server::Parts::limitStop()
{
    co_await clock.sleep(settings.stopTimeout);
    Log::warning("stops in spite of open requests or commands (" + std::to_string(work.open()) + ")");
    stopHere(HttpServer::Answers::sent);
}

void Server::Parts::stopHere(HttpServer::Answers answers)
{
    if (http.isStopping())
        return;
    removeAddresses(folder);
    stopLimit.cancel();
    work.close([] {}); // Nobody waits for the end of the work any more.
    mcp.stop();
    online.stop();
    machines.closeAll();
    control.stop();
    webhookDispatcher.stop();
    keys.stop();
    audit.stop();
    maintenance.cancel();
    beating.cancel();
    measuringLoop.cancel();
    if (metricsServer)
        metricsServer->stop();
    ownClock.rest();
    http.stop(answers);
}

Server::Server(Settings wanted, Clock* clock) : parts(std::make_unique<Parts>(std::move(wanted), clock)) {}

Server::~Server() = default;

std::uint16_t Server::port() const
{
    return parts->port();
}

std::string Server::address() const
{
    return parts->address();
}

std::string Server::newConsoleLink()
{
    return parts->newConsoleLink();
}

std::string Server::metricsAddress() const
{
    return parts->metricsAddress();
}

void Server::run(ServingWatch watch)
{
    parts->run(std::move(watch));
}

void Server::reload(std::optional<Settings> next, std::function<void(std::vector<std::string>)> done)
{
    parts->reload(std::move(next), std::move(done));
}

void Server::stop()
{
    parts->stop();
}

void Server::stopNow()
{
    parts->stopNow();
}

} // namespace zelvo::service
