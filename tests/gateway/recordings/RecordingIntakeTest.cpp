#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

// The calls that a machine makes for its recordings: announce, upload done, sharing changed.

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST(RecordingAnnouncement, givesAnAddressForTheBody)
{
    Recorded on;

    Answer const answer = on.post("", on.announcement(10));

    EXPECT_EQ(answer.status, 200);
    EXPECT_THAT(std::string(answer.json().at("recordingId").as_string()), StartsWith("rec_"));
    EXPECT_THAT(std::string(answer.json().at("uploadUrl").as_string()),
                testing::MatchesRegex(on.gateway.origin() + "/uploads/[0-9a-f]{64}"));
}

TEST(RecordingAnnouncement, givesAnAddressAtTheHostThatWasCalled)
{
    Recorded on([](Settings& settings) { settings.publicUrl = "https://gateway.example.org"; });
    auto const addressAt = [&](std::string const& host) {
        Answer const answer = on.post("", on.announcement(10),
                                      {{"Authorization", "Bearer " + on.linked.token}, {"Host", host}});
        return answer.status == 200 ? std::string(answer.json().at("uploadUrl").as_string())
                                    : answer.errorCode();
    };

    EXPECT_THAT(addressAt("localhost:81"), StartsWith("http://localhost:81/uploads/"));
    EXPECT_THAT(addressAt("[::1]:81"), StartsWith("http://[::1]:81/uploads/"));
    EXPECT_THAT(addressAt("gateway.example.org"), StartsWith("https://gateway.example.org/uploads/"));
    EXPECT_EQ(addressAt("localhost:@evil.example"), "forbidden");
    EXPECT_EQ(addressAt("localhost:81/x"), "forbidden");
    EXPECT_EQ(addressAt("evil.example"), "forbidden");
}

TEST(RecordingAnnouncement, needsTheTokenOfAMachine)
{
    Recorded on([](Settings& settings) { settings.minimumAppVersion = "0.1.0"; });
    auto const codeWith = [&](Headers headers) {
        return on.post("", on.announcement(10), std::move(headers)).errorCode();
    };

    EXPECT_EQ(codeWith({}), "unauthorized");
    EXPECT_EQ(codeWith({{"Authorization", "Bearer x"}}), "unauthorized");
    EXPECT_EQ(codeWith({{"Authorization", "Bearer " + on.gateway.apiKey()}}), "unauthorized");
    EXPECT_EQ(codeWith({on.gateway.consoleSession(), {"Origin", on.gateway.origin()}}), "unauthorized");
    EXPECT_EQ(codeWith({{"Authorization", "Bearer " + on.linked.token}, {"X-Zelvo-App-Version", "0.0.9"}}),
              "app_update_required");
    EXPECT_EQ(codeWith({{"Authorization", "Bearer " + on.linked.token}, {"X-Zelvo-App-Version", "0.1.0"}}),
              "");
}

