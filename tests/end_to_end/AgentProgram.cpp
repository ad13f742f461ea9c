#include "end_to_end/AgentProgram.h"

#include <csignal>
#include <fstream>
#include <iterator>

namespace zelvo::test {

namespace fs = std::filesystem;

namespace {

void write(fs::path const& file, std::string const& content)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

/// Where `make run` starts its copy. The homes of tests are in /tmp, where the program would ask whether to
/// move.
constexpr char const* tryingFolder = "build/run/bin";

} // namespace

AgentProgram::AgentProgram(PrivateSession& desktop, std::uint16_t port, fs::path const& folder)
    : desktop(desktop), program(folder.empty() ? placeOn(desktop) : folder / "zelvo-agent")
{
    fs::create_directories(program.parent_path());
    fs::copy_file(ZELVO_AGENT, program);
    pointTo(port);
    store("zelvo.welcomeSeen", true); // The welcome window would take the keyboard from the applications.
}

fs::path AgentProgram::placeOn(PrivateSession const& desktop)
{
    return desktop.home() / tryingFolder / "zelvo-agent";
}

void AgentProgram::pointTo(std::uint16_t port, Scheme scheme)
{
    std::string const rest = (scheme == Scheme::tls ? "s" : "") + ("://127.0.0.1:" + std::to_string(port));
    json::object const information{{"ZelvoGatewayURL", "ws" + rest},
                                   {"ZelvoConsoleURL", "http" + rest},
                                   {"CFBundleShortVersionString", "1.2.3"}};
    write(program.parent_path() / "Info.json", writeJson(information));
}

void AgentProgram::makeUnattended(std::string const& token)
{
    write(tokenFile(), token);
    fs::permissions(tokenFile().parent_path(), fs::perms::owner_all);
    fs::permissions(tokenFile(), fs::perms::owner_read | fs::perms::owner_write);
    store("ZelvoMode", "cloud");
}

void AgentProgram::store(std::string const& key, json::value const& value)
{
    write(defaults() / (key + ".json"), writeJson(value));
}

fs::path AgentProgram::tokenFile() const
{
    return desktop.dataHome() / "dev.zelvo.agent" / "keychain" / "dev.zelvo.agent.machine_token";
}

void AgentProgram::start(std::vector<std::string> arguments, Environment extra)
{
    arguments.insert(arguments.begin(), program.string());
    process = desktop.start(std::move(arguments), std::move(extra));
}

void AgentProgram::waitUntilItRuns()
{
    require("the agent", [&] { return desktop.hasOwner("dev.zelvo.agent"); });
}

void AgentProgram::update()
{
    fs::path const next = program.string() + ".new";
    fs::copy_file(ZELVO_AGENT, next);
    fs::rename(next, program);
}

int AgentProgram::startAgain(std::vector<std::string> arguments)
{
    return desktop.processes().waitForEnd(startBeside(std::move(arguments)), 10);
}

pid_t AgentProgram::startBeside(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), program.string());
    return desktop.start(std::move(arguments));
}

void AgentProgram::kill()
{
    desktop.processes().end(process, SIGKILL);
}

int AgentProgram::end(int signal)
{
    ::kill(process, signal);
    return desktop.processes().waitForEnd(process, 10);
}

bool AgentProgram::isRunning()
{
    return desktop.processes().isRunning(process);
}

json::value AgentProgram::setting(std::string const& key) const
{
    std::ifstream stream(defaults() / (key + ".json"), std::ios::binary);
    std::string const content{std::istreambuf_iterator<char>(stream), {}};
    return parseJson(content).value_or(nullptr);
}

std::vector<std::string> AgentProgram::activity() const
{
    std::vector<std::string> lines;
    json::value const entries = setting("zelvo.activity");
    if (entries.is_array())
        for (json::value const& entry : entries.as_array())
            lines.emplace_back(entry.at("summary").as_string());
    return lines;
}

} // namespace zelvo::test
