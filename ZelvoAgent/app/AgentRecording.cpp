#include "app/AgentRecording.h"

#include "base/Hop.h"
#include "recording/RecordingWriter.h"

#include <cstdio>

namespace zelvo {

namespace {

constexpr Duration housekeepingPeriod = 600s;

} // namespace

AgentRecording::AgentRecording(Services wired)
    : services(std::move(wired)), retention(services.settings, services.platform.videoFolders()),
      uploads({.contexts = services.contexts,
               .clock = services.platform.clock(),
               .http = services.platform.http(),
               .keychain = services.keychain,
               .defaults = services.platform.defaults(),
               .state = services.state,
               .httpBase = services.httpBase,
               .appVersion = services.appVersion,
               .ask = [this](std::string connectionId) { return shares.ask(std::move(connectionId)); }}),
      shares({.main = services.contexts.main,
              .state = services.state,
              .askChoice = services.askChoice,
              .sendSharing =
                  [this](std::string connectionId, bool shared) {
                      return uploads.sendSharing(std::move(connectionId), shared);
                  }}),
      sessions(SessionRecorder::create(recorderServices())),
      shown({.contexts = services.contexts,
             .clock = services.platform.clock(),
             .settings = services.settings,
             .retention = retention,
             .folders = services.platform.videoFolders(),
             .reveal = services.platform.reveal(),
             .finishRecording = [this] { return sessions->finishNow(false); },
             .askUndecided = [this] { shares.askUndecided(); }})
{
}

SessionRecorder::Services AgentRecording::recorderServices()
{
    Platform& platform = services.platform;
    return {.contexts = services.contexts,
            .clock = platform.clock(),
            .settings = services.settings,
            .access = platform.access(),
            .folders = platform.videoFolders(),
            .startWriter = RecordingWriter::starter({.workers = services.contexts.workers,
                                                     .clock = platform.clock(),
                                                     .screen = platform.screen(),
                                                     .streams = platform.screenStreams(),
                                                     .videos = platform.videos()}),
            .hiddenBundleIds = [this] { return services.hiddenApps.bundleIds(); },
            .isPaused = [this] { return services.state.currentState().paused; },
            .onFinished = [this](FinishedRecording recording,
                                 bool quitting) { return uploads.handle(std::move(recording), quitting); },
            .onCapturingChanged = [this](bool capturing) { shown.setRecording(capturing); },
            .log = [](std::string const& line) { std::fprintf(stderr, "%s\n", line.c_str()); }};
}

void AgentRecording::start()
{
    retention.purge(services.platform.clock().date());
    maintenance = spawn(services.contexts.main, [this] { return runMaintenance(); });
    drain();
}

Task<> AgentRecording::runMaintenance()
{
    Clock& clock = services.platform.clock();
    for (;;) {
        co_await clock.sleep(housekeepingPeriod);
        co_await on(services.contexts.workers, [this, &clock] { retention.purge(clock.date()); });
        drain();
    }
}

void AgentRecording::drain()
{
    spawn(services.contexts.main, [this] { return uploads.drain(); });
}

void AgentRecording::finish()
{
    spawn(services.contexts.main, [this] { return sessions->finishNow(false); });
}

} // namespace zelvo
