#include "desktop/x11/OpeningFixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelvo::test {

OpeningFixture::OpeningFixture()
{
    desktop.adoptEnvironment();
    std::filesystem::create_directories(desktop.dataHome() / "applications");
    std::filesystem::create_directories(desktop.home() / "bin");
    std::string const path = (desktop.home() / "bin").string() + ":" + desktop.environment().at("PATH");
    ::setenv("PATH", path.c_str(), 1);
    connection = X11Connection::open();
    clock = std::make_unique<LinuxClock>(live.contexts().agent);
    bus = std::make_unique<BusConnection>(live.contexts().agent, *clock, openSessionBus);
    entries = std::make_unique<DesktopEntries>();
    focus = std::make_unique<X11WindowFocus>(live.contexts());
    windows = std::make_unique<X11ApplicationWindows>(connection, *entries, *focus);
    opener = std::make_unique<ApplicationOpener>(live.contexts(), *clock, *entries, *windows, *bus);
    workspace = std::make_unique<X11Workspace>(connection, *entries, opener.get());
}

OpeningFixture::~OpeningFixture()
{
    live.stop();
    bus.reset();
    clock->dropSleepers();
    ::setenv("PATH", desktop.environment().at("PATH").c_str(), 1);
}

std::filesystem::path OpeningFixture::script(std::string const& name, std::string const& lines)
{
    auto const file = desktop.home() / "bin" / name;
    std::ofstream(file) << "#!/bin/sh\n" << lines;
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
}

std::string OpeningFixture::entry(std::string const& id, std::string const& lines)
{
    auto const file = desktop.dataHome() / "applications" / (id + ".desktop");
    std::ofstream(file) << "[Desktop Entry]\nType=Application\n" << lines;
    return file;
}

std::string OpeningFixture::terminalEntry(std::string const& id)
{
    auto const starts = desktop.home() / (id + ".starts");
    auto const program =
        script("run-" + id, "echo start >> '" + starts.string() + "'\nexec xterm -class " + id + "\n");
    return entry(id, "Name=The " + id + "\nExec=" + program.string() + "\n");
}

std::size_t OpeningFixture::startsOf(std::string const& id) const
{
    std::string const starts = contentOf(desktop.home() / (id + ".starts"));
    return static_cast<std::size_t>(std::ranges::count(starts, '\n'));
}

std::string OpeningFixture::failureOf(std::string const& location)
{
    try {
        open(location);
    } catch (std::runtime_error const& failure) {
        return failure.what();
    }
    return {};
}

std::string OpeningFixture::front()
{
    auto const found = workspace->frontmostApplication();
    return found ? found->names.identifier().value_or("") : "";
}

RunningApplication OpeningFixture::running(std::string const& identifier)
{
    for (RunningApplication const& application : workspace->runningApplications())
        if (application.names.identifier() == identifier)
            return application;
    return {};
}

std::string OpeningFixture::contentOf(std::filesystem::path const& file) const
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace zelvo::test
