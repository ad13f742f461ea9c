#include "gateway/mcp/tools/ToolFixture.h"

#include <gmock/gmock.h>

#include <regex>

namespace zelvo::service {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class PendingCall : public ToolFixture {
protected:
    PendingCall()
    {
        commands->answers["shell.run"] = [](DesktopCommand const&) {
            return json::value{{"exitCode", 0}, {"stdout", "done\n"}, {"stderr", ""}, {"durationMs", 5}};
        };
    }

    /// A call that waits for the person, up to the moment at which it became pending.
    std::string pendingHandle()
    {
        commands->held.insert("shell.run");
        auto const begun = begin("shell_run", R"({"command":"make"})");
        clock.advance(45s);
        return handleIn(begun->text());
    }
    static std::string handleIn(std::string const& text)
    {
        std::smatch found;
        return std::regex_search(text, found, std::regex("op \"(op[0-9]+)\"")) ? found[1].str() : "";
    }
    std::string waitFor(std::string const& handle)
    {
        return call("desktop_wait", R"({"op":")" + handle + R"("})");
    }
};

TEST_F(PendingCall, reportsProgressWhileItWaits)
{
    commands->held.insert("shell.run");
    auto const begun = begin("shell_run", R"({"command":"make"})");
    clock.advance(14s);
    commands->release();
    run();

    ASSERT_EQ(begun->reports.size(), 2U);
    EXPECT_EQ(begun->reports[0].first, 5);
    EXPECT_EQ(begun->reports[1].first, 10);
    EXPECT_THAT(begun->reports[0].second, HasSubstr("waiting for the person at the computer"));
    EXPECT_THAT(begun->text(), StartsWith("exit code 0"));
}

TEST_F(PendingCall, returnsAHandleAfterFortyFiveSecondsAndGoesOn)
{
    commands->held.insert("shell.run");
    auto const begun = begin("shell_run", R"({"command":"make"})");
    clock.advance(44s);
    EXPECT_FALSE(begun->result);
    clock.advance(1s);

    std::string const handle = handleIn(begun->text());
    EXPECT_EQ(begun->text(),
              "pending: not done yet, waiting for the person at the computer, or for the computer. Do "
              "not repeat the call. Next: wait with desktop_wait and op \"" +
                  handle + "\".");
    EXPECT_FALSE(begun->result->isError);
    EXPECT_EQ(commands->cancelled, 0U);

    auto const waited = begin("desktop_wait", R"({"op":")" + handle + R"("})");
    clock.advance(7s);
    EXPECT_FALSE(waited->result);
    EXPECT_EQ(waited->reports.size(), 1U);
    commands->release();
    run();
    EXPECT_THAT(waited->text(), StartsWith("exit code 0 · 5 ms\nstdout:\ndone\n"));
    EXPECT_EQ(commands->paramsOf("shell.run").size(), 1U);
}

TEST_F(PendingCall, isPendingAgainAfterAnotherFortyFiveSeconds)
{
    std::string const handle = pendingHandle();
    auto const waited = begin("desktop_wait", R"({"op":")" + handle + R"("})");
    clock.advance(45s);
    auto const brief = begin("desktop_wait", R"({"op":")" + handle + R"(","timeoutMs":0})");

    EXPECT_EQ(handleIn(waited->text()), handle);
    EXPECT_EQ(handleIn(brief->text()), handle);
}

TEST_F(PendingCall, keepsItsResultForTenMinutes)
{
    std::string const handle = pendingHandle();
    commands->release();
    run();

    EXPECT_THAT(waitFor(handle), StartsWith("exit code 0"));
    clock.advance(10min - 1s);
    EXPECT_THAT(waitFor(handle), StartsWith("exit code 0")); // A client may have lost the first answer.
    clock.advance(1s);
    EXPECT_THAT(waitFor(handle), StartsWith("not_found: There is no pending call " + handle));
}

TEST_F(PendingCall, belongsToItsConversation)
{
    std::string const handle = pendingHandle();
    auto const other = newRunner();

    EXPECT_THAT(begin(*other, "desktop_wait", R"({"op":")" + handle + R"("})")->text(),
                StartsWith("not_found: "));
}

TEST_F(PendingCall, doesWhatFollowsTheQuestionToo)
{
    commands->held.insert("actions.perform");
    auto const begun = begin(
        "desktop_act", R"({"actions":[{"type":"key","keys":["ctrl","s"]},{"type":"type","text":"a"}]})");
    clock.advance(45s);
    std::string const handle = handleIn(begun->text());
    commands->release();
    run();

    EXPECT_EQ(commands->methods(), "actions.perform actions.perform screen.settle ui.tree");
    EXPECT_THAT(waitFor(handle), StartsWith("ok 2/2 · settled 412 ms · Mousepad"));
}

TEST_F(PendingCall, isOneOfABoundedNumber)
{
    std::vector<std::string> handles;
    for (int round = 0; round < 5; ++round) {
        commands->held.insert("shell.run");
        std::vector<std::shared_ptr<BegunCall>> begun;
        for (int i = 0; i < 4; ++i)
            begun.push_back(begin("shell_run", R"({"command":"make"})"));
        clock.advance(45s);
        for (auto const& one : begun)
            handles.push_back(handleIn(one->text()));
        commands->release();
        run();
    }

    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_THAT(waitFor(handles[i]), StartsWith("not_found: ")) << i;
    for (std::size_t i = 4; i < 20; ++i)
        EXPECT_THAT(waitFor(handles[i]), StartsWith("exit code 0")) << i;
}

TEST_F(PendingCall, keepsResultsUpToABoundedSize)
{
    commands->answers["files.download"] = [](DesktopCommand const&) {
        // A picture: its base64 is part of the result.
        std::string const start = "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYA";
        std::string const data = start + std::string(1'300'000 - start.size(), 'A');
        return json::value{{"data", data}};
    };
    std::vector<std::string> handles;
    for (int i = 0; i < 4; ++i) {
        commands->held.insert("files.download");
        auto const begun = begin("file_read", R"({"path":"/a.png"})");
        clock.advance(45s);
        handles.push_back(handleIn(begun->text()));
        commands->release();
        run();
    }

    std::vector<std::size_t> sizes;
    for (std::string const& handle : handles)
        sizes.push_back(resultOf("desktop_wait", R"({"op":")" + handle + R"("})").content.size());
    EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 2, 2, 1}));
    EXPECT_THAT(waitFor(handles.back()),
                StartsWith("The call has ended; its answer was too large to be kept."));
    EXPECT_LE(memory.available(), (64U << 20) - 3'900'000);
}

