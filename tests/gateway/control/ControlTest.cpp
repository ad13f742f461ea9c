#include "base/DateText.h"
#include "gateway/support/Queued.h"

#include <gmock/gmock.h>

#include <future>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string bodyOf(std::string const& agent, std::string const& method = "actions.perform")
{
    return R"({"method":")" + method + R"(","params":{"by":")" + agent + R"("},"agent":{"name":")" + agent +
           R"(","ref":")" + agent + "\"}}";
}

/// A gateway with a connected machine.
struct Controlled : Queued {
    explicit Controlled(std::function<void(Settings&)> const& change = [](Settings&) {}) : Queued(change)
    {
        arrive();
        EXPECT_TRUE(becomes([&] { return !machine->framesOf("agents.update").empty(); }));
    }

    std::future<Answer> start(std::string const& body) const
    {
        return std::async(std::launch::async, [this, body] { return post(body); });
    }
    /// The last state that the machine received.
    records::AgentsUpdate picture() const
    {
        return records::fromJson<records::AgentsUpdate>(
                   machine->framesOf("agents.update").back().at("params"))
            .value_or(records::AgentsUpdate());
    }
    static std::vector<std::string> names(std::vector<records::HolderClass> const& list)
    {
        std::vector<std::string> all;
        for (auto const& one : list)
            all.push_back(one.name);
        return all;
    }
    /// "ann | bob, cy | dan": holder, waiting, set aside.
    std::string told() const
    {
        auto const now = picture();
        std::string text = now.holder ? now.holder->name : "nobody";
        for (auto const* list : {&now.waiting, &now.paused}) {
            std::string all;
            for (std::string const& name : names(*list))
                all += (all.empty() ? "" : ", ") + name;
            text += " | " + all;
        }
        return text;
    }
    bool becomesTold(std::string const& wanted) const
    {
        return becomes([&] { return told() == wanted; });
    }
    std::string refOf(std::string const& name) const
    {
        auto const now = picture();
        if (now.holder && now.holder->name == name)
            return now.holder->ref;
        for (auto const* list : {&now.waiting, &now.paused})
            for (auto const& one : *list)
                if (one.name == name)
                    return one.ref;
        return "";
    }
    /// The agents whose control commands reached the machine, in order.
    std::vector<std::string> acted() const
    {
        std::vector<std::string> all;
        for (json::object const& frame : machine->framesOf("actions.perform"))
            all.emplace_back(frame.at("params").at("by").as_string());
        return all;
    }
};

TEST(Control, isToldToTheMachineWithItsFirstHeartbeat)
{
    Queued on;
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);
    on.settle();
    EXPECT_THAT(on.machine->framesOf("agents.update"), IsEmpty());

    on.machine->heartbeat();
    on.machine->heartbeat();

    ASSERT_TRUE(becomes([&] { return on.machine->framesOf("agents.update").size() == 1; }));
    on.settle();
    ASSERT_EQ(on.machine->framesOf("agents.update").size(), 1u);
    json::object const update = on.machine->framesOf("agents.update").front();
    EXPECT_EQ(writeJson(update.at("params")), R"({"paused":[],"waiting":[]})");
    EXPECT_FALSE(update.contains("connectionId"));
}

TEST(Control, isNotToldToAMachineThatKnowsNothingOfAgents)
{
    Queued on;
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);
    on.machine->sendText(R"({"method":"heartbeat","params":{"appVersion":"0.1.0","availability":"ready",
        "macosVersion":"12.0.0","mode":"connected","hiddenAppCount":0,"paused":false,
        "permissions":{"accessibility":true,"screenRecording":true}}})");
    on.settle();

    EXPECT_EQ(on.post(bodyOf("ann")).status, 200);

    on.settle();
    EXPECT_THAT(on.machine->framesOf("agents.update"), IsEmpty());
}

TEST(Control, isHeldByWhoActsFirst)
{
    Controlled on;

    EXPECT_EQ(on.post(R"({"method": "actions.perform",
        "agent": {"name": "Ann", "ref": "r1", "task": "Sorting mail"}})")
                  .status,
              200);

    ASSERT_TRUE(on.becomesTold("Ann |  | "));
    auto const holder = *on.picture().holder;
    EXPECT_EQ(holder.task, "Sorting mail");
    EXPECT_EQ(holder.connectionId, on.linked.connectionId);
    EXPECT_EQ(holder.since, "2026-11-21T00:00:00.000Z");
    EXPECT_NE(holder.ref, "r1"); // Another platform may use the same.
}

