#include "platform/linux/wayland/clipboard/PipeText.h"

#include "base/DelayedCall.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t pieceSize = 64 << 10;

/// A pipe that is closed when its other end is silent for too long. Thread: agent.
class TimedPipe {
public:
    TimedPipe(Executor const& agent, Clock& clock, int pipe, PipePatience patience)
        : stream(agent, pipe), patience(patience), silence(agent, clock), whole(agent, clock)
    {
        stream.non_blocking(true);
        noteSign();
    }

    void noteSign()
    {
        silence.in(patience.silence, [this] { close(); });
    }
    void limitWhole()
    {
        whole.in(patience.whole, [this] { close(); });
    }

    asio::posix::stream_descriptor stream;
    bool isLate = false;

private:
    void close()
    {
        isLate = true;
        boost::system::error_code ignored;
        stream.close(ignored);
    }

    PipePatience patience;
    DelayedCall silence;
    DelayedCall whole;
};

} // namespace

// The clock outlives all readings.
Task<std::optional<std::string>>
readPipe(Executor agent,
         Clock& clock, // NOLINT(cppcoreguidelines-avoid-reference-coroutine-parameters)
         int pipe,
         std::size_t maxSize,
         PipePatience patience)
{
    TimedPipe timed(agent, clock, pipe, patience);
    timed.limitWhole();
    std::string text;
    std::string piece(pieceSize, '\0');
    for (;;) {
        boost::system::error_code failure;
        std::size_t const got = co_await timed.stream.async_read_some(
            asio::buffer(piece), asio::redirect_error(asio::use_awaitable, failure));
        if (timed.isLate || text.size() + got > maxSize)
            co_return std::nullopt;
        text.append(piece, 0, got);
        if (failure == asio::error::eof)
            co_return text;
        if (failure)
            co_return std::nullopt;
        timed.noteSign();
    }
}

void writePipe(Executor agent,
               Clock& clock,
               int pipe,
               std::shared_ptr<std::string const> text,
               PipePatience patience,
               std::function<void()> done)
{
    auto const timed = std::make_shared<TimedPipe>(agent, clock, pipe, patience);
    spawn(agent, [timed, text = std::move(text), done = std::move(done)]() -> Task<> {
        boost::system::error_code failure;
        for (std::size_t sent = 0; sent < text->size() && !failure && !timed->isLate;) {
            auto const piece = asio::buffer(text->data() + sent, std::min(text->size() - sent, pieceSize));
            sent += co_await timed->stream.async_write_some(
                piece, asio::redirect_error(asio::use_awaitable, failure));
            if (!timed->isLate)
                timed->noteSign();
        }
        boost::system::error_code ignored;
        timed->stream.close(ignored);
        done();
    });
}

} // namespace zelvo
