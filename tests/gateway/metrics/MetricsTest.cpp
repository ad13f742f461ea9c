#include "ZelvoGateway/store/Database.h"
#include "gateway/support/Connected.h"
#include "gateway/support/Queued.h"
#include "gateway/support/Scraped.h"
#include "gateway/support/WebhookReceiver.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::string commands(std::string const& method, std::string const& outcome)
{
    return "zelvo_commands_total{method=\"" + method + "\",outcome=\"" + outcome + "\"}";
}

TEST(Metrics, areOffByDefault)
{
    Gateway gateway;

    EXPECT_EQ(gateway.running().metricsAddress(), "");
    EXPECT_FALSE(std::filesystem::exists(gateway.data() / "metrics-address"));
}

TEST(Metrics, areNotOnThePublicPort)
{
    Gateway gateway(withMetrics);

    EXPECT_EQ(gateway.call("GET", "/metrics").status, 404);
    EXPECT_EQ(gateway.platform("GET", "/metrics").status, 404);
}

TEST(Metrics, haveAPortWithoutAnythingElse)
{
    Gateway gateway(withMetrics);
    std::uint16_t const port = Scraped::portOf(gateway.running().metricsAddress());

    Answer const answer = request(port, "GET", "/metrics", "", {{"Host", "gateway.internal:9"}});

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(gateway.readFile("metrics-address"), gateway.running().metricsAddress() + "\n");
    EXPECT_EQ(request(port, "HEAD", "/metrics").status, 200);
    EXPECT_EQ(request(port, "POST", "/metrics").status, 405);
    for (std::string const path : {"/", "/healthz", "/v1/connections", "/metrics/x", "/console"})
        EXPECT_EQ(request(port, "GET", path, "", {{"Authorization", "Bearer " + gateway.apiKey()}}).status,
                  404)
            << path;
}

TEST(Metrics, needAFreePort)
{
    Gateway gateway(withMetrics);
    TemporaryFolder const folder;
    Settings settings{.dataFolder = folder.path / "data", .port = 0};
    settings.metrics = {.isOn = true, .port = Scraped::portOf(gateway.running().metricsAddress())};

    EXPECT_THROW(std::make_unique<Server>(settings), std::runtime_error);
}

TEST(Metrics, countCommandsByMethodAndOutcome)
{
    Connected on(withMetrics);
    on.machine.onFrame([](json::object const& frame) -> std::optional<json::object> {
        if (frame.at("method") == "screenshot")
            return errorOf("denied_by_user", "No");
        return answerOk(frame);
    });

    on.gateway.command(on.linked.connectionId, "cursor.position");
    on.gateway.command(on.linked.connectionId, "cursor.position");
    on.gateway.command(on.linked.connectionId, "screenshot");

    Scraped const now(on.gateway);
    EXPECT_EQ(now[commands("cursor.position", "done")], 2);
    EXPECT_EQ(now[commands("screenshot", "denied_by_user")], 1);
    EXPECT_EQ(now["zelvo_command_duration_seconds_count{method=\"cursor.position\"}"], 2);
    EXPECT_EQ(now["zelvo_commands_in_progress"], 0);
    EXPECT_GE(now["zelvo_http_responses_total{status=\"2xx\"}"], 2);
    EXPECT_GE(now["zelvo_http_responses_total{status=\"4xx\"}"], 1);
}

TEST(Metrics, takeNoLabelFromACaller)
{
    Connected on(withMetrics);

    on.gateway.command(on.linked.connectionId, "evil\\\" method");
    on.gateway.command("con_evil", "cursor.position");
    on.gateway.call("GET", "/evil", "", {{"X-Evil", "evil"}});

    Scraped const now(on.gateway);
    EXPECT_EQ(now.answer.body.find("evil"), std::string::npos);
    EXPECT_EQ(now["zelvo_command_duration_seconds_count{method=\"unknown\"}"], 1);
    EXPECT_EQ(now.answer.body.find(on.linked.connectionId), std::string::npos);
    EXPECT_EQ(now.answer.body.find(on.linked.machineId), std::string::npos);
}

TEST(Metrics, measureCommandsByTheClock)
{
    Connected on(withMetrics);
    on.machine.onFrame([&](json::object const& frame) {
        on.gateway.clock.advance(2s);
        return answerOk(frame);
    });

    on.gateway.command(on.linked.connectionId, "cursor.position");

    Scraped const now(on.gateway);
    std::string const series = "zelvo_command_duration_seconds_bucket{method=\"cursor.position\",le=\"";
    EXPECT_EQ(now["zelvo_command_duration_seconds_sum{method=\"cursor.position\"}"], 2);
    EXPECT_EQ(now[series + "1\"}"], 0);
    EXPECT_EQ(now[series + "2.5\"}"], 1);
}