TEST(Control, isNotNeededForLooking)
{
    Controlled on;
    on.post(bodyOf("ann"));

    for (std::string const method : {"screenshot", "ui.tree", "cursor.position", "display.info", "shell.run"})
        EXPECT_EQ(on.post(bodyOf("bob", method)).status, 200) << method;

    ASSERT_TRUE(on.becomesTold("ann |  | "));
}

TEST(Control, isWaitedForAndPassesOnWhenTheHolderIsIdle)
{
    Controlled on;
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));
    auto cy = on.start(bodyOf("cy"));
    ASSERT_TRUE(on.becomesTold("ann | bob, cy | "));
    EXPECT_THAT(on.acted(), ElementsAre("ann"));

    on.gateway.clock.advance(30s);

    EXPECT_EQ(bob.get().status, 200);
    EXPECT_TRUE(on.becomesTold("bob | cy | "));
    on.gateway.clock.advance(30s);
    EXPECT_EQ(cy.get().status, 200);
    EXPECT_THAT(on.acted(), ElementsAre("ann", "bob", "cy"));
}

TEST(Control, belongsToAgentsAndNotToConnectionsAlone)
{
    Controlled on;
    std::string const other = on.gateway.connect(on.linked);
    on.post(bodyOf("ann"));

    auto theirs = std::async(std::launch::async, [&] { return on.post(bodyOf("ann"), other); });

    ASSERT_TRUE(on.becomesTold("ann | ann | "));
    EXPECT_EQ(on.picture().waiting.front().connectionId, other);
    on.gateway.clock.advance(30s);
    EXPECT_EQ(theirs.get().status, 200);
}

TEST(Control, isNotHadInTimeWhenTheHolderGoesOn)
{
    Controlled on([](Settings& settings) { settings.control.patience = 20s; });
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));

    on.gateway.clock.advance(20s);

    Answer const answer = bob.get();
    EXPECT_EQ(answer.status, 423);
    EXPECT_EQ(answer.errorCode(), "machine_busy");
    EXPECT_THAT(on.acted(), ElementsAre("ann"));
}

TEST(Control, isRefusedAtOnceToThoseWhoDoNotWait)
{
    Controlled on;
    on.post(bodyOf("ann"));

    Answer const answer = on.post(R"({"method": "actions.perform", "agent": {"name": "bob", "ref": "bob"},
        "delivery": {"whenUnavailable": "fail"}})");

    EXPECT_EQ(answer.errorCode(), "machine_busy");
}

TEST(Control, isTakenFromAnAgentThatThePersonPutsAside)
{
    Controlled on;
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));
    std::string const ann = on.refOf("ann");

    on.machine->sendEvent("agent_pause", {{"ref", ann}});

    EXPECT_EQ(bob.get().status, 200);
    EXPECT_TRUE(on.becomesTold("bob |  | ann"));
    for (std::string const method : {"actions.perform", "screenshot", "shell.run"}) {
        Answer const answer = on.post(bodyOf("ann", method));
        EXPECT_EQ(answer.status, 409) << method;
        EXPECT_EQ(answer.errorCode(), "agent_paused") << method;
    }

    on.machine->sendEvent("agent_resume", {{"ref", ann}});
    EXPECT_TRUE(on.becomesTold("bob |  | "));
    EXPECT_EQ(on.post(bodyOf("ann", "screenshot")).status, 200);
}

TEST(Control, isRefusedToOneInLineThatIsPutAside)
{
    Controlled on;
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));

    on.machine->sendEvent("agent_pause", {{"ref", on.refOf("bob")}});

    EXPECT_EQ(bob.get().errorCode(), "agent_paused");
    EXPECT_TRUE(on.becomesTold("ann |  | bob"));
}

TEST(Control, staysTakenThroughARestartAndANewSocket)
{
    Controlled on;
    on.post(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("ann |  | "));
    on.machine->sendEvent("agent_pause", {{"ref", on.refOf("ann")}});
    ASSERT_TRUE(on.becomesTold("nobody |  | ann"));
    std::string const since = on.picture().paused.front().since;

    on.gateway.stop();
    on.gateway.start();
    on.arrive();

    ASSERT_TRUE(becomes([&] { return !on.machine->framesOf("agents.update").empty(); }));
    EXPECT_EQ(on.told(), "nobody |  | ann");
    EXPECT_EQ(on.picture().paused.front().since, since);
    EXPECT_EQ(on.post(bodyOf("ann")).errorCode(), "agent_paused");
    on.machine->sendEvent("agent_resume", {{"ref", on.refOf("ann")}});
    EXPECT_TRUE(on.becomesTold("nobody |  | "));
}

