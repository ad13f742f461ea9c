#include "gateway/support/Program.h"

#include "gateway/support/FakeMachine.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <sstream>
#include <thread>

namespace zelvo::service {
namespace {

int sessionBegunWith(std::uint16_t port, std::string const& code)
{
    return request(port, "POST", "/console/session", R"({"code":")" + code + R"("})",
                   {{"Origin", "http://127.0.0.1:" + std::to_string(port)}})
        .status;
}

TEST(Program, endsCleanlyWithEachSignal)
{
    for (int const signal : {SIGTERM, SIGINT}) {
        Place place;
        Program gateway(place.out("log"), place.serve());
        ASSERT_EQ(request(place.port(), "GET", "/").status, 200);

        gateway.send(signal);

        EXPECT_EQ(gateway.wait(), 0);
        EXPECT_NE(gateway.text().find("stopped"), std::string::npos);
    }
}

/// Whether nothing listens any more.
bool isRefused(std::uint16_t port)
{
    try {
        RawConnection const probe(port);
        return false;
    } catch (std::runtime_error const&) {
        return true;
    }
}

/// A gateway with a machine that leaves a command unanswered.
class ProgramWithCommand : public testing::Test {
protected:
    explicit ProgramWithCommand(std::string const& stopTimeout = "60")
        : gateway(place.out("log"), commandLine(stopTimeout)), port(place.port()),
          made(provisioned(place, "made")), machine(thread, port, made.token)
    {
        machine.onFrame([this](json::object const& frame) -> std::optional<json::object> {
            command = std::string(frame.at("id").as_string());
            isWaiting = true;
            return std::nullopt;
        });
        EXPECT_EQ(machine.status(), 101);
        caller = std::thread(
            [this] { answer = request(port, "POST", made.path, R"({"method": "x"})", place.key()); });
        EXPECT_TRUE(becomes([this] { return isWaiting.load(); }));
    }
    ~ProgramWithCommand() override
    {
        gateway.send(SIGKILL);
        if (caller.joinable())
            caller.join();
    }
    std::vector<std::string> commandLine(std::string const& stopTimeout) const
    {
        auto all = place.serve();
        all.insert(all.end(), {"--stop-timeout", stopTimeout});
        return all;
    }

    Place place;
    Program gateway;
    std::uint16_t port;
    Provisioned made;
    std::atomic<bool> isWaiting = false;
    std::string command;
    MachineThread thread;
    FakeMachine machine;
    Answer answer;
    std::thread caller;
};

TEST_F(ProgramWithCommand, endsCleanlyOnceItIsAnswered)
{
    gateway.send(SIGTERM);
    EXPECT_TRUE(becomes([&] { return isRefused(port); }));
    machine.sendText(writeJson(json::object{{"id", command}, {"result", 7}}));

    EXPECT_EQ(gateway.wait(), 0);
    caller.join();
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(machine.closeCode(), 1012);
}

TEST_F(ProgramWithCommand, endsWithASecondSignalAtOnce)
{
    gateway.send(SIGTERM);
    EXPECT_TRUE(becomes([&] { return isRefused(port); }));
    gateway.send(SIGTERM);

    EXPECT_TRUE(gateway.endsWithin(std::chrono::seconds(15)));
    EXPECT_EQ(gateway.wait(), 0);
}

class ProgramWithLittlePatience : public ProgramWithCommand {
protected:
    ProgramWithLittlePatience() : ProgramWithCommand("1") {}
};

TEST_F(ProgramWithLittlePatience, answersWithAnErrorInTheEnd)
{
    gateway.send(SIGTERM);

    EXPECT_EQ(gateway.wait(), 0);
    caller.join();
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.errorCode(), "machine_offline");
    EXPECT_EQ(machine.closeCode(), 1012);
    EXPECT_NE(gateway.text().find("stops in spite of open requests or commands (1)"), std::string::npos);
}

TEST(Program, logsWhatFailsHereWithoutWhatWasSent)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();
    Provisioned const made = provisioned(place, "made");
    Headers const who = place.key();

    Answer const failed = request(port, "POST", made.path + "?a=secret",
                                  R"({"method":"shell.run","params":{"command":"secret"}})", who);
    Answer const refused = request(port, "GET", "/v1/machines/secret", "", who);

