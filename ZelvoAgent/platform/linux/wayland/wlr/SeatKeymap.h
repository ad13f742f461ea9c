#pragma once

#include <string>

struct wl_keyboard; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_seat;     // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// The keymap of a seat, which follows the keyboard that was used last. Keymaps made for a text do not count.
/// Thread: the one that reads the connection.
class SeatKeymap {
public:
    /// seat  without another listener; owned from here on
    explicit SeatKeymap(wl_seat* seat);
    ~SeatKeymap();
    SeatKeymap(SeatKeymap const&) = delete;
    SeatKeymap& operator=(SeatKeymap const&) = delete;

    wl_seat* seat() const { return object; }
    /// As text. The system's default layout while the seat has no keyboard; empty if even that is missing.
    std::string const& text() const { return keymap; }

private:
    struct Listener;
    void setCapabilities(unsigned capabilities);
    void take(int file, unsigned size);

    wl_seat* object;
    wl_keyboard* keyboard = nullptr;
    std::string keymap;
};

} // namespace zelvo