TEST(Control, passesOverEventsThatMakeNoSense)
{
    Controlled on;
    on.post(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("ann |  | "));
    std::string const ann = on.refOf("ann");

    for (std::string const& text : std::vector<std::string>{
             R"({"event":"agent_pause"})", R"({"event":"agent_pause","data":{}})",
             R"({"event":"agent_pause","data":{"ref":5}})", R"({"event":"agent_pause","data":[]})",
             R"({"event":"agent_pause","data":{"ref":"agt_none"}})",
             R"({"event":"agent_pause","data":{"ref":"ann"}})",
             R"({"event":"agent_resume","data":{"ref":")" + ann + "\"}}",
             R"({"event":"agent_resume","data":{"ref":null}})",
             R"({"event":"Agent_pause","data":{"ref":")" + ann + "\"}}"})
        on.machine->sendText(text);
    on.settle();

    EXPECT_EQ(on.told(), "ann |  | ");
    EXPECT_EQ(on.post(bodyOf("ann")).status, 200);
}

TEST(Control, ofAnotherMachineIsItsOwn)
{
    Controlled on;
    on.post(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("ann |  | "));
    LinkedMachine const other = on.gateway.link();
    FakeMachine machine(on.thread, on.gateway.port(), other.token);
    ASSERT_EQ(machine.status(), 101);

    EXPECT_EQ(on.post(bodyOf("bob"), other.connectionId).status, 200);
    machine.sendEvent("agent_pause", {{"ref", on.refOf("ann")}});
    EXPECT_EQ(on.gateway.command(other.connectionId, "display.info").status, 200);

    EXPECT_EQ(on.post(bodyOf("ann")).status, 200);
    EXPECT_EQ(on.told(), "ann |  | ");
}

TEST(Control, isLostWithTheConnection)
{
    Controlled on;
    std::string const other = on.gateway.connect(on.linked);
    on.post(bodyOf("theirs"), other);
    auto ann = on.start(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("theirs | ann | "));

    on.gateway.platform("DELETE", "/v1/connections/" + other);

    EXPECT_EQ(ann.get().status, 200);
    EXPECT_TRUE(on.becomesTold("ann |  | "));
}

TEST(Control, isNotWaitedForByARevokedConnection)
{
    Controlled on;
    std::string const other = on.gateway.connect(on.linked);
    on.post(bodyOf("ann"));
    auto theirs = std::async(std::launch::async, [&] { return on.post(bodyOf("theirs"), other); });
    ASSERT_TRUE(on.becomesTold("ann | theirs | "));

    on.gateway.platform("DELETE", "/v1/connections/" + other);

    EXPECT_EQ(theirs.get().errorCode(), "not_found");
    EXPECT_TRUE(on.becomesTold("ann |  | "));
}

TEST(Control, isLostWithTheConnectionThatThePersonEnds)
{
    Controlled on;
    std::string const other = on.gateway.connect(on.linked);
    on.post(bodyOf("theirs"), other);
    on.machine->heartbeatWith({on.linked.connectionId, other});
    auto ann = on.start(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("theirs | ann | "));

    on.machine->heartbeatWith({on.linked.connectionId});

    EXPECT_EQ(ann.get().status, 200);
    EXPECT_TRUE(on.becomesTold("ann |  | "));
}

TEST(Control, isNotTakenByAConnectionThatMayNotHaveIt)
{
    Controlled on;
    std::string const code = on.gateway.newLink();
    on.gateway.resolve(code, on.linked.token);
    std::string const looker(
        on.gateway.complete(code, on.linked.token, R"(["screen"])").json().at("connectionId").as_string());
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "actions.perform" ? errorOf("scope_denied", "no") : answerOk(frame);
    });

    EXPECT_EQ(on.post(bodyOf("bob"), looker).errorCode(), "scope_denied");

    on.settle();
    EXPECT_EQ(on.told(), "nobody |  | ");
}

TEST(Control, isForgottenWhenTheMachineGoes)
{
    Controlled on;
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));

    on.leave();

    EXPECT_EQ(bob.get().errorCode(), "machine_offline");
    on.arrive();
    ASSERT_TRUE(becomes([&] { return !on.machine->framesOf("agents.update").empty(); }));
    EXPECT_EQ(on.told(), "nobody |  | ");
}

TEST(Control, goesOnWhenTheMachineChangesItsSocket)
{
    Controlled on;
    on.post(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("ann |  | "));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));

    std::unique_ptr<FakeMachine> const older = std::move(on.machine);
    on.arrive();
    ASSERT_EQ(older->closeCode(), 4409);

    ASSERT_TRUE(becomes([&] { return !on.machine->framesOf("agents.update").empty(); }));
    EXPECT_EQ(on.told(), "ann | bob | ");
    on.gateway.clock.advance(30s);
    EXPECT_EQ(bob.get().status, 200);
    EXPECT_THAT(on.acted(), ElementsAre("bob"));
}

