#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "desktop/wayland/harness/PrivateGnome.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/shell/ShellExtensionInstall.h"
#include "platform/linux/wayland/shell/ShellFrames.h"
#include "platform/linux/wayland/shell/ShellWindows.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <thread>

namespace zelvo::test {

/// A private GNOME with our extension, and the classes that use it. All contexts are one thread.
class GnomeFixture : public testing::Test {
protected:
    /// program  the one that the extension answers
    void startGnome(GnomeOptions options = {}, std::filesystem::path const& program = ownProgram());
    void SetUp() override;
    void TearDown() override;

    static std::filesystem::path ownProgram();
    /// Starts a program with windows of one colour, and waits for the first of them.
    pid_t startClient(std::string const& name, std::string const& colour, std::vector<std::string> more = {});
    /// The windows whose application id it is.
    std::vector<CompositorWindow> windowsOf(std::string const& name);
    CompositorWindow windowOf(std::string const& name);
    /// Waits until the shell's answer fits.
    bool waitForLook(std::function<bool(WindowsNow const&)> const& fits);

    /// Runs a task and returns its result.
    template <class T>
    T run(std::function<Task<T>()> body);

    MonitorLayout layout = {.monitors = {{.id = 1,
                                          .name = "Meta-0",
                                          .area = {.width = 1920, .height = 1080},
                                          .widthPixels = 1920,
                                          .heightPixels = 1080}}};
    std::unique_ptr<PrivateGnome> gnome;
    asio::io_context loop;
    Contexts contexts{
        .main = loop.get_executor(), .agent = loop.get_executor(), .workers = loop.get_executor()};
    std::unique_ptr<Clock> clock;
    std::unique_ptr<BusConnection> bus;
    std::unique_ptr<ShellLink> link;
    std::unique_ptr<ShellLink> frameLink;
    std::unique_ptr<ShellPresence> presence; // Started by the tests that need it.
    std::unique_ptr<ShellWindows> windows;
    std::unique_ptr<ShellFrames> frames;

private:
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work;
    std::thread thread;
};

template <class T>
T GnomeFixture::run(std::function<Task<T>()> body)
{
    std::optional<T> result;
    std::exception_ptr failure;
    std::atomic<bool> isDone = false;
    spawn(contexts.agent, [&]() -> Task<> {
        try {
            result.emplace(co_await body());
        } catch (...) {
            failure = std::current_exception();
        }
        isDone = true;
    });
    require("the task", [&] { return isDone.load(); }, 30s);
    if (failure)
        std::rethrow_exception(failure);
    return std::move(*result);
}

/// How many pixels have exactly that colour, 0xRRGGBB.
std::size_t pixelsOf(Picture const& picture, std::uint32_t colour);

} // namespace zelvo::test
