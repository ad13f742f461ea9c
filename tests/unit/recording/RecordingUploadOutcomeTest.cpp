#include "recording/RecordingUploadOutcome.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Outcome = RecordingUploadOutcome;

TEST(RecordingUploadOutcome, isDoneForEverySuccess)
{
    for (int const status : {200, 201, 204, 299})
        EXPECT_EQ(Outcome::classify(status, std::nullopt), Outcome::done()) << status;
    EXPECT_EQ(Outcome::classify(200, "scope_denied"), Outcome::done());
}

TEST(RecordingUploadOutcome, keepsLocalWhatAnotherTryWouldNotChange)
{
    for (int const status : {400, 401, 403, 404, 409, 413}) {
        EXPECT_EQ(Outcome::classify(status, std::nullopt),
                  Outcome::keepLocal("http_" + std::to_string(status)));
        EXPECT_EQ(Outcome::classify(status, "too_big"), Outcome::keepLocal("too_big"));
    }
    EXPECT_EQ(Outcome::classify(401, std::nullopt), Outcome::keepLocal("http_401"));
    EXPECT_EQ(Outcome::classify(403, "scope_denied"), Outcome::keepLocal("scope_denied"));
}

TEST(RecordingUploadOutcome, keepsLocalWhereThereIsNoStorage)
{
    EXPECT_EQ(Outcome::classify(503, "recordings_unavailable"), Outcome::keepLocal("recordings_unavailable"));
    EXPECT_EQ(Outcome::classify(503, std::nullopt), Outcome::retry());
    EXPECT_EQ(Outcome::classify(503, "busy"), Outcome::retry());
    EXPECT_EQ(Outcome::classify(500, "recordings_unavailable"), Outcome::retry());
}

TEST(RecordingUploadOutcome, triesAnythingElseAgain)
{
    for (int const status : {0,   -1,  100, 199, 300, 301, 302, 307, 399, 402, 405, 408,
                             410, 412, 414, 422, 429, 499, 500, 502, 504, 599, 1000})
        EXPECT_EQ(Outcome::classify(status, std::nullopt), Outcome::retry()) << status;
}

TEST(RecordingUploadOutcome, explainsTheReasonsThatItKnows)
{
    EXPECT_EQ(explain("recordings_unavailable"), localized("recording.reason.noStorage"));
    EXPECT_EQ(explain("recording_not_shared"), localized("recording.reason.notShared"));
    EXPECT_EQ(explain("scope_denied"), localized("recording.reason.noScope"));
    EXPECT_EQ(explain("file_missing"), localized("recording.reason.fileMissing"));
}

TEST(RecordingUploadOutcome, showsAnyOtherReasonUnchanged)
{
    for (std::string const reason : {"too_big", "http_413", "{0} 'x'", "Слишком много", ""})
        EXPECT_EQ(explain(reason), reason);
}

TEST(RecordingUploadOutcome, showsAWordOfTheServiceInOneShortLine)
{
    std::string oneCharacter = "e";
    while (oneCharacter.size() < 1'000'000)
        oneCharacter += "\u0301";
    for (std::string const& said :
         {"first\nsecond\x1b[31m" + std::string(1'000'000, 'x'), oneCharacter, std::string(3000, '\xd0')}) {
        std::string const shown = explain(said);

        EXPECT_LT(shown.size(), 10'000U);
        EXPECT_TRUE(text::isUtf8(shown));
        EXPECT_EQ(text::withoutControlCharacters(shown), shown);
    }
}

} // namespace
} // namespace zelvo
