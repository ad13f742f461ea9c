#include "ZelvoGateway/http/HealthRoutes.h"

#include "ZelvoGateway/store/Database.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/RunTask.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(HealthRoutes, needNoKey)
{
    Gateway const gateway;
    for (std::string const path : {"/healthz", "/readyz"}) {
        Answer const got = gateway.call("GET", path);
        EXPECT_EQ(got.status, 200) << path;
        EXPECT_EQ(got.body, "ok\n");
        EXPECT_EQ(got.headers.at("cache-control"), "no-store");
        Answer const head = gateway.call("HEAD", path);
        EXPECT_EQ(head.status, 200) << path;
        EXPECT_EQ(head.body, "");
        EXPECT_EQ(gateway.call("POST", path, "{}").status, 405) << path;
    }
}

TEST(HealthRoutes, areNotLimitedAndLeaveNoTrace)
{
    Gateway const gateway;
    for (int i = 0; i < 60; ++i) // More than wrong keys are allowed.
        gateway.call("GET", "/v1/machines", "", {{"Authorization", "Bearer zk_wrong"}});
    auto const events = [&] {
        return gateway.platform("GET", "/v1/audit-events").json().at("data").as_array().size();
    };
    std::size_t const before = events();

    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(gateway.call("GET", "/readyz", "", {{"Authorization", "Bearer zk_wrong"}}).status, 200);

    EXPECT_EQ(events(), before);
}

TEST(HealthRoutes, sayWhenTheStoreCannotBeRead)
{
    Gateway const gateway;
    Database(gateway.data() / "gateway.sqlite").execute("DROP TABLE reserved_numbers");

    Answer const ready = gateway.call("GET", "/readyz");

    EXPECT_EQ(ready.status, 503);
    EXPECT_EQ(ready.body, "not ready\n"); // No word about why.
    EXPECT_FALSE(ready.headers.at("retry-after").empty());
    EXPECT_EQ(gateway.call("HEAD", "/readyz").status, 503);
    EXPECT_EQ(gateway.call("GET", "/healthz").status, 200);
}

TEST(HealthRoutes, sayWhenNothingCanBeServed)
{
    asio::io_context io;
    bool isReady = true;
    HealthRoutes const health([&] { return isReady; }, 1024);
    auto const answerTo = [&](std::string_view path) {
        std::vector<HttpResponse> answers;
        for (Route const& route : health.routes())
            if (route.pattern.front() == path)
                answers.push_back(runTask(io, route.answer({}, {})));
        return answers;
    };
    for (HttpResponse const& answer : answerTo("readyz"))
        EXPECT_EQ(answer.status, 200);

    isReady = false;

    ASSERT_EQ(answerTo("readyz").size(), 2u);
    for (HttpResponse const& answer : answerTo("readyz")) {
        EXPECT_EQ(answer.status, 503);
        EXPECT_EQ(answer.headers.front().first, "Retry-After");
    }
    for (HttpResponse const& answer : answerTo("healthz"))
        EXPECT_EQ(answer.status, 200);
}

} // namespace
} // namespace zelvo::service
