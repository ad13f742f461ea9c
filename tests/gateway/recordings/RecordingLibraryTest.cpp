#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/Database.h"
#include "gateway/support/Recorded.h"
#include "wire/records/ServiceHistory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// Recordings as platforms see them: listing, download, deletion.

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> idsOf(json::value const& list)
{
    std::vector<std::string> ids;
    for (json::value const& each : list.at("data").as_array())
        ids.emplace_back(each.at("id").as_string());
    return ids;
}

std::vector<std::string> listed(Recorded const& on, std::string const& query = "")
{
    return idsOf(on.gateway.platform("GET", "/v1/recordings" + query).json());
}

TEST(RecordingList, tellsOfARecording)
{
    Recorded on;
    std::string const id = on.recording();

    json::value const list = on.gateway.platform("GET", "/v1/recordings").json();
    auto const record = records::fromJson<records::Recording>(list.at("data").at(0));

    ASSERT_TRUE(record);
    EXPECT_EQ(record->id, id);
    EXPECT_EQ(record->status, records::RecordingStatus::ready);
    EXPECT_EQ(record->target, on.linked.connectionId);
    EXPECT_EQ(record->durationSEC, 12.375);
    EXPECT_EQ(record->createdAt, "2026-11-21T00:00:00.000Z");
    EXPECT_EQ(record->deletesAt, "2026-12-21T00:00:00.000Z");
    EXPECT_EQ(record->expiresAt, "2026-11-21T01:00:00.000Z");
    EXPECT_THAT(record->url.value_or(""), testing::StartsWith(on.gateway.origin() + "/films/" + id + "?"));
    EXPECT_FALSE(list.as_object().contains("nextBefore"));
    EXPECT_EQ(on.recordOf(id), list.at("data").at(0));
}

TEST(RecordingList, tellsOfARecordingThatIsOnItsWayWithoutAnAddress)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);

    for (int step = 0; step < 2; ++step) {
        auto const record = records::fromJson<records::Recording>(on.recordOf(recording.id));
        ASSERT_TRUE(record);
        EXPECT_EQ(record->status, records::RecordingStatus::processing);
        EXPECT_FALSE(record->url);
        EXPECT_FALSE(record->expiresAt);
        EXPECT_EQ(listed(on), std::vector{recording.id});
        on.put(recording.path, "film");
    }
}

TEST(RecordingList, isSortedPagedAndFiltered)
{
    Recorded on;
    std::vector<std::string> recordings;
    LinkedMachine const first = on.linked;
    LinkedMachine const second = on.linkWith(R"(["screen","record"])");
    for (int i = 0; i < 5; ++i) {
        on.linked = i % 2 == 0 ? first : second;
        on.share(true);
        recordings.push_back(on.recording());
        on.gateway.clock.advance(1s);
    }

    EXPECT_THAT(listed(on),
                ElementsAre(recordings[4], recordings[3], recordings[2], recordings[1], recordings[0]));
    EXPECT_THAT(listed(on, "?connectionId=" + second.connectionId),
                ElementsAre(recordings[3], recordings[1]));
    EXPECT_THAT(listed(on, "?connectionId=con_none"), IsEmpty());
    json::value const page = on.gateway.platform("GET", "/v1/recordings?limit=2").json();
    EXPECT_THAT(idsOf(page), ElementsAre(recordings[4], recordings[3]));
    EXPECT_EQ(page.at("nextBefore").as_string(), recordings[3]);
    json::value const next =
        on.gateway.platform("GET", "/v1/recordings?limit=2&before=" + recordings[3]).json();
    EXPECT_THAT(idsOf(next), ElementsAre(recordings[2], recordings[1]));
    EXPECT_EQ(next.at("nextBefore").as_string(), recordings[1]);
    json::value const last =
        on.gateway.platform("GET", "/v1/recordings?limit=1&before=" + recordings[1]).json();
    EXPECT_THAT(idsOf(last), ElementsAre(recordings[0]));
    EXPECT_FALSE(last.as_object().contains("nextBefore"));
    EXPECT_THAT(listed(on, "?before=" + recordings[3] + "&connectionId=" + second.connectionId),
                ElementsAre(recordings[1]));
}

