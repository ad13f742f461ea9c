#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The page that plays recordings, behind the console's lock. A browser test would be needed for its looks and
// playback.

namespace zelvo::service {
namespace {

using testing::HasSubstr;

TEST(RecordingPage, isLockedWithoutTheCookie)
{
    Gateway gateway;

    Answer const locked = gateway.call("GET", "/recordings");
    Answer const open = gateway.call("GET", "/recordings", "", {gateway.consoleCookie()});

    EXPECT_EQ(locked.status, 401);
    EXPECT_THAT(locked.body, HasSubstr("zelvo-gateway console-link"));
    EXPECT_EQ(open.status, 200);
    EXPECT_THAT(open.body, HasSubstr("/page/recordings.js"));
}

TEST(RecordingPage, mayPlayRecordingsOfThisGatewayOnly)
{
    Gateway gateway;

    Answer const page = gateway.call("GET", "/recordings", "", {gateway.consoleCookie()});

    EXPECT_THAT(page.headers.at("content-security-policy"), HasSubstr("; media-src 'self';"));
    EXPECT_THAT(page.headers.at("content-security-policy"), HasSubstr("default-src 'none'"));
    for (char const* const part : {"<script>", "<style", " style=", " onclick="})
        EXPECT_EQ(page.body.find(part), std::string::npos) << part;
    EXPECT_EQ(gateway.call("GET", "/recordings", "", {{"Origin", "http://evil.example"}}).status, 403);
}

// Names of machines and end users come from outside, and must be escaped everywhere.
TEST(RecordingPage, makesNoMarkupOfNames)
{
    Gateway gateway;

    for (char const* const script : {"recordings.js", "gateway.js", "console.js", "screen.js", "input.js"}) {
        Answer const answer = gateway.call("GET", std::string("/page/") + script);
        ASSERT_EQ(answer.status, 200);
        for (char const* const way : {"innerHTML", "outerHTML", "insertAdjacentHTML", "document.write",
                                      "createContextualFragment", "eval(", "Function("})
            EXPECT_EQ(answer.body.find(way), std::string::npos) << script << ": " << way;
    }
}

TEST(RecordingPage, isReachedFromTheConsole)
{
    Gateway gateway;

    EXPECT_THAT(gateway.call("GET", "/", "", {gateway.consoleCookie()}).body,
                HasSubstr(R"(<a href="/recordings">)"));
}

} // namespace
} // namespace zelvo::service
