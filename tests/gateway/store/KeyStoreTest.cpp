#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

Date const someDay = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

StoredKey keyNamed(std::string const& id, Reach reach = {.all = true})
{
    return {.id = id,
            .name = "Key " + id,
            .prefix = "zk_" + id,
            .hash = "hash of " + id,
            .reach = std::move(reach),
            .createdAt = someDay};
}

class KeyStore : public testing::Test {
protected:
    KeyStore()
    {
        machineId = store.addMachine(AgentMode::connected, someDay).machineId;
        addConnection("con_1", "ada");
        addConnection("con_2", "bob");
        addConnection("con_3", "cleo");
    }
    void addConnection(std::string const& id, std::string const& endUser)
    {
        store.addConnection({.id = id, .machineId = machineId, .endUserId = endUser, .createdAt = "t"});
    }
    void addCommand(std::string const& id, std::string const& keyId)
    {
        store.addCommand({.id = id,
                          .connectionId = "con_1",
                          .method = "shell.run",
                          .frame = "{}",
                          .expiresAt = someDay + 1h,
                          .keyId = keyId});
    }
    records::CommandStatus statusOf(std::string const& id) { return store.command(id)->status; }

    TemporaryFolder folder;
    SqliteStore store{folder.path / "store.sqlite"};
    std::string machineId;
};

TEST_F(KeyStore, keepsKeysInTheOrderInWhichTheyWereMade)
{
    std::vector<StoredKey> const keys{
        keyNamed("b"), keyNamed("a", {.connections = {"con_1", "con_2"}, .endUsers = {"ada \"x\"", "Боб"}})};
    for (StoredKey const& key : keys)
        store.saveKey(key);

    EXPECT_EQ(store.keys(), keys);
    EXPECT_EQ((SqliteStore(folder.path / "store.sqlite").keys()), keys);
}

TEST_F(KeyStore, replacesTheSecretOfAKeyAndKeepsTheRest)
{
    StoredKey key = keyNamed("a");
    store.saveKey(key);
    store.setKeyUsed("a", someDay + 1s);

    key.hash = "another";
    key.prefix = "zk_other";
    key.createdAt = someDay + 24h;
    store.saveKey(key);

    ASSERT_EQ(store.keys().size(), 1u);
    EXPECT_EQ(store.keys()[0].hash, "another");
    EXPECT_EQ(store.keys()[0].prefix, "zk_other");
    EXPECT_EQ(store.keys()[0].createdAt, someDay);
    EXPECT_EQ(store.keys()[0].lastUsedAt, someDay + 1s);
}

TEST_F(KeyStore, revokesAKeyOnceWithTheCommandsThatWaitInItsName)
{
    store.saveKey(keyNamed("a"));
    addCommand("cmd_1", "a");
    addCommand("cmd_2", "b");
    addCommand("cmd_3", "");
    addCommand("cmd_4", "a");
    ASSERT_TRUE(store.startCommand("cmd_4", someDay));

    EXPECT_TRUE(store.revokeKey("a", someDay + 1s));
    EXPECT_FALSE(store.revokeKey("a", someDay + 2s));
    EXPECT_FALSE(store.revokeKey("none", someDay));

    EXPECT_EQ(store.keys()[0].revokedAt, someDay + 1s);
    EXPECT_EQ(statusOf("cmd_1"), records::CommandStatus::canceled);
    EXPECT_EQ(store.command("cmd_1")->frame, "");
    EXPECT_EQ(statusOf("cmd_2"), records::CommandStatus::queued);
    EXPECT_EQ(statusOf("cmd_3"), records::CommandStatus::queued);
    EXPECT_EQ(statusOf("cmd_4"), records::CommandStatus::running);
}

TEST_F(KeyStore, startsNoCommandOfARevokedKey)
{
    store.saveKey(keyNamed("a"));
    addCommand("cmd_1", "a");
    ASSERT_TRUE(store.startCommand("cmd_1", someDay));
    store.revokeKey("a", someDay);

    store.requeueCommand("cmd_1"); // The machine did not start it.

    EXPECT_FALSE(store.startCommand("cmd_1", someDay));
}

TEST_F(KeyStore, forgetsKeysThatWereRevokedLongAgo)
{
    for (char const* const id : {"a", "b", "c"})
        store.saveKey(keyNamed(id));
    store.revokeKey("a", someDay);
    store.revokeKey("b", someDay + 1h);

    store.forgetRevokedKeys(someDay + 30min);

    ASSERT_EQ(store.keys().size(), 2u);
    EXPECT_EQ(store.keys()[0].id, "b");
    EXPECT_EQ(store.keys()[1].id, "c");
}

TEST_F(KeyStore, noticesTheChangesOfOthersOnly)
{
    SqliteStore other(folder.path / "store.sqlite");
    std::int64_t const before = store.foreignChanges();

    store.saveKey(keyNamed("a"));
    EXPECT_EQ(store.foreignChanges(), before);
    other.saveKey(keyNamed("b"));
    EXPECT_NE(store.foreignChanges(), before);
}

TEST_F(KeyStore, listsRecordingsThatAReachCovers)
{
    for (char const* const connection : {"con_1", "con_2", "con_3", "con_1"}) {
        std::string const id = "rec_" + std::to_string(store.recordings({}).size() + 1);
        store.addRecording({.id = id,
                            .connectionId = connection,
                            .createdAt = someDay,
                            .deletesAt = someDay + 1h,
                            .uploadUntil = someDay + 1h},
                           id);
    }
    auto const idsFor = [&](RecordingQuery const& query) {
        std::string ids;
        for (StoredRecording const& each : store.recordings(query))
            ids += each.id + " ";
        return ids;
    };

    EXPECT_EQ(idsFor({.reach = {.all = true}}), "rec_4 rec_3 rec_2 rec_1 ");
    EXPECT_EQ(idsFor({.reach = {.connections = {"con_1"}}}), "rec_4 rec_1 ");
    EXPECT_EQ(idsFor({.reach = {.connections = {"con_2"}, .endUsers = {"cleo"}}}), "rec_3 rec_2 ");
    EXPECT_EQ(idsFor({.limit = 1, .reach = {.connections = {"con_2"}, .endUsers = {"cleo"}}}), "rec_3 ");
    EXPECT_EQ(idsFor({.connectionId = "con_1", .reach = {.connections = {"con_2"}}}), "");
    EXPECT_EQ(idsFor({.before = "rec_3", .reach = {.connections = {"con_1"}}}), "rec_1 ");
    EXPECT_EQ(idsFor({.reach = {}}), "");
}

} // namespace
} // namespace zelvo::service
