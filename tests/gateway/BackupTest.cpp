#include "ZelvoGateway/base/BackupManifest.h"
#include "ZelvoGateway/store/Database.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <thread>

namespace zelvo::service {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Backup : public testing::Test {
protected:
    /// What a run of the program printed. arguments: with the command, without "--data"
    std::string printedBy(std::vector<std::string> arguments, int expected, std::string const& data)
    {
        arguments.insert(arguments.end(), {"--data", data});
        Program program(place.out("printed"), std::move(arguments));
        EXPECT_EQ(program.wait(), expected) << program.text();
        return program.text();
    }
    std::string backUp(std::string const& name, int expected = 0)
    {
        return printedBy({"backup", place.out(name), "--with-recordings"}, expected, place.data);
    }
    std::string restore(std::string const& name, int expected = 0)
    {
        return printedBy({"restore", place.out(name)}, expected, restored.data);
    }
    std::vector<std::string> drafts() const
    {
        std::vector<std::string> names;
        for (auto const& entry : fs::directory_iterator(place.folder.path))
            if (entry.path().string().find(".part-") != std::string::npos)
                names.push_back(entry.path());
        return names;
    }
    static unsigned modeOf(fs::path const& path)
    {
        struct stat status{};
        ::stat(path.c_str(), &status);
        return status.st_mode & 0777;
    }

    Place place;
    Place restored;
};

std::string integrityOf(fs::path const& store)
{
    Database database(store);
    Statement row = database.prepare("PRAGMA integrity_check");
    row.step();
    return row.text(0);
}

/// How many end users there are, if they are numbered without a gap from 0 on; else -1.
std::int64_t endUsersIn(fs::path const& store)
{
    Database database(store);
    Statement row =
        database.prepare("SELECT count(*), coalesce(max(CAST(substr(external_id, 2) AS INTEGER)), -1) "
                         "FROM end_users");
    row.step();
    return row.integer(0) == row.integer(1) + 1 ? row.integer(0) : -1;
}

TEST_F(Backup, ofARunningGatewayIsWholeUnderWrites)
{
    Program const gateway(place.out("log"), place.serve());
    std::uint16_t const port = place.port();
    std::atomic<bool> isOver = false;
    std::atomic<int> made = 0;
    std::thread writer([&] {
        for (Headers const key = place.key(); !isOver; ++made)
            EXPECT_EQ(request(port, "POST", "/v1/end-users",
                              R"({"externalId":"u)" + std::to_string(made) + "\"}", key)
                          .status,
                      201);
    });

    std::int64_t last = 0;
    for (int round = 0; round < 20; ++round) {
        std::string const name = "backup" + std::to_string(round);
        int const before = made;
        EXPECT_TRUE(becomes([&] { return made > before; })); // It keeps writing.
        backUp(name);
        fs::path const store = fs::path(place.out(name)) / "gateway.sqlite";
        EXPECT_EQ(integrityOf(store), "ok");
        std::int64_t const count = endUsersIn(store);
        EXPECT_GT(count, before); // Nothing that was answered is missing, and nothing in the middle.
        EXPECT_GE(count, last);
        last = count;
    }
    isOver = true;
    writer.join();
    EXPECT_TRUE(drafts().empty());
}

TEST_F(Backup, isForTheOwnersEyesOnly)
{
    Program const gateway(place.out("log"), place.serve());
    recordingOf(place, provisioned(place, "a"));

    EXPECT_THAT(backUp("backup"), HasSubstr("files 3\n"));

    fs::path const backup = place.out("backup");
    EXPECT_EQ(modeOf(backup), 0700u);
    EXPECT_EQ(modeOf(backup / "recordings"), 0700u);
    for (auto const& entry : fs::recursive_directory_iterator(backup))
        if (entry.is_regular_file())
            EXPECT_EQ(modeOf(entry.path()), 0600u) << entry.path();
    BackupManifest const manifest = BackupManifest::parse(contentOf(backup / BackupManifest::fileName));
    EXPECT_EQ(manifest.files.size(), 3u);
    for (BackupFile const& file : manifest.files)
        EXPECT_EQ(digestOf(backup / file.name), file.digest) << file.name;
}

