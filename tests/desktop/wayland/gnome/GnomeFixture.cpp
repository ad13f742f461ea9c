#include "desktop/wayland/gnome/GnomeFixture.h"

#include "platform/linux/system/LinuxClock.h"

#include <algorithm>

namespace zelvo::test {

void GnomeFixture::SetUp()
{
    if (auto const missing = PrivateGnome::missing())
        GTEST_SKIP() << *missing;
}

std::filesystem::path GnomeFixture::ownProgram()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

void GnomeFixture::startGnome(GnomeOptions options, std::filesystem::path const& program)
{
    options.extensions.emplace_back(ShellExtensionInstall::uuid);
    options.prepare = [this, program](PrivateSession& session) {
        session.adoptEnvironment();
        link = std::make_unique<ShellLink>();
        std::string const version = session.run({"gnome-shell", "--version"});
        int const major = std::atoi(version.c_str() + version.find_first_of("0123456789"));
        ASSERT_TRUE(ShellExtensionInstall(session.dataHome(), *link).write(major, program));
    };
    gnome = std::make_unique<PrivateGnome>(std::move(options));
    gnome->adoptEnvironment();
    work.emplace(loop.get_executor());
    clock = std::make_unique<LinuxClock>(contexts.agent);
    bus = std::make_unique<BusConnection>(contexts.agent, *clock, openSessionBus);
    frameLink = std::make_unique<ShellLink>();
    presence = std::make_unique<ShellPresence>(contexts.agent, *bus);
    windows = std::make_unique<ShellWindows>(*link, *presence);
    frames =
        std::make_unique<ShellFrames>(contexts, *frameLink, *presence, [this] { return layout; }, nullptr);
    thread = std::thread([this] { loop.run(); });
}

void GnomeFixture::TearDown()
{
    loop.stop();
    if (thread.joinable())
        thread.join();
    bus.reset();
}

pid_t GnomeFixture::startClient(std::string const& name,
                                std::string const& colour,
                                std::vector<std::string> more)
{
    std::vector<std::string> command = {"/usr/bin/python3", ZELVO_TEST_CLIENT, name, colour};
    command.insert(command.end(), more.begin(), more.end());
    pid_t const pid = gnome->start(command);
    require("a window of " + name, [&] { return !windowsOf(name).empty(); });
    return pid;
}

std::vector<CompositorWindow> GnomeFixture::windowsOf(std::string const& name)
{
    std::vector<CompositorWindow> found;
    if (auto const now = windows->look())
        std::ranges::copy_if(now->windows, std::back_inserter(found),
                             [&](CompositorWindow const& one) { return one.words.kdeDesktopFile == name; });
    return found;
}

CompositorWindow GnomeFixture::windowOf(std::string const& name)
{
    auto const found = windowsOf(name);
    if (found.size() != 1)
        throw std::runtime_error("not one window of " + name);
    return found[0];
}

bool GnomeFixture::waitForLook(std::function<bool(WindowsNow const&)> const& fits)
{
    return waitFor([&] {
        auto const now = windows->look();
        return now && fits(*now);
    });
}

std::size_t pixelsOf(Picture const& picture, std::uint32_t colour)
{
    std::size_t count = 0;
    for (int y = 0; y < picture.height; ++y) {
        std::uint8_t const* pixel = picture.pixels.data() + static_cast<std::ptrdiff_t>(y) * picture.stride;
        for (int x = 0; x < picture.width; ++x, pixel += 4)
            count += (static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[1]) << 8 |
                      pixel[0]) == colour;
    }
    return count;
}

} // namespace zelvo::test