    ASSERT_EQ(failed.status, 503);
    ASSERT_EQ(refused.status, 404);
    std::string const line = "zelvo-gateway: " + failed.headers.at("x-request-id") +
                             " POST /v1/connections/*/commands 503 machine_offline\n";
    EXPECT_TRUE(becomes([&] { return gateway.text().find(line) != std::string::npos; })) << gateway.text();
    for (std::string const& unwanted :
         {refused.headers.at("x-request-id"), std::string("secret"), place.apiKey(), made.connectionId})
        EXPECT_EQ(gateway.text().find(unwanted), std::string::npos) << unwanted;
}

TEST(Program, provisionsAMachineBesideTheRunningGateway)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    place.port();

    Program made(place.out("made"), {"provision", "--data", place.data, "--token-file", place.out("token")});
    ASSERT_EQ(made.wait(), 0);

    std::string const token = contentOf(place.out("token"));
    EXPECT_EQ(token.size(), 64u);
    EXPECT_EQ(made.text().find(token), std::string::npos);
    EXPECT_NE(made.text().find("connection con_"), std::string::npos);
    struct stat status{};
    ASSERT_EQ(::stat(place.out("token").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    MachineThread thread;
    FakeMachine machine(thread, place.port(), token);
    EXPECT_EQ(machine.status(), 101);
}

/// What a run of the program for keys printed.
std::string printedBy(Place const& place, std::vector<std::string> arguments, int expected = 0)
{
    arguments.insert(arguments.begin(), "keys");
    arguments.insert(arguments.end(), {"--data", place.data});
    Program program(place.out("printed"), std::move(arguments));
    EXPECT_EQ(program.wait(), expected);
    return program.text();
}

/// The rest of the line that begins with `word`.
std::string lineOf(std::string const& text, std::string const& word)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(word + " "))
            return line.substr(word.size() + 1);
    return {};
}

int statusWith(std::uint16_t port, std::string const& key)
{
    return request(port, "GET", "/v1/connections", "", {{"Authorization", "Bearer " + key}}).status;
}

TEST(Program, makesListsAndRevokesKeysBesideTheRunningGateway)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();

    std::string const made = printedBy(place, {"add", "--name", "Acme", "--end-user", "ada"});
    std::string const key = lineOf(made, "key");
    std::string const id = lineOf(made, "id");
    EXPECT_EQ(statusWith(port, key), 200);

    std::string const listed = printedBy(place, {"list"});
    EXPECT_NE(listed.find(id + "\t" + key.substr(0, 11) + "\tAcme\tend user ada\t"), std::string::npos)
        << listed;
    EXPECT_NE(listed.find("key_builtin\t"), std::string::npos) << listed;
    EXPECT_EQ(listed.find(key), std::string::npos);

    EXPECT_EQ(printedBy(place, {"revoke", id}), "revoked " + id + "\n");
    EXPECT_EQ(statusWith(port, key), 401);
    EXPECT_EQ(printedBy(place, {"revoke", id}, 1), "zelvo-gateway: There is no such key, or it is revoked\n");
    EXPECT_NE(printedBy(place, {"revoke", "key_builtin"}, 1).find("remove the file"), std::string::npos);
    EXPECT_NE(
        printedBy(place, {"add", "--name", "a", "--connection", "con_9"}, 1).find("no connection \"con_9\""),
        std::string::npos);
}

