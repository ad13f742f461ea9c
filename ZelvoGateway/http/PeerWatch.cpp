#include "ZelvoGateway/http/PeerWatch.h"

#include "ZelvoGateway/base/Settings.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <utility>

namespace zelvo::service {

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t readPiece = 4_KiB;

} // namespace

struct PeerWatch::State {
    PeerStream& stream;
    boost::beast::flat_buffer& buffer;
    std::shared_ptr<void> owner;
    std::function<void()> gone;
    AsyncCondition changed;
    bool isEnding = false;
    bool hasEnded = false;
};

PeerWatch::PeerWatch(PeerStream& stream,
                     boost::beast::flat_buffer& buffer,
                     std::shared_ptr<void> owner,
                     std::function<void()> gone)
    : state(new State{.stream = stream,
                      .buffer = buffer,
                      .owner = std::move(owner),
                      .gone = std::move(gone),
                      .changed = {}})
{
    stream.expires_never(); // Writing sets its own times.
    spawn(stream.get_executor(), [kept = state] { return watch(kept); });
}

PeerWatch::~PeerWatch()
{
    if (!std::exchange(state->isEnding, true) && !state->hasEnded)
        state->stream.cancel();
}

Task<> PeerWatch::watch(std::shared_ptr<State> state)
{
    boost::beast::flat_buffer& buffer = state->buffer;
    bool hasGone = false;
    while (!hasGone && !state->isEnding && buffer.size() + readPiece <= buffer.max_size()) {
        auto const [error, count] =
            co_await state->stream.async_read_some(buffer.prepare(readPiece), asTuple);
        buffer.commit(count);
        hasGone = static_cast<bool>(error);
    }
    if (hasGone && !state->isEnding)
        state->gone();
    state->changed.notifyAll([&] { state->hasEnded = true; });
}

Task<> PeerWatch::end()
{
    auto const kept = state;
    if (!std::exchange(kept->isEnding, true) && !kept->hasEnded)
        kept->stream.cancel();
    auto const hasEnded = [&kept] { return kept->hasEnded; };
    co_await kept->changed.wait(hasEnded);
}

} // namespace zelvo::service
