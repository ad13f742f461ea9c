#include "desktop/atspi/AtspiFixture.h"

#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/windows/ProcessWindows.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <fstream>

namespace zelvo::test {

namespace json = boost::json;

std::vector<std::string> ScriptedProcess::calls() const
{
    std::vector<std::string> lines;
    std::ifstream file(record);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::size_t ScriptedProcess::count(std::string const& beginning) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(calls(), [&](std::string const& call) { return call.starts_with(beginning); }));
}

std::size_t ScriptedProcess::countOf(std::string const& member) const
{
    return static_cast<std::size_t>(std::ranges::count_if(calls(), [&](std::string const& call) {
        return call.find(" " + member + " ") != std::string::npos;
    }));
}

AtspiScreen screenOf(std::shared_ptr<X11Connection> display)
{
    if (!display)
        return {};
    return {
        .windowsOf =
            [display](std::int32_t pid) { return processWindows(*display, surveyWindows(*display), pid); },
        .displays = [display] { return readDisplayLayouts(*display); }};
}

AtspiFixture::AtspiFixture(DesktopOptions options, Screen screen) : desktop(std::move(options))
{
    desktop.adoptEnvironment();
    clock = std::make_unique<LinuxClock>(live.contexts().agent);
    session = std::make_unique<BusConnection>(live.contexts().agent, *clock, openSessionBus);
    accessibility = std::make_unique<AtspiAccessibility>(
        live.contexts(), *clock, *session, std::nullopt,
        screen == Screen::known ? screenOf(X11Connection::open()) : AtspiScreen(), [this] { ++unreadable; });
}

AtspiFixture::~AtspiFixture()
{
    live.stop();
}

ScriptedProcess AtspiFixture::serve(json::object script)
{
    std::string const number = std::to_string(scripts++);
    std::filesystem::path const file = desktop.home() / ("script" + number);
    ScriptedProcess process{.record = desktop.home() / ("record" + number)};
    std::ofstream(file) << json::serialize(script);
    process.pid = desktop.start({ZELVO_SCRIPTED_PROGRAM, file, process.record});
    require("the scripted application",
            [&] { return desktop.processes().output(process.pid).find("ready") != std::string::npos; });
    return process;
}

ScriptedProcess AtspiFixture::serveWindow(json::array children, json::object manners)
{
    json::object const window = {{"role", 23},
                                 {"name", "window"},
                                 {"states", {1, 8, 24, 25, 30}},
                                 {"extents", {0, 0, 500, 400}},
                                 {"children", std::move(children)}};
    manners["tree"] = {{"role", 75}, {"name", "scripted"}, {"children", json::array{window}}};
    return serve(std::move(manners));
}

} // namespace zelvo::test
