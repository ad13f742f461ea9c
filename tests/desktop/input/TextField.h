#pragma once

#include "base/Geometry.h"
#include "desktop/harness/PrivateDesktop.h"

#include <string>

namespace zelvo::test {

enum class FieldKind { gtk, qt, xterm, chromium };

/// A real application with one text field that has the focus and tells what it holds.
class TextField {
public:
    /// Starts it and waits until it can be typed into. Throws when it does not come up. `text` is what it
    /// begins with; xterm begins empty.
    TextField(PrivateDesktop& desktop, FieldKind kind, std::string text = {});

    std::string value() const { return read({}); }
    std::string selection() const { return read(".selection"); }
    pid_t pid() const { return process; }
    /// How far it is scrolled down, in a unit of its own.
    int scroll() const;
    /// Waits for the value; applications show text seconds late. Gives the last value seen.
    std::string valueAfter(std::string const& expected) const;
    /// A point of its window, given from the window's top left.
    DesktopPoint pointIn(int x, int y) const;

private:
    std::string read(std::string const& suffix) const;
    std::vector<std::string> command(FieldKind kind, std::string const& text) const;

    PrivateDesktop& desktop;
    std::string path;
    pid_t process = 0;
    std::uint32_t mainWindow = 0;
};

} // namespace zelvo::test
