#include "ZelvoGateway/base/Log.h"

#include "wire/Json.h"

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Format = Log::Format;
using Level = Log::Level;

Date const someDate = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 23)) + 19h + 5min +
                      std::chrono::milliseconds(7);

std::string text(std::string_view message, LogFields fields = {})
{
    return Log::line(Format::text, Level::error, message, fields, someDate);
}

json::object parsed(std::string_view message, LogFields fields = {})
{
    return json::parse(Log::line(Format::json, Level::warning, message, fields, someDate)).as_object();
}

TEST(Log, writesWords)
{
    EXPECT_EQ(text("a disk is full"), "zelvo-gateway: a disk is full");
    EXPECT_EQ(text("a disk is full", {{"requestId", "req_1"}}), "zelvo-gateway: a disk is full");
}

TEST(Log, writesObjectsWithTheFields)
{
    std::string const line = Log::line(Format::json, Level::warning, "slow",
                                       {{"requestId", "req_1"}, {"durationMs", 12}}, someDate);

    EXPECT_EQ(line, R"({"time":"2026-11-23T19:05:00.007Z","level":"warning","message":"slow",)"
                    R"("requestId":"req_1","durationMs":12})");
}

TEST(Log, keepsEachLineOne)
{
    EXPECT_EQ(text("a\nzelvo-gateway: b\r\x1b[2J\x7f"),
              "zelvo-gateway: a\\x0azelvo-gateway: b\\x0d\\x1b[2J\\x7f");
    std::string const line = Log::line(Format::json, Level::error, "a\nb", {{"method", "\"},\n{"}}, someDate);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(json::parse(line).at("message").as_string(), "a\nb");
    EXPECT_EQ(json::parse(line).at("method").as_string(), "\"},\n{");
}

TEST(Log, boundsWhatOthersSent)
{
    std::string const large(100'000, 'x');
    EXPECT_LE(text(large).size(), Log::maxMessage + 20);
    EXPECT_EQ(parsed("m", {{"name", large}}).at("name").as_string(), std::string(Log::maxField, 'x') + "...");
    EXPECT_EQ(parsed("m", {{"name", std::string(Log::maxField, 'x')}}).at("name").as_string(),
              std::string(Log::maxField, 'x'));
}

TEST(Log, repairsWhatIsNoText)
{
    EXPECT_EQ(parsed("a\xff\xfe"
                     "b")
                  .at("message")
                  .as_string(),
              "a\uFFFD\uFFFD"
              "b");
    EXPECT_EQ(parsed("m", {{"name", std::string(Log::maxField - 1, 'x') + "\u00e9"
                                                                          "yy"}})
                  .at("name")
                  .as_string()
                  .find('\xc3'),
              json::string::npos); // A character that was cut is no character.
}

TEST(Log, leavesOutLowerLevels)
{
    EXPECT_FALSE(Log::takes(Level::debug));
    EXPECT_TRUE(Log::takes(Level::info));
    Log::use({.format = Format::text, .level = Level::error});
    EXPECT_FALSE(Log::takes(Level::warning));
    EXPECT_TRUE(Log::takes(Level::error));
    Log::use({});
    EXPECT_TRUE(Log::takes(Level::info));
}

} // namespace
} // namespace zelvo::service
