#pragma once

#include "platform/linux/wayland/MonitorLayout.h"

#include <set>
#include <vector>

struct wl_seat;                         // NOLINT(readability-identifier-naming): libwayland names it.
struct zwlr_virtual_pointer_manager_v1; // NOLINT(readability-identifier-naming): wayland-scanner names it.
struct zwlr_virtual_pointer_v1;         // NOLINT(readability-identifier-naming): wayland-scanner names it.

namespace zelvo {

/// A pointer that moves over all outputs. It releases every button that is held when it ends. Thread: the one
/// that reads the connection. Requests are sent with the next flush.
class VirtualPointer {
public:
    VirtualPointer(zwlr_virtual_pointer_manager_v1* manager, wl_seat* seat);
    ~VirtualPointer();
    VirtualPointer(VirtualPointer const&) = delete;
    VirtualPointer& operator=(VirtualPointer const&) = delete;

    /// False if there is no monitor.
    bool moveTo(LogicalPoint point, std::vector<Monitor> const& monitors);
    /// button  the kernel's number
    void button(int button, bool isDown);
    void scroll(int clicksDown, int clicksRight);

private:
    void turn(unsigned axis, int clicks);

    zwlr_virtual_pointer_v1* pointer;
    std::set<int> held;
};

} // namespace zelvo
