#pragma once

#include "end_to_end/CommandsFixture.h"
#include "end_to_end/Pixels.h"

#include <string>
#include <vector>

namespace zelvo::test {

/// What every command must report about an application's window.
struct KnownWindow {
    std::string title;                      ///< a part of it, which no other window has
    std::string identifier;                 ///< as answered
    std::vector<std::string> names;         ///< others that it may be asked for by, as they are written
    std::vector<std::string> hides = {};    ///< titles of other windows that are hidden with it
    std::vector<std::string> siblings = {}; ///< identifiers of other applications in its process
};

/// Checks that every command reports the same application.
class Identity : public Commands {
protected:
    static constexpr std::uint32_t background = 0x336699;

    void SetUp() override
    {
        painter.paintRoot(background);
        connection = startUnattended();
        painter.open({.x = 1150, .y = 950, .title = "bystander", .className = "Bystander"});
        painter.movePointer(1200, 1000); // It is in pictures, and stays within that window.
    }

    /// All checks of one window.
    void expectKnown(KnownWindow const& window);
    /// Checks that with this name on the hidden list the window is in no picture, list or tree, and takes no
    /// click.
    void expectHiddenBy(KnownWindow const& window, std::string const& name);

    void open(std::vector<std::string> command, std::string const& title, Environment extra = {})
    {
        desktop.start(std::move(command), std::move(extra));
        desktop.waitForWindow({.title = title}, 90s);
        bringToFront(title);
    }
    void bringToFront(std::string const& title);
    /// The listed windows whose title contains this text.
    std::vector<json::object> listed(std::string const& title);
    std::string identifierOf(std::string const& title);
    /// The rows of apps.list with this identifier.
    std::vector<json::object> rows(std::string const& identifier);
    bool isInFront(std::string const& title);
    void hide(std::vector<std::string> const& names);
    /// Sets the window that another process's window is transient for.
    void makeTransient(std::uint32_t window, std::uint32_t target);

private:
    void expectLists(KnownWindow const& window);
    void expectTree(KnownWindow const& window);
    void expectAskedForBy(KnownWindow const& window, std::string const& name);
    std::string actionWith(std::string const& expected);
    std::string clickAt(json::object const& frame);
    /// The number of pixels well inside the frame that differ from the background.
    int pixelsOver(json::object const& frame);

protected:
    Painter painter{desktop.display()};
};

} // namespace zelvo::test
