#include "ZelvoGateway/control/KeyService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace zelvo::service {
namespace {

class KeyServiceTest : public testing::Test {
protected:
    KeyServiceTest()
    {
        std::string const machine = store.addMachine(AgentMode::connected, clock.date()).machineId;
        store.addConnection({.id = "con_1", .machineId = machine, .endUserId = "ada", .createdAt = "t"});
        store.addConnection({.id = "con_2", .machineId = machine, .endUserId = "bob", .createdAt = "t"});
        store.revoke("con_2", clock.date());
    }
    ~KeyServiceTest() override
    {
        keys.stop();
        audit.stop();
        io.poll();
        clock.dropSleepers();
    }

    std::optional<Failure> refusalOf(KeyRequest const& request)
    {
        try {
            keys.add(request);
        } catch (Failure const& failure) {
            return failure;
        }
        return std::nullopt;
    }
    std::optional<Failure> refusalOfRevoking(std::string const& id)
    {
        try {
            keys.revoke(id);
        } catch (Failure const& failure) {
            return failure;
        }
        return std::nullopt;
    }
    std::optional<Date> lastUse(std::string const& id)
    {
        auto const all = store.keys();
        return std::ranges::find(all, id, &StoredKey::id)->lastUsedAt;
    }
    void pass(Duration time)
    {
        io.poll();
        clock.advance(time);
        io.restart();
        io.poll();
    }

