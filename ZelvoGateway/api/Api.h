#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/console/ConsoleAccess.h"
#include "ZelvoGateway/control/CommandService.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/control/LinkService.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/recordings/RecordingIntake.h"
#include "ZelvoGateway/recordings/RecordingLibrary.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// The HTTP interface: which path does what, who may ask for it, and how large the body may be.
/// Thread: the server's.
class Api {
public:
    using Ids = std::vector<std::string>; ///< what stood where the pattern has "*"

    /// Who may call.
    enum class Access {
        open,     ///< anybody; the body is its own credential
        platform, ///< the API key as a header, or the console's cookie
        console,  ///< the console's cookie
        machine,  ///< a machine's token
    };

    struct Route {
        std::string_view method;
        std::vector<std::string_view> pattern;
        Access access;
        std::size_t Limits::* bodyLimit;
        Task<HttpResponse> (Api::*handler)(HttpRequest, Ids);
        /// Takes the body piece by piece, however large it is; then there is no handler.
        std::shared_ptr<BodySink> (Api::*receiver)(HttpRequest const& head, Ids const&) = nullptr;
    };

    /// A request that was let in by its head.
    struct Admission {
        Route const* route = nullptr;
        Ids ids;
        std::size_t bodyLimit = 0;
    };

    Api(Store& store,
        MachineRegistry& machines,
        ApiKey const& key,
        Settings const& settings,
        Clock& clock,
        MemoryBudget& memory,
        Executor workers,
        std::shared_ptr<RecordingFolder const> films);

    /// Decides by the head alone, before a byte of the body is read. Throws Failure.
    Admission admit(HttpRequest const& head) const;
    /// What takes the body of a request that was let in; null when it is read whole. Throws Failure.
    std::shared_ptr<BodySink> receiverOf(Admission const& admission, HttpRequest const& head);
    /// Runs a request; every failure becomes a response.
    Task<HttpResponse> answer(Admission admission, HttpRequest request);
    /// The response that a failure becomes.
    HttpResponse failed(Failure const& failure, HttpRequest const& request) const;

    /// The machine of the token that a machine connects with. Throws Failure: unauthorized,
    /// appUpdateRequired.
    StoredMachine admitMachine(HttpRequest const& head) const;
    Task<> tellRevocations(std::shared_ptr<MachineSession> session)
    {
        return connections.tellRevocations(session);
    }

    MachineListener& listener() { return commands; }
    /// Before anything is served, once nobody else uses the data folder.
    void begin() { library.begin(); }
    /// What is to be done again and again while the server runs.
    Task<> runMaintenance();
    /// Ends what waits for other than machines and callers.
    void stop() { commands.stop(); }

private:
    static std::span<Route const> routes();
    void assertAccess(Route const& route, HttpRequest const& head) const;

    Task<HttpResponse> handleConsole(HttpRequest request, Ids ids);
    Task<HttpResponse> handleConsoleOpen(HttpRequest request, Ids ids);
    Task<HttpResponse> handleConsoleFile(HttpRequest request, Ids ids);
    Task<HttpResponse> handleConsoleMachines(HttpRequest request, Ids ids);
    Task<HttpResponse> handleLinkResolve(HttpRequest request, Ids ids);
    Task<HttpResponse> handleLinkComplete(HttpRequest request, Ids ids);
    Task<HttpResponse> handleMachineConnect(HttpRequest request, Ids ids);
    Task<HttpResponse> handleEndUsers(HttpRequest request, Ids ids);
    Task<HttpResponse> handleLinkSessions(HttpRequest request, Ids ids);
    Task<HttpResponse> handleConnections(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRevoke(HttpRequest request, Ids ids);
    Task<HttpResponse> handleCommands(HttpRequest request, Ids ids);
    Task<HttpResponse> handleCommand(HttpRequest request, Ids ids);
    Task<HttpResponse> handleCancelCommand(HttpRequest request, Ids ids);
    Task<HttpResponse> handleMachine(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRemoveMachine(HttpRequest request, Ids ids);
    Task<HttpResponse> handleCloudMachines(HttpRequest request, Ids ids);

    Task<HttpResponse> handleRecordingsPage(HttpRequest request, Ids ids);
    Task<HttpResponse> handleAnnounce(HttpRequest request, Ids ids);
    Task<HttpResponse> handleComplete(HttpRequest request, Ids ids);
    Task<HttpResponse> handleSharing(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRecordings(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRecording(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRemoveRecording(HttpRequest request, Ids ids);
    Task<HttpResponse> handleRecordingFile(HttpRequest request, Ids ids);
    std::shared_ptr<BodySink> receiveUpload(HttpRequest const& head, Ids const& ids);

    Store& store;
    Settings const& settings;
    Clock& clock;
    ConsoleAccess access;
    LinkService links;
    ConnectionService connections;
    CommandService commands;
    RecordingIntake intake;
    RecordingLibrary library;
};

} // namespace zelvo::service
