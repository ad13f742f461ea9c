#include "gateway/support/Program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace zelvo::service {

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> all;
    for (std::string& text : texts)
        all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

} // namespace

Program::Program(std::filesystem::path output, std::vector<std::string> arguments, Options options)
    : output(std::move(output))
{
    arguments.insert(arguments.begin(), ZELVO_GATEWAY_PROGRAM);
    for (char** each = environ; *each; ++each)
        options.environment.emplace_back(*each);
    auto const raw = pointersTo(arguments);
    auto const variables = pointersTo(options.environment);
    pid = ::fork();
    if (pid == 0) {
        int const file = ::open(this->output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(file, 1);
        ::dup2(file, 2);
        if (options.input >= 0)
            ::dup2(options.input, 0);
        ::execve(raw.front(), raw.data(), variables.data());
        ::_exit(127);
    }
}

Program::~Program()
{
    if (pid > 0)
        ::kill(pid, SIGKILL);
    wait();
}

void Program::send(int signal) const
{
    if (pid > 0)
        ::kill(pid, signal);
}

double Program::memory(std::string const& name) const
{
    std::istringstream lines(contentOf("/proc/" + std::to_string(pid) + "/status"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1)) / 1024;
    return -1;
}

int Program::wait()
{
    if (pid > 0)
        ::waitpid(std::exchange(pid, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool Program::endsWithin(std::chrono::seconds patience)
{
    auto const end = std::chrono::steady_clock::now() + patience;
    while (pid > 0 && std::chrono::steady_clock::now() < end) {
        if (::waitpid(pid, &status, WNOHANG) == pid)
            pid = 0;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(50)); // waitpid() has no time-out.
    }
    return pid == 0;
}

bool Program::becomesText(std::string const& part) const
{
    return becomes([&] { return text().find(part) != std::string::npos; });
}

std::uint16_t Place::port() const
{
    becomes([this] { return !contentOf(folder.path / "port").empty(); });
    return static_cast<std::uint16_t>(std::stoi(contentOf(folder.path / "port")));
}

std::string Place::apiKey() const
{
    std::string key = contentOf(std::filesystem::path(data) / "api-key");
    key.pop_back();
    return key;
}

Provisioned provisioned(Place const& place, std::string const& name)
{
    Program(place.out(name), {"provision", "--data", place.data, "--token-file", place.out(name + ".token"),
                              "--connection-file", place.out(name + ".connection")})
        .wait();
    std::string connection = contentOf(place.out(name + ".connection"));
    connection.pop_back();
    return {.token = contentOf(place.out(name + ".token")),
            .connectionId = connection,
            .path = "/v1/connections/" + connection + "/commands"};
}

std::string recordingOf(Place const& place, Provisioned const& made)
{
    std::uint16_t const port = place.port();
    Headers const token{{"Authorization", "Bearer " + made.token}, {"X-Zelvo-App-Version", "0.1.0"}};
    std::string const connection = R"("connectionId":")" + made.connectionId + "\"";
    request(port, "POST", "/machines/recordings/sharing", "{" + connection + R"(,"shared":true})", token);
    json::value const announced = request(port, "POST", "/machines/recordings",
                                          "{" + connection + R"(,"durationSec":1,"sizeBytes":6})", token)
                                      .json();
    std::string const upload(announced.at("uploadUrl").as_string());
    std::string const id(announced.at("recordingId").as_string());
    request(port, "PUT", upload.substr(upload.find("/uploads/")), "a film", {{"Content-Type", "video/mp4"}});
    request(port, "POST", "/machines/recordings/complete", R"({"recordingId":")" + id + "\"}", token);
    json::value const record = request(port, "GET", "/v1/recordings/" + id, "", place.key()).json();
    std::string const url(record.at("url").as_string());
    return url.substr(url.find("/films/"));
}

} // namespace zelvo::service
