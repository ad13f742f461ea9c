#include "desktop/harness/PainterProcess.h"

#include "desktop/harness/PaintedWindowJson.h"

#include <boost/json/serialize.hpp>

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace zelvo::test {

PainterProcess::PainterProcess(PrivateDesktop& desktop, std::filesystem::path const& executable)
    : desktop(desktop)
{
    std::filesystem::path program = ZELVO_PAINTER_PROGRAM;
    if (!executable.empty()) {
        std::filesystem::create_directories(executable.parent_path());
        std::filesystem::copy_file(program, executable, std::filesystem::copy_options::overwrite_existing);
        program = executable;
    }
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    channel = ends[0];
    process = desktop.start({program, std::to_string(ends[1])}, {}, {ends[1]});
    ::close(ends[1]);
}

PainterProcess::~PainterProcess()
{
    desktop.processes().end(process, SIGTERM);
    ::close(channel);
}

std::uint32_t PainterProcess::ask(boost::json::object question)
{
    std::string const text = boost::json::serialize(question);
    char answer[512];
    auto got = ::send(channel, text.data(), text.size(), MSG_NOSIGNAL);
    if (got > 0)
        got = ::recv(channel, answer, sizeof answer, 0);
    if (got <= 0)
        throw std::runtime_error("the painter is gone: " + desktop.processes().output(process));
    return static_cast<std::uint32_t>(std::stoul(std::string(answer, static_cast<std::size_t>(got))));
}

void PainterProcess::ask(
    char const* what, std::uint32_t window, std::uint32_t first, std::uint32_t second, std::uint32_t third)
{
    ask({{"do", what}, {"window", window}, {"first", first}, {"second", second}, {"third", third}});
}

std::uint32_t PainterProcess::open(PaintedWindow window)
{
    return ask({{"do", "open"}, {"window", toJson(window)}});
}

void PainterProcess::move(std::uint32_t window, int x, int y)
{
    ask("move", window, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
}

void PainterProcess::resize(std::uint32_t window, int width, int height)
{
    ask("resize", window, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
}

void PainterProcess::raise(std::uint32_t window)
{
    ask("raise", window);
}

void PainterProcess::lower(std::uint32_t window)
{
    ask("lower", window);
}

void PainterProcess::map(std::uint32_t window)
{
    ask("map", window);
}

void PainterProcess::unmap(std::uint32_t window)
{
    ask("unmap", window);
}

void PainterProcess::minimise(std::uint32_t window)
{
    ask("minimise", window);
}

void PainterProcess::close(std::uint32_t window)
{
    ask("close", window);
}

void PainterProcess::paint(std::uint32_t window, std::uint32_t color)
{
    ask("paint", window, color);
}

void PainterProcess::embed(std::uint32_t window, std::uint32_t into, int x, int y)
{
    ask("embed", window, into, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
}

} // namespace zelvo::test
