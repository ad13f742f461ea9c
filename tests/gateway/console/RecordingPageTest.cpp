#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The page that plays recordings, behind the same session as the console. A browser test would be needed for
// its looks and playback.

namespace zelvo::service {
namespace {

using testing::HasSubstr;

TEST(RecordingPage, asksForItsSession)
{
    Gateway gateway;

    Answer const page = gateway.call("GET", "/recordings");

    EXPECT_EQ(page.status, 200);
    EXPECT_THAT(page.body, HasSubstr("/page/recordings.js"));
    EXPECT_THAT(gateway.call("GET", "/page/recordings.js").body, HasSubstr("requireSession("));
}

TEST(RecordingPage, mayPlayRecordingsOfThisGatewayOnly)
{
    Gateway gateway;

    Answer const page = gateway.call("GET", "/recordings");

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

    for (char const* const script :
         {"recordings.js", "gateway.js", "session.js", "open.js", "console.js", "screen.js", "input.js"}) {
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

    EXPECT_THAT(gateway.call("GET", "/").body, HasSubstr(R"(<a href="/recordings">)"));
}

} // namespace
} // namespace zelvo::service
