#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/recordings/RecordingIntake.h"
#include "ZelvoGateway/recordings/RecordingLibrary.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/FakeKeyRing.h"
#include "gateway/support/FakeRecordingFiles.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/RunTask.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

/// The services without HTTP and without a disk for the files; their workers are this thread.
struct Fixture {
    Fixture()
    {
        machine.id = store.addMachine(AgentMode::connected, clock.date()).machineId;
        store.addConnection({.id = "con_1",
                             .machineId = machine.id,
                             .scopes = {AgentScope::record},
                             .createdAt = "2026-11-21T00:00:00Z"});
        store.setShared("con_1", true);
    }

    AnnouncedRecording announce(std::uint64_t bytes)
    {
        RecordingAnnouncement const wanted{.connectionId = "con_1", .durationSec = 2, .sizeBytes = bytes};
        return runTask(io, intake.announce(machine, wanted));
    }
    std::shared_ptr<RecordingUpload> upload(AnnouncedRecording const& announced)
    {
        return intake.receive(intake.awaited(announced.uploadSecret));
    }
    /// A recording that is uploaded but not completed.
    std::string uploaded(std::string const& content)
    {
        auto const announced = announce(content.size());
        auto const body = upload(announced);
        runTask(io, body->take(content));
        return runTask(io, body->finish());
    }
    RecordingStage stageOf(std::string const& id) { return store.recording(id)->stage; }

    template <class Work>
    static std::optional<Failure> failureOf(Work const& work)
    {
        try {
            work();
        } catch (Failure const& failure) {
            return failure;
        }
        return std::nullopt;
    }

    TemporaryFolder folder;
    asio::io_context io;
    SteppedClock clock;
    Settings settings;
    SqliteStore store{folder.path / "store.sqlite"};
    ApiKey key{"zk_0123456789012345678901234567890123456789"};
    std::shared_ptr<FakeRecordingFiles> files = std::make_shared<FakeRecordingFiles>();
    FakeKeyRing keys;
    asio::io_context background; // Never runs: a task must not wait for the log.
    AuditLog audit{store, clock, settings.audit, background.get_executor()};
    RecordingIntake intake{store, files, audit, settings, clock, io.get_executor()};
    RecordingLibrary library{store, files, key, keys, audit, settings, clock, io.get_executor()};
    StoredMachine machine;
};

TEST(RecordingServices, takeARecordingFromItsAnnouncementToAPass)
{
    Fixture on;
    std::string const id = on.uploaded("content");

    runTask(on.io, on.intake.complete(on.machine, id));

    auto const listed = on.library.recording(Caller::console(), id, 1h);
    ASSERT_TRUE(listed.pass);
    auto const source = runTask(on.io, on.library.open(id, listed.pass->proof));
    EXPECT_EQ(source->size(), 7u);
}

TEST(RecordingServices, endThePassesOfARevokedKey)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    runTask(on.io, on.intake.complete(on.machine, id));
    Caller const caller{.keyId = "key_1", .reach = {.all = true}};
    PassProof const proof = on.library.recording(caller, id, 1h).pass->proof;
    PassProof const ofTheConsole = on.library.recording(Caller::console(), id, 1h).pass->proof;
    ASSERT_EQ(runTask(on.io, on.library.open(id, proof))->size(), 7u);

    on.keys.revoke("key_1");

    PassProof renamed = proof;
    renamed.keyId = "";
    for (PassProof const& ended : {proof, renamed}) {
        auto const failure = Fixture::failureOf([&] { runTask(on.io, on.library.open(id, ended)); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->code, ErrorCode::forbidden);
    }
    EXPECT_EQ(runTask(on.io, on.library.open(id, ofTheConsole))->size(), 7u);
}

TEST(RecordingServices, saveNothingOfAnUploadThatCannotBeWritten)
{
    for (bool FakeRecordingFiles::State::* const refusal :
         {&FakeRecordingFiles::State::refusesDrafts, &FakeRecordingFiles::State::refusesWrites,
          &FakeRecordingFiles::State::refusesToKeep}) {
        Fixture on;
        auto const announced = on.announce(3);
        on.files->state.get()->*refusal = true;
        auto body = on.upload(announced);

        auto const failure = Fixture::failureOf([&] {
            runTask(on.io, body->take("abc"));
            runTask(on.io, body->finish());
        });
        body.reset();

        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->code, ErrorCode::recordingsUnavailable);
        EXPECT_EQ(on.stageOf(announced.id), RecordingStage::ended);
        EXPECT_TRUE(on.files->state->drafts.empty());
        EXPECT_TRUE(on.files->state->files.empty());
    }
}

