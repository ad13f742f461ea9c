#include "drivers/PostingGate.h"

#include "base/Hop.h"

#include <algorithm>
#include <exception>

namespace zelvo {

namespace {

bool isButton(PostedEvent const& event)
{
    if (auto const* const mouse = std::get_if<MouseEvent>(&event))
        return mouse->kind != MouseEvent::Kind::moved;
    return std::holds_alternative<ScrollEvent>(event);
}

bool isKey(PostedEvent const& event)
{
    return std::holds_alternative<KeyEvent>(event) || std::holds_alternative<TextEvent>(event);
}

} // namespace

/// Registers an event from its check until it is posted, so that close() can wait for it.
class PostingGate::InFlight {
public:
    explicit InFlight(PostingGate& gate) : gate(gate)
    {
        number = gate.idle.with([&] { return *gate.inFlight.insert(++gate.lastEvent).first; });
    }
    InFlight(InFlight const&) = delete;
    InFlight& operator=(InFlight const&) = delete;
    ~InFlight()
    {
        gate.idle.notifyAll([this] { gate.inFlight.erase(number); });
    }

private:
    std::uint64_t number = 0;
    PostingGate& gate;
};

PostingGate::PostingGate(EventPosting& inner,
                         Executor workers,
                         std::function<bool()> paused,
                         std::function<std::vector<DesktopRect>()> ownWindows)
    : inner(inner), workers(std::move(workers)), paused(std::move(paused)), ownWindows(std::move(ownWindows))
{
    inner.setMayContinue([this]() -> Task<bool> { co_return co_await mayPass(TextEvent{}); });
}

Task<> PostingGate::close()
{
    idle.with([this] { ++closings; });
    co_await untilIdle();
    co_await letGo();
    co_await inner.drained();
}

Task<> PostingGate::untilIdle()
{
    // Later events are not waited for: they meet the closed gate, and there may be no end of them.
    auto const areGone = [this, last = idle.with([this] { return lastEvent; })] {
        return inFlight.empty() || *inFlight.begin() > last;
    };
    while (!idle.with(areGone))
        co_await idle.wait(areGone);
}

void PostingGate::open()
{
    idle.with([this] { closings = std::max(closings - 1, 0); });
}

bool PostingGate::isClosed() const
{
    return idle.with([this] { return closings > 0; });
}

Task<bool> PostingGate::post(PostedEvent event)
{
    InFlight const counted(*this);
    co_await inner.ready(event); // Before the check, because a panel may open or close during this wait.
    std::exception_ptr failure;  // Nothing can be awaited where it is caught.
    try {
        if (co_await mayPass(event) && co_await inner.post(event)) {
            note(event);
            co_return true;
        }
    } catch (...) {
        failure = std::current_exception();
    }
    co_await letGo();
    if (failure)
        std::rethrow_exception(failure);
    co_return false;
}

Task<bool> PostingGate::run(std::function<Task<>()> deed)
{
    InFlight const counted(*this);
    if (paused() || !co_await isForThisFront(KeyEvent()) || isClosed() || paused())
        co_return false;
    co_await deed();
    co_return true;
}

void PostingGate::note(PostedEvent const& event)
{
    auto const* const mouse = std::get_if<MouseEvent>(&event);
    if (!mouse)
        return;
    pointer.change([mouse](Pointer& known) {
        known.at = mouse->point;
        if (mouse->kind == MouseEvent::Kind::down)
            known.held.insert(mouse->button);
        else if (mouse->kind == MouseEvent::Kind::up)
            known.held.erase(mouse->button);
    });
}

Task<> PostingGate::letGo()
{
    Pointer const known = pointer.get();
    if (findRelease && !known.held.empty()) {
        if (auto const point = co_await findRelease(known.at)) {
            PostedEvent const away = MouseEvent{.kind = MouseEvent::Kind::dragged, .point = *point};
            co_await inner.post(away);
        }
    }
    co_await inner.releaseAll();
    pointer.change([](Pointer& now) { now.held.clear(); });
}

Task<bool> PostingGate::mayPass(PostedEvent event)
{
    if (paused() || !co_await isForThisFront(event))
        co_return false;
    if (!isClosed())
        co_return true;
    if (isKey(event) || !inner.knowsOwnWindows())
        co_return false;
    if (!isButton(event))
        co_return true;
    auto const* const mouse = std::get_if<MouseEvent>(&event);
    DesktopPoint const point = mouse ? mouse->point : inner.pointerLocation();
    std::vector<DesktopRect> const frames = co_await on(workers, [this] { return ownWindows(); });
    // With no window yet, the one that the gate was closed for is about to open at an unknown place.
    co_return !frames.empty() &&
        std::ranges::none_of(frames, [&](DesktopRect const& f) { return f.contains(point); });
}

Task<bool> PostingGate::isForThisFront(PostedEvent event)
{
    if (!front)
        co_return true;
    if (isKey(event) && co_await front->isBarred())
        co_return false;
    co_return !(isKey(event) || isButton(event)) || front->barrings() == barringsBefore;
}

Task<> PostingGate::beginAction()
{
    if (!front)
        co_return;
    co_await front->isBarred(); // Counts what came to the front before.
    barringsBefore = front->barrings();
}

Task<> PostingGate::ready(PostedEvent event)
{
    co_await inner.ready(std::move(event));
}

Task<> PostingGate::beginText(std::string text)
{
    InFlight const counted(*this);
    if (!paused() && !isClosed())
        co_await inner.beginText(std::move(text));
}

Task<> PostingGate::endText()
{
    co_await inner.endText();
}

Task<> PostingGate::releaseAll()
{
    co_await untilIdle();
    co_await letGo();
}

Task<> PostingGate::drained()
{
    co_await inner.drained();
}

Task<bool> PostingGate::delivered()
{
    co_return co_await inner.delivered();
}

DesktopPoint PostingGate::pointerLocation()
{
    return inner.pointerLocation();
}

} // namespace zelvo
