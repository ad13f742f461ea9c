#include "desktop/confirm/ProbeDesk.h"

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

/// probe_program X Y [TIMES]: what is at that point.  probe_program pid PID: all that can be operated, and
/// what is found at its centre.
int probePoint(test::ProbeDesk& desk, DesktopPoint point, int times)
{
    std::vector<double> took;
    std::string seen;
    for (int i = 0; i < times; ++i)
        took.push_back(millisecondsOf([&] { seen = test::textOf(desk.element(point)); }));
    std::cout << seen << "\nfirst " << took.front() << " ms";
    std::ranges::sort(took);
    std::cout << ", median " << took[took.size() / 2] << " ms, longest " << took.back() << " ms\n";
    took.clear();
    for (int i = 0; i < times; ++i)
        took.push_back(millisecondsOf([&] { desk.platform->windows().windows(); }));
    std::ranges::sort(took);
    std::cout << "of that the list of windows: " << took[took.size() / 2] << " ms\n";
    std::cout << "focus: " << test::textOf(desk.focused()) << "\ndialog: " << test::textOf(desk.dialog())
              << "\n";
    return 0;
}

int probeAll(test::ProbeDesk& desk, std::int32_t pid)
{
    std::vector<double> took;
    for (UiElementInfo const& info : desk.snapshot(pid, true)) {
        auto const& frame = info.frame;
        DesktopPoint const at = DesktopRect{frame.x, frame.y, frame.w, frame.h}.center();
        if (!desk.isOnTop(pid, at))
            continue;
        std::string seen;
        took.push_back(millisecondsOf([&] { seen = test::textOf(desk.element(at)); }));
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
    test::ProbeDesk desk;
    if (std::string(arguments[1]) == "pid")
        return probeAll(desk, std::stoi(arguments[2]));
    DesktopPoint const point = {std::stod(arguments[1]), std::stod(arguments[2])};
    return probePoint(desk, point, count > 3 ? std::max(1, std::stoi(arguments[3])) : 1);
}
