#include "desktop/confirm/ProbeFixture.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>

using namespace zelvo;

namespace {

double millisecondsOf(auto const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// probe_program X Y [TIMES]: the element at that point.  probe_program pid PID: all elements that can be
///                                                        operated, and the element at the centre of each.
int probePoint(test::ProbeFixture& fixture, DesktopPoint point, int times)
{
    std::vector<double> took;
    std::string seen;
    for (int i = 0; i < times; ++i)
        took.push_back(millisecondsOf([&] { seen = test::textOf(fixture.element(point)); }));
    std::cout << seen << "\nfirst " << took.front() << " ms";
    std::ranges::sort(took);
    std::cout << ", median " << took[took.size() / 2] << " ms, longest " << took.back() << " ms\n";
    took.clear();
    for (int i = 0; i < times; ++i)
        took.push_back(millisecondsOf([&] { fixture.platform->windows().windows(); }));
    std::ranges::sort(took);
    std::cout << "of that the list of windows: " << took[took.size() / 2] << " ms\n";
    std::cout << "focus: " << test::textOf(fixture.focused())
              << "\ndialog: " << test::textOf(fixture.dialog()) << "\n";
    return 0;
}

int probeAll(test::ProbeFixture& fixture, std::int32_t pid)
{
    std::vector<double> took;
    for (UiElementInfo const& info : fixture.snapshot(pid, true)) {
        auto const& frame = info.frame;
        DesktopPoint const at = DesktopRect{frame.x, frame.y, frame.w, frame.h}.center();
        if (!fixture.isOnTop(pid, at))
            continue;
        std::string seen;
        took.push_back(millisecondsOf([&] { seen = test::textOf(fixture.element(at)); }));
        std::cout << info.compactLine() << "  ->  " << seen << "  " << took.back() << " ms\n";
    }
    if (took.empty())
        return 1;
    std::ranges::sort(took);
    std::cout << took.size() << " elements, median " << took[took.size() / 2] << " ms, longest "
              << took.back() << " ms\n";
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 3) {
        std::cerr << "probe_program X Y [TIMES] | probe_program pid PID\n";
        return 2;
    }
    test::ProbeFixture fixture;
    if (std::string(arguments[1]) == "pid")
        return probeAll(fixture, std::stoi(arguments[2]));
    DesktopPoint const point = {std::stod(arguments[1]), std::stod(arguments[2])};
    return probePoint(fixture, point, count > 3 ? std::max(1, std::stoi(arguments[3])) : 1);
}
