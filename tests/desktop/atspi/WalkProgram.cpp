#include "desktop/atspi/AtspiDesk.h"
#include "drivers/TreeWalk.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

/// Reads the windows of a process and says what it saw: walk_program PID [runs] [one] [print] [compact]
/// [wake] `one`: one call at a time; `print`: each element; `compact`: the lines that an agent gets; `wake`:
/// as a Chromium.
int main(int count, char** arguments)
{
    using namespace zelvo;
    using namespace zelvo::test;
    if (count < 2)
        return 1;
    auto const pid = static_cast<std::int32_t>(std::atoi(arguments[1]));
    int const runs = count > 2 ? std::max(1, std::atoi(arguments[2])) : 1;
    auto const has = [&](char const* word) {
        for (int at = 2; at < count; ++at)
            if (std::strcmp(arguments[at], word) == 0)
                return true;
        return false;
    };
    LiveContexts live;
    LinuxClock clock(live.contexts().agent);
    BusConnection session(live.contexts().agent, clock, openSessionBus);
    AtspiAccessibility accessibility(live.contexts(), clock, session, std::nullopt,
                                     screenOf(X11Connection::open()));
    if (has("wake")) {
        auto const reader = accessibility.reader(pid, 250ms);
        std::printf("woken %d\n", reader->setFlag(reader->application(),
                                                  AccessibilityAttribute::manualAccessibility, true));
    }
    if (has("compact")) {
        auto const reader = accessibility.reader(pid, 250ms);
        zelvo::TreeWalk walk(*reader, clock, {}, clock.now() + 2s, false);
        walk.run(reader->elements(reader->application(), AccessibilityAttribute::windows)
                     .value_or(std::vector<AccessibilityElement>()));
        for (UiElementInfo const& element : walk.collected)
            std::printf("%s\n", element.compactLine().c_str());
        return 0;
    }
    for (int run = 0; run < runs; ++run) {
        auto const began = std::chrono::steady_clock::now();
        auto const reader = accessibility.atspiReader(pid, 250ms);
        auto const found = std::chrono::steady_clock::now();
        Walk const seen = walkWindows(
            *reader, clock, {.budget = has("one") ? Duration(60s) : Duration(2s), .readsAhead = !has("one")});
        auto const ms = [](auto time) { return std::chrono::duration<double, std::milli>(time).count(); };
        std::size_t placed = 0;
        for (auto const& element : seen.elements)
            placed += element.size ? 1 : 0;
        std::printf("%zu elements, %zu placed, %s, %.1f ms to find, %.1f ms to walk, %llu messages\n",
                    seen.elements.size(), placed, seen.isTruncated ? "truncated" : "whole", ms(found - began),
                    ms(seen.took), static_cast<unsigned long long>(reader->messagesSent()));
        if (!has("print"))
            continue;
        for (auto const& one : seen.elements) {
            std::printf("%*s%s '%s' '%s' id=%s", one.depth * 2, "", one.role.c_str(),
                        one.title.value_or("").c_str(), one.description.value_or("").c_str(),
                        one.identifier.value_or("").c_str());
            if (one.position && one.size)
                std::printf(" (%.0f,%.0f %.0fx%.0f)", one.position->x, one.position->y, one.size->width,
                            one.size->height);
            if (one.value)
                std::printf(" value='%s'", one.value->c_str());
            for (auto const& action : one.actions)
                std::printf(" [%s]", action.c_str());
            std::printf("\n");
        }
    }
    return 0;
}
