#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/x11/input/InputConnection.h"

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace zelvo {

/// Waits until the application in front has handled the keys that were sent to it. The keymap must not change
/// before: clients read queued keys with the map of the moment. Asks by _NET_WM_PING, which is answered in
/// the order of events; where nobody answers, time has to do, and the look of a process that waits for more.
/// Thread: one caller at a time; the round trips run on the workers.
class DeliveryBarrier {
public:
    DeliveryBarrier(Contexts contexts, Clock& clock, InputConnection& connection);

    /// A cancelled wait ends early only where it waits for time alone.
    Task<> wait() { co_await waitForWindow(); }
    /// Waits also for the processes that draw its pages. False if they or the window are busy for longer.
    Task<bool> waitForAll();

private:
    /// Whether it has moved since the last time.
    bool hasPointerMoved();
    /// False if the window has promised to answer, and does not.
    Task<bool> waitForWindow();
    Task<bool> waitForPages();
    /// Sends a ping to the window with the focus; nothing when it does not take part.
    std::optional<InputConnection::Pong> ping();
    std::optional<std::uint32_t> windowThatAnswers();
    bool answersPings(std::uint32_t window) const;
    std::optional<std::uint32_t> parentOf(std::uint32_t window) const;
    bool hasAnswered(InputConnection::Pong expected);
    Task<bool> waitFor(InputConnection::Pong expected);
    /// Waits until the process of the window with the focus, and the X server, have been seen at rest.
    Task<> waitForRest();
    std::vector<std::int32_t> processesAtWork() const;
    std::optional<std::int32_t> processWithFocus() const;
    /// The process with the focus and those that draw its pages; empty without pages.
    std::vector<std::int32_t> processesOfPages() const;
    std::optional<std::uint32_t> windowWithFocus() const;
    void listenOnRoot(bool listen) const;

    Contexts contexts;
    Clock& clock;
    InputConnection& connection;
    std::uint32_t protocolsAtom;
    std::uint32_t pingAtom;
    std::uint32_t lastSerial = 0;
    std::pair<int, int> lastPointer;
    std::set<std::uint32_t> silentWindows; ///< promise to answer, and do not
    bool isSilent = false;                 ///< the window with the focus is one of them
};

} // namespace zelvo
