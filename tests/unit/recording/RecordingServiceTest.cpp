#include "recording/RecordingService.h"

#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(RecordingReply, readsTheServicesCode)
{
    auto const codeOf = [](std::string body) { return RecordingReply::from({403, std::move(body)}).code(); };

    EXPECT_EQ(codeOf(R"({"error":{"code":"scope_denied","message":"no"}})"), "scope_denied");
    for (std::string const body :
         {"", "{}", "[]", "no", "\xff", R"("error")", R"({"error":"scope_denied"})", R"({"error":{}})",
          R"({"error":{"code":7}})", R"({"error":[{"code":"x"}]})", R"({"code":"x"})", R"({"error":null})"})
        EXPECT_EQ(codeOf(body), std::nullopt) << body;
}

TEST(RecordingUploadTarget, needsAnIdAndAnAddress)
{
    auto const targetOf = [](std::string body) {
        return RecordingUploadTarget::from(RecordingReply::from({200, std::move(body)}));
    };

    auto const target =
        targetOf(R"({"recordingId":"r1","uploadUrl":"https://store.test/put?x=%20","more":1})");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->recordingId, "r1");
    EXPECT_EQ(target->uploadUrl, "https://store.test/put?x=%20");
    for (std::string const body :
         {"", "[]", "{}", R"({"recordingId":"r1"})", R"({"uploadUrl":"https://store.test/"})",
          R"({"recordingId":1,"uploadUrl":"https://store.test/"})", R"({"recordingId":"r1","uploadUrl":7})",
          R"({"recordingId":"r1","uploadUrl":""})", R"({"recordingId":"r1","uploadUrl":"not a url"})",
          R"({"recordingId":"r1","uploadUrl":"/put"})",
          R"({"recordingId":"r1","uploadUrl":"https://a/\r\nb"})"})
        EXPECT_FALSE(targetOf(body)) << body;
}

class RecordingServiceTest : public testing::Test {
protected:
    RecordingServiceTest() { giveToken("mt_1"); }

    void giveToken(std::string token)
    {
        zelvo::run(platform.io, keychain.set(std::move(token), Keychain::Item::machineToken));
    }
    RecordingReply post() { return zelvo::run(platform.io, service.post("machines/recordings", {{"a", 1}})); }

    FakePlatform platform;
    Keychain keychain{platform.secretStore};
    RecordingService service{{.workers = platform.contexts.workers,
                              .http = platform.loading,
                              .keychain = keychain,
                              .httpBase = "https://gateway.test/base/",
                              .appVersion = "1.4"}};
};

TEST_F(RecordingServiceTest, postsJsonWithTheMachinesToken)
{
    platform.loading.answer(201, R"({"recordingId":"r1"})");

    RecordingReply const reply = post();

    EXPECT_EQ(reply.status, 201);
    EXPECT_EQ(reply.body, (json::object{{"recordingId", "r1"}}));
    HttpRequest const& request = platform.loading.requests.at(0);
    EXPECT_EQ(request.url, "https://gateway.test/base/machines/recordings");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, 30s);
    EXPECT_EQ(request.longest, 30s);
    EXPECT_EQ(request.body, R"({"a":1})");
    EXPECT_THAT(request.headers,
                ElementsAre(Pair("Content-Type", "application/json"), Pair("Authorization", "Bearer mt_1"),
                            Pair("X-Zelvo-App-Version", "1.4")));
}

TEST_F(RecordingServiceTest, givesStatusZeroWithoutAToken)
{
    zelvo::run(platform.io, keychain.remove(Keychain::Item::machineToken));

    RecordingReply const reply = post();

    EXPECT_EQ(reply.status, 0);
    EXPECT_FALSE(reply.body);
    EXPECT_THAT(platform.loading.requests, IsEmpty());
}

TEST_F(RecordingServiceTest, givesStatusZeroWithoutACompleteAnswer)
{
    using Kind = NetworkFailure::Kind;
    for (Kind const kind : {Kind::offline, Kind::lost, Kind::unreachable, Kind::hostNotFound, Kind::timedOut,
                            Kind::tls, Kind::other}) {
        platform.loading.fail(kind);
        RecordingReply const reply = post();
        EXPECT_EQ(reply.status, 0);
        EXPECT_FALSE(reply.body);
    }
}

TEST_F(RecordingServiceTest, saysThatTheProcessEnds)
{
    platform.loading.fail(NetworkFailure::Kind::cancelled);

    EXPECT_THROW(post(), NetworkFailure);
}

TEST_F(RecordingServiceTest, givesTheStatusOfAnAnswerThatIsNoObject)
{
    for (std::string const body : {"", "[]", "<html>", "\xff\xff", "{", "null", "\"x\""}) {
        platform.loading.answer(200, body);
        RecordingReply const reply = post();
        EXPECT_EQ(reply.status, 200);
        EXPECT_FALSE(reply.body) << body;
    }
}

} // namespace
} // namespace zelvo
