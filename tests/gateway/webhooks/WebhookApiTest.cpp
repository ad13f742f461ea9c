#include "ZelvoGateway/base/Secrets.h"
#include "gateway/support/Connected.h"
#include "gateway/support/WebhookReceiver.h"
#include "wire/records/ServiceWebhooks.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

void toOwnNetwork(Settings& settings)
{
    settings.webhooks.toOwnNetwork = true;
}

json::value addWebhook(Gateway const& gateway, std::string const& url, json::array const& events = {})
{
    json::object body{{"url", url}};
    if (!events.empty())
        body["events"] = events;
    Answer const answer = gateway.platform("POST", "/v1/webhooks", writeJson(body));
    EXPECT_EQ(answer.status, 201) << answer.body;
    return answer.json();
}

std::string textAt(json::value const& value, std::string_view key)
{
    return read::text(value.as_object(), key).value_or("");
}

/// Checks a signature as the documentation tells a receiver to.
bool isSigned(WebhookReceiver::Received const& request, std::string const& secret)
{
    std::string const header = request.headers.at("zelvo-signature");
    std::string const time = header.substr(2, header.find(',') - 2);
    return header.find(",v1=" + signatureOf(time + "." + request.body, secret)) != std::string::npos;
}

TEST(Webhooks, getWhatHappens)
{
    Gateway gateway(toOwnNetwork);
    WebhookReceiver receiver;
    std::string const secret = textAt(addWebhook(gateway, receiver.url()), "secret");

    LinkedMachine const linked = gateway.link();

    ASSERT_TRUE(becomes([&] { return receiver.received().size() == 1; }));
    WebhookReceiver::Received const request = receiver.received().front();
    auto const event = records::fromText<records::WebhookEvent>(request.body);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->type, records::WebhookEventType::connectionCreated);
    EXPECT_EQ(event->data.at("connectionId").as_string(), linked.connectionId);
    EXPECT_TRUE(event->data.contains("linkSessionId"));
    EXPECT_TRUE(isSigned(request, secret));
    EXPECT_FALSE(isSigned(request, "whsec_other"));
}

TEST(Webhooks, tellOfMachinesThatComeAndGo)
{
    WebhookReceiver receiver;
    Connected on(toOwnNetwork);
    addWebhook(on.gateway, receiver.url());
    auto const types = [&] {
        std::vector<std::string> all;
        for (auto const& request : receiver.received())
            all.push_back(textAt(parseJson(request.body).value(), "type"));
        std::ranges::sort(all);
        return all;
    };

    on.machine.sendEvent("paused", {});
    ASSERT_TRUE(becomes([&] { return types() == std::vector<std::string>{"machine.paused"}; }));
    on.machine.drop();
    ASSERT_TRUE(
        becomes([&] { return types() == std::vector<std::string>{"machine.offline", "machine.paused"}; }));
    FakeMachine const back(on.thread, on.gateway.port(), on.linked.token);
    EXPECT_TRUE(becomes([&] {
        return types() == std::vector<std::string>{"machine.offline", "machine.online", "machine.paused"};
    }));
}

TEST(Webhooks, takeANewSocketOfAMachineForNoAbsence)
{
    WebhookReceiver receiver;
    Connected on(toOwnNetwork);
    addWebhook(on.gateway, receiver.url());

    FakeMachine newer(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(newer.status(), 101);
    EXPECT_EQ(on.machine.closeCode(), 4409);
    newer.sendEvent("paused", {});

    ASSERT_TRUE(becomes([&] { return !receiver.received().empty(); }));
    EXPECT_EQ(textAt(parseJson(receiver.received().front().body).value(), "type"), "machine.paused");
}

TEST(Webhooks, takeARestartOfTheGatewayForNoAbsence)
{
    WebhookReceiver receiver;
    Connected on(toOwnNetwork);
    addWebhook(on.gateway, receiver.url());

    on.gateway.stop();
    on.gateway.start();
    on.gateway.clock.advance(61s);
    EXPECT_TRUE(receiver.received().empty());
    // Once the machine has had the time to come back, it is missing.
    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(61s);
        return !receiver.received().empty();
    }));
    EXPECT_EQ(textAt(parseJson(receiver.received().front().body).value(), "type"), "machine.offline");
}

TEST(Webhooks, areSentAfterARestart)
{
    WebhookReceiver receiver(WebhookReceiver::withStatus(500));
    Gateway gateway(toOwnNetwork);
    std::string const id = textAt(addWebhook(gateway, receiver.url()), "id");
    gateway.link();
    ASSERT_TRUE(becomes([&] { return receiver.received().size() == 1; }));
    std::string const path = "/v1/webhooks/" + id + "/deliveries";
    ASSERT_TRUE(becomes([&] {
        return gateway.platform("GET", path).json().at("data").at(0).at("attempts").as_int64() == 1;
    }));

    gateway.stop();
    receiver.answerWith(WebhookReceiver::withStatus(200));
    gateway.start();
    gateway.clock.advance(20s);

    ASSERT_TRUE(becomes([&] { return receiver.received().size() == 2; }));
    EXPECT_EQ(receiver.received()[0].body, receiver.received()[1].body);
    EXPECT_TRUE(becomes([&] {
        return gateway.platform("GET", path).json().at("data").at(0).at("status").as_string() == "delivered";
    }));
}

