#include "ZelvoGateway/store/StoreVersion.h"

#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace zelvo::service {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::int64_t numberIn(Database& database, std::string_view query)
{
    Statement row = database.prepare(query);
    row.step();
    return row.integer(0);
}

class StoreVersionTest : public testing::Test {
protected:
    /// Makes the file from one of the kept stores.
    void restore(std::string const& name)
    {
        std::ifstream stream(fs::path(ZELVO_STORES) / name, std::ios::binary);
        std::string const sql{std::istreambuf_iterator<char>(stream), {}};
        ASSERT_FALSE(sql.empty()) << name;
        Database(file).execute(sql);
    }
    std::int64_t version()
    {
        Database database(file);
        return numberIn(database, "PRAGMA user_version");
    }
    std::string refusal()
    {
        try {
            SqliteStore const store(file);
        } catch (StoreError const& error) {
            return error.what();
        }
        return "";
    }
    bool isCopied() const { return fs::exists(StoreVersion::copyOf(file, 0)); }

    TemporaryFolder folder;
    fs::path const file = folder.path / "gateway.sqlite";
};

TEST_F(StoreVersionTest, aNewStoreIsCurrentWithoutACopy)
{
    SqliteStore const store(file);

    EXPECT_EQ(version(), StoreVersion::current);
    EXPECT_FALSE(isCopied());
}

class KeptStores : public StoreVersionTest, public testing::WithParamInterface<char const*> {};

TEST_P(KeptStores, areReadByThisVersion)
{
    restore(GetParam());

    SqliteStore store(file);

    EXPECT_EQ(version(), StoreVersion::current);
    ASSERT_TRUE(store.connection("con_1"));
    EXPECT_EQ(store.connection("con_1")->platformName, "Acme");
    EXPECT_TRUE(store.connection("con_2")->revokedAt);
    EXPECT_TRUE(store.machine("mch_1")->paused);
    EXPECT_TRUE(store.linkSession("lks_1")->used);
    EXPECT_EQ(store.endUser("usr_1")->externalId, "ada");
    EXPECT_EQ(store.command("cmd_1")->method, "shell.run");
    EXPECT_EQ(store.pausedAgents("mch_1").size(), 1u);
    EXPECT_TRUE(store.isShared("con_1"));
    EXPECT_TRUE(store.recording("rec_1"));
}

TEST_P(KeptStores, canBeUsedByThisVersion)
{
    restore(GetParam());
    SqliteStore store(file);

    store.addWebhook({.url = "https://example.com/",
                      .events = {records::WebhookEventType::machineResumed},
                      .secret = "s",
                      .createdAt = "2026-11-23T00:00:00Z"});
    store.setPaused("mch_1", false, Date(std::chrono::seconds(1'763'700'000)));

    EXPECT_FALSE(store.machine("mch_1")->paused);
    EXPECT_EQ(store.deliveryPage(store.webhooks().front().id, {.limit = 10}).rows.size(), 1u);
    EXPECT_FALSE(store.auditEventPage({.limit = 10, .reach = {.all = true}}).rows.empty());
}

INSTANTIATE_TEST_SUITE_P(All, KeptStores, testing::Values("v0.sql", "v1.sql"));

TEST_F(StoreVersionTest, anOlderStoreIsCopiedFirst)
{
    restore("v0.sql");

    SqliteStore const store(file);

    ASSERT_TRUE(isCopied());
    struct stat status{};
    ASSERT_EQ(::stat(StoreVersion::copyOf(file, 0).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    Database copy(StoreVersion::copyOf(file, 0));
    EXPECT_EQ(numberIn(copy, "PRAGMA user_version"), 0);
    EXPECT_EQ(numberIn(copy, "SELECT count(*) FROM connections"), 2);
    EXPECT_EQ(numberIn(copy, "SELECT count(*) FROM sqlite_master WHERE name = 'webhooks'"), 0);
}

TEST_F(StoreVersionTest, aCurrentStoreIsNotCopied)
{
    restore("v1.sql");

    SqliteStore const store(file);

    EXPECT_FALSE(isCopied());
    EXPECT_FALSE(fs::exists(StoreVersion::copyOf(file, 1)));
}

TEST_F(StoreVersionTest, aNewerStoreIsRefusedWithWordsAndLeftAlone)
{
    restore("v1.sql");
    std::string const next = std::to_string(StoreVersion::current + 1);
    Database(file).execute("PRAGMA user_version = " + next);

    EXPECT_THAT(refusal(), HasSubstr("newer gateway (version " + next));
    EXPECT_EQ(version(), StoreVersion::current + 1);
}

TEST_F(StoreVersionTest, aStoreThatCannotBeChangedStaysWhatItWas)
{
    restore("v0.sql");
    Database(file).execute("ALTER TABLE link_sessions RENAME TO others;"
                           "CREATE VIEW link_sessions AS SELECT * FROM others;");

    EXPECT_NE(refusal(), "");

    EXPECT_EQ(version(), 0);
    Database database(file);
    EXPECT_EQ(numberIn(database, "SELECT count(*) FROM connections"), 2);
    EXPECT_EQ(numberIn(database, "SELECT count(*) FROM sqlite_master WHERE name = 'webhooks'"), 0);
}

TEST_F(StoreVersionTest, withoutACopyNothingIsChanged)
{
    restore("v0.sql");
    fs::create_directories(StoreVersion::copyOf(file, 0) / "in the way");

    EXPECT_THAT(refusal(), HasSubstr("no copy"));

    EXPECT_EQ(version(), 0);
    for (fs::path const& each : fs::directory_iterator(folder.path))
        EXPECT_EQ(each.string().find(".part"), std::string::npos) << each;
}

TEST_F(StoreVersionTest, removesWhatKilledProcessesLeftOfCopies)
{
    restore("v0.sql");
    for (char const* const name : {"gateway.sqlite.v0.part.17", "gateway.sqlite.v1.part.4-journal"})
        std::ofstream(folder.path / name) << "x";
    for (char const* const name : {"gateway.sqlite.v0", "api-key.part.1"})
        std::ofstream(folder.path / name) << "x";

    StoreVersion::removeUnfinishedCopies(file);

    std::set<std::string> left;
    for (fs::path const& each : fs::directory_iterator(folder.path))
        if (!each.filename().string().starts_with("gateway.sqlite-"))
            left.insert(each.filename());
    EXPECT_EQ(left, (std::set<std::string>{"api-key.part.1", "gateway.sqlite", "gateway.sqlite.v0"}));
}

TEST_F(StoreVersionTest, severalProcessesMayBringItUpToDateAtOnce)
{
    restore("v0.sql");
    std::vector<pid_t> children;
    for (int i = 0; i < 4; ++i) {
        pid_t const child = ::fork();
        if (child == 0) {
            try {
                SqliteStore store(file);
                ::_exit(store.connection("con_1") ? 0 : 1);
            } catch (StoreError const&) {
                ::_exit(2);
            }
        }
        children.push_back(child);
    }
    for (pid_t const child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(version(), StoreVersion::current);
}

TEST_F(StoreVersionTest, aKillInTheMiddleLeavesTheOldStore)
{
    restore("v0.sql");
    pid_t const child = ::fork();
    if (child == 0) {
        Database database(file);
        StoreVersion(database, file).bringUpToDate([&database](std::int64_t) {
            database.execute("DROP TABLE recordings");
            ::raise(SIGKILL);
        });
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(version(), 0);

    SqliteStore store(file);

    EXPECT_TRUE(store.recording("rec_1"));
    EXPECT_EQ(version(), StoreVersion::current);
}

} // namespace
} // namespace zelvo::service
