#include "end_to_end/IdentityFixture.h"

#include <xcb/xcb.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string_view>

namespace zelvo::test {
namespace {

/// LibreOffice's first start by a user, with its start-up windows.
class Office : public Identity {
protected:
    void start(std::string const& part, std::string const& title)
    {
        auto const setting = "-env:UserInstallation=file://" + profile().string();
        open({"soffice", setting, "--" + part, "--norestore"}, title, {{"SAL_USE_VCLPLUGIN", "gtk3"}});
    }
    std::filesystem::path profile() { return desktop.home() / "office"; }
    /// Makes the next start show the tip of the day, as any start on a new day does. The first start of a
    /// version may show what is new instead.
    void wantTip()
    {
        std::string const version =
            desktop.run({"soffice", "--version"}); // "LibreOffice 7.4.7.2 40(Build:2)"
        std::smatch found;
        require("its version", [&] { return std::regex_search(version, found, std::regex(R"(\d+\.\d+)")); });
        std::filesystem::create_directories(profile() / "user");
        std::ofstream(profile() / "user/registrymodifications.xcu")
            << R"(<oor:items xmlns:oor="http://openoffice.org/2001/registry">)"
            << property("Office.Common/Misc", "ShowTipOfTheDay", "true")
            << property("Office.Common/Misc", "LastTipOfTheDayShown", "1")
            << property("Setup/Product", "ooSetupLastVersion", found.str()) << "</oor:items>";
    }
    static std::string property(std::string const& path, std::string const& name, std::string const& value)
    {
        return R"(<item oor:path="/org.openoffice.)" + path + R"("><prop oor:name=")" + name +
               R"(" oor:op="fuse"><value>)" + value + "</value></prop></item>";
    }
    /// So that windows do not lie over each other. Resumes when the window is there.
    void place(std::string const& title, int x, int y)
    {
        std::uint32_t const id = desktop.waitForWindow({.title = title});
        std::string const window = std::to_string(id);
        require(title + " at its place", [&] {
            unmaximize(id); // Until it is, the window manager ignores the rest.
            desktop.run({"xdotool", "windowsize", window, "700", "420"});
            desktop.run({"xdotool", "windowmove", window, std::to_string(x), std::to_string(y)});
            return waitFor([&] { return isAt(title, x, y); }, 1s);
        });
    }
    /// With its frame, for which there is some room around the wanted place.
    bool isAt(std::string const& title, int x, int y)
    {
        constexpr double room = 30;
        auto const found = listed(title);
        if (found.empty())
            return false;
        json::value const& frame = found.front().at("frame");
        auto const isNear = [&](char const* key, int wanted) {
            return std::abs(frame.at(key).to_number<double>() - wanted) <= room;
        };
        return isNear("x", x) && isNear("y", y) && isNear("w", 700) && isNear("h", 420);
    }
    /// Asks the window manager like a pager does.
    void unmaximize(std::uint32_t window)
    {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("_NET_WM_STATE");
        message.data.data32[0] = 0; // Remove.
        message.data.data32[1] = atom("_NET_WM_STATE_MAXIMIZED_VERT");
        message.data.data32[2] = atom("_NET_WM_STATE_MAXIMIZED_HORZ");
        message.data.data32[3] = 2; // From a pager.
        auto const root = xcb_setup_roots_iterator(xcb_get_setup(painter.x())).data->root;
        xcb_send_event(painter.x(), 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<char const*>(&message));
        xcb_flush(painter.x());
    }
    std::uint32_t atom(std::string_view name)
    {
        auto const cookie =
            xcb_intern_atom(painter.x(), 0, static_cast<std::uint16_t>(name.size()), name.data());
        auto* const reply = xcb_intern_atom_reply(painter.x(), cookie, nullptr);
        std::uint32_t const found = reply ? reply->atom : 0;
        std::free(reply);
        return found;
    }
    static constexpr char const* writer = "libreoffice-writer";
    static constexpr char const* calc = "libreoffice-calc";
};

TEST_F(Office, isOneApplicationWithItsDialogs)
{
    wantTip();
    start("writer", "LibreOffice Writer");
    desktop.waitForWindow({.title = "Tip of the Day"}, 60s);

    EXPECT_EQ(identifierOf("Tip of the Day"), writer);
    bringToFront("Tip of the Day");
    EXPECT_EQ(inFront(), writer);
    EXPECT_EQ(rows(writer).size(), 1u);
    expectKnown({.title = "LibreOffice Writer",
                 .identifier = writer,
                 .names = {"org.libreoffice", "libreoffice", "soffice.bin"},
                 .hides = {"Tip of the Day"}});
}

TEST_F(Office, isSeveralApplicationsInOneProcess)
{
    start("writer", "LibreOffice Writer");
    start("calc", "LibreOffice Calc");
    place("LibreOffice Writer", 0, 0);
    place("LibreOffice Calc", 0, 480);

    expectKnown({.title = "LibreOffice Writer", .identifier = writer, .names = {}, .siblings = {calc}});
    expectKnown({.title = "LibreOffice Calc", .identifier = calc, .names = {}, .siblings = {writer}});
    EXPECT_EQ(rows(writer).at(0).at("pid"), rows(calc).at(0).at("pid"));
    hide({calc});
    EXPECT_FALSE(listed("LibreOffice Writer").empty());
    hide({"org.libreoffice"}); // The name of both.
    EXPECT_TRUE(listed("LibreOffice Writer").empty());
    EXPECT_TRUE(listed("LibreOffice Calc").empty());
}

TEST_F(Office, isOpenedByItsEntry)
{
    entry(
        calc,
        "Name=LibreOffice Calc\nStartupWMClass=libreoffice-calc\nExec=env SAL_USE_VCLPLUGIN=gtk3 libreoffice "
        "-env:UserInstallation=file://" +
            profile().string() + " --norestore --calc %U\n");
    start("writer", "LibreOffice Writer"); // The first start takes long.

    // Its first start may take longer than opening waits.
    require("Calc", [&] { return failureOf("apps.open", {{"bundleId", calc}}) == "ok"; }, 60s);
    EXPECT_EQ(inFront(), calc);
    EXPECT_EQ(failureOf("apps.open", {{"bundleId", writer}}), "ok");
    EXPECT_EQ(inFront(), writer);
}

} // namespace
} // namespace zelvo::test
