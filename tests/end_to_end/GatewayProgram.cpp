#include "end_to_end/GatewayProgram.h"

#include "end_to_end/HttpCall.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelvo::test {

namespace fs = std::filesystem;

namespace {

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    while (!content.empty() && content.back() == '\n')
        content.pop_back();
    return content;
}

} // namespace

GatewayProgram::GatewayProgram(PrivateSession& desktop,
                               std::string const& name,
                               std::vector<std::string> flags)
    : desktop(desktop), folder(desktop.home() / name), flags(std::move(flags))
{
    start(0);
}

void GatewayProgram::start(std::uint16_t port)
{
    fs::path const portFile = folder.string() + ".port";
    fs::remove(portFile);
    std::vector<std::string> command = {ZELVO_GATEWAY,        "--data",      folder.string(),  "--port",
                                        std::to_string(port), "--port-file", portFile.string()};
    command.insert(command.end(), flags.begin(), flags.end());
    process = desktop.start(command);
    require("the gateway",
            [&] { return !contentOf(portFile).empty() && desktop.processes().isRunning(process); });
    listeningPort = static_cast<std::uint16_t>(std::stoi(contentOf(portFile)));
}

void GatewayProgram::kill()
{
    desktop.processes().end(process, SIGKILL);
}

int GatewayProgram::stop()
{
    return desktop.processes().end(process, SIGTERM);
}

/// With TLS if it was started so.
std::string GatewayProgram::url(std::string const& path) const
{
    bool const hasTls = std::ranges::find(flags, "--tls-certificate") != flags.end();
    return (hasTls ? "https" : "http") + ("://127.0.0.1:" + std::to_string(listeningPort)) + path;
}

void GatewayProgram::restart(std::vector<std::string> newFlags)
{
    kill();
    flags = std::move(newFlags);
    start(listeningPort);
}

GatewayProgram::Answer
GatewayProgram::ask(std::string const& method, std::string const& path, json::value const& body) const
{
    std::vector<std::string> const headers = {authorization(), "Content-Type: application/json"};
    HttpAnswer const answer = httpCall(method, url(path), headers, body.is_null() ? "" : writeJson(body));
    return {answer.status, parseJson(answer.body).value_or(nullptr)};
}

std::string GatewayProgram::authorization() const
{
    return contentOf(folder / "authorization.header");
}

std::string GatewayProgram::consoleLink() const
{
    std::string link = desktop.run({ZELVO_GATEWAY, "console-link", "--data", folder.string()});
    link.resize(link.find_last_not_of('\n') + 1);
    return link;
}

std::string GatewayProgram::newLink(std::vector<std::string> const& scopes) const
{
    json::array asked;
    for (std::string const& scope : scopes)
        asked.emplace_back(scope);
    json::object wanted{{"endUserId", "test"}, {"scopes", std::move(asked)}};
    Answer const made = ask("POST", "/v1/link-sessions", wanted);
    return "zelvo://link?token=" + std::string(made.body.at("code").as_string());
}

std::vector<std::string> GatewayProgram::connections() const
{
    std::vector<std::string> ids;
    Answer const answer = ask("GET", "/v1/connections");
    for (json::value const& one : answer.body.at("data").as_array())
        ids.emplace_back(one.at("id").as_string());
    return ids;
}

GatewayProgram::Provisioned GatewayProgram::provision() const
{
    Answer const answer = ask("POST", "/v1/cloud-machines", json::object());
    auto const text = [&](char const* key) { return std::string(answer.body.at(key).as_string()); };
    return {.token = text("machineToken"), .connection = text("connectionId"), .machine = text("machineId")};
}

GatewayProgram::Answer
GatewayProgram::command(std::string const& connection, std::string const& method, json::object params) const
{
    json::object body{{"method", method}, {"params", std::move(params)}};
    return ask("POST", "/v1/connections/" + connection + "/commands", body);
}

bool GatewayProgram::isOnline(std::string const& connection) const
{
    return command(connection, "display.info").status == 200;
}

bool GatewayProgram::comesOnline(std::string const& connection, std::chrono::milliseconds longest) const
{
    return waitFor([&] { return isOnline(connection); }, longest);
}

} // namespace zelvo::test