TEST(RecordingList, refusesAQueryThatMeansNothing)
{
    Recorded on;

    for (char const* const query : {"?limit=0", "?limit=201", "?limit=-1", "?limit=x", "?limit="})
        EXPECT_EQ(on.gateway.platform("GET", std::string("/v1/recordings") + query).status, 400) << query;
    EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings?before=rec_none").status, 404);
    EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings/rec_none").errorCode(), "not_found");
}

TEST(RecordingList, isForThoseWithTheKeyOrASession)
{
    Recorded on;
    std::string const id = on.recording();
    auto const session = on.gateway.consoleSession();
    std::string const path = "/v1/recordings/" + id;

    for (std::string const& target : {std::string("/v1/recordings"), path}) {
        EXPECT_EQ(on.gateway.call("GET", target).status, 401);
        EXPECT_EQ(on.gateway.call("GET", target, "", {{"Authorization", "Bearer " + on.linked.token}}).status,
                  401);
        EXPECT_EQ(on.gateway.call("GET", target, "", {session}).status, 200);
        EXPECT_EQ(on.gateway.call("GET", target, "", {session, {"Sec-Fetch-Site", "same-site"}}).status, 403);
    }
    EXPECT_EQ(on.gateway.call("DELETE", path).status, 401);
    EXPECT_EQ(on.gateway.call("DELETE", path, "", {session}).status, 403);
    EXPECT_EQ(on.gateway.call("DELETE", path, "", {session, {"Origin", "http://evil.example"}}).status, 403);
    EXPECT_EQ(on.stateOf(id), "ready");
    EXPECT_EQ(on.gateway.call("DELETE", path, "", {session, {"Origin", on.gateway.origin()}}).status, 200);
}

