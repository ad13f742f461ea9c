#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

// Upload of a recording's body, and every way in which it can fail.

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

std::string recordingOf(std::size_t bytes)
{
    std::string recording(bytes, '\0');
    std::uint32_t state = 1;
    for (char& each : recording)
        each = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24);
    return recording;
}

/// The gateway stores nothing, and the address is used up.
void expectNothingLeft(Recorded& on, Recorded::Announced const& recording)
{
    auto const listed = [&] {
        return on.gateway.platform("GET", "/v1/recordings").json().at("data").as_array().size();
    };
    EXPECT_TRUE(becomes([&] { return on.put(recording.path, "film").status == 404; }));
    EXPECT_TRUE(becomes([&] { return on.files().empty() && listed() == 0; }));
    EXPECT_EQ(on.put(recording.path, "film").status, 404);
    EXPECT_EQ(on.complete(recording.id).status, 422);
}

TEST(RecordingUpload, putsTheRecordingOnTheDisk)
{
    Recorded on;
    for (std::size_t const bytes : {std::size_t{1}, 256_KiB - 1, 256_KiB, 256_KiB + 1, 3_MiB + 7}) {
        std::string const content = recordingOf(bytes);
        Recorded::Announced const recording = on.announce(static_cast<std::int64_t>(bytes));

        Answer const answer = on.put(recording.path, content);

        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.json().at("recordingId").as_string(), recording.id);
        EXPECT_TRUE(contentOf(on.folder() / (recording.id + ".mp4")) == content) << bytes;
        EXPECT_EQ(modeOf(on.folder() / (recording.id + ".mp4")), 0600U);
    }
    EXPECT_EQ(modeOf(on.folder()), 0700U);
}

TEST(RecordingUpload, worksOnce)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    EXPECT_EQ(on.put(recording.path, "film").status, 200);

    Answer const again = on.put(recording.path, "FILM");

    EXPECT_EQ(again.status, 404);
    EXPECT_EQ(contentOf(on.folder() / (recording.id + ".mp4")), "film");
    on.complete(recording.id);
    EXPECT_EQ(on.put(recording.path, "FILM").status, 404);
    EXPECT_EQ(contentOf(on.folder() / (recording.id + ".mp4")), "film");
}

