#pragma once

#include "base/Geometry.h"
#include "desktop/harness/PrivateDesktop.h"

#include <string>

namespace zelvo::test {

enum class FieldKind { gtk, qt, xterm, chromium };

/// A real application with one focused text field whose content the test can read.
class TextField {
public:
    /// Starts the application and waits until it accepts typing. Throws if it does not start. text: the
    /// initial content; xterm always begins empty.
    TextField(PrivateDesktop& desktop, FieldKind kind, std::string text = {});

    std::string value() const { return read({}); }
    std::string selection() const { return read(".selection"); }
    pid_t pid() const { return process; }
    /// How far it is scrolled down, in the application's unit.
    int scroll() const;
    /// Waits for the value, because applications may show text seconds late. Returns the last value seen.
    std::string valueAfter(std::string const& expected) const;
    /// A point of its window, relative to the window's top left.
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