TEST(Control, tellsASlowMachineTheNewestOnly)
{
    Controlled on;
    std::atomic<bool> slow = true;
    on.machine->onFrame([&](json::object const& frame) {
        return slow && frame.at("method") == "agents.update" ? std::nullopt : answerOk(frame);
    });
    std::size_t const before = on.machine->framesOf("agents.update").size();
    on.post(bodyOf("ann"));
    ASSERT_TRUE(becomes([&] { return on.machine->framesOf("agents.update").size() == before + 1; }));
    for (std::string const name : {"bob", "cy"})
        on.post(R"({"method": "actions.perform", "agent": {"name": ")" + name + R"(", "ref": ")" + name +
                R"("}, "delivery": {"whenUnavailable": "fail"}})");
    EXPECT_EQ(on.machine->framesOf("agents.update").size(), before + 1);

    slow = false;
    std::string const id(on.machine->framesOf("agents.update").back().at("id").as_string());
    on.machine->sendText(R"({"id":")" + id + R"(","result":{}})");

    EXPECT_TRUE(on.becomesTold("ann | bob, cy | "));
    EXPECT_EQ(on.machine->framesOf("agents.update").size(), before + 2);
}

TEST(Control, isWaitedForByQueuedCommandsToo)
{
    Queued on;
    std::string const id = on.queue("actions.perform");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    ASSERT_EQ(on.post(bodyOf("ann")).status, 200);

    on.answer({id}, {});
    ASSERT_TRUE(becomes([&] {
        auto const updates = on.machine->framesOf("agents.update");
        return !updates.empty() && !updates.back().at("params").at("waiting").as_array().empty();
    }));
    EXPECT_EQ(on.status(id), "queued");
    on.gateway.clock.advance(30s);

    EXPECT_TRUE(on.becomesStatus(id, "completed"));
}

TEST(Control, isTriedAgainForAQueuedCommandWhenTheLineWasFull)
{
    Queued on([](Settings& settings) { settings.control.maxLine = 0; });
    std::string const id = on.queue("actions.perform");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    ASSERT_EQ(on.post(bodyOf("ann")).status, 200);

    on.answer({id}, {});
    on.settle();
    EXPECT_EQ(on.status(id), "queued");

    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(5s);
        return on.status(id) == "completed";
    }));
}

TEST(Control, isRefusedToAnAgentThatIsPutAsideJustAfterItsTime)
{
    Controlled on;
    on.post(bodyOf("ann"));
    ASSERT_TRUE(on.becomesTold("ann |  | "));
    std::string const ann = on.refOf("ann");
    on.gateway.clock.advance(30s);
    ASSERT_TRUE(on.becomesTold("nobody |  | "));

    on.machine->sendEvent("agent_pause", {{"ref", ann}});

    EXPECT_TRUE(on.becomesTold("nobody |  | ann"));
    EXPECT_EQ(on.post(bodyOf("ann")).errorCode(), "agent_paused");
}

TEST(Control, endsQueuedCommandsOfAnAgentThatWasPutAside)
{
    Controlled on;
    on.post(R"({"method": "apps.open"})");
    ASSERT_TRUE(on.becomesTold("Zelvo Local |  | "));
    on.machine->sendEvent("paused", {});
    on.settle();
    std::string const id = on.queue("screenshot");
    on.machine->sendEvent("agent_pause", {{"ref", on.refOf("Zelvo Local")}});
    on.machine->sendEvent("resumed", {});
    ASSERT_TRUE(on.offered(1));

    on.answer({id}, {});

    ASSERT_TRUE(on.becomesStatus(id, "failed"));
    EXPECT_EQ(on.command(id).error->at("code").as_string(), "agent_paused");
    EXPECT_THAT(on.machine->framesOf("screenshot"), IsEmpty());
}

TEST(Control, keepsNoCallerWhenTheGatewayStops)
{
    Controlled on;
    on.post(bodyOf("ann"));
    auto bob = on.start(bodyOf("bob"));
    ASSERT_TRUE(on.becomesTold("ann | bob | "));
    auto const before = std::chrono::steady_clock::now();

    on.gateway.running().stop();
    EXPECT_TRUE(becomes([&] { // The limit of the stop begins on the gateway's thread.
        on.gateway.clock.advance(1s);
        return bob.wait_for(0s) == std::future_status::ready;
    }));

    on.gateway.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 12s);
}

} // namespace
} // namespace zelvo::service