TEST(RecordingUpload, takesOneBodyAtATime)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(300'000);
    std::string const content = recordingOf(300'000);
    RawConnection first(on.gateway.port());
    first.send(Recorded::headOf(recording.path, content.size()) + content.substr(0, 280'000));
    ASSERT_TRUE(becomes([&] { return on.files() == std::vector{recording.id + ".part"}; }));
    EXPECT_EQ(modeOf(on.folder() / (recording.id + ".part")), 0600U);

    EXPECT_EQ(on.put(recording.path, content).status, 404);
    first.send(content.substr(280'000));

    EXPECT_THAT(first.readToEnd(5), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(on.files(), ElementsAre(recording.id + ".mp4"));
}

TEST(RecordingUpload, needsItsSecret)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);

    for (std::string const& path :
         {std::string("/uploads/"), "/uploads/" + recording.id, "/uploads/" + std::string(64, '0'),
          recording.path.substr(0, recording.path.size() - 1), recording.path + "0"})
        EXPECT_EQ(on.put(path, "film").status, 404) << path;
    EXPECT_EQ(on.gateway.call("GET", recording.path).status, 405);
    EXPECT_EQ(on.gateway.call("POST", recording.path, "film").status, 405);
    EXPECT_EQ(on.put(recording.path, "film").status, 200);
}

TEST(RecordingUpload, isRefusedByItsHeadWhenItIsNotWhatWasAnnounced)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    auto const statusOf = [&](std::string const& head) {
        RawConnection connection(on.gateway.port());
        connection.send("PUT " + recording.path + " HTTP/1.1\r\nHost: localhost\r\n" + head + "\r\n\r\n");
        return connection.readToEnd(2).substr(9, 3);
    };

    EXPECT_EQ(on.put(recording.path, "film", "video/webm").status, 415);
    EXPECT_EQ(on.put(recording.path, "film", "").status, 415);
    EXPECT_EQ(statusOf("Content-Length: 4"), "415");
    EXPECT_EQ(on.put(recording.path, "films").status, 413);
    EXPECT_EQ(on.put(recording.path, "fil").status, 400);
    EXPECT_EQ(on.put(recording.path, "").status, 400);
    EXPECT_EQ(statusOf("Content-Type: video/mp4\r\nContent-Length: 1099511627776"), "413");
    EXPECT_EQ(statusOf("Content-Type: video/mp4"), "411");
    EXPECT_EQ(statusOf("Content-Type: video/mp4\r\nTransfer-Encoding: chunked"), "411");
    EXPECT_EQ(statusOf("Content-Type: video/mp4\r\nContent-Length: 4\r\nTransfer-Encoding: chunked"), "400");
    EXPECT_THAT(on.files(), IsEmpty());
    // Nothing has arrived yet, so the address is still valid.
    EXPECT_EQ(on.put(recording.path, "film", "Video/MP4").status, 200);
}

TEST(RecordingUpload, takesNothingBehindTheAnnouncedBytes)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    RawConnection connection(on.gateway.port());
    std::string head = Recorded::headOf(recording.path, 4);
    head.replace(head.find("close"), 5, "keep-alive");

    connection.send(head + "film and more of it\r\n\r\n");
    std::string const answers = connection.readToEnd(2);

    EXPECT_THAT(answers, StartsWith("HTTP/1.1 200"));
    EXPECT_NE(answers.find("HTTP/1.1 400"), std::string::npos); // What follows is no request.
    EXPECT_EQ(contentOf(on.folder() / (recording.id + ".mp4")), "film");
}

TEST(RecordingUpload, leavesNothingBehindWhenItBreaksOff)
{
    std::string const content = recordingOf(600'000);
    for (std::size_t const sent : {0, 1, 200'000, 262'144, 400'000, 599'999}) {
        Recorded on;
        Recorded::Announced const recording = on.announce(static_cast<std::int64_t>(content.size()));
        {
            RawConnection connection(on.gateway.port());
            connection.send(Recorded::headOf(recording.path, content.size()) + content.substr(0, sent));
            if (sent > 262'144)
                EXPECT_TRUE(becomes([&] { return !on.files().empty(); }));
        }
        SCOPED_TRACE(sent);
        expectNothingLeft(on, recording);
    }
}

TEST(RecordingUpload, isLetGoWhenItStops)
{
    Recorded on([](Settings& settings) { settings.limits.bodyIdle = std::chrono::milliseconds(200); });
    Recorded::Announced const recording = on.announce(600'000);
    RawConnection connection(on.gateway.port());

    connection.send(Recorded::headOf(recording.path, 600'000) + recordingOf(300'000));

    EXPECT_TRUE(connection.closes(5));
    expectNothingLeft(on, recording);
}

TEST(RecordingUpload, takesAsLongAsItsBytesNeed)
{
    Recorded on([](Settings& settings) { settings.limits.bodyTime = std::chrono::milliseconds(1); });
    std::string const content = recordingOf(600'000);
    Recorded::Announced const recording = on.announce(600'000);
    RawConnection connection(on.gateway.port());

    std::size_t sent = 300'000;
    connection.send(Recorded::headOf(recording.path, content.size()) + content.substr(0, sent));
    ASSERT_TRUE(becomes([&] { return on.files() == std::vector{recording.id + ".part"}; }));
    becomes([&] { // One byte at a time: the gateway has to wait for each.
        connection.send(content.substr(sent, 1));
        return ++sent == 300'020;
    });
    connection.send(content.substr(sent));

    EXPECT_THAT(connection.readToEnd(5), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(on.files(), ElementsAre(recording.id + ".mp4"));
}

TEST(RecordingUpload, mustBeginInTime)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    Recorded::Announced const late = on.announce(4);

    on.gateway.clock.advance(14min + 59s);
    EXPECT_EQ(on.put(recording.path, "film").status, 200);
    on.gateway.clock.advance(1s);
    EXPECT_EQ(on.put(late.path, "film").status, 404);
    on.complete(recording.id);
    EXPECT_EQ(on.stateOf(recording.id), "ready");
    EXPECT_THAT(on.files(), ElementsAre(recording.id + ".mp4"));
}

TEST(RecordingUpload, waitsForAWordWhenItAsksForOne)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    RawConnection connection(on.gateway.port());
    std::string head = Recorded::headOf(recording.path, 4);
    head.insert(head.size() - 2, "Expect: 100-continue\r\n");

    connection.send(head);
    EXPECT_THAT(connection.readSome(), StartsWith("HTTP/1.1 100 Continue"));
    connection.send("film");

    EXPECT_THAT(connection.readToEnd(5), StartsWith("HTTP/1.1 200"));
}

TEST(RecordingUpload, endsWhenThePersonSaysNoMeanwhile)
{
    Recorded on;
    std::string const content = recordingOf(600'000);
    Recorded::Announced const recording = on.announce(600'000);
    RawConnection connection(on.gateway.port());
    connection.send(Recorded::headOf(recording.path, content.size()) + content.substr(0, 300'000));
    ASSERT_TRUE(becomes([&] { return !on.files().empty(); }));

    on.share(false);
    connection.send(content.substr(300'000));

    EXPECT_THAT(connection.readToEnd(5), StartsWith("HTTP/1.1 403"));
    EXPECT_TRUE(becomes([&] { return on.files().empty(); }));
    EXPECT_EQ(on.complete(recording.id).errorCode(), "recording_not_shared");
}

TEST(RecordingUpload, endsWhenTheConnectionOrTheMachineEndsMeanwhile)
{
    std::string const content = recordingOf(600'000);
    for (std::string const what : {"connection", "machine"}) {
        Recorded on;
        Recorded::Announced const recording = on.announce(600'000);
        RawConnection connection(on.gateway.port());
        connection.send(Recorded::headOf(recording.path, content.size()) + content.substr(0, 300'000));
        ASSERT_TRUE(becomes([&] { return !on.files().empty(); }));

        std::string const id = what == "machine" ? on.linked.machineId : on.linked.connectionId;
        on.gateway.platform("DELETE", "/v1/" + what + "s/" + id);
        connection.send(content.substr(300'000));

        EXPECT_THAT(connection.readToEnd(5), StartsWith("HTTP/1.1 403")) << what;
        EXPECT_TRUE(becomes([&] { return on.files().empty(); })) << what;
    }
}

TEST(RecordingUpload, saysThatItCannotBeStored)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    std::filesystem::remove_all(on.folder());
    std::ofstream(on.folder()) << "in the way";

    Answer const answer = on.put(recording.path, "film");

    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.errorCode(), "recordings_unavailable");
    EXPECT_EQ(answer.body.find(on.folder().string()), std::string::npos);
    std::filesystem::remove(on.folder());
    EXPECT_EQ(on.stateOf(on.recording()), "ready");
}

TEST(RecordingUpload, isRefusedWhenRecordingsWereSwitchedOff)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    Recorded::Announced const here = on.announce(4);
    on.put(here.path, "film");
    on.gateway.stop();

    on.gateway.change([](Settings& settings) { settings.recordings.taken = false; });
    on.gateway.start();

    EXPECT_EQ(on.put(recording.path, "film").errorCode(), "recordings_unavailable");
    EXPECT_EQ(on.complete(here.id).status, 200); // It is here already.
}

TEST(RecordingUpload, goesOnAfterARestartBetweenItsSteps)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(4);
    on.gateway.stop();
    on.gateway.start();
    EXPECT_EQ(on.put(recording.path, "film").status, 200);
    on.gateway.stop();
    on.gateway.start();
    EXPECT_EQ(on.complete(recording.id).status, 200);
    on.gateway.stop();
    on.gateway.start();
    EXPECT_EQ(on.complete(recording.id).status, 200);

    EXPECT_EQ(on.gateway.call("GET", on.addressOf(recording.id)).body, "film");
}

TEST(RecordingUpload, isGoneAfterARestartInItsMiddle)
{
    Recorded on;
    Recorded::Announced const recording = on.announce(600'000);
    RawConnection connection(on.gateway.port());
    connection.send(Recorded::headOf(recording.path, 600'000) + recordingOf(300'000));
    ASSERT_TRUE(becomes([&] { return !on.files().empty(); }));

    on.gateway.stop();
    EXPECT_TRUE(connection.closes(5));
    EXPECT_THAT(on.files(), IsEmpty());
    on.gateway.start();

    expectNothingLeft(on, recording);
}

TEST(RecordingUpload, isGoneAfterASuddenEndInItsMiddle)
{
    Recorded on;
    std::string const ready = on.recording();
    Recorded::Announced const recording = on.announce(4);
    on.gateway.stop();
    {
        SqliteStore store(on.gateway.data() / "gateway.sqlite");
        ASSERT_TRUE(
            store.moveRecording(recording.id, RecordingStage::open, RecordingStage::receiving, Date()));
    }
    for (std::string const& name :
         {recording.id + ".part", recording.id + ".mp4", std::string("rec_none.mp4")})
        std::ofstream(on.folder() / name) << "fi";
    std::ofstream(on.folder() / "notes.txt") << "not ours";

    on.gateway.start();

    EXPECT_THAT(on.files(), ElementsAre("notes.txt", ready + ".mp4"));
    EXPECT_EQ(on.complete(recording.id).status, 422);
    EXPECT_EQ(on.put(recording.path, "film").status, 404);
}

// A sanitizer keeps freed memory, so its size says nothing then, and a tenth of the recording suffices.
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool measured = false;
#else
constexpr bool measured = true;
#endif
constexpr int mebibytes = measured ? 200 : 20;
constexpr std::size_t largeRecording = std::size_t{mebibytes} << 20;

/// The resident memory of this process in bytes.
std::size_t residentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::size_t size = 0;
    std::size_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

TEST(RecordingUpload, of200MiBNeedsLittleMemoryBothWays)
{
    Recorded on([](Settings& settings) { settings.limits.memory = 4_MiB; });
    std::string const piece = recordingOf(1_MiB);
    Recorded::Announced const recording = on.announce(largeRecording);
    std::size_t const before = residentBytes();
    std::size_t most = before;
    RawConnection up(on.gateway.port());
    up.send(Recorded::headOf(recording.path, largeRecording));

    for (int i = 0; i < mebibytes; ++i) {
        ASSERT_TRUE(up.send(piece));
        most = std::max(most, residentBytes());
    }
    EXPECT_THAT(up.readToEnd(30), StartsWith("HTTP/1.1 200"));
    EXPECT_EQ(on.complete(recording.id).status, 200);
    RawConnection down(on.gateway.port());
    down.send("GET " + on.addressOf(recording.id) +
              " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    std::size_t taken = 0;
    bool same = true;
    std::string last = down.readSome();
    ASSERT_THAT(last, StartsWith("HTTP/1.1 200"));
    last.erase(0, last.find("\r\n\r\n") + 4); // Nothing is left when the head came alone.
    do {
        for (std::size_t i = 0; i < last.size(); i += 997)
            same = same && last[i] == piece[(taken + i) % piece.size()];
        taken += last.size();
        most = std::max(most, residentBytes());
        last = down.readSome();
    } while (!last.empty());

    EXPECT_EQ(taken, largeRecording);
    EXPECT_TRUE(same);
    if (measured)
        EXPECT_LT(most - before, 32_MiB);
}

} // namespace
} // namespace zelvo::service
