#include "ZelvoGateway/webhooks/WebhookDispatcher.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "ZelvoGateway/webhooks/WebhookService.h"
#include "gateway/support/FakeWebhookSender.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/SteppedClock.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using records::DeliveryStatus;

constexpr char const* hook = "https://acme.example/hook";

class WebhookDispatching : public testing::Test {
protected:
    WebhookDispatching()
    {
        machine = store.addMachine(AgentMode::connected, clock.date()).machineId;
        dispatcher.emplace(store, sender, settings.webhooks, clock, io.get_executor());
        service.emplace(store, *dispatcher, audit, settings, clock);
        dispatcher->begin();
    }
    ~WebhookDispatching() override
    {
        dispatcher->stop();
        run();
        clock.dropSleepers();
    }

    void run()
    {
        io.restart();
        io.poll();
    }
    void advance(Duration time)
    {
        clock.advance(time);
        run();
    }
    StoredWebhook add(std::string const& url = hook)
    {
        records::CreateWebhookRequest const request{.events = {}, .url = url};
        return service->add(caller, request);
    }
    /// Makes an event: the machine goes on or off.
    void happen()
    {
        store.setOnline(machine, isOnline = !isOnline, clock.date());
        run();
    }
    void failWith(int status)
    {
        sender.answer = [status](WebhookRequest const&) {
            return WebhookAnswer{.status = status, .error = {}};
        };
    }
    StoredDelivery newest(std::string const& webhookId)
    {
        return store.deliveryPage(webhookId, {}).rows.at(0);
    }

    TemporaryFolder folder;
    Settings settings;
    SteppedClock clock;
    asio::io_context io;
    SqliteStore store{folder.path / "store.sqlite"};
    FakeWebhookSender sender;
    std::optional<WebhookDispatcher> dispatcher;
    asio::io_context background; // Never runs: a task must not wait for the log.
    AuditLog audit{store, clock, settings.audit, background.get_executor()};
    Caller const caller = Caller::console();
    std::optional<WebhookService> service;
    std::string machine;
    bool isOnline = false;
};

TEST_F(WebhookDispatching, sendsAnEventToEachWebhookThatWantsIt)
{
    add();
    add("https://other.example/hook");
    records::CreateWebhookRequest const other{.events = {{records::WebhookEventType::recordingReady}},
                                              .url = "https://films.example/"};
    service->add(caller, other);

    happen();

    ASSERT_EQ(sender.sent.size(), 2U);
    auto const event = records::fromText<records::WebhookEvent>(sender.sent[0].body);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->type, records::WebhookEventType::machineOnline);
    EXPECT_EQ(event->data, (json::object{{"machineId", machine}}));
    EXPECT_EQ(sender.sent[0].body, sender.sent[1].body);
    EXPECT_NE(sender.sent[0].url, sender.sent[1].url);
}

TEST_F(WebhookDispatching, signsWhatItSends)
{
    StoredWebhook const webhook = add();

    happen();

    std::map<std::string, std::string> const headers(sender.sent.at(0).headers.begin(),
                                                     sender.sent.at(0).headers.end());
    std::string const time = "1795219200";
    EXPECT_EQ(headers.at("Zelvo-Signature"),
              "t=" + time + ",v1=" + signatureOf(time + "." + sender.sent[0].body, webhook.secret));
    EXPECT_EQ(headers.at("Content-Type"), "application/json");
    EXPECT_EQ(headers.at("Zelvo-Delivery"), newest(webhook.id).id);
}

TEST_F(WebhookDispatching, keepsALogOfWhatWasSent)
{
    StoredWebhook const webhook = add();

    happen();

    StoredDelivery const delivery = newest(webhook.id);
    EXPECT_EQ(delivery.status, DeliveryStatus::delivered);
    EXPECT_EQ(delivery.attempts, 1);
    EXPECT_EQ(delivery.answerStatus, 200);
    EXPECT_FALSE(delivery.error);
}