TEST(RecordingServices, promiseTheSameSpaceOnce)
{
    Fixture on;
    on.settings.recordings.minFreeBytes = 0;
    on.files->state->freeBytes = 100;
    RecordingAnnouncement const wanted{.connectionId = "con_1", .durationSec = 2, .sizeBytes = 60};
    int taken = 0;
    int refused = 0;
    auto const count = [&](std::exception_ptr const& thrown, AnnouncedRecording const&) {
        ++(thrown ? refused : taken);
    };

    asio::co_spawn(on.io, on.intake.announce(on.machine, wanted), count);
    asio::co_spawn(on.io, on.intake.announce(on.machine, wanted), count);
    on.io.run();

    EXPECT_EQ(taken, 1);
    EXPECT_EQ(refused, 1);
}

TEST(RecordingServices, completeARecordingOnceThoughAskedTwiceAtATime)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    int completed = 0;
    auto const count = [&](std::exception_ptr const& thrown) { completed += thrown ? 0 : 1; };

    asio::co_spawn(on.io, on.intake.complete(on.machine, id), count);
    asio::co_spawn(on.io, on.intake.complete(on.machine, id), count);
    on.io.restart();
    on.io.run();

    EXPECT_EQ(completed, 2);
    EXPECT_EQ(on.stageOf(id), RecordingStage::ready);
}

TEST(RecordingServices, doNotMakeReadyWhatEndedWhileItsFileWasOpened)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    std::exception_ptr failure;

    asio::co_spawn(on.io, on.intake.complete(on.machine, id),
                   [&](std::exception_ptr const& thrown) { failure = thrown; });
    on.io.restart();
    on.io.run_one(); // It has asked for the file and waits.
    on.store.endUploads("con_1", on.clock.date());
    on.io.run();

    EXPECT_TRUE(failure);
    EXPECT_EQ(on.stageOf(id), RecordingStage::ended);
}

TEST(RecordingServices, endARecordingWhoseFileIsShort)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    on.files->state->files[id] = "con";

    auto const failure = Fixture::failureOf([&] { runTask(on.io, on.intake.complete(on.machine, id)); });

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Failure::Kind::incomplete);
    EXPECT_EQ(on.stageOf(id), RecordingStage::ended);
}

TEST(RecordingServices, tryAgainToRemoveAFileThatCouldNotBeRemoved)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    runTask(on.io, on.intake.complete(on.machine, id));
    on.files->state->isUnreachable = true;

    runTask(on.io, on.library.remove(Caller::console(), id));
    runTask(on.io, on.library.runMaintenance());
    EXPECT_EQ(on.stageOf(id), RecordingStage::deleted);
    EXPECT_EQ(on.files->state->files.size(), 1u);

    on.files->state->isUnreachable = false;
    runTask(on.io, on.library.runMaintenance());
    EXPECT_TRUE(on.files->state->files.empty());
}

TEST(RecordingServices, keepARecordingThatCannotBeCheckedNow)
{
    Fixture on;
    std::string const id = on.uploaded("content");
    on.files->state->isUnreachable = true;

    auto const failure = Fixture::failureOf([&] { runTask(on.io, on.intake.complete(on.machine, id)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, ErrorCode::recordingsUnavailable);
    EXPECT_EQ(on.stageOf(id), RecordingStage::received);

    on.files->state->isUnreachable = false;
    runTask(on.io, on.intake.complete(on.machine, id));
    EXPECT_EQ(on.stageOf(id), RecordingStage::ready);
}

TEST(RecordingServices, beginWithoutAPlaceThatDoesNotAnswerButNotWithOneThatRefuses)
{
    Fixture on;
    on.files->state->isUnreachable = true;
    EXPECT_NO_THROW(on.library.begin());
    on.files->state->isUnreachable = false;
    on.files->state->isForbidden = true;

    EXPECT_THROW(on.library.begin(), RecordingFilesError);
}

} // namespace
} // namespace zelvo::service
