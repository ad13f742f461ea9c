#include "end_to_end/CommandsFixture.h"

#include <csignal>

namespace zelvo::test {
namespace {

/// Commands that are sent while the machine is unavailable.
class Queue : public Commands {
protected:
    void SetUp() override
    {
        connection = startUnattended();
        ASSERT_EQ(agent.end(SIGTERM), 0);
    }

    /// Submits a command that may be queued; returns its id.
    std::string submit(std::string const& command)
    {
        json::object const body{{"method", "shell.run"},
                                {"params", {{"command", command}}},
                                {"delivery", {{"whenUnavailable", "queue"}, {"ttlSeconds", 600}}}};
        Answer const answer = gateway.ask("POST", commands(), body);
        EXPECT_EQ(answer.status, 202) << writeJson(answer.body);
        return std::string(answer.body.at("commandId").as_string());
    }
    json::object stateOf(std::string const& id)
    {
        return gateway.ask("GET", commands() + "/" + id).body.as_object();
    }
    bool comesTo(std::string const& id, std::string const& status)
    {
        return waitFor([&] { return stateOf(id).at("status") == json::string(status); });
    }
    std::filesystem::path mark() const { return desktop.home() / "mark"; }

private:
    std::string commands() const { return "/v1/connections/" + connection + "/commands"; }
};

TEST_F(Queue, runsWhatWaitedInItsOrderAfterAYes)
{
    std::string const first = submit("echo first >> '" + mark().string() + "'");
    std::string const second = submit("echo second >> '" + mark().string() + "'; echo done");
    EXPECT_EQ(stateOf(first).at("status"), "queued");

    agent.start();
    answerPanel("Return");

    ASSERT_TRUE(comesTo(second, "completed")) << writeJson(stateOf(second));
    EXPECT_EQ(stateOf(second).at("result").at("stdout"), "done\n");
    EXPECT_EQ(stateOf(first).at("status"), "completed");
    EXPECT_EQ(contentOf(mark()), "first\nsecond\n");
}

TEST_F(Queue, runsNothingAfterANo)
{
    std::string const id = submit("touch '" + mark().string() + "'");

    agent.start();
    answerPanel("Escape");

    ASSERT_TRUE(comesTo(id, "failed")) << writeJson(stateOf(id));
    EXPECT_EQ(stateOf(id).at("error").at("code"), "denied_by_user");
    EXPECT_FALSE(std::filesystem::exists(mark()));
}

TEST_F(Queue, outlivesTheGateway)
{
    std::string const id = submit("touch '" + mark().string() + "'");

    gateway.restart({});
    agent.start();
    answerPanel("Return");

    EXPECT_TRUE(comesTo(id, "completed")) << writeJson(stateOf(id));
    EXPECT_TRUE(std::filesystem::exists(mark()));
}

} // namespace
} // namespace zelvo::test
