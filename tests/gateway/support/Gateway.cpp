#include "gateway/support/Gateway.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace zelvo::service {

namespace {

constexpr char const* bothScopes = R"(["screen","input"])";

} // namespace

Gateway::Gateway(std::function<void(Settings&)> const& change)
{
    settings.dataFolder = data();
    settings.port = 0;
    // The clock stands still, so no rate would ever recover. Tests of these limits set them.
    settings.rates = {.keyRequests = 0,
                      .addressConnections = 0,
                      .machineConnections = 0,
                      .machineMessages = 0,
                      .machineBytes = 0};
    change(settings);
    start();
}

Gateway::~Gateway()
{
    stopNow(); // A test may leave requests open.
}

void Gateway::start()
{
    server = std::make_unique<Server>(settings, &clock);
    thread = std::thread([this] { server->run(); });
}

void Gateway::stop()
{
    if (!server)
        return;
    server->stop();
    thread.join();
    server.reset();
}

std::string Gateway::readFile(std::string const& name) const
{
    std::ifstream stream(data() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Gateway::apiKey() const
{
    std::string key = readFile("api-key");
    key.pop_back();
    return key;
}

void Gateway::stopNow()
{
    if (server)
        server->stopNow();
    stop();
}

Answer Gateway::platform(std::string const& method,
                         std::string const& target,
                         std::string const& body,
                         Headers headers) const
{
    headers.emplace_back("Authorization", "Bearer " + apiKey());
    return request(port(), method, target, body, std::move(headers));
}

Answer Gateway::call(std::string const& method,
                     std::string const& target,
                     std::string const& body,
                     Headers headers) const
{
    return request(port(), method, target, body, std::move(headers));
}

Answer
Gateway::command(std::string const& connectionId, std::string const& method, std::string const& params) const
{
    return platform("POST", "/v1/connections/" + connectionId + "/commands",
                    R"({"method":")" + method + R"(","params":)" + params + "}");
}

std::string Gateway::newLink(std::string const& scopes, std::string const& endUserId) const
{
    Answer const answer = platform("POST", "/v1/link-sessions",
                                   R"({"endUserId":")" + endUserId + R"(","scopes":)" + scopes + "}");
    return std::string(answer.json().at("code").as_string());
}

Answer
Gateway::resolve(std::string const& link, std::string const& machineToken, std::string const& version) const
{
    json::object body{{"token", link}, {"appVersion", version}, {"macosVersion", "12.0.0"}};
    if (!machineToken.empty())
        body["machineToken"] = machineToken;
    return call("POST", "/machines/link/resolve", writeJson(body));
}

Answer
Gateway::complete(std::string const& link, std::string const& machineToken, std::string const& scopes) const
{
    return call("POST", "/machines/link/complete",
                R"({"token":")" + link + R"(","machineToken":")" + machineToken + R"(","grantedScopes":)" +
                    scopes + "}");
}

LinkedMachine Gateway::link() const
{
    std::string const code = newLink();
    json::value const resolved = resolve(code).json();
    LinkedMachine machine;
    machine.machineId = std::string(resolved.at("machineId").as_string());
    machine.token = std::string(resolved.at("machineToken").as_string());
    machine.connectionId =
        std::string(complete(code, machine.token, bothScopes).json().at("connectionId").as_string());
    return machine;
}

std::string Gateway::connect(LinkedMachine const& linked) const
{
    std::string const code = newLink();
    resolve(code, linked.token);
    return std::string(complete(code, linked.token, bothScopes).json().at("connectionId").as_string());
}

std::pair<std::string, std::string> Gateway::consoleSession()
{
    Answer const answer = enter(server->newConsoleLink(), origin());
    return {"X-Zelvo-Console", std::string(answer.json().at("session").as_string())};
}

Answer Gateway::enter(std::string const& link, std::string const& origin) const
{
    json::object const body{{"code", link.substr(link.find('#') + 1)}};
    std::string const host = origin.substr(origin.find("//") + 2);
    return call("POST", "/console/session", writeJson(body), {{"Origin", origin}, {"Host", host}});
}

} // namespace zelvo::service
