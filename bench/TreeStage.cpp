#include "TreeStage.h"

#include "desktop/harness/Chromium.h"
#include "desktop/harness/WaitFor.h"
#include "platform/linux/atspi/AtspiReader.h"
#include "platform/linux/dbus/BusMessages.h"
#include "platform/linux/x11/windows/ProcessWindows.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <csignal>
#include <fstream>

namespace zelvo {

namespace {

using namespace std::chrono_literals;

/// High enough for every tree here, so that each reading is complete.
constexpr TreeLimits limits{.maxElements = 100'000, .totalTimeout = 60s};

void writePage(std::filesystem::path const& file, int count)
{
    std::ofstream page(file);
    page << "<!doctype html><title>Links</title>";
    for (int i = 0; i < count / 2; ++i) // Each link is two elements: itself and its text.
        page << "<a href='#" << i << "'>Link " << i << "</a> ";
}

} // namespace

TreeStage::TreeStage()
{
    desktop.adoptEnvironment();
    Contexts const contexts = live.contexts();
    clock = std::make_unique<LinuxClock>(contexts.agent);
    session = std::make_unique<BusConnection>(contexts.agent, *clock, openSessionBus);
    session->start();
    display = X11Connection::open();
    layout = std::make_unique<X11DisplayLayout>(contexts, display);
    AtspiScreen screen{
        .windowsOf =
            [this](std::int32_t pid) { return processWindows(*display, surveyWindows(*display), pid); },
        .displays = [this] { return layout->all(); }};
    accessibility =
        std::make_unique<AtspiAccessibility>(contexts, *clock, *session, std::nullopt, std::move(screen));
}

TreeStage::~TreeStage()
{
    live.stop();
}

std::vector<std::string> TreeStage::commandFor(TreeKind kind, int count)
{
    switch (kind) {
    case TreeKind::gtkThirdShowing:
    case TreeKind::gtkAllShowing:
        return {"/usr/bin/python3", ZELVO_GTK_BUTTONS, std::to_string(count),
                kind == TreeKind::gtkAllShowing ? "all" : "third"};
    case TreeKind::qt:
        return {ZELVO_QT_BUTTONS, std::to_string(count)};
    case TreeKind::chromium:
        break;
    }
    auto const page = desktop.home() / ("links-" + std::to_string(count) + ".html");
    writePage(page, count);
    return test::chromiumCommand(desktop.home() / ("chromium-" + std::to_string(count)),
                                 {"--window-size=945,1060", "file://" + page.string()});
}

std::int32_t TreeStage::show(TreeKind kind, int count)
{
    if (shown)
        desktop.processes().end(shown, SIGTERM);
    shown = desktop.start(commandFor(kind, count));
    awaitElements(kind, shown, count);
    return shown;
}

void TreeStage::awaitElements(TreeKind kind, std::int32_t pid, int count)
{
    bool const sleeps = kind == TreeKind::chromium;
    std::size_t before = 0;
    test::require(
        "all elements",
        [&] {
            if (sleeps) {
                auto const reader = accessibility->reader(pid, limits.messagingTimeout);
                reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
            }
            std::size_t const seen = walk(pid).elements;
            if (!desktop.processes().isRunning(pid))
                throw std::runtime_error("the program has ended: " + desktop.processes().output(pid));
            bool const isWhole = seen >= static_cast<std::size_t>(count) / 4 && seen == before;
            before = seen;
            return isWhole;
        },
        60s);
}

TreeStage::Reading TreeStage::walk(std::int32_t pid)
{
    auto const reader = accessibility->atspiReader(pid, limits.messagingTimeout);
    Instant const deadline = clock->now() + limits.totalTimeout;
    reader->plan({.maxDepth = limits.maxDepth,
                  .deadline = deadline,
                  .describes = [](std::string_view) { return true; },
                  .allowsProcess = [](std::int32_t) { return true; }});
    TreeWalk walk(*reader, *clock, limits, deadline, false);
    walk.run(reader->elements(reader->application(), AccessibilityAttribute::windows)
                 .value_or(std::vector<AccessibilityElement>{}));
    return {walk.collected.size(), reader->messagesSent()};
}

} // namespace zelvo