TEST(RecordingFile, isSentWholeAndInParts)
{
    Recorded on;
    std::string content(1'000'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 + i / 251);
    std::string const address = on.addressOf(on.recording(content));
    auto const part = [&](std::string const& range) {
        return on.gateway.call("GET", address, "", {{"Range", range}});
    };

    Answer const whole = on.gateway.call("GET", address);
    Answer const middle = part("bytes=300000-899999");
    Answer const end = part("bytes=-10");

    EXPECT_EQ(whole.status, 200);
    EXPECT_EQ(whole.headers.at("content-type"), "video/mp4");
    EXPECT_EQ(whole.headers.at("accept-ranges"), "bytes");
    EXPECT_EQ(whole.headers.at("content-length"), "1000000");
    EXPECT_EQ(whole.headers.at("x-content-type-options"), "nosniff");
    EXPECT_EQ(whole.headers.at("cross-origin-resource-policy"), "same-origin");
    EXPECT_TRUE(whole.body == content);
    EXPECT_EQ(middle.status, 206);
    EXPECT_EQ(middle.headers.at("content-range"), "bytes 300000-899999/1000000");
    EXPECT_TRUE(middle.body == content.substr(300'000, 600'000));
    EXPECT_EQ(end.headers.at("content-range"), "bytes 999990-999999/1000000");
    EXPECT_TRUE(end.body == content.substr(999'990));
    EXPECT_EQ(part("bytes=0-0").body, content.substr(0, 1));
    EXPECT_EQ(part("bytes=0-1,5-6").status, 200);
}

TEST(RecordingFile, hasNothingBehindItsEnd)
{
    Recorded on;
    std::string const address = on.addressOf(on.recording("a film"));

    Answer const answer = on.gateway.call("GET", address, "", {{"Range", "bytes=6-"}});

    EXPECT_EQ(answer.status, 416);
    EXPECT_EQ(answer.headers.at("content-range"), "bytes */6");
    EXPECT_EQ(answer.body, "");
}

TEST(RecordingFile, isDescribedWithoutBeingSent)
{
    Recorded on;
    std::string const address = on.addressOf(on.recording("a film"));

    Answer const whole = on.gateway.call("HEAD", address);
    Answer const part = on.gateway.call("HEAD", address, "", {{"Range", "bytes=1-2"}});

    EXPECT_EQ(whole.status, 200);
    EXPECT_EQ(whole.headers.at("content-length"), "6");
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.headers.at("content-length"), "2");
}

TEST(RecordingFile, isSentWholeToWhoHasThePartsOfAnother)
{
    Recorded on;
    std::string const id = on.recording("a film");
    auto const statusIf = [&](std::string const& tag) {
        return on.gateway.call("GET", on.addressOf(id), "", {{"Range", "bytes=1-2"}, {"If-Range", tag}})
            .status;
    };

    EXPECT_EQ(statusIf("\"" + id + "\""), 206);
    EXPECT_EQ(statusIf("\"other\""), 200);
    EXPECT_EQ(statusIf("Sat, 21 Nov 2026 00:00:00 GMT"), 200);
}

TEST(RecordingFile, servesOneRequestAfterTheOtherOnAConnection)
{
    Recorded on;
    std::string const address = on.addressOf(on.recording("a film"));
    RawConnection connection(on.gateway.port());
    auto const get = [&](std::string const& more) {
        return "GET " + address + " HTTP/1.1\r\nHost: localhost\r\n" + more + "\r\n";
    };

    connection.send(get("Range: bytes=0-1\r\n") + get("Range: bytes=9-\r\n") +
                    get("Range: bytes=2-3\r\nConnection: close\r\n"));
    std::string const all = connection.readToEnd(5);

    EXPECT_THAT(all, HasSubstr("\r\n\r\na HTTP/1.1 416"));
    EXPECT_THAT(all, HasSubstr("Content-Range: bytes 2-3/6"));
    EXPECT_TRUE(all.ends_with("\r\n\r\nfi"));
}

TEST(RecordingFile, needsTheProofOfItsAddress)
{
    Recorded on;
    std::string const address = on.addressOf(on.recording());
    std::string const other = on.addressOf(on.recording());
    std::string const query = address.substr(address.find('?'));
    std::string const path = address.substr(0, address.find('?'));
    std::string const proof = address.substr(address.find("&proof="));
    auto const codeOf = [&](std::string const& target) { return on.gateway.call("GET", target).errorCode(); };

    for (std::string const& target :
         {path, path + "?", path + "?until=99999999999999", path + "?until=99999999999999" + proof,
          path + "?until=" + proof, address.substr(0, address.size() - 1), address + "0",
          other.substr(0, other.find('?')) + query, "/films/rec_none" + query,
          std::string("/films/x?until=x&proof=x")})
        EXPECT_EQ(codeOf(target), "forbidden") << target;
    EXPECT_EQ(on.gateway.call("GET", path, "", {on.gateway.consoleSession()}).status, 403);
    EXPECT_EQ(on.gateway.platform("GET", path).status, 403);
    EXPECT_EQ(on.gateway.call("GET", address).status, 200);
}

// The console's page asks for another address when it needs one.
TEST(RecordingFile, hasAShortAddressForTheConsole)
{
    Recorded on;
    std::string const id = on.recording();
    auto const session = on.gateway.consoleSession();
    json::value const listed = on.gateway.call("GET", "/v1/recordings/" + id, "", {session}).json();
    std::string const url(listed.at("url").as_string());
    std::string const address = url.substr(url.find("/films"));

    EXPECT_EQ(address.find(session.second), std::string::npos);
    EXPECT_EQ(address.find(on.gateway.apiKey()), std::string::npos);
    EXPECT_EQ(on.gateway.call("GET", address).status, 200);
    on.gateway.clock.advance(10min);
    EXPECT_EQ(on.gateway.call("GET", address).status, 403);
}

// The API key signs nothing that leaves the gateway.
TEST(RecordingFile, hasAnAddressThatIsNotSignedWithTheApiKey)
{
    Recorded on;
    std::string const id = on.recording();
    std::string const address = on.addressOf(id);
    std::string const until = address.substr(address.find("until=") + 6, 13);

    EXPECT_EQ(address.find(signatureOf("recording " + id + " key_builtin " + until, on.gateway.apiKey())),
              std::string::npos);
}

TEST(RecordingFile, isNoPath)
{
    Recorded on;
    std::string const id = on.recording();
    std::string const address = on.addressOf(id);
    std::string const query = address.substr(address.find('?'));

    for (std::string const& trick :
         {std::string("..%2fapi-key"), std::string("%2e%2e%2fapi-key%00"), "..%2frecordings%2f" + id,
          ".%2f" + id, id + ".mp4", id + "%00", std::string("%ff"), std::string("..")}) {
        EXPECT_EQ(on.gateway.call("GET", "/films/" + trick + query).status, 403) << trick;
        EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings/" + trick).status, 404) << trick;
        EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/" + trick).status, 404) << trick;
        EXPECT_EQ(on.put("/uploads/" + trick, "film").status, 404) << trick;
    }
    for (std::string const trick : {"../api-key", "..", "../recordings/"})
        EXPECT_EQ(on.complete(trick).status, 404) << trick;
    EXPECT_THAT(on.files(), ElementsAre(id + ".mp4"));
    EXPECT_EQ(on.gateway.call("GET", address).status, 200);
}

TEST(RecordingFile, isNotForThePagesOfOtherSites)
{
    Recorded on;
    std::string const address = on.addressOf(on.recording());
    Recorded::Announced const next = on.announce(4);
    Headers const foreign = {{"Origin", "http://evil.example"}, {"Content-Type", "video/mp4"}};

    EXPECT_EQ(on.gateway.call("GET", address, "", foreign).status, 403);
    EXPECT_EQ(on.gateway.call("PUT", next.path, "film", foreign).status, 403);
    EXPECT_EQ(on.gateway.call("PUT", next.path, "film", {{"Host", "evil.example"}}).status, 403);

    EXPECT_EQ(on.put(next.path, "film").status, 200);
}

TEST(RecordingFile, isThereForAnHour)
{
    Recorded on;
    std::string const id = on.recording();
    std::string const address = on.addressOf(id);

    on.gateway.clock.advance(59min + 59s);
    int const before = on.gateway.call("GET", address).status;
    on.gateway.clock.advance(1s);

    EXPECT_EQ(before, 200);
    EXPECT_EQ(on.gateway.call("GET", address).status, 403);
    EXPECT_EQ(on.gateway.call("GET", on.addressOf(id)).status, 200);
}

TEST(RecordingFile, isNotFoundWhenItsFileIsGone)
{
    Recorded on;
    std::string const id = on.recording("a film");
    std::filesystem::remove(on.folder() / (id + ".mp4"));

    EXPECT_EQ(on.gateway.call("GET", on.addressOf(id)).status, 404);
}

TEST(RecordingEnd, comesByDeleting)
{
    Recorded on;
    std::string const id = on.recording();
    std::string const address = on.addressOf(id);

    Answer const first = on.gateway.platform("DELETE", "/v1/recordings/" + id);
    Answer const second = on.gateway.platform("DELETE", "/v1/recordings/" + id);

    auto const record = records::fromText<records::Recording>(first.body);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, records::RecordingStatus::deleted);
    EXPECT_FALSE(record->url);
    EXPECT_EQ(second.body, first.body);
    EXPECT_THAT(on.files(), IsEmpty());
    EXPECT_THAT(listed(on), IsEmpty());
    EXPECT_EQ(on.gateway.call("GET", address).status, 404);
    EXPECT_EQ(on.stateOf(id), "deleted");
    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/rec_none").status, 404);
}

