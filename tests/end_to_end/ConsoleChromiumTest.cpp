#include "desktop/applications/Applications.h"
#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/GatewayProgram.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

// The console in a real browser. Titles tell its pages apart: "Zelvo console", "Zelvo recordings" and "Zelvo
// console: locked".

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

/// A server on another port of the same host: keeps the head of each request in a file.
constexpr char const* eavesdropper = R"(
import http.server, pathlib, sys
class Keeper(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        with open(sys.argv[1], "a") as kept:
            kept.write(self.path + "\n" + str(self.headers))
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        self.wfile.write(b"<title>Another port</title>")
server = http.server.HTTPServer(("127.0.0.1", 0), Keeper)
pathlib.Path(sys.argv[2]).write_text(str(server.server_port))
server.serve_forever()
)";

/// Prints the clipboard's text.
constexpr char const* clipboard = R"(
import gi
gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk
print(Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).wait_for_text() or "")
)";

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class ConsoleInABrowser : public testing::Test {
protected:
    std::string address(std::string const& path) const
    {
        return "http://127.0.0.1:" + std::to_string(gateway.port()) + path;
    }
    void open(std::string const& url) { desktop.start(chromium(desktop, {"--new-window", url})); }
    bool isOpen(std::string const& title) { return desktop.findWindow({.title = title}).has_value(); }
    bool becomesOpen(std::string const& title)
    {
        return waitFor([&] { return isOpen(title); }, 60s);
    }
    /// Long enough for the page to ask the gateway, and to be locked.
    bool staysOpen(std::string const& title)
    {
        return !waitFor([&] { return isOpen("locked"); }, 5s) && isOpen(title);
    }

    PrivateDesktop desktop{{.width = 1280, .height = 1024}};
    GatewayProgram gateway{desktop};
};

TEST_F(ConsoleInABrowser, opensByItsLinkAndStaysOpenUntilThePersonLogsOut)
{
    open(gateway.consoleLink());
    ASSERT_TRUE(becomesOpen("Zelvo console"));
    EXPECT_TRUE(staysOpen("Zelvo console"));

    desktop.run({"xdotool", "key", "F5"});
    EXPECT_TRUE(staysOpen("Zelvo console"));

    open(address("/recordings"));
    EXPECT_TRUE(becomesOpen("Zelvo recordings")); // Another tab asks the first for the session.
    EXPECT_TRUE(staysOpen("Zelvo recordings"));

    for (char const* const key : {"Tab", "Tab", "Tab", "Tab", "Return"}) // The three pages, then "Log out".
        desktop.run({"xdotool", "key", key});
    EXPECT_TRUE(becomesOpen("locked"));
    EXPECT_TRUE(waitFor([&] { return !isOpen("Zelvo recordings"); }));
}

TEST_F(ConsoleInABrowser, copiesTheConfigurationOfAnMcpClient)
{
    open(gateway.consoleLink());
    ASSERT_TRUE(becomesOpen("Zelvo console"));
    ASSERT_TRUE(staysOpen("Zelvo console"));

    // The three pages, "Log out", then the button that opens the dialog.
    for (char const* const key : {"Tab", "Tab", "Tab", "Tab", "Tab", "Return"})
        desktop.run({"xdotool", "key", key});

    EXPECT_TRUE(waitFor(
        [&] {
            desktop.run({"xdotool", "key", "Return"}); // The dialog's first button, once it is open.
            return desktop.run({"/usr/bin/python3", "-c", clipboard}, 30).find("\"mcpServers\"") !=
                   std::string::npos;
        },
        20s));
}

TEST_F(ConsoleInABrowser, isLockedWithoutALink)
{
    open(address("/"));
    EXPECT_TRUE(becomesOpen("Zelvo console: locked"));
}

TEST_F(ConsoleInABrowser, isLockedOnceTheGatewayHasForgottenTheSession)
{
    open(gateway.consoleLink());
    ASSERT_TRUE(becomesOpen("Zelvo console"));
    ASSERT_TRUE(staysOpen("Zelvo console")); // Its scripts have come.

    gateway.restart({});

    EXPECT_TRUE(becomesOpen("Zelvo console: locked"));
}

TEST_F(ConsoleInABrowser, givesAnotherPortOfTheHostNothing)
{
    fs::path const kept = desktop.home() / "kept";
    fs::path const port = desktop.home() / "other.port";
    desktop.start({"python3", "-c", eavesdropper, kept.string(), port.string()});
    require("the other server", [&] { return !contentOf(port).empty(); });
    open(gateway.consoleLink());
    ASSERT_TRUE(becomesOpen("Zelvo console"));
    ASSERT_TRUE(staysOpen("Zelvo console"));

    open("http://127.0.0.1:" + contentOf(port) + "/");
    ASSERT_TRUE(becomesOpen("Another port"));

    std::string const heads = contentOf(kept);
    EXPECT_NE(heads.find("Host: 127.0.0.1"), std::string::npos);
    EXPECT_EQ(heads.find("Cookie"), std::string::npos) << heads;
    EXPECT_EQ(heads.find("zelvo"), std::string::npos) << heads;
}

} // namespace
} // namespace zelvo::test
