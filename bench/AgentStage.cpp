#include "AgentStage.h"

#include "Editor.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace zelvo {

namespace {

bool isHeartbeat(std::string_view message)
{
    return message.substr(0, 64).find("\"heartbeat\"") != std::string_view::npos;
}

} // namespace

AgentStage::AgentStage(int width, int height)
    : width(width), height(height), desktop({.width = width, .height = height})
{
    agent.makeUnattended("token-of-the-benchmark");
    // It travels on purpose before each click.
    agent.store("zelvo.showAgentCursor", false);
}

double AgentStage::start()
{
    gateway.emplace();
    agent.pointTo(gateway->port());
    auto const before = std::chrono::steady_clock::now();
    agent.start();
    gateway->accept();
    if (!isHeartbeat(gateway->receive()))
        throw std::runtime_error("the first message is no heartbeat");
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
}

void AgentStage::kill()
{
    agent.kill();
}

void AgentStage::furnish()
{
    painter.paintRoot(0x336699);
    auto const across = [&](int of1920) { return of1920 * width / 1920; };
    auto const down = [&](int of1080) { return of1080 * height / 1080; };
    painter.open({.x = across(60),
                  .y = down(700),
                  .width = across(500),
                  .height = down(300),
                  .color = 0xcc2244,
                  .title = "red"});
    painter.open({.x = across(1500),
                  .y = down(640),
                  .width = across(360),
                  .height = down(380),
                  .color = 0x22cc44,
                  .title = "green"});
    openEditor(desktop);
    desktop.waitForWindow({.className = "Mousepad"});
    std::string const geometry = std::to_string(across(120)) + "x" + std::to_string(down(45)) + "+" +
                                 std::to_string(across(900)) + "+" + std::to_string(down(100));
    desktop.start({"xterm", "-geometry", geometry, "-e",
                   "cat " + (desktop.home() / "text.txt").string() + "; sleep 100000"});
    desktop.waitForWindow({.className = "XTerm"});
    // A new window's content is complete only after it has painted itself.
    std::this_thread::sleep_for(std::chrono::seconds(2));
}

void AgentStage::hide(std::vector<std::string> const& bundleIds)
{
    json::array list;
    for (std::string const& id : bundleIds)
        list.emplace_back(id);
    auto const folder = desktop.configHome() / "dev.zelvo.agent" / "defaults";
    std::ofstream(folder / "new") << writeJson(list);
    std::filesystem::rename(folder / "new", folder / "dev.zelvo.hiddenApps.json");
}

std::string_view AgentStage::ask(std::string const& frame)
{
    gateway->roundTrip(frame);
    while (isHeartbeat(gateway->received()))
        gateway->receive();
    return gateway->received();
}

double AgentStage::askUnderPings(std::string const& frame)
{
    double const longest = gateway->roundTripUnderPings(frame);
    while (isHeartbeat(gateway->received()))
        gateway->receive();
    return longest;
}

void AgentStage::forgetPeak() const
{
    std::ofstream("/proc/" + std::to_string(agent.pid()) + "/clear_refs") << "5";
}

double AgentStage::memory(std::string const& name) const
{
    std::ifstream stream("/proc/" + std::to_string(agent.pid()) + "/status");
    for (std::string line; std::getline(stream, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1));
    throw std::runtime_error("no " + name);
}

std::string commandFrame(std::string const& method, std::string const& params)
{
    return R"({"id":"0b9ff3ad-6f0e-4f5c-8c0f-0f1f6c3a2d11","method":")" + method +
           R"(","connectionId":"con_1","params":)" + params + R"(,"agent":{"name":"Benchmark"}})";
}

} // namespace zelvo
