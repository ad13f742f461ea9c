#include "desktop/applications/Applications.h"
#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/GatewayProgram.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

// The page behind a link in a real browser. Its title says what became of the link.

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

/// The platform's own site: keeps the head of each request in a file.
constexpr char const* platformSite = R"(
import http.server, pathlib, sys
class Site(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        with open(sys.argv[1], "a") as kept:
            kept.write(self.path + "\n" + str(self.headers))
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        self.wfile.write(b"<title>Back at the platform</title>")
server = http.server.HTTPServer(("127.0.0.1", 0), Site)
pathlib.Path(sys.argv[2]).write_text(str(server.server_port))
server.serve_forever()
)";

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class LinkPageInABrowser : public testing::Test {
protected:
    LinkPageInABrowser()
    {
        fs::path const port = desktop.home() / "site.port";
        desktop.start({"python3", "-c", platformSite, kept.string(), port.string()});
        require("the platform's site", [&] { return !contentOf(port).empty(); });
        site = "http://127.0.0.1:" + contentOf(port) + "/done?user=7";
    }

    json::value newLink() const
    {
        return gateway
            .ask("POST", "/v1/link-sessions",
                 {{"endUserId", "ada"}, {"scopes", json::array{"screen"}}, {"redirectUrl", site}})
            .body;
    }
    /// As the person's agent would.
    void complete(json::value const& link) const
    {
        std::string const code(link.at("code").as_string());
        auto const resolved = gateway.ask("POST", "/machines/link/resolve", {{"token", code}});
        auto const completed = gateway.ask("POST", "/machines/link/complete",
                                           {{"token", code},
                                            {"machineToken", resolved.body.at("machineToken")},
                                            {"grantedScopes", json::array{"screen"}}});
        ASSERT_EQ(completed.status, 200);
    }
    void open(std::string const& url) { desktop.start(chromium(desktop, {"--new-window", url})); }
    void open(json::value const& link) { open(std::string(link.at("url").as_string())); }
    bool becomesOpen(std::string const& title)
    {
        return waitFor([&] { return desktop.findWindow({.title = title}).has_value(); }, 60s);
    }

    PrivateDesktop desktop{{.width = 1280, .height = 1024}};
    GatewayProgram gateway{desktop};
    fs::path const kept = desktop.home() / "kept";
    std::string site;
};

TEST_F(LinkPageInABrowser, leadsOnToThePlatformOnceTheLinkIsCompleted)
{
    json::value const link = newLink();
    open(link);
    ASSERT_TRUE(becomesOpen("would like to use this computer"));
    desktop.run({"xdotool", "key", "F5"}); // The code has left the address, but not the page.
    ASSERT_TRUE(becomesOpen("would like to use this computer"));

    complete(link);

    EXPECT_TRUE(becomesOpen("Back at the platform"));
    std::string const heads = contentOf(kept);
    EXPECT_NE(heads.find("/done?user=7"), std::string::npos) << heads;
    // The site's own page may be a Referer, of its icon; the gateway's may not.
    EXPECT_EQ(heads.find(":" + std::to_string(gateway.port())), std::string::npos) << heads;
    EXPECT_EQ(heads.substr(0, heads.find("\n/")).find("Referer"), std::string::npos) << heads;
    EXPECT_EQ(heads.find(link.at("code").as_string().c_str()), std::string::npos) << heads;
}

TEST_F(LinkPageInABrowser, sendsNobodyOnForALinkThatWasUsedBefore)
{
    json::value const link = newLink();
    complete(link);

    open(link);

    EXPECT_TRUE(becomesOpen("This link was used already"));
    EXPECT_FALSE(waitFor([&] { return fs::exists(kept); }, 4s));
}

TEST_F(LinkPageInABrowser, saysThatALinkIsNotValid)
{
    open("http://127.0.0.1:" + std::to_string(gateway.port()) + "/link#nonsense");

    EXPECT_TRUE(becomesOpen("This is not a valid link"));
}

} // namespace
} // namespace zelvo::test