TEST(RecordingAnnouncement, looksAtEveryKey)
{
    Recorded on;

    for (char const* const body :
         {"[]", "7", R"({"durationSec": 1, "sizeBytes": 1})", R"({"connectionId": 7})",
          R"({"connectionId": "", "durationSec": 1, "sizeBytes": 1})",
          R"({"connectionId": "c", "sizeBytes": 1})", R"({"connectionId": "c", "durationSec": 1})",
          R"({"connectionId": "c", "durationSec": "1", "sizeBytes": 1})",
          R"({"connectionId": "c", "durationSec": -1, "sizeBytes": 1})",
          R"({"connectionId": "c", "durationSec": 86401, "sizeBytes": 1})",
          R"({"connectionId": "c", "durationSec": 1e300, "sizeBytes": 1})",
          R"({"connectionId": "c", "durationSec": 1, "sizeBytes": 0})",
          R"({"connectionId": "c", "durationSec": 1, "sizeBytes": -1})",
          R"({"connectionId": "c", "durationSec": 1, "sizeBytes": 1.5})",
          R"({"connectionId": "c", "durationSec": 1, "sizeBytes": "1"})",
          R"({"connectionId": "c", "durationSec": 1, "sizeBytes": 18446744073709551616})"}) {
        Answer const answer = on.post("", *parseJson(body));
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_EQ(answer.errorCode(), "invalid_request") << body;
    }
    Headers const machine = {{"Authorization", "Bearer " + on.linked.token}};
    EXPECT_EQ(on.gateway.call("POST", "/machines/recordings", "{", machine).status, 400);
    EXPECT_EQ(on.gateway.call("POST", "/machines/recordings", "", machine).status, 400);
    EXPECT_EQ(on.gateway.call("POST", "/machines/recordings", std::string(100'000, ' '), machine).status,
              413);
}

TEST(RecordingAnnouncement, isForTheMachinesOwnConnections)
{
    Recorded on;
    LinkedMachine const other = on.linkWith(R"(["screen","record"])");
    json::object body = on.announcement(10);
    body["connectionId"] = other.connectionId;

    EXPECT_EQ(on.post("", body).status, 404);
    body["connectionId"] = "con_none";
    EXPECT_EQ(on.post("", body).errorCode(), "not_found");
    on.gateway.platform("DELETE", "/v1/connections/" + on.linked.connectionId);
    EXPECT_EQ(on.post("", on.announcement(10)).errorCode(), "not_found");
}

TEST(RecordingAnnouncement, needsTheScope)
{
    Recorded on;
    on.linked = on.linkWith(R"(["screen","input"])");

    Answer const recording = on.post("", on.announcement(10));
    Answer const share = on.share(true);

    EXPECT_EQ(recording.status, 403);
    EXPECT_EQ(recording.errorCode(), "scope_denied");
    EXPECT_EQ(share.status, 403);
    EXPECT_EQ(share.errorCode(), "scope_denied");
    EXPECT_EQ(on.share(false).status, 200);
}

TEST(RecordingAnnouncement, needsThePersonsYes)
{
    Recorded on;
    on.linked = on.linkWith(R"(["screen","record"])");

    Answer const before = on.post("", on.announcement(10));
    on.share(true);
    int const between = on.post("", on.announcement(10)).status;
    on.share(false);
    Answer const after = on.post("", on.announcement(10));

    EXPECT_EQ(before.status, 403);
    EXPECT_EQ(before.errorCode(), "recording_not_shared");
    EXPECT_EQ(between, 200);
    EXPECT_EQ(after.errorCode(), "recording_not_shared");
}

TEST(RecordingAnnouncement, isRefusedForARecordingThatIsTooLarge)
{
    Recorded on([](Settings& settings) { settings.recordings.maxBytes = 1000; });

    EXPECT_EQ(on.post("", on.announcement(1000)).status, 200);
    EXPECT_EQ(on.post("", on.announcement(1001)).status, 413);
    EXPECT_EQ(on.post("", on.announcement(9'223'372'036'854'775'807)).status, 413);
}

TEST(RecordingAnnouncement, isRefusedWithoutAStore)
{
    Recorded off([](Settings& settings) { settings.recordings.taken = false; });
    Recorded full([](Settings& settings) { settings.recordings.minFreeBytes = std::uint64_t{1} << 62; });
    Recorded crowded([](Settings& settings) { settings.recordings.maxTotalBytes = 1000; });
    Recorded broken;
    std::filesystem::remove_all(broken.folder());
    std::ofstream(broken.folder()) << "in the way";

    crowded.announce(600);

    EXPECT_EQ(crowded.post("", crowded.announcement(400)).status, 200);
    for (Answer const& answer :
         {off.post("", off.announcement(10)), full.post("", full.announcement(10)),
          crowded.post("", crowded.announcement(1)), broken.post("", broken.announcement(10))}) {
        EXPECT_EQ(answer.status, 503);
        EXPECT_EQ(answer.errorCode(), "recordings_unavailable");
    }
}

TEST(RecordingAnnouncement, countsWhatWasPromisedAlready)
{
    Recorded on;
    std::uint64_t const room = std::filesystem::space(on.gateway.data()).available;
    auto const half = static_cast<std::int64_t>(room / 2);
    Recorded small([&](Settings& settings) {
        settings.recordings.minFreeBytes = 0;
        settings.recordings.maxBytes = room;
        settings.recordings.maxTotalBytes = room * 4;
    });

    EXPECT_EQ(small.post("", small.announcement(half)).status, 200);
    EXPECT_EQ(small.post("", small.announcement(half + (half / 2))).errorCode(), "recordings_unavailable");
}

TEST(RecordingAnnouncement, keepsUpWithAFewAtATimeOnly)
{
    Recorded on([](Settings& settings) { settings.recordings.maxOpenUploads = 2; });
    on.announce(10);
    Recorded::Announced const second = on.announce(4);

    EXPECT_EQ(on.post("", on.announcement(10)).status, 429);
    on.put(second.path, "film");
    EXPECT_EQ(on.post("", on.announcement(10)).status, 200);
    on.gateway.clock.advance(16min);
    EXPECT_TRUE(becomes([&] { return on.post("", on.announcement(10)).status == 200; }));
}

TEST(RecordingSharing, isStoredAndTold)
{
    Recorded on;

    Answer const off = on.share(false);
    on.gateway.stop();
    on.gateway.start();

    EXPECT_EQ(off.status, 200);
    EXPECT_EQ(writeJson(off.json()),
              R"({"connectionId":")" + on.linked.connectionId + R"(","shared":false})");
    EXPECT_EQ(on.post("", on.announcement(10)).errorCode(), "recording_not_shared");
    EXPECT_EQ(on.share(true).status, 200);
    EXPECT_EQ(on.share(true).status, 200);
    on.gateway.stop();
    on.gateway.start();
    EXPECT_EQ(on.post("", on.announcement(10)).status, 200);
}

TEST(RecordingSharing, looksAtEveryKey)
{
    Recorded on;
    LinkedMachine const other = on.linkWith(R"(["screen","record"])");

    for (json::value const& body :
         {json::value(json::array()), json::value{{"connectionId", on.linked.connectionId}},
          json::value{{"connectionId", on.linked.connectionId}, {"shared", 1}},
          json::value{{"connectionId", on.linked.connectionId}, {"shared", "true"}},
          json::value{{"connectionId", 7}, {"shared", true}}, json::value{{"shared", true}}})
        EXPECT_EQ(on.post("/sharing", body).errorCode(), "invalid_request") << writeJson(body);
    EXPECT_EQ(on.post("/sharing", {{"connectionId", other.connectionId}, {"shared", true}}).status, 404);
    EXPECT_EQ(on.post("/sharing", {{"connectionId", on.linked.connectionId}, {"shared", true}}, {}).status,
              401);
}

TEST(RecordingSharing, endsTheOpenAddressesWhenItStops)
{
    Recorded on;
    Recorded::Announced const open = on.announce(4);
    Recorded::Announced const here = on.announce(4);
    on.put(here.path, "film");
    std::string const ready = on.recording();

    on.share(false);

    EXPECT_THAT(on.files(), ElementsAre(ready + ".mp4"));
    EXPECT_EQ(on.put(open.path, "film").status, 404);
    EXPECT_EQ(on.complete(here.id).errorCode(), "recording_not_shared");
    EXPECT_EQ(on.complete(ready).status, 200);
    on.share(true);
    EXPECT_EQ(on.put(open.path, "film").status, 404);
    EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings/" + here.id).status, 404);
}

TEST(RecordingRevocation, endsTheOpenAddresses)
{
    Recorded on;
    Recorded::Announced const open = on.announce(4);
    Recorded::Announced const here = on.announce(4);
    on.put(here.path, "film");
    std::string const ready = on.recording();

    on.gateway.platform("DELETE", "/v1/connections/" + on.linked.connectionId);

    EXPECT_THAT(on.files(), ElementsAre(ready + ".mp4"));
    EXPECT_EQ(on.put(open.path, "film").status, 404);
    EXPECT_EQ(on.complete(here.id).errorCode(), "not_found");
    EXPECT_EQ(on.share(true).errorCode(), "not_found");
    EXPECT_EQ(on.stateOf(ready), "ready");
}

TEST(RecordingCompletion, makesARecordingReadyAndMayBeRepeated)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    on.put(recording.path, "film");
    std::string const before = on.stateOf(recording.id);

    Answer const first = on.complete(recording.id);
    Answer const second = on.complete(recording.id);

    EXPECT_EQ(before, "processing");
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(writeJson(first.json()), R"({"recordingId":")" + recording.id + R"(","status":"ready"})");
    EXPECT_EQ(second.status, 200);
    EXPECT_EQ(first.body, second.body);
    EXPECT_EQ(on.stateOf(recording.id), "ready");
}

TEST(RecordingCompletion, isForTheMachinesOwnRecordings)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    on.put(recording.path, "film");
    LinkedMachine const other = on.linkWith(R"(["screen","record"])");

    Answer const answer =
        on.post("/complete", {{"recordingId", recording.id}}, {{"Authorization", "Bearer " + other.token}});

    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(on.complete("rec_none").status, 404);
    EXPECT_EQ(on.post("/complete", {{"recordingId", 7}}).status, 400);
    EXPECT_EQ(on.post("/complete", json::object()).status, 400);
    EXPECT_EQ(on.post("/complete", {{"recordingId", recording.id}}, {}).status, 401);
    EXPECT_EQ(on.stateOf(recording.id), "processing");
}