TEST(Program, writesAKeyOnlyIntoTheFileThatIsNamed)
{
    Place place;

    std::string const made = printedBy(place, {"add", "--name", "Acme", "--key-file", place.out("key")});

    std::string key = contentOf(place.out("key"));
    ASSERT_EQ(key.size(), 68u);
    key.pop_back();
    EXPECT_EQ(lineOf(made, "key"), "");
    EXPECT_EQ(made.find(key), std::string::npos);
    struct stat status{};
    ASSERT_EQ(::stat(place.out("key").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    Program gateway(place.out("log"), place.serve()); // A key that was made before the gateway ran.
    EXPECT_EQ(statusWith(place.port(), key), 200);
}

// As a disk that no longer answers does.
TEST(Program, endsAlsoWhileItsWorkHangs)
{
    Place place;
    auto arguments = place.serve();
    arguments.insert(arguments.end(), {"--stop-timeout", "0"});
    Program gateway(place.out("log"), arguments);
    std::uint16_t const port = place.port();
    std::string const path = recordingOf(place, provisioned(place, "a"));
    for (auto const& file : std::filesystem::directory_iterator(place.data + "/recordings")) {
        std::filesystem::remove(file.path());
        ASSERT_EQ(::mkfifo(file.path().c_str(), 0600), 0); // Opening it waits for a writer.
    }
    RawConnection const viewer(port);
    viewer.send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ASSERT_EQ(request(port, "GET", "/").status, 200);

    gateway.send(SIGTERM);

    EXPECT_TRUE(gateway.endsWithin(std::chrono::seconds(30)));
    EXPECT_NE(gateway.text().find("work that hangs"), std::string::npos) << gateway.text();
}

std::string listOf(std::size_t bytes)
{
    std::string text = "[0";
    text.reserve(bytes + 8);
    while (text.size() < bytes)
        text += "],[0";
    return text + "]";
}

constexpr std::size_t maxFlood = 191_MiB;

using Flood = std::shared_ptr<std::string const>;

Flood nestedFlood()
{
    return std::make_shared<std::string const>(R"({"id":"x","result":[)" + listOf(maxFlood) + "]}");
}

/// Lets machines answer one command each with these messages, in turn, as text and as bytes. Returns by how
/// many MiB the gateway's memory grew at most.
double growthInAFlood(std::size_t count, std::vector<Flood> const& messages)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();
    MachineThread thread;
    std::vector<Provisioned> made;
    std::vector<std::unique_ptr<FakeMachine>> machines;
    for (std::size_t i = 0; i < count; ++i) {
        made.push_back(provisioned(place, std::to_string(i)));
        machines.push_back(std::make_unique<FakeMachine>(thread, port, made.back().token));
        EXPECT_EQ(machines.back()->status(), 101);
    }
    double const before = gateway.memory("RssAnon");
    std::vector<std::thread> callers;
    for (std::size_t i = 0; i < count; ++i) {
        machines[i]->onFrame(
            [machine = machines[i].get(), &sent = messages[i % messages.size()]](json::object const& frame) {
                machine->sendBoth(sent); // No reply to any command, but while one is owed.
                machine->sendText(writeJson(json::object{{"id", frame.at("id")}, {"result", nullptr}}));
                return std::nullopt;
            });
        callers.emplace_back([&, path = made[i].path] {
            request(port, "POST", path, R"({"method":"files.download"})", place.key());
        });
    }
    for (std::unique_ptr<FakeMachine> const& machine : machines)
        EXPECT_TRUE(becomes([&] { return !machine->frames().empty(); }));
    EXPECT_EQ(request(port, "GET", "/v1/connections", "", place.key()).status, 200);
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(request(port, "GET", "/v1/connections", "", place.key()).status, 200);
    return gateway.memory("VmHWM") - before;
}

// Without the budget it takes half as much again as the bound allows.
TEST(Program, livesThroughAFloodOfManyMachinesInBoundedMemory)
{
    auto const text =
        std::make_shared<std::string const>(R"({"id":"x","result":")" + std::string(maxFlood, 'A') + "\"}");

    EXPECT_LT(growthInAFlood(8, {nestedFlood(), text}), 1100);
}

// Without the limit of the values in a message it takes eight times the bound.
TEST(Program, livesThroughAMessageOfManyValuesInBoundedMemory)
{
    EXPECT_LT(growthInAFlood(1, {nestedFlood()}), 600);
}

