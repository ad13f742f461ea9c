#pragma once

#include "platform/linux/wayland/portal/EisOpening.h"
#include "platform/linux/wayland/portal/eis/EisConnection.h"

#include <memory>
#include <optional>
#include <utility>

namespace zelvo {

/// Makes events on a connection. Thread: agent, except isReady(); one call at a time.
class EisHands {
public:
    EisHands(EisParts parts, std::shared_ptr<EisConnection> connection);

    /// Thread: any.
    bool isReady() const { return connection->isOpen(); }
    Task<bool> moveTo(LogicalPoint point);
    Task<bool> scroll(int clicksDown, int clicksRight);
    /// What we do not hold counts as released.
    Task<bool> press(EisDevice::Switch what, bool isDown);
    Task<> drained();
    void close() { connection->close(); }

private:
    using Device = std::shared_ptr<EisDevice>;
    struct Target {
        Device device;
        EisRegion region;
        LogicalPoint point;
    };

    std::optional<Target> targetAt(LogicalPoint point) const;
    void enterRegion(Target const& target);
    Task<bool> warmPointer(Target target);
    Task<bool> warmKeyboard(Device device);
    Task<Device> choose(ei_device_capability capability);
    Device holderOf(EisDevice::Switch what) const;
    bool finish();

    EisParts const parts;
    std::shared_ptr<EisConnection> const connection;
    Device pointer; ///< which moved last
    EisRegion lastRegion;
};

} // namespace zelvo
