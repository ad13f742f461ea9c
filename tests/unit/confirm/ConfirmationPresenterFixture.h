#pragma once

#include "base/LocalizedTexts.h"
#include "confirm/ConfirmationPresenter.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {

inline ConfirmationSubject shell(std::string command)
{
    return {ConfirmationSubject::ShellCommand{std::move(command)}};
}
inline ConfirmationSubject button(std::string title)
{
    return {ConfirmationSubject::SubmitButton{std::move(title)}};
}

/// A posting gate in which an event stays in flight until the test lets it pass.
class SlowGate final : public EventPosting {
public:
    explicit SlowGate(Executor workers)
        : gate(*this, std::move(workers), [] { return false; }, [] { return std::vector<DesktopRect>(); })
    {
    }

    void letPass()
    {
        event.notifyAll([this] { isMade = true; });
    }
    PostingGate gate;

    Task<> ready(PostedEvent) override { co_return; }
    Task<bool> post(PostedEvent) override
    {
        co_await event.wait([this] { return isMade; });
        co_return true;
    }
    Task<> beginText(std::string) override { co_return; }
    Task<> endText() override { co_return; }
    Task<> releaseAll() override { co_return; }
    Task<> drained() override { co_return; }
    Task<bool> delivered() override { co_return true; }
    DesktopPoint pointerLocation() override { return {}; }

private:
    AsyncCondition event;
    bool isMade = false; // event
};

inline constexpr std::uint32_t editor = 7; // The window that has the keyboard focus at first.

class ConfirmationPresenterTest : public testing::Test {
protected:
    ConfirmationPresenterTest()
    {
        focus.open(5);
        focus.open(editor);
        make(gate);
    }

    void make(PostingGate& used)
    {
        presenter = std::make_unique<ConfirmationPresenter>(
            ConfirmationPresenter::Services{.main = platform.contexts.main,
                                            .workers = platform.contexts.workers,
                                            .clock = platform.time,
                                            .gate = used,
                                            .focus = focus,
                                            .makePanel = panels.maker()});
    }

    // The state of a question that was started.
    struct Asked {
        std::optional<ConfirmationDecision> decision;
        bool wasCancelled = false;
        bool gateWasClosed = false; ///< when the caller resumed
        TaskHandle handle;
    };
    using Answer = std::shared_ptr<Asked>;

    Answer start(std::function<Task<ConfirmationDecision>()> question)
    {
        auto answer = std::make_shared<Asked>();
        answer->handle = spawn(platform.contexts.main, [this, question, answer]() -> Task<> {
            try {
                answer->decision = co_await question();
                answer->gateWasClosed = gate.isClosed();
            } catch (boost::system::system_error const&) {
                answer->wasCancelled = true;
            }
        });
        platform.settle();
        return answer;
    }
    Answer ask(ConfirmationSubject subject, std::int64_t timeoutMs = 60000)
    {
        return start([this, subject, timeoutMs] { return presenter->ask(subject, "Acme", timeoutMs); });
    }
    Answer choose(std::int64_t timeoutMs = 60000)
    {
        ConfirmationPresenter::Choice const choice{
            .title = "Run 3 commands?", .detail = "They waited.", .allowTitle = "Run", .denyTitle = "Drop"};
        return start([this, choice, timeoutMs] { return presenter->askChoice(choice, timeoutMs); });
    }
    void allow(FakePanelRecord& panel, bool remember = false)
    {
        panel.reports.allow(remember);
        platform.settle();
    }
    void deny(FakePanelRecord& panel)
    {
        panel.reports.deny();
        platform.settle();
    }
    std::optional<AgentError> confirmError(ConfirmationSubject subject, std::function<void()> act)
    {
        std::optional<AgentError> error;
        bool done = false;
        spawn(platform.contexts.workers, [&, subject]() -> Task<> {
            try {
                co_await presenter->confirm(subject, "Acme", 60000);
            } catch (AgentError thrown) {
                error = thrown;
            }
            done = true;
        });
        platform.settle();
        act();
        platform.settle();
        EXPECT_TRUE(done);
        return error;
    }

    FakePlatform platform;
    FakeWindowFocus& focus = platform.windowFocus;
    FakePanels panels{focus};
    PostingGate gate{platform.posting, platform.contexts.workers, [] { return false; },
                     [] { return std::vector<DesktopRect>(); }};
    std::unique_ptr<ConfirmationPresenter> presenter;
};

} // namespace zelvo
