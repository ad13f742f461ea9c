#include "platform/linux/atspi/ChromiumWaking.h"

#include <algorithm>
#include <chrono>

namespace zelvo {

namespace {

using std::chrono::steady_clock;

constexpr std::size_t maxCounted = 3'000;
constexpr Duration pause = 15ms;

} // namespace

bool ChromiumWaking::wake(std::vector<AtspiNode::Index> const& windows)
{
    std::size_t const before = count(windows);
    bool const isBuilt = before >= maxCounted;
    auto const end = endOfWait();
    bool answered = false;
    for (AtspiNode::Index const window : windows)
        answered |= askForAttributes(window);
    if (!answered)
        return false;
    while (!isBuilt && steady_clock::now() < end && count(windows) <= before)
        exchange.linkOf(nodes[windows.front()].peer).wait(pause);
    return true;
}

AtspiExchange::SteadyTime ChromiumWaking::endOfWait() const
{
    auto const end = steady_clock::now() + maxWait;
    return std::min(exchange.currentDeadline().value_or(end), end);
}

bool ChromiumWaking::askForAttributes(AtspiNode::Index window)
{
    AtspiNode const& node = nodes[window];
    bool answered = false;
    bool isOver = false;
    exchange.ask(node.peer,
                 exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path,
                                                    "org.a11y.atspi.Accessible", "GetAttributes"),
                 [&](sd_bus_message* reply) {
                     isOver = true;
                     answered = reply != nullptr;
                 });
    exchange.await(node.peer, [&] { return isOver; });
    return answered;
}

std::size_t ChromiumWaking::count(std::vector<AtspiNode::Index> const& windows)
{
    inquiry.startAnew();
    auto const outer = exchange.currentDeadline();
    exchange.setDeadline(endOfWait());
    std::vector<AtspiNode::Index> row = windows;
    std::size_t counted = row.size();
    while (!row.empty() && counted < maxCounted) {
        for (AtspiNode::Index const index : row)
            inquiry.ask(index, AtspiQuestion::children);
        std::vector<AtspiNode::Index> below;
        for (AtspiNode::Index const index : row) {
            inquiry.ensure(index, AtspiQuestion::children);
            auto const& children = nodes[index].children;
            if (children && below.size() < maxCounted)
                below.insert(below.end(), children->begin(), children->end());
        }
        counted += below.size();
        row = std::move(below);
    }
    exchange.setDeadline(outer);
    exchange.trustAgain();
    return counted;
}

} // namespace zelvo
