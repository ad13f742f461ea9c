#pragma once

#include "base/Contexts.h"
#include "desktop/harness/PrivateDesktop.h"
#include "platform/linux/input/X11EventPosting.h"
#include "platform/linux/system/LinuxClock.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <optional>
#include <stdexcept>

namespace zelvo::test {

/// A private desktop with event posting on it, on real threads and the real clock.
class InputDesk {
public:
    explicit InputDesk(DesktopOptions options = {.width = 1280, .height = 800, .sessionBus = true});
    ~InputDesk();

    /// Runs a task to its end, at most half a minute.
    template <class T>
    T await(Task<T> task);
    /// Types as the input driver does: told whole, then in pieces.
    void typeText(std::string text);
    /// Makes an event once it keeps apart from earlier ones, as the gate does.
    bool post(PostedEvent event)
    {
        await(posting->ready(event));
        return await(posting->post(std::move(event)));
    }
    void chord(std::uint16_t keyCode, ModifierFlags flags);
    void click(DesktopPoint point, int count = 1);
    /// Lets what was posted arrive, and ends the posting as a normal end of the program does.
    void restartPosting();

    /// The whole keymap as the core protocol shows it, and the groups and types of every key.
    std::string keymap();
    /// Switches the layout ("us,ru") and the active group, 0 being the first.
    void useLayout(std::string const& layout, int group);
    void lockModifiers(std::uint8_t mask, bool on);

    PrivateDesktop desktop;
    asio::io_context io;
    asio::thread_pool workers{1};
    Contexts contexts{io.get_executor(), io.get_executor(), workers.get_executor()};
    LinuxClock clock{io.get_executor()};
    std::optional<X11EventPosting> posting;

private:
    Task<> typeLikeTheDriver(std::string text);
};

template <class T>
T InputDesk::await(Task<T> task)
{
    std::exception_ptr failure;
    bool done = false;
    auto finish = [&] {
        io.restart();
        auto const deadline = std::chrono::steady_clock::now() + 30s;
        while (!done)
            if (io.run_one_until(deadline) == 0)
                throw std::runtime_error("a task takes too long");
        if (failure)
            std::rethrow_exception(failure);
    };
    if constexpr (std::is_void_v<T>) {
        asio::co_spawn(io, std::move(task), [&](std::exception_ptr error) {
            failure = error;
            done = true;
        });
        finish();
    } else {
        std::optional<T> result;
        asio::co_spawn(io, std::move(task), [&](std::exception_ptr error, T value) {
            failure = error;
            result.emplace(std::move(value));
            done = true;
        });
        finish();
        return std::move(*result);
    }
}

} // namespace zelvo::test
