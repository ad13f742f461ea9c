#include "ZelvoGateway/mcp/stdio/InputLines.h"

#include "ZelvoGateway/base/Settings.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace zelvo::service {

InputLines::InputLines(Parts wanted)
    : parts(std::move(wanted)), splitter(parts.maxLine), stop(::eventfd(0, EFD_CLOEXEC)),
      thread([this] { run(); })
{
}

InputLines::~InputLines()
{
    std::uint64_t const once = 1;
    static_cast<void>(::write(stop.get(), &once, sizeof once));
    thread.join();
}

void InputLines::run()
{
    for (;;) {
        switch (waitForEvent()) {
        case Event::input:
            if (!readSome())
                return;
            break;
        case Event::unread:
            parts.unread();
            return;
        case Event::stop:
            return;
        }
    }
}

/// False if the reading is to end.
bool InputLines::readSome()
{
    std::array<char, 64_KiB> room{};
    ssize_t const count = ::read(parts.input, room.data(), room.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (count <= 0) {
        hasEnded = true;
        auto rest = splitter.rest();
        return (!rest || parts.take(std::move(rest))) && parts.take(std::nullopt);
    }
    for (LineSplitter::Line& line : splitter.add({room.data(), static_cast<std::size_t>(count)}))
        if (!parts.take(std::move(line)))
            return false;
    return true;
}

InputLines::Event InputLines::waitForEvent() const
{
    int const input = hasEnded ? -1 : parts.input; // poll() leaves out a negative one.
    std::array<pollfd, 3> watched{{{.fd = stop.get(), .events = POLLIN, .revents = 0},
                                   {.fd = parts.output, .events = 0, .revents = 0},
                                   {.fd = input, .events = POLLIN, .revents = 0}}};
    while (::poll(watched.data(), watched.size(), -1) < 0)
        if (errno != EINTR)
            return Event::stop;
    if (watched[0].revents != 0)
        return Event::stop;
    return watched[1].revents != 0 ? Event::unread : Event::input;
}

} // namespace zelvo::service
