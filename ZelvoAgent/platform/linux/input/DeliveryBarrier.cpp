#include "platform/linux/input/DeliveryBarrier.h"

#include "base/Hop.h"

#include <xcb/xcb.h>

#include <algorithm>

namespace zelvo {

namespace {

constexpr Duration timeWithoutAnswer = 300ms; // 150 ms is enough on a quiet machine, not on a busy one.
constexpr Duration longestAnswer = 5s;        // A busy application has many keys to handle first.
constexpr Duration betweenLooks = 2ms;
constexpr std::size_t mostSilentWindows = 256;
constexpr int deepestNesting = 32;

} // namespace

DeliveryBarrier::DeliveryBarrier(Contexts contexts, Clock& clock, InputConnection& connection)
    : contexts(std::move(contexts)), clock(clock), connection(connection),
      protocolsAtom(connection.atom("WM_PROTOCOLS")), pingAtom(connection.atom("_NET_WM_PING"))
{
}

Task<> DeliveryBarrier::wait()
{
    auto const sent = co_await on(contexts.workers, [this] { return ping(); });
    if (!sent) {
        co_await clock.sleepThroughCancel(timeWithoutAnswer);
        co_return;
    }
    bool const answered = co_await waitFor(*sent);
    if (answered)
        co_return;
    if (silentWindows.size() >= mostSilentWindows)
        silentWindows.clear();
    silentWindows.insert(sent->window);
}

Task<bool> DeliveryBarrier::waitFor(InputConnection::Pong expected)
{
    Instant const deadline = clock.now() + longestAnswer;
    bool answered = false;
    while (!answered && clock.now() < deadline) {
        co_await clock.sleepThroughCancel(betweenLooks);
        answered = co_await on(contexts.workers, [this, expected] { return hasAnswered(expected); });
    }
    listenOnRoot(false);
    connection.flush();
    co_return answered;
}

bool DeliveryBarrier::hasAnswered(InputConnection::Pong expected)
{
    connection.pump();
    bool const found = std::ranges::find(connection.pongs, expected) != connection.pongs.end();
    connection.pongs.clear();
    return found || !connection.isAlive();
}

std::optional<InputConnection::Pong> DeliveryBarrier::ping()
{
    auto const window = windowThatAnswers();
    if (!window)
        return std::nullopt;
    listenOnRoot(true); // Clients answer to the root window.
    connection.pump();
    connection.pongs.clear();
    InputConnection::Pong const sent{++lastSerial, *window};
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = *window;
    message.type = protocolsAtom;
    message.data.data32[0] = pingAtom;
    message.data.data32[1] = sent.serial;
    message.data.data32[2] = *window;
    xcb_send_event(connection.raw(), 0, *window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<char const*>(&message));
    connection.flush();
    return sent;
}

std::optional<std::uint32_t> DeliveryBarrier::windowThatAnswers() const
{
    auto const cookie = xcb_get_input_focus(connection.raw());
    XReply<xcb_get_input_focus_reply_t> const focus(
        xcb_get_input_focus_reply(connection.raw(), cookie, nullptr));
    if (!focus || focus->focus <= XCB_INPUT_FOCUS_POINTER_ROOT)
        return std::nullopt;
    std::optional<std::uint32_t> window = focus->focus;
    for (int depth = 0; window && *window != connection.root() && depth < deepestNesting; ++depth) {
        if (answersPings(*window))
            return silentWindows.contains(*window) ? std::nullopt : window;
        window = parentOf(*window);
    }
    return std::nullopt;
}

bool DeliveryBarrier::answersPings(std::uint32_t window) const
{
    auto const protocols = connection.property(window, protocolsAtom);
    return std::ranges::find(protocols, pingAtom) != protocols.end();
}

std::optional<std::uint32_t> DeliveryBarrier::parentOf(std::uint32_t window) const
{
    auto const cookie = xcb_query_tree(connection.raw(), window);
    XReply<xcb_query_tree_reply_t> const tree(xcb_query_tree_reply(connection.raw(), cookie, nullptr));
    if (!tree || tree->parent == XCB_WINDOW_NONE)
        return std::nullopt;
    return tree->parent;
}

void DeliveryBarrier::listenOnRoot(bool listen) const
{
    // Qt answers to those who watch the root window itself, all others to those who watch its children.
    constexpr std::uint32_t answers = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    std::uint32_t const mask = listen ? answers : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection.raw(), connection.root(), XCB_CW_EVENT_MASK, &mask);
}

} // namespace zelvo
