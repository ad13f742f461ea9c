// Workload: a text of 1 MiB on the clipboard of a private desktop. "get" is our reading from a bare owner:
// one property, no checks, a separate thread; the baseline is a bare requestor that asks the same owner for
// one target and reads the property at once. "set" takes the clipboard until the server confirms it; the
// baseline is the bare owner's. "set and paste" adds a bare requestor that reads the text, in pieces if it
// arrives in pieces.

#include "RatioTable.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/harness/XQuestions.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/clipboard/X11Pasteboard.h"

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace zelvo {
namespace {

using test::atomOf;
using test::XConnection;
using test::XReply;

std::string sample()
{
    std::string text;
    while (text.size() < std::size_t{1} << 20)
        text += "A line of text, wie man sie überall findet, 漢字 too.\n";
    text.resize(std::size_t{1} << 20, '.');
    return text;
}

struct Bare {
    explicit Bare(std::string const& display)
        : x(test::connectTo(display)), window(xcb_generate_id(x.get())),
          clipboard(atomOf(x.get(), "CLIPBOARD")), utf8(atomOf(x.get(), "UTF8_STRING")),
          incr(atomOf(x.get(), "INCR")), property(atomOf(x.get(), "BARE"))
    {
        std::uint32_t const events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(x.get(), XCB_COPY_FROM_PARENT, window, test::screenOf(x.get())->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        test::syncWith(x.get());
    }

    XConnection x;
    xcb_window_t window;
    xcb_atom_t clipboard;
    xcb_atom_t utf8;
    xcb_atom_t incr;
    xcb_atom_t property;
};

/// Answers every request with the whole text, on a separate thread.
class BareOwner {
public:
    BareOwner(std::string const& display, std::string given) : bare(display), text(std::move(given))
    {
        thread = std::thread([this] { serve(); });
    }
    ~BareOwner()
    {
        xcb_client_message_event_t stop{};
        stop.response_type = XCB_CLIENT_MESSAGE;
        stop.format = 32;
        xcb_send_event(bare.x.get(), 0, bare.window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<char*>(&stop));
        xcb_flush(bare.x.get());
        thread.join();
    }
    BareOwner(BareOwner const&) = delete;
    BareOwner& operator=(BareOwner const&) = delete;

    void take()
    {
        xcb_set_selection_owner(bare.x.get(), bare.window, bare.clipboard, XCB_CURRENT_TIME);
        XReply<xcb_get_selection_owner_reply_t> const owner(xcb_get_selection_owner_reply(
            bare.x.get(), xcb_get_selection_owner(bare.x.get(), bare.clipboard), nullptr));
        if (owner->owner != bare.window)
            throw std::runtime_error("the clipboard was not given");
    }

private:
    void serve()
    {
        while (XReply<xcb_generic_event_t> const event{xcb_wait_for_event(bare.x.get())}) {
            auto const type = event->response_type & 0x7f;
            if (type == XCB_CLIENT_MESSAGE)
                return;
            if (type == XCB_SELECTION_REQUEST)
                give(reinterpret_cast<xcb_selection_request_event_t const&>(*event));
        }
    }

    void give(xcb_selection_request_event_t const& request)
    {
        xcb_change_property(bare.x.get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            bare.utf8, 8, static_cast<std::uint32_t>(text.size()), text.data());
        xcb_selection_notify_event_t answer{};
        answer.response_type = XCB_SELECTION_NOTIFY;
        answer.requestor = request.requestor;
        answer.selection = request.selection;
        answer.target = request.target;
        answer.property = request.property;
        char whole[32] = {};
        std::memcpy(whole, &answer, sizeof answer);
        xcb_send_event(bare.x.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, whole);
        xcb_flush(bare.x.get());
    }

    Bare bare;
    std::string text;
    std::thread thread;
};

class BareRequestor {
public:
    explicit BareRequestor(std::string const& display) : bare(display) {}

    std::string read()
    {
        xcb_convert_selection(bare.x.get(), bare.window, bare.clipboard, bare.utf8, bare.property,
                              XCB_CURRENT_TIME);
        waitFor(XCB_SELECTION_NOTIFY);
        auto property = look();
        if (property->type != bare.incr)
            return textOf(*property);
        std::string text;
        for (;;) {
            waitFor(XCB_PROPERTY_NOTIFY);
            property = look();
            if (property->type != XCB_NONE && xcb_get_property_value_length(property.get()) == 0)
                return text;
            text += textOf(*property);
        }
    }

private:
    static std::string textOf(xcb_get_property_reply_t const& property)
    {
        return {static_cast<char const*>(xcb_get_property_value(&property)),
                static_cast<std::size_t>(xcb_get_property_value_length(&property))};
    }

    void waitFor(int wanted)
    {
        xcb_flush(bare.x.get());
        for (;;) {
            XReply<xcb_generic_event_t> const event(xcb_wait_for_event(bare.x.get()));
            if (!event)
                throw std::runtime_error("the server has gone");
            if ((event->response_type & 0x7f) == wanted &&
                (wanted != XCB_PROPERTY_NOTIFY ||
                 reinterpret_cast<xcb_property_notify_event_t const&>(*event).state ==
                     XCB_PROPERTY_NEW_VALUE))
                return;
        }
    }

    XReply<xcb_get_property_reply_t> look()
    {
        return XReply<xcb_get_property_reply_t>(xcb_get_property_reply(
            bare.x.get(),
            xcb_get_property(bare.x.get(), 1, bare.window, bare.property, XCB_ATOM_ANY, 0, 1u << 26),
            nullptr));
    }

    Bare bare;
};

struct Stage {
    Stage() : owner(desktop.display(), text), requestor(desktop.display()) {}
    ~Stage() { live.stop(); }

    test::PrivateDesktop desktop{{.width = 800, .height = 600, .windowManager = false, .sessionBus = false}};
    std::string text = sample();
    test::LiveContexts live;
    LinuxClock clock{live.contexts().agent};
    X11Pasteboard pasteboard{live.contexts(), clock, desktop.display()};
    BareOwner owner;
    BareRequestor requestor;
};

std::unique_ptr<Stage> stage;

void check(benchmark::State& state, bool holds)
{
    if (!holds)
        state.SkipWithError("another text came out");
}

void bareGet(benchmark::State& state)
{
    stage->owner.take();
    for (auto _ : state)
        check(state, stage->requestor.read().size() == stage->text.size());
}

void ourGet(benchmark::State& state)
{
    stage->owner.take();
    for (auto _ : state)
        check(state, stage->live.run(stage->pasteboard.text()).size() == stage->text.size());
}

void bareSet(benchmark::State& state)
{
    for (auto _ : state)
        stage->owner.take();
}

void ourSet(benchmark::State& state)
{
    for (auto _ : state)
        check(state, stage->live.run(stage->pasteboard.setText(stage->text)));
}

void bareSetAndPaste(benchmark::State& state)
{
    for (auto _ : state) {
        stage->owner.take();
        check(state, stage->requestor.read().size() == stage->text.size());
    }
}

void ourSetAndPaste(benchmark::State& state)
{
    for (auto _ : state) {
        check(state, stage->live.run(stage->pasteboard.setText(stage->text)));
        check(state, stage->requestor.read().size() == stage->text.size());
    }
}

BENCHMARK(bareGet)->UseRealTime();
BENCHMARK(ourGet)->UseRealTime();
BENCHMARK(bareSet)->UseRealTime();
BENCHMARK(ourSet)->UseRealTime();
BENCHMARK(bareSetAndPaste)->UseRealTime();
BENCHMARK(ourSetAndPaste)->UseRealTime();

Ratio row(std::string what, std::string against, std::string ours, std::string bare)
{
    return {.what = std::move(what),
            .against = std::move(against),
            .measured = [ours = std::move(ours)](Times const& times) { return times.at(ours); },
            .baseline = [bare = std::move(bare)](Times const& times) { return times.at(bare); }};
}

} // namespace
} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    stage = std::make_unique<Stage>();
    int const result =
        runWithRatios(count, arguments,
                      {row("get, 1 MiB", "bare requestor", "ourGet", "bareGet"),
                       row("set, 1 MiB", "bare owner", "ourSet", "bareSet"),
                       row("set and paste, 1 MiB", "bare owner", "ourSetAndPaste", "bareSetAndPaste")});
    stage.reset();
    return result;
}
