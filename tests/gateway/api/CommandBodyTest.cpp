#include "ZelvoGateway/api/CommandBody.h"

#include "ZelvoGateway/http/HttpError.h"

#include <gtest/gtest.h>

#include <map>

namespace zelvo::service {
namespace {

PlatformCommand readText(std::string const& text)
{
    return readCommand(parseJson(text)->as_object());
}

/// The message of the refusal; empty if the body is accepted.
std::string refusal(std::string const& delivery)
{
    try {
        readText(R"({"method": "x", "delivery": )" + delivery + "}");
    } catch (HttpError const& error) {
        EXPECT_EQ(error.code, ErrorCode::invalidRequest) << delivery;
        return error.message;
    }
    return "";
}

TEST(CommandBody, readsDeliveryOptions)
{
    auto const command = readText(R"({"method": "shell.run", "delivery":
        {"whenUnavailable": "queue", "ttlSeconds": 90, "confirmationTimeoutMs": 5000}})");

    EXPECT_TRUE(command.mayBeQueued());
    EXPECT_FALSE(command.mustNotWait());
    EXPECT_EQ(command.delivery.ttlSeconds, 90);
    EXPECT_EQ(command.delivery.confirmationTimeoutMs, 5000);
}

TEST(CommandBody, needsNoDeliveryOptions)
{
    for (std::string const delivery : {"null", "{}", R"({"whenUnavailable": null, "ttlSeconds": null})"}) {
        auto const command = readText(R"({"method": "x", "delivery": )" + delivery + "}");
        EXPECT_FALSE(command.mayBeQueued()) << delivery;
        EXPECT_FALSE(command.mustNotWait()) << delivery;
        EXPECT_EQ(command.delivery, records::DeliveryOptions()) << delivery;
    }
    EXPECT_FALSE(readText(R"({"method": "x"})").params);
}

TEST(CommandBody, boundsTheMethod)
{
    auto const body = [](std::size_t length) { return json::object{{"method", std::string(length, 'm')}}; };

    EXPECT_EQ(readCommand(body(100)).method.size(), 100U);
    EXPECT_THROW(readCommand(body(101)), HttpError);
}

TEST(CommandBody, refusesWrongDeliveryOptionsByName)
{
    std::string const ttl = R"("ttlSeconds" must be an integer from 1 to 604800)";
    std::string const confirmation = R"("confirmationTimeoutMs" must be an integer from 1000 to 600000)";
    std::string const when = R"("whenUnavailable" must be "fail" or "queue")";
    std::map<std::string, std::string> const table = {
        {"5", R"("delivery" must be an object)"},
        {"[]", R"("delivery" must be an object)"},
        {R"("queue")", R"("delivery" must be an object)"},
        {R"({"whenUnavailable": "Queue"})", when},
        {R"({"whenUnavailable": "wait"})", when},
        {R"({"whenUnavailable": true})", when},
        {R"({"whenUnavailable": {}})", when},
        {R"({"ttlSeconds": 0})", ttl},
        {R"({"ttlSeconds": -1})", ttl},
        {R"({"ttlSeconds": 604801})", ttl},
        {R"({"ttlSeconds": 1.5})", ttl},
        {R"({"ttlSeconds": "60"})", ttl},
        {R"({"ttlSeconds": 9223372036854775807})", ttl},
        {R"({"ttlSeconds": 1e300})", ttl},
        {R"({"confirmationTimeoutMs": 999})", confirmation},
        {R"({"confirmationTimeoutMs": 600001})", confirmation},
        {R"({"confirmationTimeoutMs": false})", confirmation},
        {R"({"ttl": 60})", R"("ttl" is no delivery option)"},
        {R"({"WhenUnavailable": "queue"})", R"("WhenUnavailable" is no delivery option)"}};

    for (auto const& [delivery, words] : table)
        EXPECT_EQ(refusal(delivery), words) << delivery;
}

TEST(CommandBody, takesTheBoundsThemselves)
{
    EXPECT_EQ(refusal(R"({"ttlSeconds": 1, "confirmationTimeoutMs": 1000})"), "");
    EXPECT_EQ(refusal(R"({"ttlSeconds": 604800, "confirmationTimeoutMs": 600000})"), "");
    EXPECT_EQ(refusal(R"({"ttlSeconds": 60.0})"), ""); // The same integer, written otherwise.
}

TEST(CommandBody, saysWhereAMisplacedOptionBelongs)
{
    for (std::string const key : {"whenUnavailable", "ttlSeconds", "confirmationTimeoutMs"}) {
        try {
            readText(R"({"method": "x", ")" + key + R"(": "queue"})");
            ADD_FAILURE() << key;
        } catch (HttpError const& error) {
            EXPECT_EQ(error.message, "\"" + key + R"(" belongs into "delivery")");
        }
    }
}

} // namespace
} // namespace zelvo::service
