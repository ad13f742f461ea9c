#include "end_to_end/UpdateServer.h"

#include "wire/Json.h"

#include <fstream>
#include <iterator>

namespace zelvo::test {

namespace {

namespace fs = std::filesystem;

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

json::object informationBeside(fs::path const& program)
{
    return parseJson(contentOf(program.parent_path() / "Info.json"))->as_object();
}

void write(fs::path const& file, std::string const& content)
{
    std::ofstream(file, std::ios::binary) << content;
}

} // namespace

std::string versionBeside(fs::path const& program)
{
    return std::string(informationBeside(program).at("CFBundleShortVersionString").as_string());
}

UpdateServer::UpdateServer(PrivateDesktop& desktop)
    : desktop(desktop), folder(desktop.home() / "publisher"), served(folder / "served")
{
    fs::create_directories(served);
    desktop.run({"openssl", "genpkey", "-algorithm", "ed25519", "-out", folder / "key.pem"});
    fs::permissions(folder / "key.pem", fs::perms::owner_read | fs::perms::owner_write);
    desktop.run({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                 "-days", "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                 folder / "tls.key", "-out", folder / "tls.pem"});
    publicKey = makeFeed({"--print-public-key"});
    publicKey.erase(publicKey.find_last_not_of('\n') + 1);
    process = desktop.start({"/usr/bin/python3", ZELVO_UPDATE_SERVER, served, folder / "tls.pem",
                             folder / "tls.key", folder / "port"});
    require("the server of updates", [&] { return fs::exists(folder / "port"); });
    address = "https://localhost:" + contentOf(folder / "port");
}

std::string UpdateServer::makeFeed(std::vector<std::string> const& arguments) const
{
    std::vector<std::string> command{"/usr/bin/python3", ZELVO_MAKE_FEED, "--key", folder / "key.pem"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return desktop.run(command);
}

Environment UpdateServer::environment() const
{
    return {{"SSL_CERT_FILE", (folder / "tls.pem").string()}};
}

void UpdateServer::setSlow(bool slow) const
{
    if (slow)
        write(served / "slow", "");
    else
        fs::remove(served / "slow");
}

void UpdateServer::prepare(AgentProgram& agent, std::string const& version) const
{
    json::object information = informationBeside(agent.file());
    information["CFBundleShortVersionString"] = version;
    information["SUFeedURL"] = address + "/zelvo-agent.json";
    information["SUPublicEDKey"] = publicKey;
    write(agent.file().parent_path() / "Info.json", writeJson(information));
}

fs::path UpdateServer::archive(AgentProgram const& agent, std::string const& version) const
{
    fs::path const content = folder / "content" / "zelvo-agent";
    fs::create_directories(content);
    desktop.run({"strip", "-o", content / "zelvo-agent", agent.file()});
    json::object information = informationBeside(agent.file());
    information["CFBundleShortVersionString"] = version;
    write(content / "Info.json", writeJson(information));
    write(content / "LICENSE", "The licence.\n");
    fs::path const made = served / ("zelvo-agent-" + version + "-linux-x86_64.tar.xz");
    desktop.run({"tar", "-C", folder / "content", "-I", "xz -0", "-cf", made, "zelvo-agent"});
    return made;
}

void UpdateServer::publish(AgentProgram const& agent, std::string const& version) const
{
    write(folder / "notes", "What is new in " + version);
    makeFeed({"--version", version, "--base", address, "--notes", folder / "notes", "--out",
              served / "zelvo-agent.json", archive(agent, version)});
}

} // namespace zelvo::test
