#include "app/AgentParts.h"

#include "gateway/GatewayAddress.h"

namespace zelvo {

namespace {

auto askerOf(ConfirmationPresenter& confirmations)
{
    return [&confirmations](ConfirmationPresenter::Choice choice, std::int64_t timeoutMs) {
        return confirmations.askChoice(std::move(choice), timeoutMs);
    };
}

} // namespace

AgentParts::AgentParts(Contexts contexts,
                       Platform& platform,
                       ConfirmationPanelMaker makePanel,
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
      gate(
          platform.events(),
          contexts.workers,
          [this] {
              // Not on a locked screen either: there is a password to type into.
              StateMirror const now = state.currentState();
              return now.paused || now.availability != rawValue(Availability::ready);
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
      runtime({.contexts = contexts,
               .platform = platform,
               .state = state,
               .heartbeat = heartbeat,
               .hiddenApps = hiddenApps,
               .keychain = keychain,
               .gate = gate,
               .ownWindows = ownWindows,
               .confirmations = confirmations,
               .clipboard = clipboard,
               .files = files,
               .recording = recording,
               .offers = offers,
               .isLinking = [this] { return links.isBusy() || links.offer(); },
               .jitter = std::move(jitter)}),
      queue({.main = contexts.main,
             .clock = platform.clock(),
             .defaults = platform.defaults(),
             .notifications = platform.notifications(),
             .state = state,
             .inbox = offers,
             .askChoice = askerOf(confirmations),
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
}

} // namespace zelvo
