#include "app/lifecycle/AppMover.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"

namespace zelvo {

namespace {

constexpr std::int64_t patienceMs = 600'000;

} // namespace

void AppMover::checkOnLaunch()
{
    spawn(services.contexts.main, [this] { return check(); });
}

Task<> AppMover::check()
{
    switch (co_await verdict()) {
    case AppLocation::Verdict::fine:
        co_return;
    case AppLocation::Verdict::openInstalledCopy:
        co_return co_await offerInstalledCopy();
    case AppLocation::Verdict::offerMove:
        co_return co_await offerMove();
    }
}

Task<AppLocation::Verdict> AppMover::verdict()
{
    auto const judge = [this] {
        ProgramPlaces const places = services.installation.places();
        std::string const ours = services.information.text("CFBundleShortVersionString").value_or("0");
        return AppLocation(places).verdict(places.program, ours, services.installation.installedVersion());
    };
    co_return co_await on(services.contexts.workers, judge);
}

Task<bool> AppMover::isAllowed(Words words) const
{
    ConfirmationPresenter::Choice choice{.title = localized(words.title),
                                         .detail = localized(words.detail),
                                         .allowTitle = localized(words.allow),
                                         .denyTitle = localized("location.later")};
    auto const answer = co_await services.askChoice(std::move(choice), patienceMs);
    co_return answer.isAllowed();
}

Task<> AppMover::offerInstalledCopy()
{
    Words const words{.title = "location.openInstalled.title",
                      .detail = "location.openInstalled.detail",
                      .allow = "location.openInstalled.allow"};
    if (co_await isAllowed(words))
        co_await relaunch();
}

Task<> AppMover::offerMove()
{
    Words const words{
        .title = "location.move.title", .detail = "location.move.detail", .allow = "location.move.allow"};
    if (!co_await isAllowed(words))
        co_return;
    auto const install = [this] { return services.installation.install(); };
    if (co_await on(services.contexts.workers, install))
        co_return co_await relaunch();
    AgentState::LogLine line{.platform = localized("activity.app"),
                             .summary = localized("location.move.failed"),
                             .kind = ActivityKind::system};
    services.state.log(std::move(line));
}

/// The program ends even if its successor cannot be arranged.
Task<> AppMover::relaunch() const
{
    bool const isArranged = co_await services.relaunch.into(Relaunch::Successor::installedCopy);
    if (!isArranged)
        services.terminate();
}

} // namespace zelvo
