#include "ZelvoGateway/http/AccessControl.h"

#include "ZelvoGateway/http/HttpError.h"
#include "gateway/support/FakeKeyRing.h"
#include "gateway/support/SteppedClock.h"

#include <gtest/gtest.h>

namespace zelvo::service {

namespace {

class AccessControlTest : public testing::Test {
protected:
    AccessControlTest()
    {
        keys.callers["zk_right"] = {.keyId = "key_1", .name = "Acme", .reach = {.connections = {"con_1"}}};
    }

    static HttpRequest requestWith(std::string name, std::string value)
    {
        HttpRequest request{.method = "GET", .remoteAddress = "192.0.2.1"};
        request.headers.emplace(std::move(name), std::move(value));
        return request;
    }
    static HttpRequest requestWithKey(std::string const& key)
    {
        return requestWith("authorization", "Bearer " + key);
    }
    /// What a request without a right gets.
    HttpError refusalOf(HttpRequest const& request) const
    {
        try {
            access.assertPlatform(request);
        } catch (HttpError const& error) {
            return error;
        }
        return {.status = 200};
    }
    /// The status of the first request after as many wrong keys as are allowed.
    HttpError afterWrongKeys(HttpRequest const& request) const
    {
        for (std::size_t i = 0; i < rules.maxAttempts; ++i)
            EXPECT_EQ(refusalOf(requestWithKey("zk_wrong")).status, 401);
        return refusalOf(request);
    }

    SteppedClock clock;
    ConsoleTimes times;
    ConsoleSessions sessions{clock, times};
    FakeKeyRing keys;
    AttemptRules rules{.maxAttempts = 3, .window = 60s, .maxAddresses = 2};
    AttemptLimiter wrongKeys{clock, rules};
    std::string publicUrl;
    AccessControl access{keys, publicUrl, sessions, wrongKeys};
};

TEST_F(AccessControlTest, namesTheCallerOfAKey)
{
    Caller const caller = access.callerOf(requestWithKey("zk_right"));

    EXPECT_EQ(caller, keys.callers["zk_right"]);
    EXPECT_FALSE(caller.isConsole());
}

TEST_F(AccessControlTest, namesTheConsoleAsThePerson)
{
    std::string const secret = sessions.begin("http://127.0.0.1:8737");

    Caller const caller = access.callerOf(requestWith("x-zelvo-console", secret));

    EXPECT_TRUE(caller.isConsole());
    EXPECT_TRUE(caller.reach.all);
}

TEST_F(AccessControlTest, knowsNoCallerWithoutARight)
{
    for (auto const& request :
         {HttpRequest{}, requestWithKey("zk_wrong"), requestWithKey(""),
          requestWith("authorization", "zk_right"), requestWith("x-zelvo-console", "zs_guessed")}) {
        try {
            access.callerOf(request);
            ADD_FAILURE() << "There is no caller";
        } catch (HttpError const& error) {
            EXPECT_EQ(error.status, 401);
        }
    }
}

TEST_F(AccessControlTest, refusesARevokedKey)
{
    ASSERT_EQ(refusalOf(requestWithKey("zk_right")).status, 200);

    keys.revoke("key_1");

    EXPECT_EQ(refusalOf(requestWithKey("zk_right")).status, 401);
}

TEST_F(AccessControlTest, limitsTheWrongKeysOfAnAddress)
{
    HttpError const refused = afterWrongKeys(requestWithKey("zk_wrong"));

    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.code, ErrorCode::rateLimited);
    EXPECT_EQ(refused.retryAfter, 60s);
    clock.advance(59s);
    EXPECT_EQ(refusalOf(requestWithKey("zk_wrong")).retryAfter, 1s);
    clock.advance(1s);
    EXPECT_EQ(refusalOf(requestWithKey("zk_wrong")).status, 401);
}

TEST_F(AccessControlTest, neverLimitsCorrectKeysOtherAddressesAndMissingKeys)
{
    HttpRequest elsewhere = requestWithKey("zk_wrong");
    elsewhere.remoteAddress = "192.0.2.2";

    EXPECT_EQ(afterWrongKeys(requestWithKey("zk_wrong")).status, 429);

    EXPECT_EQ(refusalOf(requestWithKey("zk_right")).status, 200);
    EXPECT_EQ(refusalOf(elsewhere).status, 401);
    EXPECT_EQ(refusalOf(HttpRequest{.method = "GET", .remoteAddress = "192.0.2.1"}).status, 401);
}

TEST_F(AccessControlTest, countsABoundedNumberOfAddresses)
{
    EXPECT_EQ(afterWrongKeys(requestWithKey("zk_wrong")).status, 429);
    clock.advance(1s);
    for (char const* const address : {"192.0.2.2", "192.0.2.3"}) { // The second takes the first one's place.
        HttpRequest request = requestWithKey("zk_wrong");
        request.remoteAddress = address;
        EXPECT_EQ(refusalOf(request).status, 401);
    }

    EXPECT_EQ(refusalOf(requestWithKey("zk_wrong")).status, 401);
}

} // namespace

} // namespace zelvo::service