TEST_F(Backup, isRestoredWithMachinesKeysAndRecordings)
{
    std::string film;
    Provisioned machine;
    std::string key;
    {
        Program const gateway(place.out("log"), place.serve());
        machine = provisioned(place, "a");
        film = recordingOf(place, machine);
        key = printedBy({"keys", "add", "--name", "Acme"}, 0, place.data);
        key = key.substr(key.find("\nkey ") + 5, 67);
        backUp("backup");
    }

    EXPECT_THAT(restore("backup"), HasSubstr("restored the backup of "));

    EXPECT_EQ(restored.apiKey(), place.apiKey());
    Program const gateway(restored.out("log"), restored.serve());
    std::uint16_t const port = restored.port();
    for (std::string const& each : {key, restored.apiKey()})
        EXPECT_EQ(request(port, "GET", "/v1/machines", "", {{"Authorization", "Bearer " + each}}).status,
                  200);
    MachineThread thread;
    FakeMachine agent(thread, port, machine.token);
    EXPECT_EQ(agent.status(), 101);
    EXPECT_EQ(request(port, "GET", film).body, "a film");
    EXPECT_EQ(request(port, "POST", machine.path, R"({"method":"screenshot"})", restored.key()).status, 200);
}

TEST_F(Backup, withoutRecordingsLeavesThemOut)
{
    {
        Program const gateway(place.out("log"), place.serve());
        recordingOf(place, provisioned(place, "a"));
    }

    printedBy({"backup", place.out("backup")}, 0, place.data); // Also of a gateway that does not run.
    restore("backup");

    EXPECT_FALSE(fs::exists(restored.data + "/recordings"));
    Program const gateway(restored.out("log"), restored.serve());
    json::value const list = request(restored.port(), "GET", "/v1/recordings", "", restored.key()).json();
    ASSERT_EQ(list.at("data").as_array().size(), 1u);
    std::string const url(list.at("data").at(0).at("url").as_string());
    EXPECT_EQ(request(restored.port(), "GET", url.substr(url.find("/films/"))).status, 404);
}

TEST_F(Backup, goesToANewOrEmptyFolderOnly)
{
    EXPECT_THAT(backUp("backup", 1), HasSubstr("there is no gateway's state in " + place.data));
    EXPECT_FALSE(fs::exists(place.data)); // It was not made either.
    provisioned(place, "a");
    fs::create_directory(place.out("full"));
    std::ofstream(place.out("full") + "/mine") << "x";

    EXPECT_THAT(backUp("full", 1), HasSubstr("exists already; name a new or an empty folder"));
    EXPECT_EQ(contentOf(place.out("full") + "/mine"), "x");
    fs::create_directory_symlink(place.out("nowhere"), place.out("link"));
    EXPECT_THAT(backUp("link", 1), HasSubstr("exists already"));
    fs::create_directory(place.out("empty"));
    backUp("empty/");
    EXPECT_TRUE(fs::exists(place.out("empty") + "/manifest.json"));
    EXPECT_TRUE(drafts().empty());
}

/// Files of the programs that are started in its scope can't grow beyond this.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &before);
        rlimit const limit{.rlim_cur = bytes, .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN); // Then writing fails, as on a full disk.
    }
    FileLimit(FileLimit const&) = delete;
    FileLimit& operator=(FileLimit const&) = delete;
    ~FileLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_DFL);
    }

private:
    rlimit before{};
};

TEST_F(Backup, thatFailsLeavesNothing)
{
    provisioned(place, "a");
    {
        FileLimit const limit(64 << 10); // Less than the store takes up.

        backUp("backup", 1);
    }

    EXPECT_FALSE(fs::exists(place.out("backup")));
    EXPECT_TRUE(drafts().empty());
    backUp("backup");
}

TEST_F(Backup, thatIsKilledIsWholeOrNotThere)
{
    provisioned(place, "a");
    std::ofstream(fs::path(place.data) / "api-key") << std::string(32 << 20, 'k'); // Takes a while to copy.
    std::vector<std::string> made;
    for (int round = 0; round < 20; ++round) {
        std::string const name = place.out("backup" + std::to_string(round));
        Program const program(place.out("printed"), {"backup", name, "--data", place.data});
        // The moment of the kill is what the test varies.
        std::this_thread::sleep_for(std::chrono::milliseconds(20 * round));
        program.send(SIGKILL);
        if (fs::exists(name))
            made.push_back(name);
    }

    EXPECT_LT(made.size(), 20u);
    for (std::string const& draft : drafts())
        if (fs::exists(fs::path(draft) / BackupManifest::fileName)) // Killed just before it was renamed.
            made.push_back(draft);
    for (fs::path const backup : made)
        for (BackupFile const& file :
             BackupManifest::parse(contentOf(backup / BackupManifest::fileName)).files)
            EXPECT_EQ(digestOf(backup / file.name), file.digest) << backup;
}

