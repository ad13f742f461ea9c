#pragma once

#include "platform/linux/screen/PixelRegion.h"
#include "platform/portable/streams/ChangeDetector.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

class X11Connection;

/// Detects changes of an X screen: drawing in any window, covered ones too; windows that appear, disappear or
/// move; and movement or a new shape of the pointer. This program's own windows are in no picture, so they
/// are no change. Uses a separate connection, on which the server sends few events however much is drawn.
class X11ChangeDetector final : public ChangeDetector {
public:
    /// Blocks for a few round trips. Null if the server can't be reached or lacks DAMAGE or XFIXES.
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

    /// Drawing in a child of the root, or in the root.
    struct Drawing {
        std::uint32_t damage = 0;
        int x = 0; ///< of the window, on the root window
        int y = 0;
    };

    void followRoot();
    void follow(std::uint32_t window);
    bool takeEvents();
    bool noteEvent(void const* event);
    void noteDamage(void const* event);
    bool noteWindow(int type, void const* event);
    void notePlace(std::uint32_t window, PixelRect const& area);
    bool takeDrawing();
    std::vector<PixelRegion> takeRegions(std::vector<Drawing> const& drawings);
    bool isSettled(bool changed);
    Pointer askPointer();

    std::unique_ptr<X11Connection> connection;
    std::uint32_t const ignored;
    std::uint8_t cursorEvent = 0;
    std::uint32_t rootDamage = 0;
    std::uint32_t wallpaper = 0;  ///< the root's property
    std::vector<Drawing> damaged; ///< not looked at yet
    Pointer pointer;

    // This program's windows, which move and are drawn without changing any picture:
    std::map<std::uint32_t, PixelRect> ownWindows; ///< with their areas
    PixelRegion ownPlaces;                         ///< where they were since the last call of take()
    PixelRegion lastPlaces;                        ///< and before; the server may draw a little later
    bool hasOwnMoved = false;                      ///< or has a new shape; since the last call of take()
    bool hadOwnMoved = false;                      ///< before
    int unsure = 0; ///< windows with drawing where ours were, which may be theirs or the server's
    int waits = 0;  ///< calls of take() since then
};

} // namespace zelvo
