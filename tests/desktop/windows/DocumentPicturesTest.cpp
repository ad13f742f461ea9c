// The pictures of docs/images: what a person sees on an ordinary day. They land in the folder of pictures.
#include "desktop/windows/LayoutCheck.h"
#include "desktop/windows/WindowsFixture.h"

#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

class DocumentPictures : public WindowsFixture {
protected:
    void add(ActivityKind kind, std::string summary, std::string agent = {}, std::string detail = {})
    {
        platform->time.advance(11min);
        AgentState::LogLine line{.platform = agent.empty() ? localized("activity.server") : "Acme Assistant",
                                 .summary = std::move(summary)};
        line.kind = kind;
        if (!agent.empty())
            line.agentName = std::move(agent);
        if (!detail.empty())
            line.detail = std::move(detail);
        parts->state.log(std::move(line));
    }
    void fillADay()
    {
        platform->time.start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21)) + 21h;
        connect();
        grant("c1", "Acme Assistant", {AgentScope::screen, AgentScope::input, AgentScope::files});
        grant("c2", "Northwind", {AgentScope::screen});
        parts->recording.state().setMode(RecordingMode::local);
        add(ActivityKind::server, localized("activity.connected"));
        add(ActivityKind::screen, localized("activity.looked"), "Bookkeeper");
        platform->time.advance(4h);
        add(ActivityKind::actions, "5 actions in LibreOffice Calc", "Bookkeeper",
            "3 clicks, 48 characters typed");
        add(ActivityKind::terminal, localized("activity.terminal.ran"), "Bookkeeper",
            "ls Invoices\nmay.ods\njune.ods");
        add(ActivityKind::actions, "12 actions in Thunderbird", "Secretary",
            "6 clicks, 210 characters typed");
        add(ActivityKind::screen, localized("activity.looked"), "Secretary");
        parts->state.setLiveAgents(
            {.holder = ComputerAgent{.ref = "r1",
                                     .name = "Bookkeeper",
                                     .task = "Sorts the invoices of May",
                                     .connectionId = "c1"},
             .waiting = {ComputerAgent{.ref = "r2", .name = "Secretary", .connectionId = "c1"}}});
        settle();
    }
};

TEST_F(DocumentPictures, ofTheMainWindowAndThePanel)
{
    fillADay();
    for (bool const isDark : {false, true}) {
        setLook({.isDark = isDark});
        std::string const suffix = isDark ? "-dark" : "";
        ContentWindow& window = open(AppWindow::main);
        EXPECT_TRUE(until([&] { return layoutFaults(window).empty(); }, 2s));
        picture(window, "document-main" + suffix);
        close(AppWindow::main);
        MenuPanel& panel = openPanel();
        EXPECT_TRUE(until([&] { return layoutFaults(panel).empty(); }, 2s));
        picture(panel, "document-panel" + suffix);
        panel.close();
        settle();
        platform->time.advance(1s);
    }
}

TEST_F(DocumentPictures, ofTheUpdateWindow)
{
    startUpdates();
    platform->programUpdates.delegate().progressed(
        {.phase = UpdateProgress::Phase::ready,
         .item = {.displayVersion = "1.1",
                  .notes = "- Agents see what is in Chromium's windows in a tenth of the time.\n"
                           "- The main window remembers the filter of its log.\n"
                           "- A recording of two monitors no longer stops when one of them is unplugged."}});
    for (bool const isDark : {false, true}) {
        setLook({.isDark = isDark});
        ContentWindow& window = open(AppWindow::updates);
        EXPECT_TRUE(until([&] { return layoutFaults(window).empty(); }, 2s));
        picture(window, std::string("document-update") + (isDark ? "-dark" : ""));
        close(AppWindow::updates);
    }
}

} // namespace
} // namespace zelvo::test
