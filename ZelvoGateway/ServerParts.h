#pragma once

#include "ZelvoGateway/Server.h"
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
#include "ZelvoGateway/webhooks/CurlWebhookSender.h"
#include "ZelvoGateway/webhooks/WebhookService.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// Everything that a server is made of, from the ground up. ServerParts.cpp puts it together, ServerLoop.cpp
/// serves and stops, ServerUpkeep.cpp does what recurs while it serves. Thread: the server's, except where
/// Server says more.
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
    std::chrono::seconds patience{5}; // For the last connections.
    boost::signals2::scoped_connection revocations;
};

} // namespace zelvo::service
