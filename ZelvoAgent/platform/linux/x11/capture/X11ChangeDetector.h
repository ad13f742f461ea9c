#pragma once

#include "platform/portable/streams/ChangeDetector.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zelvo {

class X11Connection;

/// Detects changes of an X screen: drawing in any window, covered ones too; windows that appear, disappear or
/// move; and movement or a new shape of the pointer. Uses a separate connection, on which the server sends
/// few events however much is drawn.
class X11ChangeDetector final : public ChangeDetector {
public:
    /// Blocks for a few round trips. Null if the server can't be reached or lacks DAMAGE.
    /// ignored  a window whose mapping and unmapping do not matter
    /// display  empty for $DISPLAY
    static std::unique_ptr<ChangeDetector> open(std::uint32_t ignored, std::string const& display = {});
    ~X11ChangeDetector() override;
    X11ChangeDetector(X11ChangeDetector const&) = delete;
    X11ChangeDetector& operator=(X11ChangeDetector const&) = delete;

    /// Takes one round trip.
    bool take() override;
    bool isAlive() const override;

private:
    X11ChangeDetector(std::unique_ptr<X11Connection> server, std::uint32_t ignored);

    struct Pointer {
        int x = 0;
        int y = 0;
        bool isHere = false;
        bool operator==(Pointer const&) const = default;
    };

    void follow(std::uint32_t window);
    bool noteEvent(void const* event);
    Pointer askPointer();

    std::unique_ptr<X11Connection> connection;
    std::uint32_t const ignored;
    std::uint8_t cursorEvent = 0;
    Pointer pointer;
};

} // namespace zelvo