TEST_F(WebhookDispatching, repeatsWhatFailedWithTheSameEvent)
{
    StoredWebhook const webhook = add();
    failWith(500);
    happen();
    ASSERT_EQ(sender.sent.size(), 1U);
    EXPECT_EQ(newest(webhook.id).error, "status 500");

    advance(7s); // Not before three quarters of ten seconds.
    EXPECT_EQ(sender.sent.size(), 1U);
    advance(6s);
    EXPECT_EQ(sender.sent.size(), 2U);
    failWith(200);
    advance(26s);

    ASSERT_EQ(sender.sent.size(), 3U);
    EXPECT_EQ(sender.sent[0].body, sender.sent[2].body);
    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::delivered);
    EXPECT_EQ(newest(webhook.id).attempts, 3);
    advance(48h);
    EXPECT_EQ(sender.sent.size(), 3U);
}

TEST_F(WebhookDispatching, givesUpAfterADay)
{
    StoredWebhook const webhook = add();
    failWith(500);
    happen();

    for (int hour = 0; hour < 30 * 6; ++hour)
        advance(10min);

    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::failed);
    EXPECT_GE(newest(webhook.id).attempts, 12);
    EXPECT_LE(newest(webhook.id).attempts, 20);
    std::size_t const count = sender.sent.size();
    advance(48h);
    EXPECT_EQ(sender.sent.size(), count);
}

TEST_F(WebhookDispatching, takesARedirectForAFailure)
{
    StoredWebhook const webhook = add();
    failWith(302);

    happen();

    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::waiting);
    EXPECT_EQ(newest(webhook.id).error, "status 302; redirects are not followed");
}

TEST_F(WebhookDispatching, disablesAWebhookAfterDaysWithoutASuccess)
{
    StoredWebhook const webhook = add();
    failWith(500);
    for (int day = 0; day < 3; ++day) {
        happen();
        for (int hour = 0; hour < 23; ++hour)
            advance(1h);
    }
    EXPECT_FALSE(store.webhook(webhook.id)->disabledAt);
    EXPECT_TRUE(store.webhook(webhook.id)->failingSince);

    advance(4h);
    happen();

    ASSERT_TRUE(store.webhook(webhook.id)->disabledAt);
    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::failed);
    std::size_t const count = sender.sent.size();
    happen();
    advance(24h);
    EXPECT_EQ(sender.sent.size(), count);
}

TEST_F(WebhookDispatching, forgetsAFailureAfterASuccess)
{
    StoredWebhook const webhook = add();
    failWith(500);
    happen();
    ASSERT_TRUE(store.webhook(webhook.id)->failingSince);
    failWith(200);
    advance(13s);
    EXPECT_FALSE(store.webhook(webhook.id)->failingSince);
}

TEST_F(WebhookDispatching, sendsToAnEnabledWebhookAgain)
{
    StoredWebhook webhook = add();
    webhook.disabledAt = clock.date();
    webhook.failingSince = clock.date() - 24h;
    store.saveWebhook(webhook);
    happen();
    ASSERT_TRUE(sender.sent.empty());

    service->enable(caller, webhook.id);
    happen();

    EXPECT_EQ(sender.sent.size(), 1U);
    EXPECT_FALSE(store.webhook(webhook.id)->failingSince);
}

TEST_F(WebhookDispatching, isNotHeldUpByASilentWebhook)
{
    add("https://silent.example/");
    StoredWebhook const other = add();
    sender.isSilent = [](WebhookRequest const& request) { return request.url.starts_with("https://silent"); };

    for (int i = 0; i < 10; ++i)
        happen();

    auto const sentTo = [&](std::string const& url) {
        return std::ranges::count_if(sender.sent, [&](auto const& one) { return one.url == url; });
    };
    EXPECT_EQ(sentTo(hook), 10);
    EXPECT_EQ(sentTo("https://silent.example/"), 2); // Its own share of attempts.
    sender.isSilent = {};
    sender.release();
    run();
    run();
    EXPECT_EQ(sentTo("https://silent.example/"), 10);
    EXPECT_EQ(newest(other.id).status, DeliveryStatus::delivered);
}

