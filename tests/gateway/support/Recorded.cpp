#include "gateway/support/Recorded.h"

#include <algorithm>

namespace zelvo::service {

Recorded::Recorded(std::function<void(Settings&)> const& change)
    : gateway(change), linked(linkWith(R"(["screen","record"])"))
{
    EXPECT_EQ(share(true).status, 200);
}

LinkedMachine Recorded::linkWith(std::string const& scopes) const
{
    std::string const code = gateway.newLink(scopes);
    json::value const resolved = gateway.resolve(code).json();
    LinkedMachine machine;
    machine.machineId = std::string(resolved.at("machineId").as_string());
    machine.token = std::string(resolved.at("machineToken").as_string());
    machine.connectionId =
        std::string(gateway.complete(code, machine.token, scopes).json().at("connectionId").as_string());
    return machine;
}

Answer Recorded::post(std::string const& path, json::value const& body) const
{
    return post(path, body, {{"Authorization", "Bearer " + linked.token}, {"X-Zelvo-App-Version", "0.1.0"}});
}

Answer Recorded::post(std::string const& path, json::value const& body, Headers headers) const
{
    return gateway.call("POST", "/machines/recordings" + path, writeJson(body), std::move(headers));
}

Answer Recorded::share(bool shared) const
{
    return post("/sharing", {{"connectionId", linked.connectionId}, {"shared", shared}});
}

json::object Recorded::announcement(std::int64_t bytes) const
{
    return {{"connectionId", linked.connectionId}, {"durationSec", 12.375}, {"sizeBytes", bytes}};
}

Recorded::Announced Recorded::announce(std::int64_t bytes) const
{
    json::value const answer = post("", announcement(bytes)).json();
    std::string const url(answer.at("uploadUrl").as_string());
    return {std::string(answer.at("recordingId").as_string()), url.substr(url.find("/uploads/"))};
}

Answer Recorded::put(std::string const& path, std::string const& body, std::string const& type) const
{
    return gateway.call("PUT", path, body, {{"Content-Type", type}});
}

Answer Recorded::complete(std::string const& id) const
{
    return post("/complete", {{"recordingId", id}});
}

std::string Recorded::headOf(std::string const& path, std::size_t bytes)
{
    return "PUT " + path +
           " HTTP/1.1\r\nHost: localhost\r\nContent-Type: video/mp4\r\nConnection: "
           "close\r\nContent-Length: " +
           std::to_string(bytes) + "\r\n\r\n";
}

std::string Recorded::recording(std::string const& content) const
{
    Announced const recording = announce(static_cast<std::int64_t>(content.size()));
    EXPECT_EQ(put(recording.path, content).status, 200);
    EXPECT_EQ(complete(recording.id).status, 200);
    return recording.id;
}

json::value Recorded::recordOf(std::string const& id) const
{
    return gateway.platform("GET", "/v1/recordings/" + id).json();
}

std::string Recorded::stateOf(std::string const& id) const
{
    return std::string(recordOf(id).at("status").as_string());
}

std::string Recorded::addressOf(std::string const& id) const
{
    std::string const url(recordOf(id).at("url").as_string());
    return url.substr(url.find("/films/"));
}

std::vector<std::string> Recorded::files() const
{
    std::vector<std::string> names;
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator(folder(), error))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

} // namespace zelvo::service
