#include "app/AgentParts.h"

#include "base/Hop.h"
#include "gateway/GatewayAddress.h"

namespace zelvo {

namespace {

auto askerOf(ConfirmationPresenter& confirmations)
{
    return [&confirmations](ConfirmationPresenter::Choice choice, std::int64_t timeoutMs) {
        return confirmations.askChoice(std::move(choice), timeoutMs);
    };
}

/// Reads the person's switch anew each time, since another program may change it.
std::function<bool()> strictGuard(Platform& platform)
{
    return
        [&settings = platform.defaults()] { return settings.boolean("zelvo.strictGuard").value_or(false); };
}

} // namespace

AgentParts::AgentParts(Contexts contexts,
                       Platform& platform,
                       ConfirmationPanelMaker makePanel,
                       CursorPanelMaker makeCursorPanel,
                       std::function<double()> jitter)
    : hiddenApps(contexts.agent, platform.defaults()),
      clipboard(contexts, platform.clock(), platform.pasteboard(), platform.workspace()),
      keychain(platform.secrets()), recordingSettings(platform.defaults()),
      heartbeat({.information = platform.information(),
                 .facts = platform.facts(),
                 .access = platform.access(),
                 .screen = platform.screen(),
                 .state = [this] { return state.currentState(); },
                 .recordingMode = [this] { return std::string(rawValue(recordingSettings.mode())); }}),
      state({.main = contexts.main,
             .clock = platform.clock(),
             .defaults = platform.defaults(),
             .session = platform.session(),
             .screen = platform.screen(),
             .refreshDisplay = [this] { heartbeat.refreshDisplay(); }}),
      ownWindows(platform.windows(), platform.facts().ownPid()),
      front(contexts, platform.frontChanges(), platform.workspace(), hiddenApps, platform.facts().ownPid()),
      gate(
          platform.events(),
          contexts.workers,
          [this] {
              // Not on a locked screen either: there is a password to type into.
              StateMirror const now = state.currentState();
              return now.paused || now.availability != Availability::ready;
          },
          [this] { return ownWindows.windowFrames(); }),
      confirmations({.main = contexts.main,
                     .workers = contexts.workers,
                     .clock = platform.clock(),
                     .gate = gate,
                     .focus = platform.focus(),
                     .makePanel = std::move(makePanel)}),
      files(contexts.workers,
            platform.files(),
            FolderAccessStore::roots(platform.defaults(), platform.files())),
      folders(contexts.workers, platform.defaults(), platform.files(), files),
      recording({.contexts = contexts,
                 .platform = platform,
                 .settings = recordingSettings,
                 .state = state,
                 .hiddenApps = hiddenApps,
                 .keychain = keychain,
                 .httpBase = GatewayAddress::defaultHttpBase(platform.information()),
                 .appVersion = heartbeat.appVersion(),
                 .askChoice = askerOf(confirmations)}),
      screen(contexts, platform.screen(), hiddenApps), electron(contexts, platform.accessibility()),
      tree({.contexts = contexts,
            .clock = platform.clock(),
            .accessibility = platform.accessibility(),
            .access = platform.access(),
            .workspace = platform.workspace(),
            .hiddenApps = hiddenApps,
            .electron = electron,
            .ownPid = platform.facts().ownPid()}),
      input(gate, platform.clock()), shell(contexts, platform.clock(), platform.children()),
      hiddenGuard(contexts.workers, hiddenApps, platform.workspace(), platform.windows()), ownUi(ownWindows),
      probe(contexts.workers, platform, hiddenApps), elementOperator(probe, gate),
      releasePlace(platform.clock(), contexts.workers, probe, hiddenGuard, ownUi, strictGuard(platform)),
      cursor({.main = contexts.main,
              .clock = platform.clock(),
              .state = state,
              .makePanel = std::move(makeCursorPanel)}),
      runtime({.contexts = contexts,
               .platform = platform,
               .state = state,
               .heartbeat = heartbeat,
               .keychain = keychain,
               .gate = gate,
               .recording = recording,
               .makeRouter = [this, contexts, &platform] { return makeRouter(contexts, platform); },
               .isLinking = [this] { return links.isBusy() || links.offer(); },
               .jitter = std::move(jitter)}),
      queue({.main = contexts.main,
             .clock = platform.clock(),
             .defaults = platform.defaults(),
             .notifications = platform.notifications(),
             .state = state,
             .inbox = offers,
             .askChoice = askerOf(confirmations),
             .mode = [this] { return heartbeat.mode.get(); },
             .sendDecision =
                 [this](std::string connectionId, QueueDecision decision) {
                     runtime.sendQueueDecision(std::move(connectionId), decision);
                 }}),
      links({.main = contexts.main,
             .http = platform.http(),
             .keychain = keychain,
             .state = state,
             .machine = heartbeat,
             .httpBase = GatewayAddress::defaultHttpBase(platform.information()),
             .connectIfLinked = [this] { runtime.connectIfLinked(); }})
{
    heartbeat.hiddenApps.set(&hiddenApps);
    gate.watch(front);
    gate.setFindRelease([this](DesktopPoint at) { return releasePlace.awayFrom(at); });
    front.start([this, agent = contexts.agent] {
        // A key or button that an agent holds must not reach what has come to the front.
        spawn(agent, [this] { return gate.releaseAll(); });
    });
}

std::unique_ptr<RpcRouter> AgentParts::makeRouter(Contexts const& contexts, Platform& platform)
{
    auto hasOpenQuestion = [this] { return confirmations.hasOpenQuestion(); };
    RpcRouter::Services services{
        .screen = screen,
        .drawings = platform.drawings(),
        .tree = tree,
        .interfaces = platform.interfaces(),
        .input = input,
        .shell = shell,
        .files = files,
        .pasteboard = platform.pasteboard(),
        .clipboard = clipboard,
        .hiddenApps = hiddenApps,
        .hiddenGuard = hiddenGuard,
        .probe = probe,
        .confirmations = confirmations,
        .workspace = platform.workspace(),
        .windows = platform.windows(),
        .ownUi = ownUi,
        .permissions = [&platform] { return platform.access().current(); },
        .recorder = recording.recorder(),
        .questionPending = [main = contexts.main, hasOpenQuestion] { return on(main, hasOpenQuestion); },
        .cursor = cursor,
        .offers = offers,
        .mode = heartbeat.mode.get(),
        .beginAction = [this] { return gate.beginAction(); },
        .layout = &platform.keyboardLayout(),
        .isStrict = strictGuard(platform),
        .operating = &elementOperator,
        .lacksPlaces = [&platform] { return platform.accessibility().isRelative(); },
    };
    return std::make_unique<RpcRouter>(contexts, platform.clock(), state, std::move(services));
}

} // namespace zelvo
