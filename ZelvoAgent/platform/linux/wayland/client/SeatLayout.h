#pragma once

#include <functional>
#include <string>
#include <string_view>

struct wl_keyboard; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_seat;     // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// What the symbols of a keymap that is made for a text are called, so that nobody takes it for the person's
/// layout.
inline constexpr std::string_view textKeymapName = "zelvo_text";

/// The keymap of a seat, which follows the keyboard that was used last. Keymaps made for a text do not count.
/// Thread: the one that reads the connection.
class SeatLayout {
public:
    /// seat  without another listener; owned from here on
    /// call  called with each new keymap; may be empty
    explicit SeatLayout(wl_seat* seat, std::function<void(std::string const&)> call = {});
    ~SeatLayout();
    SeatLayout(SeatLayout const&) = delete;
    SeatLayout& operator=(SeatLayout const&) = delete;

    wl_seat* seat() const { return object; }
    /// As text. The system's default layout while the seat has no keyboard; empty if even that is missing.
    std::string const& text() const { return keymap; }

private:
    struct Listener;
    void setCapabilities(unsigned capabilities);
    void take(int file, unsigned size);

    wl_seat* object;
    wl_keyboard* keyboard = nullptr;
    std::function<void(std::string const&)> changed;
    std::string keymap;
};

} // namespace zelvo
