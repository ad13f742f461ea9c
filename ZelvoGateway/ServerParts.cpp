#include "ZelvoGateway/ServerParts.h"

#include "ZelvoGateway/AddressFiles.h"
#include "ZelvoGateway/OpenRecordingFiles.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/store/StoreVersion.h"

#include <filesystem>
#include <system_error>

namespace zelvo::service {

namespace {

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

void Server::Parts::beginTls()
{
    if (!settings.tls.isOn())
        return;
    tls.emplace(settings.tls, workers.get_executor(), [](std::string const& text) { Log::warning(text); });
    useCertificate(tls->pair());
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

/// Refuses all but platforms and the console.
Caller Server::Parts::platformOf(HttpRequest const& head) const
{
    access.assertPlatform(head);
    return access.callerOf(head);
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

} // namespace zelvo::service
