#pragma once

#include "app/AgentParts.h"
#include "app/ConfirmationDialog.h"
#include "app/ConsentPresenter.h"
#include "app/ProgramThreads.h"
#include "desktop/harness/PrivateDesktop.h"

#include <QApplication>
#include <QImage>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// A private desktop with the parts of the whole program, connected as in the program: real platform,
/// threads, clock and windows. Nothing is linked and no network is used.
class PanelFixture : public testing::Test {
protected:
    using Decision = ConfirmationDecision;
    /// The answer to a question; empty until there is one.
    using Answer = std::shared_ptr<std::optional<Decision>>;

    void SetUp() override { bringUp(96); }
    void bringUp(int dpi);
    void TearDown() override;

    /// Runs the event loop until the condition is true.
    bool until(std::function<bool()> condition, std::chrono::milliseconds longest = 10s);
    /// Waits long enough for an unwanted event to happen.
    void pass(std::chrono::milliseconds time = 500ms)
    {
        until([] { return false; }, time);
    }
    /// Runs a task to its end on the agent's thread, beside the event loop, as an action that passed its
    /// checks.
    void perform(std::function<Task<>()> body, std::chrono::milliseconds longest = 30s);
    /// The same without waiting; sets the flag at its end.
    std::shared_ptr<std::atomic<bool>> begin(std::function<Task<>()> body);

    Answer ask(ConfirmationSubject subject, std::int64_t timeoutMs = 60000);
    Answer askShell(std::string command, std::int64_t timeoutMs = 60000);
    Answer choose(std::int64_t timeoutMs = 60000);
    /// Asks, and waits until the panel has the keyboard focus and accepts an answer.
    Answer askAndWait(ConfirmationSubject subject);
    void waitForPanel();
    void offerLink();

    /// The visible panel that was opened last; null if there is none.
    ConfirmationDialog* panel();
    std::vector<ConfirmationDialog*> panels();
    template <class T>
    T* named(std::string const& text)
    {
        for (T* const child : panel()->findChildren<T*>())
            if (child->isVisible() &&
                (child->accessibleName().toStdString() == text || child->text().toStdString() == text))
                return child;
        return nullptr;
    }
    /// The middle of a widget, in points and in pixels.
    static DesktopPoint middleOf(QWidget const& widget);
    void clickOn(QWidget const& widget);
    void press(std::string const& key) { desktop->run({"xdotool", "key", key}); }
    /// For keys that the window manager handles: on a busy machine it may not listen yet.
    bool pressUntil(std::string const& key, std::function<bool()> const& condition)
    {
        for (int tries = 0; tries < 5 && !condition(); ++tries) {
            press(key);
            until(condition, 3s);
        }
        return condition();
    }

    /// A picture of the screen, also saved as a file for inspection.
    QImage picture(std::string const& name);
    /// Pressed buttons and modifiers.
    std::uint16_t heldMask() const;
    /// Pressed keys.
    int heldKeys() const;

    int count = 1;
    char program[5] = "test";
    char* arguments[2] = {program, nullptr};
    std::optional<PrivateDesktop> desktop;
    std::optional<QApplication> application;
    ProgramThreads* threads = nullptr;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<AgentParts> parts;
    std::unique_ptr<ConsentPresenter> consent;
};

} // namespace zelvo::test
