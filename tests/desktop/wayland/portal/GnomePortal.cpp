#include "desktop/wayland/portal/GnomePortal.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace zelvo::test {

namespace {

constexpr char const* controlName = "dev.zelvo.test.Backend";

GnomeOptions optionsFor(double scale)
{
    return {.monitors = {{.width = 1280, .height = 800, .scale = scale}, {.width = 1024, .height = 768}}};
}

Environment portalEnvironment(PrivateSession const& desktop, std::vector<std::string> const& interfaces)
{
    auto const folder = desktop.home() / "portals";
    std::filesystem::create_directories(folder);
    std::ofstream portal(folder / "zt.portal");
    portal << "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.zt\nUseIn=zt\nInterfaces=";
    for (std::string const& name : interfaces)
        portal << "org.freedesktop.impl.portal." << name << ';';
    portal << '\n';
    std::ofstream(folder / "zt-portals.conf") << "[preferred]\ndefault=zt\n";
    return {{"XDG_DESKTOP_PORTAL_DIR", folder}, {"XDG_CURRENT_DESKTOP", "zt"}};
}

} // namespace

GnomePortal::GnomePortal(double scale, std::vector<std::string> interfaces)
    : gnome(optionsFor(scale)), scale(scale)
{
    startPortal(interfaces);
}

GnomePortal::GnomePortal(GnomeOptions options) : gnome(std::move(options)), scale(1)
{
    startPortal({"RemoteDesktop", "ScreenCast"});
}

void GnomePortal::startPortal(std::vector<std::string> const& interfaces)
{
    Environment const extra = portalEnvironment(gnome, interfaces);
    // In this order: a front end that starts before its backend does not offer what it has.
    gnome.start({"/usr/bin/python3", ZELVO_GRANTING_PORTAL}, extra);
    require("the backend", [this] { return gnome.hasOwner(controlName); });
    gnome.start({"/usr/libexec/xdg-desktop-portal"}, extra);
    require("the portal", [this] { return gnome.hasOwner(PortalRequests::name); });
}

void GnomePortal::control(std::string const& method, std::string const& argument)
{
    gnome.call(controlName, "/dev/zelvo/test", std::string(controlName) + "." + method, {argument});
}

void GnomePortal::answer(std::string const& how)
{
    control("Answer", how);
}

void GnomePortal::withdraw(int milliseconds)
{
    control("Withdraw", std::to_string(milliseconds));
}

int GnomePortal::dialogs()
{
    std::string const answer =
        gnome.call(controlName, "/dev/zelvo/test", std::string(controlName) + ".Dialogs");
    return std::stoi(answer.substr(answer.find_first_of("0123456789", answer.find(' '))));
}

MonitorLayout GnomePortal::layout() const
{
    double const width = 1280 / scale;
    Monitor const first{.id = monitorId("Meta-0"),
                        .name = "Meta-0",
                        .area = {0, 0, width, 800 / scale},
                        .widthPixels = 1280,
                        .heightPixels = 800,
                        .scale = scale};
    Monitor const second{.id = monitorId("Meta-1"),
                         .name = "Meta-1",
                         .area = {width, 0, 1024, 768},
                         .widthPixels = 1024,
                         .heightPixels = 768};
    return {{first, second}};
}

Listener::Listener(PrivateSession& desktop, int version, int monitor)
    : desktop(desktop), pid(desktop.start({"/usr/bin/python3", ZELVO_PORTAL_TESTS "/gtk_listener.py",
                                           std::to_string(version), std::to_string(monitor)}))
{
    require("the window", [&] { return all().find("shown") != std::string::npos; }, 15s);
    seen = all().size();
}

std::string Listener::news()
{
    std::string const text = all();
    std::stringstream lines(text.substr(seen));
    seen = text.size();
    std::string joined;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("motion"))
            joined += (joined.empty() ? "" : " ") + line;
    return joined;
}

PortalHands::PortalHands(PortalClient& client,
                         MonitorLayout layout,
                         std::function<std::optional<LogicalPoint>()> pointer)
    : client(client)
{
    PortalInput::Doors doors{.session = [&client] { return client.grant->session(); },
                             .layout = [layout = std::move(layout)] { return layout; },
                             .pointer = std::move(pointer)};
    auto const executor = client.io.get_executor();
    input = std::make_unique<PortalInput>(executor, executor, client.clock, *client.bus, std::move(doors));
}

} // namespace zelvo::test
