#pragma once

#include "platform/linux/wayland/portal/EisRegions.h"
#include "platform/linux/wayland/portal/eis/EiObjects.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// A device that the compositor made for us, and what we hold down on it. Thread: agent.
class EisDevice {
public:
    struct Switch {
        bool isKey = false; ///< else a button
        std::uint32_t code = 0;
        bool operator==(Switch const&) const = default;
    };

    /// Takes a reference.
    explicit EisDevice(ei_device* device);
    EisDevice(EisDevice const&) = delete;
    EisDevice& operator=(EisDevice const&) = delete;

    bool is(ei_device const* other) const { return device.get() == other; }
    bool has(ei_device_capability capability) const;
    /// Whether the compositor takes events now.
    bool isUsable() const { return isResumed; }
    bool holds(Switch what) const;
    std::vector<EisRegion> regions() const;

    /// Releases what was held before a pause, which keeps it down.
    void resume();
    void pause();
    /// The compositor has released what was held.
    void remove();
    /// The next four require isUsable(). Each makes one frame.
    void moveTo(LogicalPoint point);
    void turn(int unitsRight, int unitsDown);
    void set(Switch what, bool isDown);
    /// Releases what is held, newest first, and ends this sequence of events.
    void release();

    bool isWarm = false; ///< applications know the device

private:
    void begin();
    void frame();

    EiDevicePtr const device;
    bool isResumed = false;
    bool isEmulating = false;
    std::uint32_t sequence = 0;
    std::vector<Switch> held; ///< in the order in which they were pressed
};

} // namespace zelvo
