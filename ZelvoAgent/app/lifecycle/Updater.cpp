#include "app/lifecycle/Updater.h"

#include "base/LocalizedTexts.h"

#include <utility>

namespace zelvo {

Updater::Updater(Services services) : services(services) {}

bool Updater::isConfigured() const
{
    auto const key = services.information.text("SUPublicEDKey");
    return key && !key->empty();
}

void Updater::start()
{
    if (controller || !isConfigured())
        return;
    controller = services.updates.start(*this);
    stateChanges = services.state.changed.connect([this] { confirmAtHeartbeat(); });
    changed();
}

void Updater::checkNow()
{
    if (!controller)
        return;
    if (current.phase == UpdateProgress::Phase::idle)
        progressed({.phase = UpdateProgress::Phase::checking});
    controller->checkForUpdates();
}

void Updater::installOnQuit()
{
    if (controller)
        controller->installOnQuit();
}

/// A link begins with a heartbeat.
void Updater::confirmAtHeartbeat()
{
    if (isConfirmed || services.state.gateway().kind != GatewayConnectionState::Kind::connected)
        return;
    isConfirmed = true;
    controller->confirmVersion();
}

void Updater::progressed(UpdateProgress progress)
{
    current = std::move(progress);
    if (current.phase == UpdateProgress::Phase::checking)
        abort.reset();
    changed();
}

void Updater::didAbort(UpdateAbort given)
{
    abort = std::move(given);
    if (abort->code != UpdateAbort::nothingFound)
        lastFailure = abort->description;
    changed();
}

void Updater::willInstallUpdateOnQuit(UpdateItem item)
{
    services.state.setPaused(true);
    services.state.log({.platform = localized("activity.app"),
                        .summary = localized("activity.updating", {item.displayVersion}),
                        .kind = ActivityKind::update});
}

} // namespace zelvo
