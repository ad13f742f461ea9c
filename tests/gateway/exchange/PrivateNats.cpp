#include "gateway/exchange/PrivateNats.h"

#include "desktop/harness/WaitFor.h"

#include <boost/json/parse.hpp>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zelvo::service {

namespace {

/// Installed, or unpacked by scripts/install-dependencies. Empty if there is none.
std::string program()
{
    for (char const* const path :
         {"/usr/sbin/nats-server", "/usr/bin/nats-server", ZELVO_SERVERS "/usr/sbin/nats-server"})
        if (std::filesystem::exists(path))
            return path;
    return "";
}

} // namespace

std::optional<std::string> PrivateNats::missing()
{
    return program().empty() ? std::optional<std::string>("needs the package nats-server") : std::nullopt;
}

PrivateNats::PrivateNats() : processes("ZELVO_TEST_NATS=" + folder.path.filename().string(), folder.path)
{
    start("-1"); // A free one.
    auto const ports = folder.path / ("nats-server_" + std::to_string(server) + ".ports");
    test::require("the ports of nats-server", [&] {
        std::ifstream file(ports);
        std::string const text{std::istreambuf_iterator<char>(file), {}};
        boost::system::error_code incomplete;
        auto const value = boost::json::parse(text, incomplete);
        if (incomplete)
            return false;
        std::string const address(value.at("nats").at(0).as_string());
        port = address.substr(address.rfind(':') + 1);
        return true;
    });
}

PrivateNats::~PrivateNats() = default;

void PrivateNats::start(std::string const& wantedPort)
{
    server = processes.start(
        {program(), "--addr", "127.0.0.1", "--port", wantedPort, "--ports_file_dir", folder.path.string()},
        {{"ZELVO_TEST_NATS", folder.path.filename().string()}});
}

void PrivateNats::kill()
{
    processes.end(server, SIGKILL);
}

void PrivateNats::restart()
{
    start(port);
}

} // namespace zelvo::service
