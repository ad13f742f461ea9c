#include "WaylandStage.h"

#include "AgentStage.h"
#include "Editor.h"

namespace zelvo {

namespace {

constexpr std::chrono::seconds patience{20};

bool isHeartbeat(std::string_view message)
{
    return message.substr(0, 64).find("\"heartbeat\"") != std::string_view::npos;
}

} // namespace

WaylandStage::WaylandStage(test::Compositor kind)
    : machine(kind, {.width = 1920, .height = 1080}), agent(machine.session(), 0)
{
    start();
    ask(commandFrame("permissions.get")); // The agent is at work, and its windows are there.
    if (machine.asks())
        machine.session().run(
            {"/usr/bin/python3", ZELVO_PRESS_ALLOW, "Ask the desktop", "--then", "Later", "Start"}, 60);
    grant();
    openEditor(machine.session());
}

void WaylandStage::start()
{
    agent.makeUnattended("token-of-the-benchmark");
    agent.store("zelvo.showAgentCursor", false);
    agent.store("zelvo.welcomeSeen", !machine.asks());
    gateway.emplace();
    agent.pointTo(gateway->port());
    agent.start();
    gateway->accept();
    gateway->receive();
}

void WaylandStage::grant()
{
    std::string const question = commandFrame("permissions.get");
    auto const mayAct = [&] {
        std::string_view const answer = ask(question);
        return answer.find(R"("accessibility":true)") != std::string_view::npos &&
               answer.find(R"("screenRecording":true)") != std::string_view::npos;
    };
    test::require("the grant", mayAct, patience);
}

std::string_view WaylandStage::ask(std::string const& frame)
{
    gateway->roundTrip(frame);
    while (isHeartbeat(gateway->received()))
        gateway->receive();
    return gateway->received();
}

} // namespace zelvo
