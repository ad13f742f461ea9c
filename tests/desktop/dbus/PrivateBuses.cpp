#include "desktop/dbus/PrivateBuses.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace zelvo::test {

namespace {

namespace fs = std::filesystem;

constexpr char const* python = "/usr/bin/python3"; // The one with the distribution's modules.

void writeConfiguration(fs::path const& file, std::string const& address, fs::path const& services)
{
    std::ofstream(file) << "<busconfig><type>session</type><listen>" << address
                        << "</listen><auth>EXTERNAL</auth>"
                        << "<servicedir>" << services.string() << "</servicedir>"
                        << R"(<policy context="default"><allow send_destination="*" eavesdrop="true"/>)"
                        << R"(<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";
}

char const* nameOf(BusKind kind)
{
    return kind == BusKind::session ? "session" : "system";
}

} // namespace

PrivateBuses::PrivateBuses()
{
    std::string pattern = "/tmp/zelvo-bus-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a folder in /tmp");
    root = pattern;
    for (char const* const name : {"home", "run", "outputs", "services"})
        fs::create_directories(root / name);
    fs::permissions(root / "run", fs::perms::owner_all);
    for (char const* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "AT_SPI_BUS_ADDRESS", "DISPLAY"})
        ::unsetenv(name);
    ::setenv("HOME", (root / "home").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", (root / "run").c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", addressOf(BusKind::session).c_str(), 1);
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", addressOf(BusKind::system).c_str(), 1);
    children =
        std::make_unique<ChildProcesses>("XDG_RUNTIME_DIR=" + (root / "run").string(), root / "outputs");
}

PrivateBuses::~PrivateBuses()
{
    children.reset();
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

std::string PrivateBuses::addressOf(BusKind kind) const
{
    return "unix:path=" + (root / "run" / nameOf(kind)).string();
}

void PrivateBuses::start(BusKind kind)
{
    fs::path const configuration = root / (std::string(nameOf(kind)) + ".conf");
    writeConfiguration(configuration, addressOf(kind), root / "services");
    fs::path const socket = root / "run" / nameOf(kind);
    fs::remove(socket);
    buses[static_cast<int>(kind)] =
        run({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration.string()});
    require("the bus", [&] { return fs::exists(socket) && hasOwner(kind, "org.freedesktop.DBus"); });
}

void PrivateBuses::stop(BusKind kind)
{
    end(std::exchange(buses[static_cast<int>(kind)], 0));
}

pid_t PrivateBuses::run(std::vector<std::string> const& command, Environment const& extra)
{
    Environment environment = extra;
    for (char const* const name :
         {"PATH", "HOME", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
        if (char const* const value = ::getenv(name))
            environment.emplace(name, value);
    return children->start(command, environment);
}

void PrivateBuses::end(pid_t pid)
{
    if (pid > 0)
        children->end(pid, SIGKILL);
}

pid_t PrivateBuses::mock(BusKind kind,
                         std::string const& name,
                         std::string const& path,
                         std::string const& interface)
{
    pid_t const pid =
        run({python, "-m", "dbusmock", std::string("--") + nameOf(kind), name, path, interface});
    return waitForOwner(kind, name, pid);
}

pid_t PrivateBuses::mockTemplate(BusKind kind, std::string const& name, std::string const& templateName)
{
    pid_t const pid =
        run({python, "-m", "dbusmock", std::string("--") + nameOf(kind), "--template", templateName});
    return waitForOwner(kind, name, pid);
}

pid_t PrivateBuses::waitForOwner(BusKind kind, std::string const& name, pid_t pid)
{
    require("the owner of " + name, [&] { return hasOwner(kind, name); });
    return pid;
}

std::string PrivateBuses::call(BusKind kind,
                               std::string const& name,
                               std::string const& path,
                               std::string const& interface,
                               std::string const& member,
                               std::vector<std::string> const& arguments)
{
    std::vector<std::string> command = {
        "busctl", "--address=" + addressOf(kind), "call", "--", name, path, interface, member};
    command.insert(command.end(), arguments.begin(), arguments.end());
    pid_t const pid = run(command);
    int const code = children->waitForEnd(pid, 10);
    if (code != 0)
        throw std::runtime_error(member + " of " + name + " failed: " + output(pid));
    return output(pid);
}

std::string PrivateBuses::control(BusKind kind,
                                  std::string const& name,
                                  std::string const& path,
                                  std::string const& member,
                                  std::vector<std::string> const& arguments)
{
    return call(kind, name, path, "org.freedesktop.DBus.Mock", member, arguments);
}

bool PrivateBuses::hasOwner(BusKind kind, std::string const& name)
{
    try {
        return call(kind, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "NameHasOwner", {"s", name}) == "b true\n";
    } catch (std::runtime_error const&) {
        return false;
    }
}

RunningContexts::RunningContexts() : thread([this] { agent.run(); }) {}

RunningContexts::~RunningContexts()
{
    workers.join();
    agent.stop();
    thread.join();
}

bool RunningContexts::eventually(std::function<bool()> condition)
{
    return waitFor([&] {
        main.restart();
        main.poll();
        return condition();
    });
}

bool RunningContexts::staysSo(std::function<bool()> condition)
{
    bool const changed = waitFor(
        [&] {
            main.restart();
            main.poll();
            return !condition();
        },
        300ms);
    return !changed;
}

} // namespace zelvo::test
