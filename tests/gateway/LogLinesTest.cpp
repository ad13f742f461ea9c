#include "gateway/support/FakeMachine.h"
#include "gateway/support/Program.h"

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>

namespace zelvo::service {
namespace {

/// A running gateway whose log has every level, as JSON.
class LogLines : public testing::Test {
protected:
    static std::vector<std::string> arguments(Place const& place)
    {
        auto all = place.serve();
        all.insert(all.end(), {"--log-format", "json", "--log-level", "debug"});
        return all;
    }

    /// The lines of standard error so far; what is no JSON is an empty object.
    std::vector<json::object> lines() const
    {
        std::vector<json::object> all;
        std::istringstream stream(gateway.text());
        for (std::string line; std::getline(stream, line);) {
            if (line.starts_with("zelvo-gateway: listening") || line.starts_with("zelvo-gateway: stopped"))
                continue; // Standard output.
            boost::system::error_code error;
            auto const value = json::parse(line, error);
            all.push_back(error ? json::object() : value.as_object());
        }
        return all;
    }
    /// Those with this value of a field, in their order.
    std::vector<json::object> linesOf(std::string const& field, std::string const& value) const
    {
        std::vector<json::object> found;
        for (json::object const& line : lines())
            if (line.contains(field) && line.at(field) == json::value(value))
                found.push_back(line);
        return found;
    }

    Place place;
    Provisioned const made = provisioned(place, "one");
    Program gateway{place.out("log"), arguments(place)};
    std::uint16_t const port = place.port();
};

TEST_F(LogLines, followARequestToTheMachineAndBack)
{
    MachineThread thread;
    FakeMachine machine(thread, port, made.token);
    ASSERT_EQ(machine.status(), 101);
    Headers headers = place.key();
    headers.emplace_back("X-Request-Id", "deploy-2026.11_23");

    Answer const answer = request(port, "POST", made.path, R"({"method":"cursor.position"})", headers);

    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.headers.at("x-request-id"), "deploy-2026.11_23");
    ASSERT_TRUE(becomes([&] { return linesOf("requestId", "deploy-2026.11_23").size() == 3; }))
        << gateway.text();
    auto const found = linesOf("requestId", "deploy-2026.11_23");
    EXPECT_EQ(found[0].at("frame"), machine.frames().back().at("id"));
    EXPECT_EQ(found[0].at("method"), "cursor.position");
    EXPECT_EQ(found[0].at("connection"), json::value(made.connectionId));
    EXPECT_TRUE(found[0].at("machine").as_string().starts_with("mch_"));
    EXPECT_EQ(found[1].at("outcome"), "done");
    EXPECT_TRUE(found[1].at("durationMs").is_int64());
    EXPECT_EQ(found[2].at("route"), "POST /v1/connections/*/commands");
    EXPECT_EQ(found[2].at("status"), 200);
    EXPECT_EQ(found[2].at("level"), "debug");
}

TEST_F(LogLines, replaceRequestIdsThatAreNoIds)
{
    for (std::string const& id :
         {std::string("short"), std::string(65, 'a'), std::string("with space"),
          std::string("\"},{\"level\":1"), std::string("\x01\x02\x03\x04\x05\x06\x07\x08x")}) {
        Answer const answer = request(port, "GET", "/healthz", "", {{"X-Request-Id", id}});
        if (answer.status == 200)
            EXPECT_TRUE(answer.headers.at("x-request-id").starts_with("req_")) << id;
    }
}

TEST_F(LogLines, haveNoSecretAndNothingOfACaller)
{
    std::string const evil = "evil\\\"}\\n";
    request(port, "POST", made.path, R"({"method":"evil","params":{"evil":"evil"}})", place.key());
    request(port, "GET", "/evil?evil=1", "", {{"X-Evil", evil}});
    request(port, "GET", "/v1/connections/evil", "", place.key());
    request(port, "GET", "/v1/connections", "", {{"Authorization", "Bearer evil"}});
    ASSERT_TRUE(becomes([&] { return lines().size() >= 5; })) << gateway.text();

    EXPECT_EQ(gateway.text().find("evil"), std::string::npos);
    EXPECT_EQ(gateway.text().find(place.apiKey()), std::string::npos);
    EXPECT_EQ(gateway.text().find(made.token), std::string::npos);
    for (json::object const& line : lines())
        for (std::string const name : {"time", "level", "message"})
            EXPECT_TRUE(line.contains(name)) << gateway.text();
}

TEST_F(LogLines, changeTheirFormWithAReload)
{
    std::string const config = place.out("conf");
    Place other;
    std::ofstream(config) << "log-format = json\n";
    auto all = other.serve();
    all.insert(all.end(), {"--config", config});
    Program second(other.out("log"), all);
    other.port();

    std::ofstream(config) << "log-format = text\n";
    second.send(SIGHUP);
    ASSERT_TRUE(second.becomesText("reloaded: log-format changed"));

    // The line about the reload itself may still have the old form.
    EXPECT_TRUE(becomes([&] {
        second.send(SIGHUP);
        return second.text().find("\nzelvo-gateway: reloaded: nothing changed in the settings") !=
               std::string::npos;
    }));
}

} // namespace
} // namespace zelvo::service
