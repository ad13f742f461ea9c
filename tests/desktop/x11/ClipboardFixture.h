#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/ClipboardPeer.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/x11/clipboard/X11Pasteboard.h"

#include <boost/asio/co_spawn.hpp>
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>

namespace zelvo::test {

/// The pasteboard on a real X server with the manual clock, and other clients, all on one thread.
class ClipboardFixture : public testing::Test {
protected:
    ClipboardPeer& peer() { return peers.emplace_back(desktop.display()); }

    /// Runs all pending work until the condition holds.
    bool until(std::function<bool()> condition)
    {
        auto const holds = [&] {
            pump();
            return condition();
        };
        return waitFor(holds, 40s); // Long texts take their time on a busy machine.
    }
    void pump()
    {
        bool busy = true;
        while (busy) {
            io.restart();
            busy = io.poll() > 0;
            for (ClipboardPeer& each : peers)
                busy = each.pump() || busy;
        }
    }

    /// A task that runs beside the test, and its result when it is done.
    template <class T>
    std::shared_ptr<std::optional<T>> begin(Task<T> task)
    {
        auto result = std::make_shared<std::optional<T>>();
        asio::co_spawn(io, std::move(task),
                       [result](std::exception_ptr, T value) { *result = std::move(value); });
        return result;
    }
    /// Runs a task; `nullopt` if it does not end.
    template <class T>
    std::optional<T> await(Task<T> task)
    {
        auto const result = begin(std::move(task));
        until([&] { return result->has_value(); });
        return *result;
    }
    /// The answer to a client that requests a target.
    std::optional<ClipboardPeer::Value> given(ClipboardPeer& to, std::string const& form)
    {
        std::size_t const before = to.answers.size();
        to.ask(form);
        until([&] {
            return to.received || (to.answers.size() > before && to.answers.back().property == XCB_NONE);
        });
        return to.received;
    }
    bool set(std::string text) { return await(pasteboard.setText(std::move(text))).value_or(false); }
    std::string get() { return await(pasteboard.text()).value_or("(no end)"); }

    PrivateDesktop desktop{{.width = 800, .height = 600, .windowManager = false, .sessionBus = false}};
    asio::io_context io;
    ManualClock clock{&io};
    X11Pasteboard pasteboard{contextsOn(io), clock, desktop.display()};
    std::deque<ClipboardPeer> peers;
};

/// Non-repeating text with characters of every length, so that lost and doubled pieces show.
inline std::string longText(std::size_t size)
{
    std::string text;
    text.reserve(size + 16);
    for (std::size_t line = 0; text.size() < size; ++line)
        text += std::to_string(line) + " é漢😀\n";
    text.resize(size, '.');
    while (!text.empty() && (text.back() & 0x80)) // No character is cut.
        text.pop_back();
    text.resize(size, '.');
    return text;
}

} // namespace zelvo::test