TEST(Program, givesMemoryBackAfterLargeWork)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();
    Provisioned const made = provisioned(place, "a");
    MachineThread thread;
    FakeMachine machine(thread, port, made.token);
    ASSERT_EQ(machine.status(), 101);
    auto const list = parseJson("[" + listOf(1_MiB) + "]"); // Many small pieces of memory.
    ASSERT_TRUE(list);
    machine.onFrame([&](json::object const&) { return resultOf(*list); });
    double const before = gateway.memory("RssAnon");

    // What begins during the work and stays keeps the allocator from giving back the memory before it.
    std::vector<std::thread> callers;
    std::vector<std::unique_ptr<RawConnection>> guests;
    for (int i = 0; i < 6; ++i)
        callers.emplace_back([&] {
            for (int round = 0; round < 3; ++round)
                request(port, "POST", made.path, R"({"method":"files.download"})", place.key());
        });
    for (int i = 0; i < 60; ++i) {
        guests.push_back(std::make_unique<RawConnection>(port));
        guests.back()->send("GET /locked HTTP/1.1\r\nHost: localhost\r\n\r\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // They arrive all through the work.
    }
    for (std::thread& caller : callers)
        caller.join();

    bool isBack = false;
    for (int second = 0; second < 90 && !isBack; ++second) { // It looks once a minute.
        isBack = gateway.memory("RssAnon") < before + 20;
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    EXPECT_TRUE(isBack) << gateway.memory("RssAnon") << " MiB, " << before << " before";
}

TEST(Program, printsATokenWhenNoFileIsGiven)
{
    Place place;

    Program made(place.out("made"), {"provision", "--data", place.data});

    EXPECT_EQ(made.wait(), 0);
    EXPECT_NE(made.text().find("\ntoken "), std::string::npos);
}

TEST(Program, printsAConsoleLinkThatWorks)
{
    Place place;
    Program gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();

    Program link(place.out("link"), {"console-link", "--data", place.data});
    ASSERT_EQ(link.wait(), 0);
    std::string text = link.text();
    text.pop_back();

    ASSERT_TRUE(text.starts_with("http://127.0.0.1:" + std::to_string(port) + "/open#")) << text;
    EXPECT_EQ(sessionBegunWith(port, text.substr(text.find('#') + 1)), 201);
}

TEST(Program, printsAConsoleLinkAtItsStart)
{
    Place place;
    auto arguments = place.serve();
    arguments.emplace_back("--print-console-link");
    Program gateway(place.out("log"), arguments);
    std::uint16_t const port = place.port();

    ASSERT_TRUE(becomes([&] { return gateway.text().find("/open#") != std::string::npos; }));
    std::string const text = gateway.text();

    EXPECT_EQ(sessionBegunWith(port, text.substr(text.find('#') + 1, 64)), 201);
    EXPECT_EQ(text.find(contentOf(std::filesystem::path(place.data) / "api-key")), std::string::npos);
}

TEST(Program, saysWhatIsWrong)
{
    Place place;
    Program flag(place.out("flag"), {"--bad"});
    EXPECT_EQ(flag.wait(), 2);
    EXPECT_EQ(flag.text(), "zelvo-gateway: unknown flag --bad\nzelvo-gateway: --help lists the flags\n");

    Program address(place.out("address"), {"--data", place.data, "--listen", "nowhere"});
    EXPECT_EQ(address.wait(), 2);
    EXPECT_NE(address.text().find("--listen: an address such as 127.0.0.1 or :: is needed, not \"nowhere\""),
              std::string::npos);

    Program link(place.out("link"), {"console-link", "--data", place.data});
    EXPECT_EQ(link.wait(), 1);
    EXPECT_NE(link.text().find("no gateway is running"), std::string::npos);
}

TEST(Program, saysThatThePortIsTaken)
{
    Place first;
    Program gateway(first.out("log"), first.serve());
    Place second;

    Program other(second.out("log"), {"--data", second.data, "--port", std::to_string(first.port())});

    EXPECT_EQ(other.wait(), 1);
    EXPECT_NE(other.text().find("Address already in use"), std::string::npos);
}

TEST(Program, keepsItsStateThroughASuddenEnd)
{
    Place place;
    {
        Program gateway(place.out("log"), place.serve());
        place.port();
        Program made(place.out("made"),
                     {"provision", "--data", place.data, "--token-file", place.out("token")});
        ASSERT_EQ(made.wait(), 0);
        gateway.send(SIGKILL);
        gateway.wait();
    }
    std::filesystem::remove(place.out("port"));

    Program again(place.out("log"), place.serve());
    MachineThread thread;
    FakeMachine machine(thread, place.port(), contentOf(place.out("token")));

    EXPECT_EQ(machine.status(), 101);
}

} // namespace
} // namespace zelvo::service