TEST(RecordingEnd, waitsForARecordingThatIsOnItsWay)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);

    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/" + recording.id).status, 409);
    on.put(recording.path, "film");
    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/" + recording.id).status, 409);
    EXPECT_EQ(on.complete(recording.id).status, 200);
    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/recordings/" + recording.id).status, 200);
}

TEST(RecordingEnd, doesNotDisturbWhoWatches)
{
    Recorded on;
    // Larger than the socket buffers. NOLINTNEXTLINE(bugprone-string-constructor)
    std::string const id = on.recording(std::string(30'000'000, 'f'));
    RawConnection connection(on.gateway.port());
    connection.send("GET " + on.addressOf(id) + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    std::string const begin = connection.readSome();

    on.gateway.platform("DELETE", "/v1/recordings/" + id);
    std::string const rest = connection.readToEnd(5);

    std::size_t const head = begin.find("\r\n\r\n") + 4;
    EXPECT_EQ(begin.size() + rest.size() - head, 30'000'000U);
}

TEST(RecordingEnd, comesByItselfAfterThirtyDays)
{
    Recorded on;
    std::string const id = on.recording();
    on.gateway.clock.advance(29 * 24h);
    std::string const young = on.recording();
    EXPECT_EQ(on.stateOf(id), "ready");
    std::string const address = on.addressOf(id);

    on.gateway.clock.advance(24h);

    EXPECT_TRUE(becomes([&] { return on.files() == std::vector{young + ".mp4"}; }));
    EXPECT_EQ(on.stateOf(id), "deleted");
    EXPECT_EQ(listed(on), std::vector{young});
    EXPECT_EQ(on.gateway.call("GET", address).status, 403);
    on.gateway.clock.advance(8 * 24h);
    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(1min); // The maintenance may only now be on its way to its next wait.
        return on.gateway.platform("GET", "/v1/recordings/" + id).status == 404;
    }));
}