// 422 is a status after which an agent announces its recording anew.
TEST(RecordingCompletion, needsTheWholeRecording)
{
    Recorded on;
    Recorded::Announced const never = on.announce(4);
    Recorded::Announced const lost = on.announce(4);
    Recorded::Announced const cut = on.announce(4);
    on.put(lost.path, "film");
    on.put(cut.path, "film");
    std::filesystem::remove(on.folder() / (lost.id + ".mp4"));
    std::filesystem::resize_file(on.folder() / (cut.id + ".mp4"), 3);

    EXPECT_EQ(on.complete(never.id).status, 422);
    EXPECT_EQ(on.complete(lost.id).status, 422);
    EXPECT_EQ(on.complete(cut.id).status, 422);

    EXPECT_EQ(on.put(never.path, "film").status, 200);
    EXPECT_EQ(on.complete(never.id).status, 200);
    EXPECT_EQ(on.complete(lost.id).status, 422);
}

TEST(RecordingCompletion, ofADeletedRecordingIsRefused)
{
    Recorded on;
    std::string const id = on.recording();

    on.gateway.platform("DELETE", "/v1/recordings/" + id);

    EXPECT_EQ(on.complete(id).status, 404);
}

TEST(RecordingCompletion, mustFollowWithinADay)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    on.put(recording.path, "film");

    on.gateway.clock.advance(25h);

    EXPECT_TRUE(becomes([&] { return on.files().empty(); }));
    EXPECT_EQ(on.complete(recording.id).status, 422);
    EXPECT_THAT(on.gateway.platform("GET", "/v1/recordings").json().at("data").as_array(), IsEmpty());
}

} // namespace
} // namespace zelvo::service