TEST(Webhooks, showTheirSecretOnce)
{
    Gateway gateway;
    json::value const made = addWebhook(gateway, "https://acme.example/hook");
    std::string const secret = textAt(made, "secret");
    std::string const path = "/v1/webhooks/" + textAt(made, "id");

    Answer const rotated = gateway.platform("POST", path + "/secret");

    EXPECT_TRUE(secret.starts_with("whsec_"));
    EXPECT_EQ(gateway.platform("GET", path).body.find("secret"), std::string::npos);
    EXPECT_EQ(gateway.platform("GET", "/v1/webhooks").body.find("secret"), std::string::npos);
    EXPECT_NE(textAt(rotated.json(), "secret"), secret);
    EXPECT_FALSE(textAt(rotated.json(), "oldSecretUntil").empty());
}

TEST(Webhooks, areForTheEventsThatAPlatformNames)
{
    Gateway gateway;

    json::value const some = addWebhook(gateway, "https://acme.example/",
                                        {"recording.ready", "command.failed", "recording.ready"});
    json::value const all = addWebhook(gateway, "https://acme.example/");

    EXPECT_EQ(writeJson(some.at("events")), R"(["command.failed","recording.ready"])");
    EXPECT_EQ(all.at("events").as_array().size(), 11U);
    EXPECT_EQ(textAt(some, "status"), "active");
}

TEST(Webhooks, areRefusedWhenTheyMakeNoSense)
{
    Gateway gateway;

    for (char const* const body :
         {"", "{}", R"({"url": 5})", R"({"url": "http://acme.example/"})", R"({"url": "https://127.0.0.1/"})",
          R"({"url": "https://acme.example/", "events": []})",
          R"({"url": "https://acme.example/", "events": ["x"]})",
          R"({"url": "https://acme.example/", "events": ["cloud_mac.ready"]})"}) {
        Answer const answer = gateway.platform("POST", "/v1/webhooks", body);
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_EQ(answer.errorCode(), "invalid_request") << body;
    }
    EXPECT_EQ(gateway.call("POST", "/v1/webhooks", R"({"url": "https://acme.example/"})").status, 401);
    EXPECT_EQ(gateway.call("GET", "/v1/webhooks").status, 401);
}

// A webhook gets the events of every connection.
TEST(Webhooks, areNotForKeysThatReachOnlySomeConnections)
{
    Gateway gateway;
    std::string const path = "/v1/webhooks/" + textAt(addWebhook(gateway, "https://acme.example/"), "id");
    Headers const page{gateway.consoleSession(), {"Origin", gateway.origin()}};
    Answer const made = gateway.call("POST", "/console/keys", R"({"name":"Acme","endUsers":["ada"]})", page);
    Headers const limited{{"Authorization", "Bearer " + textAt(made.json(), "text")}};

    for (auto const& [method, target] :
         {std::pair("POST", std::string("/v1/webhooks")), std::pair("GET", std::string("/v1/webhooks")),
          std::pair("GET", path), std::pair("DELETE", path), std::pair("POST", path + "/secret"),
          std::pair("POST", path + "/enable"), std::pair("GET", path + "/deliveries"),
          std::pair("POST", path + "/deliveries/dlv_1/send")}) {
        Answer const answer = gateway.call(method, target, R"({"url": "https://acme.example/"})", limited);
        EXPECT_EQ(answer.status, 403) << method << target;
        EXPECT_EQ(answer.errorCode(), "forbidden");
    }
    EXPECT_EQ(gateway.platform("GET", path).status, 200);
}

TEST(Webhooks, areNoMoreThanTwenty)
{
    Gateway gateway;
    for (int i = 0; i < 20; ++i)
        addWebhook(gateway, "https://acme.example/");

    EXPECT_EQ(gateway.platform("POST", "/v1/webhooks", R"({"url": "https://acme.example/"})").status, 409);
}

TEST(Webhooks, areRemoved)
{
    Gateway gateway;
    std::string const path = "/v1/webhooks/" + textAt(addWebhook(gateway, "https://acme.example/"), "id");

    EXPECT_EQ(gateway.platform("DELETE", path).status, 200);

    for (auto const& [method, target] :
         {std::pair("GET", path), std::pair("DELETE", path), std::pair("POST", path + "/secret"),
          std::pair("POST", path + "/enable"), std::pair("GET", path + "/deliveries"),
          std::pair("POST", path + "/deliveries/dlv_1/send")})
        EXPECT_EQ(gateway.platform(method, target).errorCode(), "not_found") << method << target;
}

TEST(Webhooks, haveALogWhoseDeliveriesAreSentAgain)
{
    Gateway gateway(toOwnNetwork);
    WebhookReceiver receiver;
    std::string const path =
        "/v1/webhooks/" + textAt(addWebhook(gateway, receiver.url()), "id") + "/deliveries";
    gateway.link();
    ASSERT_TRUE(becomes([&] {
        auto const list = gateway.platform("GET", path).json();
        return !list.at("data").as_array().empty() &&
               list.at("data").at(0).at("status").as_string() == "delivered";
    }));
    auto const delivery =
        records::fromJson<records::WebhookDelivery>(gateway.platform("GET", path).json().at("data").at(0));
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->attempts, 1);
    EXPECT_EQ(delivery->answerStatus, 200);

    Answer const again = gateway.platform("POST", path + "/" + delivery->id + "/send");

    EXPECT_EQ(again.status, 200);
    ASSERT_TRUE(becomes([&] { return receiver.received().size() == 2; }));
    EXPECT_EQ(receiver.received()[0].body, receiver.received()[1].body);
    EXPECT_EQ(gateway.platform("POST", path + "/none/send").errorCode(), "not_found");
}

} // namespace
} // namespace zelvo::service