TEST(RecordingEnd, comesWhenItIsSetTo)
{
    Recorded on([](Settings& settings) { settings.recordings.kept = 30min; });
    std::string const id = on.recording();
    json::value const record = on.recordOf(id);

    EXPECT_EQ(record.at("deletesAt").as_string(), "2026-11-21T00:30:00.000Z");
    EXPECT_EQ(record.at("expiresAt"), record.at("deletesAt")); // No address outlives its recording.
    on.gateway.stop();
    on.gateway.clock.advance(30min);
    on.gateway.start();
    EXPECT_TRUE(becomes([&] { return on.files().empty(); }));
}

TEST(RecordingEnd, comesThoughTheStoreFailedForAWhile)
{
    Recorded on;
    std::string const id = on.recording();
    Database other(on.gateway.data() / "gateway.sqlite");

    other.execute("ALTER TABLE recordings RENAME TO away");
    on.gateway.clock.advance(31 * 24h);
    EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings").status, 500); // Behind the maintenance.
    other.execute("ALTER TABLE away RENAME TO recordings");

    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(1min);
        return on.files().empty();
    }));
    EXPECT_EQ(on.stateOf(id), "deleted");
}

TEST(RecordingEnd, comesWithItsMachine)
{
    Recorded on;
    std::string const id = on.recording();
    Recorded::Announced const here = on.announce(4);
    on.put(here.path, "film");
    LinkedMachine const gone = on.linked;
    on.linked = on.linkWith(R"(["screen","record"])");
    on.share(true);
    std::string const other = on.recording();

    EXPECT_EQ(on.gateway.platform("DELETE", "/v1/machines/" + gone.machineId).status, 200);

    EXPECT_THAT(on.files(), ElementsAre(other + ".mp4"));
    EXPECT_THAT(listed(on), ElementsAre(other));
    EXPECT_EQ(on.gateway.platform("GET", "/v1/recordings/" + id).status, 404);
}

} // namespace
} // namespace zelvo::service
