#include "desktop/atspi/AtspiFixture.h"
#include "drivers/TreeWalk.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace zelvo::test {
namespace {

struct Wish {
    std::int32_t pid = 0;
    long runs = 1;
    bool oneByOne = false;
    bool printsAll = false;
    bool compact = false;
    bool wakes = false;
};

Wish wishOf(std::span<char*> arguments)
{
    auto const has = [&](std::string_view word) {
        return std::ranges::find(arguments, word) != arguments.end();
    };
    Wish wish{
        .oneByOne = has("one"), .printsAll = has("print"), .compact = has("compact"), .wakes = has("wake")};
    wish.pid = static_cast<std::int32_t>(std::strtol(arguments[1], nullptr, 10));
    if (arguments.size() > 2)
        wish.runs = std::max(1l, std::strtol(arguments[2], nullptr, 10));
    return wish;
}

void wake(AtspiAccessibility& accessibility, std::int32_t pid)
{
    auto const reader = accessibility.reader(pid, 250ms);
    bool const isWoken =
        reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
    std::printf("woken %d\n", isWoken);
}

void printCompactLines(AtspiAccessibility& accessibility, Clock& clock, std::int32_t pid)
{
    auto const reader = accessibility.reader(pid, 250ms);
    TreeWalk walk(*reader, clock, {}, clock.now() + 2s, false);
    walk.run(reader->elements(reader->application(), AccessibilityAttribute::windows)
                 .value_or(std::vector<AccessibilityElement>()));
    for (UiElementInfo const& element : walk.collected)
        std::printf("%s\n", element.compactLine().c_str());
}

void print(WalkedElement const& one)
{
    std::printf("%*s%s '%s' '%s' id=%s", one.depth * 2, "", one.role.c_str(), one.title.value_or("").c_str(),
                one.description.value_or("").c_str(), one.identifier.value_or("").c_str());
    if (one.position && one.size)
        std::printf(" (%.0f,%.0f %.0fx%.0f)", one.position->x, one.position->y, one.size->width,
                    one.size->height);
    if (one.value)
        std::printf(" value='%s'", one.value->c_str());
    for (auto const& action : one.actions)
        std::printf(" [%s]", action.c_str());
    std::printf("\n");
}

void walkOnce(AtspiAccessibility& accessibility, Clock& clock, Wish const& wish)
{
    auto const ms = [](auto time) { return std::chrono::duration<double, std::milli>(time).count(); };
    auto const began = std::chrono::steady_clock::now();
    auto const reader = accessibility.atspiReader(wish.pid, 250ms);
    auto const found = std::chrono::steady_clock::now();
    WalkOptions const options{.budget = wish.oneByOne ? Duration(60s) : Duration(2s),
                              .readsAhead = !wish.oneByOne};
    Walk const seen = walkWindows(*reader, clock, options);
    auto const placed =
        std::ranges::count_if(seen.elements, [](WalkedElement const& one) { return one.size.has_value(); });
    std::printf("%zu elements, %td placed, %s, %.1f ms to find, %.1f ms to walk, %llu messages\n",
                seen.elements.size(), placed, seen.isTruncated ? "truncated" : "whole", ms(found - began),
                ms(seen.took), static_cast<unsigned long long>(reader->messagesSent()));
    if (wish.printsAll)
        std::ranges::for_each(seen.elements, print);
}

} // namespace
} // namespace zelvo::test

/// Reads the windows of a process and prints what it found: walk_program PID [runs] [one] [print] [compact]
/// [wake] `one`: one call at a time; `print`: each element; `compact`: the lines that an agent gets; `wake`:
/// treats it as a Chromium.
int main(int count, char** arguments)
{
    using namespace zelvo;
    using namespace zelvo::test;
    if (count < 2)
        return 1;
    Wish const wish = wishOf({arguments, static_cast<std::size_t>(count)});
    LiveContexts live;
    LinuxClock clock(live.contexts().agent);
    BusConnection session(live.contexts().agent, clock, openSessionBus);
    AtspiAccessibility accessibility(live.contexts(), clock, session, std::nullopt,
                                     screenOf(X11Connection::open()));
    if (wish.wakes)
        wake(accessibility, wish.pid);
    if (wish.compact)
        printCompactLines(accessibility, clock, wish.pid);
    for (long run = 0; run < wish.runs && !wish.compact; ++run)
        walkOnce(accessibility, clock, wish);
    return 0;
}
