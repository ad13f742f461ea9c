#include "platform/linux/wayland/portal/eis/EisHands.h"

#include "platform/linux/wayland/portal/PortalInput.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdlib>

namespace zelvo {

namespace {

constexpr int unitsOfClick = 120;
constexpr int mostClicks = 10000;

ei_device_capability capabilityFor(EisDevice::Switch what)
{
    return what.isKey ? EI_DEVICE_CAP_KEYBOARD : EI_DEVICE_CAP_BUTTON;
}

} // namespace

EisHands::EisHands(EisParts parts, std::shared_ptr<EisConnection> connection)
    : parts(std::move(parts)), connection(std::move(connection))
{
}

/// Learns whether the compositor is still there.
bool EisHands::finish()
{
    connection->step();
    return connection->isOpen();
}

std::optional<EisHands::Target> EisHands::targetAt(LogicalPoint point) const
{
    std::vector<EisRegion> regions;
    std::vector<Device> owners;
    for (Device const& device : connection->usable(EI_DEVICE_CAP_POINTER_ABSOLUTE))
        for (EisRegion& region : device->regions()) {
            regions.push_back(std::move(region));
            owners.push_back(device);
        }
    auto const place = eisPlaceAt(regions, parts.streams, parts.layout(), point);
    if (!place)
        return std::nullopt;
    return Target{.device = owners[place->region], .region = regions[place->region], .point = place->point};
}

Task<bool> EisHands::moveTo(LogicalPoint point)
{
    connection->step(); // A device may have been paused or replaced.
    if ((co_await connection->await(EI_DEVICE_CAP_POINTER_ABSOLUTE)).empty())
        co_return false;
    auto const target = targetAt(point);
    if (!target)
        co_return false;
    enterRegion(*target);
    target->device->moveTo(target->point);
    if (!finish())
        co_return false;
    co_return target->device->isWarm || co_await warmPointer(*target);
}

/// Brings the pointer to another monitor. A barrier at the edge of the monitor may stop it; from the middle
/// of that edge a second move passes.
void EisHands::enterRegion(Target const& target)
{
    bool const isOther = std::exchange(lastRegion, target.region) != target.region;
    pointer = target.device;
    if (!isOther || target.device->regions().size() + parts.streams.size() <= 2)
        return;
    LogicalRect const& area = target.region.area;
    for (int count = 0; count < 2; ++count)
        target.device->moveTo({area.x + area.width / 2, area.y + area.height / 2});
}

Task<bool> EisHands::warmPointer(Target target)
{
    co_await parts.clock.sleep(PortalInput::warmUp);
    if (!target.device->isUsable())
        co_return false;
    target.device->isWarm = true;
    target.device->moveTo(target.point);
    co_return finish();
}

Task<bool> EisHands::warmKeyboard(Device device)
{
    // A key without a meaning, so that nothing happens where it arrives.
    EisDevice::Switch const nothing{.isKey = true, .code = KEY_UNKNOWN};
    device->set(nothing, true);
    device->set(nothing, false);
    if (!finish())
        co_return false;
    co_await parts.clock.sleep(PortalInput::warmUp);
    device->isWarm = true;
    co_return device->isUsable();
}

/// The pointer that moved last, if it has the capability; else the first device that has it.
Task<EisHands::Device> EisHands::choose(ei_device_capability capability)
{
    auto const found = co_await connection->await(capability);
    if (std::ranges::find(found, pointer) != found.end())
        co_return pointer;
    co_return found.empty() ? nullptr : found.front();
}

EisHands::Device EisHands::holderOf(EisDevice::Switch what) const
{
    auto const found = connection->usable(capabilityFor(what));
    auto const holder = std::ranges::find_if(found, [&](Device const& one) { return one->holds(what); });
    return holder == found.end() ? nullptr : *holder;
}

Task<bool> EisHands::press(EisDevice::Switch what, bool isDown)
{
    connection->step();
    Device device = holderOf(what);
    if (!isDown && !device)
        co_return connection->isOpen();
    if (!device)
        device = co_await choose(capabilityFor(what));
    if (!device || (what.isKey && !device->isWarm && !co_await warmKeyboard(device)))
        co_return false;
    device->set(what, isDown);
    co_return finish();
}

Task<bool> EisHands::scroll(int clicksDown, int clicksRight)
{
    connection->step();
    auto const device = co_await choose(EI_DEVICE_CAP_SCROLL);
    if (!device || std::abs(clicksDown) > mostClicks || std::abs(clicksRight) > mostClicks)
        co_return false;
    // In frames of their own: from a common one, the compositor mixes the clicks of the two directions.
    if (clicksDown != 0)
        device->turn(0, clicksDown * unitsOfClick);
    if (clicksRight != 0)
        device->turn(clicksRight * unitsOfClick, 0);
    co_return finish();
}

Task<> EisHands::drained()
{
    if (!co_await connection->pass() && connection->isOpen())
        co_await parts.barrier();
}

} // namespace zelvo