TEST_F(PendingCall, givesItsMemoryBackWithItsConversation)
{
    pendingHandle();
    commands->release();
    run();
    call("desktop_see");
    EXPECT_LT(memory.available(), 64U << 20);
    runner.reset();
    run();

    EXPECT_EQ(memory.available(), 64U << 20);
}

TEST_F(PendingCall, isCancelledWithItsConversation)
{
    pendingHandle();
    runner.reset();
    run();

    EXPECT_EQ(commands->cancelled, 1U);
    EXPECT_EQ(turns->places(), 0U);
}

TEST_F(PendingCall, isNotCancelledByACancelledWait)
{
    std::string const handle = pendingHandle();
    auto const waited = begin("desktop_wait", R"({"op":")" + handle + R"("})");
    waited->cancellation.emit(asio::cancellation_type::terminal);
    run();
    EXPECT_TRUE(waited->isCancelled);
    EXPECT_EQ(commands->cancelled, 0U);
    commands->release();
    run();

    EXPECT_THAT(waitFor(handle), StartsWith("exit code 0"));
}

TEST_F(PendingCall, thatIsNotYetPendingIsCancelledWithItsClient)
{
    commands->held.insert("shell.run");
    auto const begun = begin("shell_run", R"({"command":"make"})");
    begun->cancellation.emit(asio::cancellation_type::terminal);
    run();

    EXPECT_TRUE(begun->isCancelled);
    EXPECT_EQ(commands->cancelled, 1U);
    EXPECT_EQ(turns->places(), 0U);
}

