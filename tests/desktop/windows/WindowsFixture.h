#pragma once

#include "app/AgentParts.h"
#include "app/ConsentPresenter.h"
#include "app/UserInterface.h"
#include "base/LocalizedTexts.h"
#include "desktop/harness/PrivateDesktop.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakeOverlays.h"
#include "fakes/FakePlatform.h"

#include <QApplication>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

using namespace std::chrono_literals;

/// The program's windows over a machine in memory, on a real display with a window manager.
class WindowsFixture : public testing::Test {
protected:
    void SetUp() override { bringUp({.dpi = 96}); }
    void TearDown() override;

    struct Look {
        int dpi = 96;
        double fontScale = 1;
        bool isDark = false;
        char const* language = "en";
        int width = 2600; ///< of the screen, in pixels
        int height = 2000;
        bool windowManager = true;
    };
    /// Starts the display and the toolkit.
    void bringUp(Look look);
    /// Changes palette, font and language, for windows that are opened afterwards.
    void setLook(Look look);

    /// Runs the event loop and the program until the condition is true, at most ten seconds.
    bool until(std::function<bool()> condition, std::chrono::milliseconds longest = 10s);
    /// Lets everything that is ready happen.
    void settle();

    ContentWindow& open(AppWindow which);
    void close(AppWindow which);
    MenuPanel& openPanel();
    void connect();
    /// Starts the agent, which is linked and connects to the gateway.
    void startAgent();
    /// Starts the agent, lets it act for somebody, and its recording has a first picture.
    void startRecording();
    /// Starts the user interface on a desktop that has a tray, for a person who knows the program.
    void startWithTray();
    GrantedConnection
    grant(std::string id, std::string name, std::vector<AgentScope> scopes = {AgentScope::screen});
    /// Makes this a program that can look for updates.
    void startUpdates();
    void fillLog(int entries);
    /// Presses a key where the window's keyboard focus is.
    static void pressKey(QWidget& window, int key);
    /// Grabs a window's picture into the folder of pictures.
    void picture(QWidget& window, std::string const& name);

    template <class T>
    static T* named(QWidget& window, std::string const& name)
    {
        for (T* const child : window.findChildren<T*>())
            if (child->isVisible() && child->accessibleName() == QString::fromStdString(name))
                return child;
        return nullptr;
    }
    /// All texts that the window shows, one a line.
    static std::string words(QWidget const& window);

    std::optional<PrivateDesktop> desktop;
    std::optional<QApplication> application;
    std::optional<FakePlatform> platform;
    FakeOverlays overlays;
    std::optional<FakePanels> panels;
    std::unique_ptr<AgentParts> parts;
    std::unique_ptr<Updater> updater;
    std::unique_ptr<ConsentPresenter> consent;
    std::unique_ptr<UserInterface> ui;
    int quits = 0;
    std::vector<std::function<void()>> restarts; ///< how each asked restart reports its failure

private:
    int count = 1;
    char program[8] = "windows";
    char* arguments[2] = {program, nullptr};
};

} // namespace zelvo::test
