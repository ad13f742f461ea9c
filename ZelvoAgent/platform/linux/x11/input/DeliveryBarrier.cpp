#include "platform/linux/x11/input/DeliveryBarrier.h"

#include "base/Hop.h"
#include "platform/linux/system/PageProcesses.h"
#include "platform/linux/system/ProcessStat.h"
#include "platform/linux/x11/WindowProcess.h"

#include <sys/socket.h>
#include <xcb/xcb.h>

#include <algorithm>

namespace zelvo {

namespace {

constexpr Duration timeWithoutAnswer = 300ms;
constexpr Duration maxUnrest = 10s;
constexpr Duration maxPages = 3s;
/// What a toolkit shows under the pointer has its place only with the next picture, within two 60ths of a
/// second.
constexpr Duration maxLayout = 35ms;
/// A page learns where the pointer is with its next picture, within two 60ths of a second.
constexpr int glancesAtPages = 4;
constexpr Duration maxWork = 1s; // Of processor time: some programs never rest.
constexpr Duration betweenGlances = 10ms;
constexpr int glancesAtRest = 3;   // It also rests while it waits for an answer of the X server.
constexpr Duration maxAnswer = 5s; // A busy application has many keys to handle first.
constexpr Duration betweenLooks = 2ms;
constexpr std::size_t maxSilentWindows = 256;
constexpr int maxNesting = 32;

/// Of all of them together; those that have ended count as at rest.
ProcessActivity activityOf(std::vector<std::int32_t> const& processes)
{
    ProcessActivity all{.isAtRest = true};
    for (std::int32_t const process : processes)
        if (auto const one = activityOfProcess(process)) {
            all.isAtRest = all.isAtRest && one->isAtRest;
            all.used += one->used;
        }
    return all;
}

} // namespace

DeliveryBarrier::DeliveryBarrier(Contexts contexts, Clock& clock, InputConnection& connection)
    : contexts(std::move(contexts)), clock(clock), connection(connection),
      protocolsAtom(connection.atom("WM_PROTOCOLS")), pingAtom(connection.atom("_NET_WM_PING"))
{
}

Task<bool> DeliveryBarrier::waitForAll()
{
    bool const isHandled = co_await waitForWindow();
    if (co_await on(contexts.workers, [this] { return hasPointerMoved(); }))
        co_await clock.sleepThroughCancel(maxLayout);
    co_return co_await waitForPages() && isHandled;
}

bool DeliveryBarrier::hasPointerMoved()
{
    XReply<xcb_query_pointer_reply_t> const pointer(xcb_query_pointer_reply(
        connection.raw(), xcb_query_pointer(connection.raw(), connection.root()), nullptr));
    if (!pointer)
        return false;
    std::pair<int, int> const now(pointer->root_x, pointer->root_y);
    return std::exchange(lastPointer, now) != now;
}

Task<bool> DeliveryBarrier::waitForWindow()
{
    auto const sent = co_await on(contexts.workers, [this] { return ping(); });
    if (!sent) {
        co_await clock.sleepThroughCancel(timeWithoutAnswer);
        co_await waitForRest(); // On a busy machine it may not have had a processor yet.
        co_return !isSilent;
    }
    bool const answered = co_await waitFor(*sent);
    if (answered)
        co_return true;
    if (silentWindows.size() >= maxSilentWindows)
        silentWindows.clear();
    silentWindows.insert(sent->window);
    co_return false;
}

/// A browser answers before its pages have handled the input, so they have to be seen at rest.
Task<bool> DeliveryBarrier::waitForPages()
{
    auto const processes = co_await on(contexts.workers, [this] { return processesOfPages(); });
    Instant const deadline = clock.now() + maxPages;
    for (int rested = 0; !processes.empty() && rested < glancesAtPages;) {
        if (clock.now() >= deadline)
            co_return false;
        co_await clock.sleepThroughCancel(betweenGlances);
        auto const now = co_await on(contexts.workers, [&processes] { return activityOf(processes); });
        rested = now.isAtRest ? rested + 1 : 0;
    }
    co_return true;
}

Task<bool> DeliveryBarrier::waitFor(InputConnection::Pong expected)
{
    Instant const deadline = clock.now() + maxAnswer;
    bool answered = false;
    while (!answered && clock.now() < deadline) {
        co_await clock.sleepThroughCancel(betweenLooks);
        answered = co_await on(contexts.workers, [this, expected] { return hasAnswered(expected); });
    }
    listenOnRoot(false);
    connection.flush();
    co_return answered;
}

Task<> DeliveryBarrier::waitForRest()
{
    auto const processes = co_await on(contexts.workers, [this] { return processesAtWork(); });
    auto const glance = [&processes] { return activityOf(processes); };
    Instant const deadline = clock.now() + maxUnrest;
    ProcessActivity const first = co_await on(contexts.workers, glance);
    ProcessActivity now = first;
    for (int rested = 0;
         rested < glancesAtRest && now.used - first.used < maxWork && clock.now() < deadline;) {
        co_await clock.sleepThroughCancel(betweenGlances);
        now = co_await on(contexts.workers, glance);
        rested = now.isAtRest ? rested + 1 : 0;
    }
}

bool DeliveryBarrier::hasAnswered(InputConnection::Pong expected)
{
    return connection.takePong(expected) || !connection.isAlive();
}

std::optional<InputConnection::Pong> DeliveryBarrier::ping()
{
    auto const window = windowThatAnswers();
    if (!window)
        return std::nullopt;
    listenOnRoot(true); // Clients answer to the root window.
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

std::optional<std::uint32_t> DeliveryBarrier::windowWithFocus() const
{
    auto const cookie = xcb_get_input_focus(connection.raw());
    XReply<xcb_get_input_focus_reply_t> const focus(
        xcb_get_input_focus_reply(connection.raw(), cookie, nullptr));
    if (!focus || focus->focus <= XCB_INPUT_FOCUS_POINTER_ROOT)
        return std::nullopt;
    return focus->focus;
}

std::vector<std::int32_t> DeliveryBarrier::processesAtWork() const
{
    std::vector<std::int32_t> processes;
    // Where a client asks the server about each key, it waits for the server most of the time.
    ucred server{};
    socklen_t size = sizeof server;
    if (::getsockopt(xcb_get_file_descriptor(connection.raw()), SOL_SOCKET, SO_PEERCRED, &server, &size) == 0)
        processes.push_back(server.pid);
    if (auto const process = processWithFocus())
        processes.push_back(*process);
    return processes;
}

std::vector<std::int32_t> DeliveryBarrier::processesOfPages() const
{
    auto const process = processWithFocus();
    auto pages = process ? pageProcessesOf(*process) : std::vector<std::int32_t>();
    if (!pages.empty())
        pages.push_back(*process);
    return pages;
}

std::optional<std::int32_t> DeliveryBarrier::processWithFocus() const
{
    auto const window = windowWithFocus();
    return window ? windowProcess(connection.raw(), *window) : std::nullopt;
}

std::optional<std::uint32_t> DeliveryBarrier::windowThatAnswers()
{
    std::optional<std::uint32_t> window = windowWithFocus();
    isSilent = false;
    for (int depth = 0; window && *window != connection.root() && depth < maxNesting; ++depth) {
        if (answersPings(*window)) {
            isSilent = silentWindows.contains(*window);
            return isSilent ? std::nullopt : window;
        }
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
