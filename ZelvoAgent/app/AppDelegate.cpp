#include "app/AppDelegate.h"

#include "app/LinkUrl.h"
#include "app/QtConfirmationPanel.h"
#include "app/overlays/AgentCursorView.h"
#include "app/overlays/WorkingIndicatorView.h"
#include "base/Task.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <memory>
#include <semaphore>
#include <tuple>
#include <utility>

namespace zelvo {

namespace {

constexpr std::chrono::seconds timeToFinish{2};
constexpr std::chrono::minutes timeToClose{1};

} // namespace

AppDelegate::AppDelegate(Contexts contexts, Platform& platform, std::function<void()> quit)
    : contexts(contexts), platform(platform),
      parts(contexts,
            platform,
            QtConfirmationPanel::maker(platform.clock()),
            [&platform](AgentCursorModel& model) {
                return AgentCursorView::open(model, platform.overlays(), platform.clock());
            }),
      intake(parts.links, parts.state, platform.clock()),
      consent(parts.links, parts.gate, contexts.main, platform.clock()),
      indicator(parts.state,
                [this] {
                    return WorkingIndicatorView::open(parts.state, parts.recording.state(),
                                                      this->platform.overlays());
                }),
      quit(std::move(quit)), termination(contexts.main, parts.runtime.recording(), this->quit),
      updater({.updates = platform.updates(), .information = platform.information(), .state = parts.state}),
      relaunch({.contexts = contexts,
                .installation = platform.installation(),
                .terminate = [this] { terminate(); }}),
      mover({.contexts = contexts,
             .installation = platform.installation(),
             .information = platform.information(),
             .state = parts.state,
             .askChoice =
                 [this](ConfirmationPresenter::Choice choice, std::int64_t timeoutMs) {
                     return parts.confirmations.askChoice(std::move(choice), timeoutMs);
                 },
             .relaunch = relaunch,
             .terminate = [this] { terminate(); }}),
      ui({.contexts = contexts,
          .platform = platform,
          .parts = parts,
          .updater = updater,
          .openWindow = {},
          .quit = [this] { terminate(); },
          .restartIntoUpdate =
              [this](std::function<void()> failed) { restartIntoUpdate(std::move(failed)); }},
         consent)
{
}

void AppDelegate::start()
{
    startAgent();
    mover.checkOnLaunch();
    ui.start();
}

void AppDelegate::startAgent()
{
    parts.clipboard.start();
    parts.state.startObserving();
    parts.queue.start(); // Before a link exists that can deliver offers.
    parts.runtime.start();
    indicator.start();
    hasStarted = true;
    platform.session().observe([this](SessionEvent event) {
        if (event == SessionEvent::willShutDown)
            terminate();
    });
    platform.hotKey().start([this] { parts.state.setPaused(!parts.state.isPaused()); });
    updater.start();
    handlePendingLinkIfNeeded();
}

bool AppDelegate::open(std::vector<std::string> const& urls)
{
    if (isEnding)
        return false;
    for (std::string const& url : urls) {
        std::optional<std::string> token = linkTokenOf(url);
        if (!token)
            continue;
        if (hasStarted)
            intake.take(*std::move(token));
        else
            pendingLinkToken = std::move(token);
    }
    return true;
}

void AppDelegate::handlePendingLinkIfNeeded()
{
    std::optional<std::string> token = pendingLinkToken ? pendingLinkToken : parts.links.pendingToken();
    if (!token)
        return;
    pendingLinkToken.reset();
    intake.take(*std::move(token));
}

bool AppDelegate::bringToFront()
{
    if (!isEnding)
        ui.bringToFront();
    return !isEnding;
}

void AppDelegate::terminate()
{
    isEnding = true;
    if (termination.shouldTerminate() == Termination::Reply::terminateNow)
        quit();
}

void AppDelegate::closeRecording()
{
    SessionRecording& recorder = parts.runtime.recording();
    if (!recorder.hasOpenFile())
        return;
    auto const loop = std::make_shared<QEventLoop>();
    // Not for the end of the process, which may not come; so what follows the closing can take minutes.
    spawn(contexts.main, [&recorder] { return recorder.finishNow(false); });
    spawn(contexts.main, [&recorder, loop]() -> Task<> {
        co_await recorder.untilClosed();
        loop->quit();
    });
    QTimer::singleShot(timeToClose, loop.get(), &QEventLoop::quit);
    loop->exec(QEventLoop::ExcludeUserInputEvents);
}

/// The update itself is installed when the process ends.
void AppDelegate::restartIntoUpdate(std::function<void()> failed)
{
    spawn(contexts.main, [this, failed = std::move(failed)]() -> Task<> {
        bool const isArranged = co_await relaunch.into(Relaunch::Successor::runningProgram);
        if (!isArranged)
            failed();
    });
}

/// Nothing would be drawn or answer while the main thread waits.
void AppDelegate::leaveScreen()
{
    indicator.stop();
    parts.cursor.hide();
    ui.hideIcon();
    for (QWidget* const window : QApplication::topLevelWidgets())
        window->hide();
}

void AppDelegate::willTerminate()
{
    isEnding = true;
    leaveScreen();
    updater.installOnQuit();
    spawn(contexts.agent, [this] { return parts.runtime.shutDown(); });
    spawn(contexts.agent, [this] { return platform.accessibility().switchOff(); });
    spawn(contexts.agent, [this] { return platform.pasteboard().handOver(); });
    platform.http().endCalls();
    auto const restored = std::make_shared<std::binary_semaphore>(0);
    if (hasStarted)
        spawn(contexts.main, [this, restored]() -> Task<> {
            co_await parts.electron.disableAll();
            restored->release();
        });
    // That task runs on the thread that waits here, so the wait always takes its full time: it is what the
    // other threads have to finish.
    std::ignore = restored->try_acquire_for(timeToFinish);
    platform.defaults().writeNow();
}

} // namespace zelvo
