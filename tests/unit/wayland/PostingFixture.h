#pragma once

#include "fakes/FakeInputSink.h"
#include "fakes/FakeLendableClipboard.h"
#include "fakes/FakeTextInsertion.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/input/WaylandEventPosting.h"
#include "wire/AgentError.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

using Strings = std::vector<std::string>;

/// The text of a keymap; several layouts with commas: "us,ru".
inline std::string keymapText(char const* layout)
{
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_rule_names const names{"evdev", "pc105", layout, "", ""};
    xkb_keymap* const keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    std::string const copy(text);
    std::free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return copy;
}

/// Input through a door that only keeps a log, with a clipboard and a focused element that the test plays.
class WaylandEventPostingTest : public testing::Test {
protected:
    WaylandEventPostingTest()
    {
        layout.monitors.push_back({.id = 1, .name = "DP-1", .area = {100, 50, 800, 600}});
    }

    bool post(PostedEvent event) { return run(io, posting.post(std::move(event))); }
    /// Runs a task that needs time.
    template <class T>
    T take(Task<T> task)
    {
        auto future = asio::co_spawn(io, std::move(task), asio::use_future);
        for (int turn = 0; turn < 400 && future.wait_for(0s) != std::future_status::ready; ++turn) {
            settle(io);
            if (future.wait_for(0s) != std::future_status::ready)
                clock.advance(15ms);
        }
        return future.get();
    }
    /// The window in front reads what is lent to the clipboard when it gets the keys to paste.
    void pasteWorks()
    {
        sink.onEvent = [this](std::string const& event) {
            if (event == "down 47")
                ++*copied.reads;
        };
    }
    /// Types a whole text; gives false as soon as a piece does not arrive. Time passes as it is needed.
    bool type(std::string text)
    {
        auto const body = [this, text]() -> Task<bool> {
            co_await posting.beginText(text);
            PostedEvent const event = TextEvent{.text = text};
            bool const arrived = co_await posting.post(event);
            co_await posting.endText();
            co_return arrived;
        };
        return take(body());
    }

    asio::io_context io;
    ManualClock clock{&io};
    MonitorLayout layout;
    FakeInputSink sink;
    InputSink* door = &sink;
    bool seesWindows = true;
    std::optional<SeatKeymap> keymap = SeatKeymap{.text = keymapText("us"), .group = 0};
    std::optional<LogicalPoint> pointer;
    FakeTextInsertion insertion;
    FakeLendableClipboard copied;
    LentPasteboard clipboard{copied};
    WaylandEventPosting posting{{.contexts = contextsOn(io),
                                 .clock = clock,
                                 .sink = [this] { return door; },
                                 .monitors = [this] { return layout; },
                                 .keymap = [this] { return keymap; },
                                 .pointer = [this] { return pointer; },
                                 .front = [] { return std::optional<std::int32_t>(::getpid()); },
                                 .insertion = insertion,
                                 .clipboard = &clipboard,
                                 .seesWindows = [this] { return seesWindows; }}};
};

} // namespace zelvo