TEST_F(WebhookDispatching, sendsAfterARestartWhatWasOnItsWay)
{
    StoredWebhook const webhook = add();
    sender.isSilent = [](WebhookRequest const&) { return true; };
    happen();
    ASSERT_EQ(sender.sent.size(), 1U);

    dispatcher->stop();
    run();
    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::waiting);
    sender.isSilent = {};
    dispatcher.emplace(store, sender, settings.webhooks, clock, io.get_executor());
    dispatcher->begin();
    run();

    ASSERT_EQ(sender.sent.size(), 2U);
    EXPECT_EQ(sender.sent[0].body, sender.sent[1].body);
    EXPECT_EQ(newest(webhook.id).status, DeliveryStatus::delivered);
}

TEST_F(WebhookDispatching, sendsAgainWhenAskedTo)
{
    StoredWebhook const webhook = add();
    happen();
    StoredDelivery const first = newest(webhook.id);

    service->sendAgain(caller, webhook.id, first.id);
    run();

    ASSERT_EQ(sender.sent.size(), 2U);
    EXPECT_EQ(sender.sent[0].body, sender.sent[1].body);
    EXPECT_THROW(service->sendAgain(caller, webhook.id, "none"), Failure);
    EXPECT_THROW(service->sendAgain(caller, add().id, first.id), Failure) << "of another webhook";
}

TEST_F(WebhookDispatching, signsWithBothSecretsForADay)
{
    StoredWebhook const webhook = add();
    StoredWebhook const rotated = service->rotateSecret(caller, webhook.id);
    auto const signature = [&] { return sender.sent.back().headers.at(3).second; };

    happen();
    EXPECT_EQ(std::ranges::count(signature(), ','), 2);
    advance(24h + 1s);
    happen();
    EXPECT_EQ(std::ranges::count(signature(), ','), 1);
    dispatcher->runMaintenance();

    EXPECT_NE(rotated.secret, webhook.secret);
    EXPECT_FALSE(store.webhook(webhook.id)->oldSecret);
    EXPECT_EQ(store.webhook(webhook.id)->secret, rotated.secret);
}

TEST_F(WebhookDispatching, boundsItsLogAndItsQueue)
{
    settings.webhooks.maxEnded = 3;
    settings.webhooks.maxWaiting = 2;
    StoredWebhook const webhook = add();
    for (int i = 0; i < 5; ++i)
        happen();
    dispatcher->runMaintenance();
    EXPECT_EQ(store.deliveryPage(webhook.id, {}).rows.size(), 3U);

    failWith(500);
    for (int i = 0; i < 5; ++i)
        happen();
    dispatcher->runMaintenance();
    auto const rows = store.deliveryPage(webhook.id, {}).rows;
    EXPECT_EQ(std::ranges::count(rows, DeliveryStatus::waiting, &StoredDelivery::status), 2);
    EXPECT_EQ(rows.size(), 5U);
    advance(24h * 8);
    dispatcher->runMaintenance();
    advance(24h * 8);
    dispatcher->runMaintenance();
    EXPECT_TRUE(store.deliveryPage(webhook.id, {}).rows.empty());
}

TEST_F(WebhookDispatching, dropsWhatWaitsForARemovedWebhook)
{
    StoredWebhook const webhook = add();
    failWith(500);
    happen();

    service->remove(caller, webhook.id);
    advance(24h);

    EXPECT_EQ(sender.sent.size(), 1U);
    EXPECT_THROW(service->webhook(webhook.id), Failure);
}

TEST_F(WebhookDispatching, keepsNothingWithoutAWebhook)
{
    happen();
    happen();
    StoredWebhook const webhook = add();
    run();

    EXPECT_TRUE(sender.sent.empty());
    EXPECT_TRUE(store.deliveryPage(webhook.id, {}).rows.empty());
}

} // namespace
} // namespace zelvo::service
