#include "router/RpcRouter.h"

#include "base/Hop.h"
#include "router/ActionHandlers.h"
#include "router/ApplicationHandlers.h"
#include "router/ElementWaiting.h"
#include "router/FrontTree.h"
#include "router/ObservationHandlers.h"
#include "router/ScreenSettling.h"
#include "router/ShellHandlers.h"
#include "router/SystemHandlers.h"
#include "router/TransferHandlers.h"

#include <boost/asio/strand.hpp>

namespace zelvo {

static_assert(haveOneHandlerForEachMethod<ObservationHandlers,
                                          ActionHandlers,
                                          ApplicationHandlers,
                                          ShellHandlers,
                                          TransferHandlers,
                                          SystemHandlers>());

/// The handlers and what they share, in the order in which one needs another.
struct RpcRouter::Families {
    Families(Contexts const& contexts, Clock& clock, AgentState& state, Services const& services);

    SnapshotStore snapshots; // strand
    FrontmostCheck frontmost;
    Confirmations confirmations;
    ShownInput shownInput;
    ActionGuard guard;
    ElementHandlers elements;
    ScreenSettling settling;
    FrontTree frontTree;
    ElementWaiting elementWaiting;
    ObservationHandlers observation;
    StrictActions strict;
    ActionHandlers actions;
    ApplicationHandlers applications;
    ShellHandlers shell;
    TransferHandlers transfers;
    SystemHandlers system;
};

RpcRouter::Families::Families(Contexts const& contexts,
                              Clock& clock,
                              AgentState& state,
                              Services const& services)
    : snapshots(clock), frontmost(clock, services.probe), confirmations({.main = contexts.main,
                                                                         .state = state,
                                                                         .presenter = services.confirmations,
                                                                         .probe = services.probe,
                                                                         .layout = services.layout}),
      shownInput(contexts.workers, services.input, services.cursor),
      guard({.contexts = contexts,
             .state = state,
             .probe = services.probe,
             .hiddenGuard = services.hiddenGuard,
             .ownUi = services.ownUi,
             .permissions = services.permissions,
             .questionPending = services.questionPending,
             .frontmost = frontmost,
             .beginAction = services.beginAction}),
      elements({.workers = contexts.workers,
                .clock = clock,
                .snapshots = snapshots,
                .probe = services.probe,
                .hiddenGuard = services.hiddenGuard,
                .ownUi = services.ownUi,
                .input = services.input,
                .shown = shownInput,
                .operating = services.operating}),
      settling({.contexts = contexts,
                .clock = clock,
                .state = state,
                .screen = services.screen,
                .drawings = services.drawings}),
      frontTree(services.tree, services.probe, services.ownUi),
      elementWaiting({.contexts = contexts,
                      .clock = clock,
                      .state = state,
                      .tree = frontTree,
                      .interfaces = services.interfaces}),
      observation({.contexts = contexts,
                   .clock = clock,
                   .state = state,
                   .screen = services.screen,
                   .settling = settling,
                   .tree = frontTree,
                   .waiting = elementWaiting,
                   .input = services.input,
                   .recorder = services.recorder,
                   .snapshots = snapshots}),
      strict({.workers = contexts.workers,
              .probe = services.probe,
              .hiddenGuard = services.hiddenGuard,
              .ownUi = services.ownUi,
              .confirmations = confirmations,
              .elements = elements,
              .input = services.input,
              .shown = shownInput}),
      actions({.contexts = contexts,
               .clock = clock,
               .state = state,
               .recorder = services.recorder,
               .workspace = services.workspace,
               .probe = services.probe,
               .guard = guard,
               .confirmations = confirmations,
               .elements = elements,
               .input = shownInput,
               .strict = strict,
               .isStrict = services.isStrict}),
      applications({.workers = contexts.workers,
                    .clock = clock,
                    .workspace = services.workspace,
                    .windows = services.windows,
                    .hiddenApps = services.hiddenApps,
                    .recorder = services.recorder,
                    .frontmost = frontmost,
                    .confirmations = confirmations}),
      shell({.main = contexts.main, .state = state, .shell = services.shell, .confirmations = confirmations}),
      transfers({.contexts = contexts,
                 .files = services.files,
                 .pasteboard = services.pasteboard,
                 .clipboard = services.clipboard,
                 .hiddenApps = services.hiddenApps,
                 .confirmations = confirmations}),
      system({.main = contexts.main,
              .clock = clock,
              .state = state,
              .offers = services.offers,
              .permissions = services.permissions})
{
}

RpcRouter::RpcRouter(Contexts const& contexts, Clock& clock, AgentState& state, Services services)
    : contexts(contexts), state(state), permissions(services.permissions), lacksPlaces(services.lacksPlaces),
      mode(services.mode), strand(asio::make_strand(contexts.agent)),
      families(std::make_unique<Families>(contexts, clock, state, services))
{
    addHandlers(handlers, families->observation);
    addHandlers(handlers, families->actions);
    addHandlers(handlers, families->applications);
    addHandlers(handlers, families->shell);
    addHandlers(handlers, families->transfers);
    addHandlers(handlers, families->system);
}

RpcRouter::~RpcRouter() = default;

Task<RpcReply> RpcRouter::handle(RpcFrame frame)
{
    auto body = [this, &frame]() -> Task<RpcReply> { return handleOnStrand(std::move(frame)); };
    co_return co_await runOn(strand, std::move(body));
}

Task<RpcReply> RpcRouter::handleOnStrand(RpcFrame frame)
{
    std::string const id = frame.id;
    try {
        json::value result = co_await dispatch(co_await preflight(std::move(frame)));
        co_return RpcReply::result(id, std::move(result));
    } catch (DetailedAgentError const& failure) {
        co_return RpcReply::failure(id, failure.error, failure.details, failure.message);
    } catch (AgentError const& failure) {
        co_return RpcReply::failure(id, failure, details(failure));
    } catch (...) {
        // Nothing of a failure of the system reaches an agent.
        co_return RpcReply::failure(id, AgentError::internalError);
    }
}

/// Scope first, then pause and availability, then the system's permission: a connection without the scope
/// learns of that even when paused.
Task<Admission> RpcRouter::preflight(RpcFrame frame)
{
    Admission admission{.frame = std::move(frame)};
    Method const* const method = methodNamed(admission.frame.method);
    if (method && method->isService())
        co_return admission;
    auto const scope = method ? method->scope : std::nullopt;
    bool const isPersons = mode == AgentMode::connected;
    co_await on(contexts.main, [&] {
        if (isPersons && scope)
            state.assertScope(*scope, admission.frame.connectionId);
        state.assertReady();
        admission.connection = state.connection(admission.frame.connectionId);
    });
    if (isPersons && admission.connection)
        admission.asker = {admission.connection->platformName, admission.connection->policy, scope,
                           admission.frame.connectionId};
    if (!isPermitted(admission.frame.method, scope))
        throw AgentError::permissionMissing;
    co_return admission;
}

/// Where nobody knows where windows are there is no picture without hidden applications, but there are
/// elements.
bool RpcRouter::isPermitted(std::string_view method, std::optional<AgentScope> scope) const
{
    Permissions const granted = permissions();
    bool const readsElements = method == "ui.tree" || method == "ui.wait";
    if (scope == AgentScope::screen && readsElements && lacksPlaces && lacksPlaces())
        return granted.accessibility;
    return (scope != AgentScope::input || granted.accessibility) &&
           (scope != AgentScope::screen || granted.screenRecording);
}

Task<json::value> RpcRouter::dispatch(Admission admission)
{
    auto const handler = handlers.find(admission.frame.method);
    if (handler == handlers.end())
        throw AgentError::invalidRequest;
    return handler->second(std::move(admission));
}

std::optional<std::map<std::string, std::string>> RpcRouter::details(AgentError error) const
{
    if (error == AgentError::machineUnavailable)
        return {{{"reason", std::string(rawValue(state.currentAvailability()))}}};
    if (error == AgentError::permissionMissing)
        return {{{"permission", permissions().screenRecording ? "accessibility" : "screenRecording"}}};
    return std::nullopt;
}

} // namespace zelvo