    TemporaryFolder folder;
    asio::io_context io;
    SteppedClock clock;
    SqliteStore store{folder.path / "store.sqlite"};
    AuditRules rules;
    AuditLog audit{store, clock, rules, io.get_executor()};
    KeyService keys{store, audit, clock, io.get_executor()};
};

TEST_F(KeyServiceTest, findsTheCallerOfAKey)
{
    NewKey const made = keys.add({.name = "Acme", .reach = {.connections = {"con_1"}, .endUsers = {"eve"}}});

    auto const caller = keys.callerWith(made.text);

    ASSERT_TRUE(caller);
    EXPECT_EQ(caller->keyId, made.stored.id);
    EXPECT_EQ(caller->name, "Acme");
    EXPECT_EQ(caller->reach, (Reach{.connections = {"con_1"}, .endUsers = {"eve"}}));
    EXPECT_TRUE(made.text.starts_with(made.stored.prefix));
    EXPECT_EQ(made.text.size(), 67u);
    for (std::string const& wrong : {std::string(), made.stored.prefix, made.stored.hash, made.stored.id,
                                     made.text.substr(0, 66), made.text + "0", "ZK" + made.text.substr(2)})
        EXPECT_FALSE(keys.callerWith(wrong)) << wrong;
}

TEST_F(KeyServiceTest, reachesAllWithoutAList)
{
    EXPECT_TRUE(keys.callerWith(keys.add({.name = "a"}).text)->reach.all);
    EXPECT_FALSE(keys.callerWith(keys.add({.name = "a", .reach = {.endUsers = {"x"}}}).text)->reach.all);
    EXPECT_FALSE(
        keys.callerWith(keys.add({.name = "a", .reach = {.all = true, .endUsers = {"x"}}}).text)->reach.all);
}

TEST_F(KeyServiceTest, storesNoKey)
{
    NewKey const made = keys.add({.name = "Acme"});
    keys.callerWith(made.text);

    std::string const secret = made.text.substr(made.stored.prefix.size());
    for (auto const& file : std::filesystem::directory_iterator(folder.path)) {
        std::ifstream stream(file.path(), std::ios::binary);
        std::string const content(std::istreambuf_iterator<char>(stream), {});
        EXPECT_EQ(content.find(secret), std::string::npos) << file.path();
    }
    EXPECT_EQ(keys.keys()[0].name, "Acme"); // It is stored, though.
}

TEST_F(KeyServiceTest, refusesARevokedKeyAtOnce)
{
    NewKey const made = keys.add({.name = "a"});
    NewKey const other = keys.add({.name = "b"});

    StoredKey const revoked = keys.revoke(made.stored.id);

    EXPECT_EQ(revoked.revokedAt, clock.date());
    EXPECT_FALSE(keys.callerWith(made.text));
    EXPECT_FALSE(keys.isCurrent(made.stored.id));
    EXPECT_TRUE(keys.callerWith(other.text));
    EXPECT_TRUE(keys.isCurrent(other.stored.id));
    EXPECT_TRUE(keys.isCurrent("")); // The console.
    EXPECT_EQ(refusalOfRevoking(made.stored.id)->code, ErrorCode::notFound);
    EXPECT_EQ(refusalOfRevoking("key_none")->code, ErrorCode::notFound);
}

TEST_F(KeyServiceTest, followsWhatAnotherProcessDoes)
{
    SqliteStore theirStore(folder.path / "store.sqlite");
    KeyService theirs(theirStore, audit, clock, io.get_executor());

    NewKey const made = theirs.add({.name = "a"});
    EXPECT_TRUE(keys.callerWith(made.text));
    theirs.revoke(made.stored.id);

    EXPECT_FALSE(keys.callerWith(made.text));
}

TEST_F(KeyServiceTest, informsObserversAtOnce)
{
    NewKey const made = keys.add({.name = "a"});
    std::vector<std::string> heard;
    auto connection = keys.observeRevocations([&](std::string const& id) { heard.push_back(id); });

    keys.revoke(made.stored.id);
    EXPECT_EQ(heard, std::vector{made.stored.id});

    connection.disconnect();
    keys.revoke(keys.add({.name = "b"}).stored.id);
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(KeyServiceTest, informsObserversOfAnotherProcessesRevocationWithinASecond)
{
    NewKey const made = keys.add({.name = "a"});
    std::vector<std::string> heard;
    auto connection = keys.observeRevocations([&](std::string const& id) { heard.push_back(id); });
    SqliteStore(folder.path / "store.sqlite").revokeKey(made.stored.id, clock.date());

    pass(KeyService::watchPeriod);

    EXPECT_EQ(heard, std::vector{made.stored.id});
    connection.disconnect();
    pass(KeyService::watchPeriod);
    EXPECT_FALSE(clock.isSleptOn()); // Nobody observes, so nobody looks.
}

TEST_F(KeyServiceTest, writesTheLastUseOnceAMinute)
{
    NewKey const made = keys.add({.name = "a"});
    EXPECT_FALSE(lastUse(made.stored.id));

    keys.callerWith(made.text);
    Date const first = clock.date();
    EXPECT_EQ(lastUse(made.stored.id), first);
    clock.advance(59s);
    keys.callerWith(made.text);
    EXPECT_EQ(lastUse(made.stored.id), first);
    clock.advance(1s);
    keys.callerWith(made.text);
    EXPECT_EQ(lastUse(made.stored.id), clock.date());
}

TEST_F(KeyServiceTest, refusesWhatIsNoKey)
{
    std::set<std::string, std::less<>> many;
    for (std::size_t i = 0; i <= KeyService::maxListed; ++i)
        many.insert(std::to_string(i));
    for (KeyRequest const& bad :
         {KeyRequest{.name = ""}, KeyRequest{.name = std::string(101, 'a')}, KeyRequest{.name = "a\nb"},
          KeyRequest{.name = "a\tb"}, KeyRequest{.name = "\xff"},
          KeyRequest{.name = "a\xe2\x80\xae"
                             "b"},
          KeyRequest{.name = "a", .reach = {.endUsers = {""}}},
          KeyRequest{.name = "a", .reach = {.endUsers = {std::string(257, 'a')}}},
          KeyRequest{.name = "a", .reach = {.endUsers = {"a\nb"}}},
          KeyRequest{.name = "a", .reach = {.endUsers = many}}}) {
        auto const refusal = refusalOf(bad);
        ASSERT_TRUE(refusal) << bad.name;
        EXPECT_EQ(refusal->code, ErrorCode::invalidRequest) << bad.name;
    }
    for (char const* const id : {"con_none", "con_2", ""}) // The second is revoked.
        EXPECT_EQ(refusalOf({.name = "a", .reach = {.connections = {id}}})->code, ErrorCode::notFound) << id;
    EXPECT_TRUE(keys.keys().empty());
    EXPECT_FALSE(refusalOf({.name = std::string(100, 'a'), .reach = {.endUsers = {std::string(256, 'a')}}}));
}

TEST_F(KeyServiceTest, keepsABoundedNumberOfKeys)
{
    NewKey const first = keys.add({.name = "a"});
    for (std::size_t i = 1; i < KeyService::maxKeys; ++i)
        store.saveKey({.id = "key_" + std::to_string(i), .hash = "hash " + std::to_string(i)});
    keys.setBuiltIn(ApiKey("zk_0123456789abcdef0123456789abcdef")); // Never refused.

    EXPECT_EQ(refusalOf({.name = "b"})->code, ErrorCode::rateLimited);

    keys.revoke(first.stored.id);
    keys.revoke("key_1");
    EXPECT_FALSE(refusalOf({.name = "b"}));
}

TEST_F(KeyServiceTest, followsTheBuiltInKeyThatTheFolderHolds)
{
    ApiKey const old("zk_0123456789abcdef0123456789abcdef");
    ApiKey const next("zk_fedcba9876543210fedcba9876543210");
    keys.setBuiltIn(old);
    keys.setBuiltIn(old);
    EXPECT_EQ(keys.callerWith(old.value())->keyId, ApiKey::id);
    EXPECT_TRUE(keys.callerWith(old.value())->reach.all);

    keys.setBuiltIn(next);

    EXPECT_FALSE(keys.callerWith(old.value()));
    EXPECT_TRUE(keys.callerWith(next.value()));
    EXPECT_EQ(keys.keys().size(), 1u);
    EXPECT_EQ(refusalOfRevoking(std::string(ApiKey::id))->code, ErrorCode::invalidRequest);
    EXPECT_TRUE(keys.callerWith(next.value()));
}

TEST_F(KeyServiceTest, endsWhatWasBegunWithAReplacedKey)
{
    ApiKey const old("zk_0123456789abcdef0123456789abcdef");
    keys.setBuiltIn(old);
    NewKey const other = keys.add({.name = "a"});
    Caller const waiting = *keys.callerWith(old.value());
    Caller const unaffected = *keys.callerWith(other.text);
    store.addCommand({.id = "cmd_1",
                      .connectionId = "con_1",
                      .method = "urls.open",
                      .expiresAt = clock.date() + 1h,
                      .keyId = std::string(ApiKey::id)});
    std::vector<std::string> ended;
    boost::signals2::scoped_connection const observed =
        keys.observeRevocations([&](std::string const& id) { ended.push_back(id); });
    EXPECT_TRUE(keys.isCurrent(waiting));

    keys.setBuiltIn(ApiKey("zk_fedcba9876543210fedcba9876543210"));

    EXPECT_EQ(ended, std::vector<std::string>{std::string(ApiKey::id)});
    EXPECT_FALSE(keys.isCurrent(waiting));
    EXPECT_TRUE(keys.isCurrent(waiting.keyId)); // The id is that of the new one, too.
    EXPECT_TRUE(keys.isCurrent(unaffected));
    EXPECT_TRUE(keys.isCurrent(Caller::console()));
    EXPECT_EQ(store.command("cmd_1")->status, records::CommandStatus::canceled);
}

TEST_F(KeyServiceTest, repeatsWhatFailedWhenAKeyWasReplaced)
{
    ApiKey const next("zk_fedcba9876543210fedcba9876543210");
    keys.setBuiltIn(ApiKey("zk_0123456789abcdef0123456789abcdef"));
    store.addCommand({.id = "cmd_1",
                      .connectionId = "con_1",
                      .method = "urls.open",
                      .expiresAt = clock.date() + 1h,
                      .keyId = std::string(ApiKey::id)});
    std::vector<std::string> ended;
    boost::signals2::scoped_connection const observed =
        keys.observeRevocations([&](std::string const& id) { ended.push_back(id); });
    Database other(folder.path / "store.sqlite");
    other.execute("CREATE TRIGGER full BEFORE UPDATE ON queued_commands "
                  "BEGIN SELECT RAISE(ABORT, 'no room'); END");
    EXPECT_THROW(keys.setBuiltIn(next), StoreError);
    EXPECT_FALSE(keys.callerWith(next.value())); // Nothing is half done.
    other.execute("DROP TRIGGER full");

    keys.setBuiltIn(next);

    EXPECT_TRUE(keys.callerWith(next.value()));
    EXPECT_EQ(ended, std::vector<std::string>{std::string(ApiKey::id)});
    EXPECT_EQ(store.command("cmd_1")->status, records::CommandStatus::canceled);
}

} // namespace
} // namespace zelvo::service
