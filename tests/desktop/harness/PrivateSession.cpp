#include "desktop/harness/PrivateSession.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace zelvo::test {

ReadyPipe::ReadyPipe()
{
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
}

ReadyPipe::~ReadyPipe()
{
    ::close(ends[0]);
    ::close(ends[1]);
}

std::string ReadyPipe::line(std::string const& program)
{
    std::string text;
    pollfd waiting{.fd = ends[0], .events = POLLIN, .revents = 0};
    while (text.find('\n') == std::string::npos) {
        char part[256];
        if (::poll(&waiting, 1, 10'000) != 1)
            throw std::runtime_error(program + " did not get ready");
        auto const got = ::read(ends[0], part, sizeof part);
        if (got <= 0)
            throw std::runtime_error(program + " did not get ready");
        text.append(part, static_cast<std::size_t>(got));
    }
    return text.substr(0, text.find('\n'));
}

PrivateSession::PrivateSession(Environment const& extra)
{
    makeFolders();
    for (auto const& [name, value] : extra)
        settings[name] = value;
    children =
        std::make_unique<ChildProcesses>("XDG_RUNTIME_DIR=" + runtimeFolder().string(), root / "outputs");
}

PrivateSession::~PrivateSession()
{
    children.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

void PrivateSession::makeFolders()
{
    // Short, because socket paths have at most 107 bytes.
    std::string pattern = "/tmp/zelvo-desktop-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a folder in /tmp");
    root = pattern;
    homeFolder = root / "home";
    for (auto const& folder :
         {configHome(), dataHome(), homeFolder / ".cache", runtimeFolder(), root / "outputs"})
        std::filesystem::create_directories(folder);
    std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);

    // Only these variables are inherited, so that a test behaves the same everywhere.
    for (char const* name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        if (char const* value = std::getenv(name))
            settings[name] = value;
    settings["HOME"] = homeFolder;
    settings["LANG"] = "C.UTF-8";
    settings["XDG_RUNTIME_DIR"] = runtimeFolder();
    settings["XDG_CONFIG_HOME"] = configHome();
    settings["XDG_DATA_HOME"] = dataHome();
    settings["XDG_CACHE_HOME"] = homeFolder / ".cache";
}

void PrivateSession::startBus()
{
    ReadyPipe ready;
    std::string const address = "unix:path=" + (runtimeFolder() / "bus").string();
    start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address,
           "--print-address=" + std::to_string(ready.writingEnd())},
          {}, {ready.writingEnd()});
    settings["DBUS_SESSION_BUS_ADDRESS"] = ready.line("dbus-daemon");
}

void PrivateSession::enableAccessibility()
{
    call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties.Set",
         {"org.a11y.Status", "IsEnabled", "<true>"});
}

bool PrivateSession::isAccessibilityEnabled()
{
    return call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties.Get",
                {"org.a11y.Status", "IsEnabled"}) == "(<true>,)\n";
}

std::string PrivateSession::call(std::string const& service,
                                 std::string const& path,
                                 std::string const& method,
                                 std::vector<std::string> const& arguments)
{
    std::vector<std::string> command = {"gdbus",         "call", "--session", "--dest", service,
                                        "--object-path", path,   "--method",  method};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command);
}

bool PrivateSession::hasOwner(std::string const& name)
{
    return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                {"'" + name + "'"}) == "(true,)\n";
}

void PrivateSession::adoptEnvironment() const
{
    for (char const* name :
         {"DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "AT_SPI_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"})
        ::unsetenv(name);
    for (auto const& [name, value] : settings)
        ::setenv(name.c_str(), value.c_str(), 1);
}

pid_t PrivateSession::start(std::vector<std::string> command, Environment extra, std::vector<int> inherited)
{
    extra.insert(settings.begin(), settings.end());
    return children->start(command, extra, inherited);
}

std::string PrivateSession::run(std::vector<std::string> command, int seconds)
{
    pid_t const pid = start(command);
    int const code = children->waitForEnd(pid, seconds);
    std::string output = children->output(pid);
    if (code != 0)
        throw std::runtime_error(command.front() + " ended with " + std::to_string(code) + ": " + output);
    return output;
}

} // namespace zelvo::test