TEST_F(Backup, isNotRestoredIfAnythingInItWasChanged)
{
    provisioned(place, "a");
    backUp("backup");
    fs::path const backup = place.out("backup");
    std::string const manifest = contentOf(backup / "manifest.json");
    auto const leavesNothing = [&] { return !fs::exists(restored.data); };

    fs::resize_file(backup / "gateway.sqlite", fs::file_size(backup / "gateway.sqlite") - 1);
    EXPECT_THAT(restore("backup", 1), HasSubstr("is not what the manifest says"));
    EXPECT_TRUE(leavesNothing());

    fs::remove(backup / "gateway.sqlite");
    EXPECT_THAT(restore("backup", 1), HasSubstr("No such file"));
    EXPECT_TRUE(leavesNothing());

    std::ofstream(backup / "manifest.json") << manifest.substr(0, manifest.size() / 2);
    EXPECT_THAT(restore("backup", 1), HasSubstr("is not the manifest of a backup"));
    fs::remove(backup / "manifest.json");
    EXPECT_THAT(restore("backup", 1), HasSubstr("is no backup: it has no manifest.json"));
    std::string newer = manifest;
    newer.replace(newer.find(R"("storeVersion":)") + 15, 1, "9");
    std::ofstream(backup / "manifest.json") << newer;
    EXPECT_THAT(restore("backup", 1), HasSubstr("newer gateway"));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(Backup, ofAnOlderVersionThatCannotBeBroughtUpToDateLeavesNothing)
{
    fs::path const backup = place.out("backup");
    fs::create_directory(backup);
    Database(backup / "gateway.sqlite")
        .execute("PRAGMA journal_mode = DELETE; CREATE VIEW machines AS SELECT 1");
    BackupManifest const manifest{
        .version = "0",
        .createdAt = "then",
        .files = {{.name = "gateway.sqlite", .digest = digestOf(backup / "gateway.sqlite")}}};
    std::ofstream(backup / BackupManifest::fileName) << manifest.text();

    EXPECT_THAT(restore("backup", 1), HasSubstr("database"));
    EXPECT_FALSE(fs::exists(restored.data));

    fs::create_directory(restored.data);
    restore("backup", 1);
    EXPECT_TRUE(fs::is_empty(restored.data));
}

TEST_F(Backup, consistsOfPlainFilesOfTheirSizes)
{
    provisioned(place, "a");
    backUp("backup");
    fs::path const backup = place.out("backup");
    fs::resize_file(backup / "gateway.sqlite", std::uint64_t{1} << 40); // With a hole: it takes up nothing.
    EXPECT_THAT(restore("backup", 1), HasSubstr("it has more than "));

    fs::remove(backup / "gateway.sqlite");
    ASSERT_EQ(::mkfifo((backup / "gateway.sqlite").c_str(), 0600), 0);
    EXPECT_THAT(restore("backup", 1), HasSubstr("it is no plain file"));

    fs::remove_all(backup / "recordings");
    fs::create_directory_symlink(place.data, backup / "recordings");
    EXPECT_THAT(restore("backup", 1), HasSubstr("recordings is no folder"));

    fs::remove(backup / "manifest.json");
    ASSERT_EQ(::mkfifo((backup / "manifest.json").c_str(), 0600), 0);
    EXPECT_THAT(restore("backup", 1), HasSubstr("it is no plain file"));
    EXPECT_FALSE(fs::exists(restored.data));
}

TEST_F(Backup, doesWithoutARecordingThatIsDeletedMeanwhile)
{
    {
        Program const gateway(place.out("log"), place.serve());
        recordingOf(place, provisioned(place, "a"));
    }
    for (auto const& entry : fs::directory_iterator(place.data + "/recordings"))
        fs::remove(entry);

    std::string const printed = backUp("backup");

    EXPECT_THAT(printed, HasSubstr(" was deleted meanwhile\n"));
    EXPECT_THAT(printed, HasSubstr("files 2\n"));
}

TEST_F(Backup, isRestoredToAFreeFolderOnly)
{
    provisioned(place, "a");
    backUp("backup");
    {
        Program const gateway(restored.out("log"), restored.serve());
        restored.port();
        EXPECT_THAT(restore("backup", 1), HasSubstr("a gateway is running on " + restored.data));
    }
    EXPECT_THAT(restore("backup", 1), HasSubstr(restored.data + " is not empty; move it away first"));
    fs::rename(restored.data, restored.out("old"));
    fs::create_directory(restored.data);
    restore("backup");
    EXPECT_EQ(modeOf(restored.data), 0700u);
}

TEST_F(Backup, thatIsRestoredInPartIsNotServed)
{
    fs::create_directory(restored.data);
    std::ofstream(restored.data + "/restore-unfinished") << "x";

    Program gateway(restored.out("log"), restored.serve());

    EXPECT_EQ(gateway.wait(), 1);
    EXPECT_THAT(gateway.text(), HasSubstr("empty the folder and restore it again"));
    EXPECT_FALSE(fs::exists(restored.data + "/api-key"));
}

} // namespace
} // namespace zelvo::service
