// The program behind PainterProcess: reads one request per packet from the socket whose number is its
// argument, performs it and replies with a number.

#include "desktop/harness/PaintedWindowJson.h"

#include <boost/json/parse.hpp>
#include <boost/json/value_to.hpp>

#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace zelvo::test {
namespace {

std::uint32_t carryOut(Painter& painter, boost::json::object const& question)
{
    auto const what = boost::json::value_to<std::string>(question.at("do"));
    if (what == "open")
        return painter.open(windowFrom(question.at("window").as_object()));
    auto const number = [&](char const* name) {
        return boost::json::value_to<std::uint32_t>(question.at(name));
    };
    std::uint32_t const window = number("window");
    auto const first = number("first");
    auto const second = static_cast<int>(number("second"));
    if (what == "move")
        painter.move(window, static_cast<int>(first), second);
    else if (what == "resize")
        painter.resize(window, static_cast<int>(first), second);
    else if (what == "raise")
        painter.raise(window);
    else if (what == "lower")
        painter.lower(window);
    else if (what == "map")
        painter.map(window);
    else if (what == "unmap")
        painter.unmap(window);
    else if (what == "minimise")
        painter.minimise(window);
    else if (what == "close")
        painter.close(window);
    else if (what == "paint")
        painter.paint(window, first);
    else if (what == "embed")
        painter.embed(window, first, second, static_cast<int>(number("third")));
    return 0;
}

void serve(int channel)
{
    Painter painter(std::getenv("DISPLAY"));
    std::string packet(65536, '\0');
    for (;;) {
        auto const got = ::recv(channel, packet.data(), packet.size(), 0);
        if (got <= 0)
            return;
        auto const question = boost::json::parse({packet.data(), static_cast<std::size_t>(got)});
        std::string const answer = std::to_string(carryOut(painter, question.as_object()));
        ::send(channel, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
}

} // namespace
} // namespace zelvo::test

int main(int count, char** arguments)
{
    if (count != 2)
        return 2;
    try {
        zelvo::test::serve(std::stoi(arguments[1]));
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    return 0;
}
