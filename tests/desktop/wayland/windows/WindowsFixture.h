#pragma once

#include "fakes/FakeWindowSource.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::test {

/// A compositor's windows, some processes and some desktop entries.
class WindowsFixture : public testing::Test {
protected:
    using Kind = CompositorWindow::Kind;

    static constexpr std::int32_t ownPid = 10;
    static constexpr std::int32_t office = 20; ///< its program has two entries
    static constexpr std::int32_t editor = 30;
    static constexpr std::int32_t python = 40; ///< its program has no entry
    static constexpr std::int32_t portal = 50; ///< shows choosers for others

    /// A window of 400 by 300 points in the front.
    CompositorWindow& add(std::string id, std::int32_t pid, std::string applicationId = {})
    {
        CompositorWindow& window = source.add({.id = std::move(id)});
        window.pid = pid;
        window.words.kdeDesktopFile = std::move(applicationId);
        window.title = "Title of " + window.id;
        window.frame = window.surface = {100, 100, 400, 300};
        window.isOnScreen = true;
        return window;
    }
    CompositorWindow& popup(std::string id, std::int32_t pid, std::string parent)
    {
        CompositorWindow& window = add(std::move(id), pid);
        window.kind = Kind::popup;
        window.parent = std::move(parent);
        return window;
    }
    /// The ids of the windows that are hidden if this name is.
    std::vector<std::string> hiddenBy(std::string const& name)
    {
        auto const found = desktop.hiddenOf(source.now, {name});
        return {found.begin(), found.end()};
    }
    /// The identifier of a window's application.
    std::string identifierOf(std::string const& id)
    {
        auto const snapshot = desktop.look();
        return snapshot->owners().namesOf(source.window(id)).identifier().value_or("");
    }
    std::uint32_t idOf(std::string const& id)
    {
        auto const snapshot = desktop.look();
        return snapshot->idOf(source.window(id));
    }

    static ProcessFacts factsOf(std::int32_t pid)
    {
        switch (pid) {
        case office:
            return {.pid = pid, .executable = "/opt/office"};
        case editor:
            return {.pid = pid, .executable = "/usr/bin/editor"};
        case python:
            return {.pid = pid, .executable = "/usr/bin/python3.11"};
        case portal:
            return {.pid = pid, .executable = "/usr/libexec/chooser"};
        default:
            return {};
        }
    }
    static std::shared_ptr<DesktopEntryIndex const> entries()
    {
        return std::make_shared<DesktopEntryIndex const>(std::vector<DesktopEntry>{
            {.id = "writer", .name = "Writer", .executable = "/opt/office", .file = "/a/writer.desktop"},
            {.id = "calc", .name = "Calc", .executable = "/opt/office", .file = "/a/calc.desktop"},
            {.id = "org.example.Editor",
             .name = "Editor",
             .executable = "/usr/bin/editor",
             .file = "/a/org.example.Editor.desktop"},
            {.id = "dev.zelvo.agent", .name = "Zelvo", .file = "/a/dev.zelvo.agent.desktop"}});
    }

    asio::io_context io;
    FakeWindowSource source{io.get_executor()};
    CompositorWindows desktop{&source, entries, ownPid, factsOf};
    CompositorWindows blind{nullptr, entries, ownPid, factsOf}; ///< nobody sees the windows
};

} // namespace zelvo::test