TEST_F(PendingCall, cancelledInTheMiddleDoesNoMoreActions)
{
    commands->held.insert("actions.perform");
    auto const begun =
        begin("desktop_act", R"({"actions":[{"type":"type","text":"a"},{"type":"type","text":"b"}]})");
    begun->cancellation.emit(asio::cancellation_type::terminal);
    run();
    commands->release();
    run();

    EXPECT_EQ(commands->methods(), "actions.perform");
}

TEST_F(PendingCall, givesThePersonTenMinutes)
{
    call("shell_run", R"({"command":"make"})");

    EXPECT_EQ(commands->paramsOf("shell.run").front(),
              R"({"command":"make","confirmationTimeoutMs":600000})");
}

// Fair turns.

TEST_F(PendingCall, waitsForItsTurnAmongManyOfItsKey)
{
    commands->held.insert("ui.tree");
    std::vector<std::unique_ptr<DesktopToolRunner>> runners;
    std::vector<std::shared_ptr<BegunCall>> begun;
    std::size_t const before = memory.available();
    for (int i = 0; i < 1000; ++i) {
        if (i % 20 == 0)
            runners.push_back(newRunner());
        begun.push_back(begin(*runners.back(), "desktop_see"));
    }

    EXPECT_EQ(commands->running, 4U);
    std::size_t refused = 0;
    for (auto const& one : begun)
        refused += one->result ? 1 : 0;
    EXPECT_EQ(refused, 1000U - 4U - 64U);
    EXPECT_THAT(begun.back()->text(),
                StartsWith("machine_busy: Too many of your calls wait for this computer already. "
                           "Next: wait for the answers of your other calls, then try again."));
    EXPECT_EQ(memory.available(), before);
    commands->release();
    run();
    for (auto const& one : begun)
        EXPECT_TRUE(one->result);
    EXPECT_EQ(commands->maxRunning, 4U);
    EXPECT_EQ(commands->sent.size(), 68U);
    EXPECT_EQ(turns->places(), 0U);
}

TEST_F(PendingCall, takesTurnsWithOtherConversations)
{
    commands->held.insert("ui.tree");
    auto const one = newRunner();
    auto const other = newRunner();
    std::vector<std::shared_ptr<BegunCall>> many;
    for (int i = 0; i < 20; ++i)
        many.push_back(begin(*one, "desktop_see"));
    auto const late = begin(*other, "desktop_see");
    for (int i = 0; i < 4; ++i) {
        many[static_cast<std::size_t>(i)]->cancellation.emit(asio::cancellation_type::terminal);
        run();
    }

    // Four were served, and then it is the turn of the first that waits and of the other conversation.
    EXPECT_EQ(commands->sent.size(), 8U);
    commands->release();
    run();
    EXPECT_TRUE(late->result);
    EXPECT_FALSE(late->result->isError);
}

TEST_F(PendingCall, doesNotWaitForItsTurnForever)
{
    commands->held.insert("ui.tree");
    std::vector<std::shared_ptr<BegunCall>> begun;
    begun.reserve(5);
    for (int i = 0; i < 5; ++i)
        begun.push_back(begin("desktop_see"));
    clock.advance(30s);

    EXPECT_THAT(begun.back()->text(), StartsWith("machine_busy: Your other calls keep this computer busy."));
    EXPECT_THAT(begun.back()->reports.front().second, HasSubstr("waiting for your other calls"));
}

TEST_F(PendingCall, sharesNoTurnsWithOtherKeysAndMachines)
{
    commands->held.insert("ui.tree");
    commands->reached.push_back(commands->reached.front());
    commands->reached.back().connection = "con_2";
    auto const other = newRunner("key_2");
    for (int i = 0; i < 6; ++i) {
        begin("desktop_see", R"({"machine":"con_1"})");
        begin("desktop_see", R"({"machine":"con_2"})");
        begin(*other, "desktop_see", R"({"machine":"con_1"})");
    }

    EXPECT_EQ(commands->running, 12U);
    commands->release();
    run();
}

} // namespace
} // namespace zelvo::service