TEST(Metrics, countMachines)
{
    Connected on(withMetrics);
    EXPECT_TRUE(becomes([&] { return scraped(on.gateway, "zelvo_machines_connected") == 1; }));

    on.machine.drop();

    EXPECT_TRUE(becomes([&] { return scraped(on.gateway, "zelvo_machines_connected") == 0; }));
    EXPECT_EQ(scraped(on.gateway, "zelvo_machines_limit"), 2048);
}

TEST(Metrics, countWhatWaitsOnceAMinute)
{
    Queued on(withMetrics);
    on.queue("cursor.position");
    on.queue("cursor.position");
    EXPECT_EQ(scraped(on.gateway, commands("cursor.position", "queued")), 2);
    ASSERT_TRUE(becomes([&] { return on.gateway.clock.isSleptOn(); }));

    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(1min);
        return scraped(on.gateway, "zelvo_commands_queued") == 2;
    }));
}

TEST(Metrics, countAttemptsToDeliverWebhooks)
{
    Gateway gateway([](Settings& settings) {
        withMetrics(settings);
        settings.webhooks.toOwnNetwork = true;
    });
    WebhookReceiver good;
    WebhookReceiver bad(WebhookReceiver::withStatus(500));
    for (WebhookReceiver const* const receiver : {&good, &bad})
        ASSERT_EQ(gateway
                      .platform("POST", "/v1/webhooks",
                                R"({"url":")" + receiver->url() + R"(","events":["connection.created"]})")
                      .status,
                  201);

    gateway.link();

    auto const attempts = [&](std::string const& outcome) {
        return scraped(gateway, "zelvo_webhook_deliveries_total{outcome=\"" + outcome + "\"}");
    };
    EXPECT_TRUE(becomes([&] { return attempts("delivered") == 1 && attempts("repeated") == 1; }));
    EXPECT_EQ(attempts("failed"), 0);
    EXPECT_EQ(scraped(gateway, "zelvo_webhook_delivery_duration_seconds_count"), 2);
    EXPECT_TRUE(becomes([&] {
        gateway.clock.advance(1min);
        return scraped(gateway, "zelvo_webhook_deliveries_waiting") == 1;
    }));
}

TEST(Metrics, measureTheStoreAndCountItsFailures)
{
    Gateway gateway(withMetrics);
    gateway.platform("GET", "/v1/connections");
    Scraped const before(gateway);
    EXPECT_GE(before["zelvo_store_duration_seconds_count{operation=\"connectionPage\"}"], 1);
    EXPECT_EQ(before["zelvo_store_errors_total"], 0);

    Database(gateway.data() / "gateway.sqlite").execute("DROP TABLE reserved_numbers");
    gateway.call("GET", "/readyz");

    EXPECT_EQ(scraped(gateway, "zelvo_store_errors_total"), 1);
}

TEST(Metrics, countRefusalsByTheirLimit)
{
    Connected on([](Settings& settings) {
        withMetrics(settings);
        settings.wrongKeys.maxAttempts = 2;
        settings.limits.queuedCommands = 0;
        settings.limits.machines = 1;
        settings.limits.callsOfMachine = 0;
    });
    LinkedMachine const second = on.gateway.link();

    for (int i = 0; i < 3; ++i)
        on.gateway.call("GET", "/v1/connections", "", {{"Authorization", "Bearer zk_wrong"}});
    on.gateway.platform("POST", "/v1/link-sessions", std::string(2'000'000, ' '));
    on.gateway.command(on.linked.connectionId, "cursor.position");
    FakeMachine refusedMachine(on.thread, on.gateway.port(), second.token);
    EXPECT_EQ(refusedMachine.status(), 503);
    on.gateway.platform("POST", "/v1/connections/" + second.connectionId + "/commands",
                        R"({"method":"cursor.position","delivery":{"whenUnavailable":"queue"}})");

    for (std::string const reason : {"wrong_keys", "body_size", "machine_commands", "machines", "queue"})
        EXPECT_EQ(refused(on.gateway, reason), 1) << reason;
    EXPECT_EQ(refused(on.gateway, "memory"), 0);
}

TEST(Metrics, knowTheProcess)
{
    Gateway gateway(withMetrics);

    Scraped const now(gateway);

    double const today =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_NEAR(now["process_start_time_seconds"], today, 60);
    EXPECT_GT(now["process_resident_memory_bytes"], 1e6);
    EXPECT_GT(now["process_cpu_seconds_total"], 0);
    EXPECT_GT(now["process_open_fds"], 3);
    EXPECT_GE(now["process_max_fds"], now["process_open_fds"]);
    EXPECT_EQ(now["zelvo_memory_budget_limit_bytes"], static_cast<double>(1024_MiB));
    EXPECT_TRUE(becomes([&] { return scraped(gateway, "zelvo_loop_delay_seconds_count") >= 1; }));
}

} // namespace
} // namespace zelvo::service
