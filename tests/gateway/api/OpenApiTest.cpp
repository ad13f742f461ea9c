#include "gateway/support/FakeMachine.h"
#include "gateway/support/Recorded.h"
#include "gateway/support/WebhookReceiver.h"
#include "unit/docs/JsonSchemas.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo::service {
namespace {

/// The document as a test reads it: calls are held against it.
class OpenApiWalk {
public:
    explicit OpenApiWalk(Gateway const& gateway)
        : gateway(gateway), document(gateway.call("GET", "/v1/openapi.json").json()),
          schemas(schemasOf(document))
    {
    }

    /// Calls an operation by its id. ids: what stands for the names in its path. Checks that the request and
    /// the answer are as the document says, and returns the answer.
    Answer call(std::string const& operationId,
                std::vector<std::string> const& ids = {},
                json::value const& body = nullptr,
                std::string const& query = "")
    {
        auto const [method, path, operation] = find(operationId);
        std::string const target = filled(path, ids) + query;
        if (!body.is_null())
            expectBody(operationId, operation, body);
        Answer const answer =
            gateway.platform(method, target, body.is_null() ? std::string() : writeJson(body));
        expectDescribed(operationId, operation, answer);
        called.insert(operationId);
        return answer;
    }

    std::set<std::string> operations() const
    {
        std::set<std::string> ids;
        for (auto const& [path, methods] : document.at("paths").as_object())
            for (auto const& [method, operation] : methods.as_object())
                ids.emplace(operation.at("operationId").as_string());
        return ids;
    }

    /// What is wrong with a body that an operation takes.
    std::vector<std::string> faultsOfBody(std::string const& operationId, json::value const& body)
    {
        return faults(bodySchema(std::get<2>(find(operationId))), body);
    }

    std::set<std::string> called;

private:
    using Found = std::tuple<std::string, std::string, json::object>;

    /// The references of the document, as the reader of schemas knows them.
    static json::value redirected(json::value value)
    {
        std::string text = writeJson(value);
        std::string const from = "#/components/schemas/";
        for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from))
            text.replace(at, from.size(), "openapi.json#/$defs/");
        return parseJson(text).value();
    }

    static JsonSchemas schemasOf(json::value const& document)
    {
        json::object file{{"$defs", redirected(document.at("components").at("schemas"))}};
        return JsonSchemas({{"openapi.json", std::move(file)}});
    }

    Found find(std::string const& operationId) const
    {
        for (auto const& [path, methods] : document.at("paths").as_object())
            for (auto const& [method, operation] : methods.as_object())
                if (operation.at("operationId").as_string() == operationId.c_str())
                    return {upperCase(method), std::string(path), operation.as_object()};
        throw std::runtime_error("no operation " + operationId);
    }

    static std::string upperCase(std::string_view text)
    {
        std::string upper(text);
        for (char& sign : upper)
            sign = static_cast<char>(std::toupper(static_cast<unsigned char>(sign)));
        return upper;
    }

    static std::string filled(std::string path, std::vector<std::string> const& ids)
    {
        for (std::string const& id : ids) {
            std::size_t const begin = path.find('{');
            path.replace(begin, path.find('}') - begin + 1, id);
        }
        EXPECT_EQ(path.find('{'), std::string::npos) << path;
        return path;
    }

    static json::object bodySchema(json::object const& operation)
    {
        return operation.at("requestBody").at("content").at("application/json").at("schema").as_object();
    }

    std::vector<std::string> faults(json::object const& schema, json::value const& value) const
    {
        json::object file{{"$defs", redirected(document.at("components").at("schemas"))}};
        file.at("$defs").as_object()["it"] = redirected(schema);
        return JsonSchemas({{"openapi.json", std::move(file)}}).faults("openapi.json#/$defs/it", value);
    }

    void expectBody(std::string const& id, json::object const& operation, json::value const& body) const
    {
        for (std::string const& fault : faults(bodySchema(operation), body))
            ADD_FAILURE() << "the body of " << id << ": " << fault;
    }

    void expectDescribed(std::string const& id, json::object const& operation, Answer const& answer) const
    {
        json::object const& responses = operation.at("responses").as_object();
        json::value const* const response = responses.if_contains(std::to_string(answer.status));
        if (!response) {
            ADD_FAILURE() << id << " does not say that it may answer with " << answer.status << ": "
                          << answer.body;
            return;
        }
        json::object const schema = response->at("content").at("application/json").at("schema").as_object();
        for (std::string const& fault : faults(schema, answer.json()))
            ADD_FAILURE() << id << " " << answer.status << ": " << fault << " in " << answer.body;
        if (answer.status >= 400)
            EXPECT_NE(std::string(response->at("description").as_string()).find(answer.errorCode()),
                      std::string::npos)
                << id << " " << answer.status << " " << answer.errorCode();
    }

    Gateway const& gateway;
    json::value document;
    JsonSchemas schemas;
};

class OpenApiDocument : public testing::Test {
protected:
    OpenApiDocument() : machine(thread, on.gateway.port(), on.linked.token)
    {
        EXPECT_EQ(machine.status(), 101);
    }

    static void setUp(Settings& settings) { settings.webhooks.toOwnNetwork = true; }
    static std::string textAt(Answer const& answer, std::string const& key)
    {
        return read::text(answer.json().as_object(), key).value_or("");
    }

    WebhookReceiver receiver;
    Recorded on{setUp};
    MachineThread thread;
    FakeMachine machine;
    OpenApiWalk walk{on.gateway};

    void callEndUsersAndLinks();
    void callConnectionsAndMachines();
    void callCommands();
    void callRecordings();
    void callWebhooks();
};

void OpenApiDocument::callEndUsersAndLinks()
{
    std::string const user =
        textAt(walk.call("addEndUser", {}, {{"externalId", "7"}, {"name", "Ada"}}), "id");
    walk.call("listEndUsers", {}, nullptr, "?limit=1&externalId=7");
    walk.call("getEndUser", {user});
    walk.call("getEndUser", {"none"});
    std::string const session = textAt(
        walk.call(
            "addLinkSession", {},
            {{"endUserId", user}, {"scopes", {"screen", "input"}}, {"redirectUrl", "https://acme.example/"}}),
        "id");
    walk.call("listLinkSessions", {}, nullptr, "?limit=1");
    walk.call("getLinkSession", {session});
    walk.call("listLinkSessions", {}, nullptr, "?limit=0");
}

void OpenApiDocument::callConnectionsAndMachines()
{
    machine.heartbeat();
    ASSERT_TRUE(becomes([&] {
        return on.gateway.platform("GET", "/v1/machines/" + on.linked.machineId).body.find("ready") !=
               std::string::npos;
    }));
    walk.call("listConnections", {}, nullptr, "?limit=1");
    walk.call("getConnection", {on.linked.connectionId});
    walk.call("getConnection", {"none"});
    walk.call("listMachines");
    walk.call("getMachine", {on.linked.machineId});
    walk.call("getMachine", {"none"});
    Answer const made = walk.call("addCloudMachine", {}, {{"endUserId", "ada"}});
    walk.call("addCloudMachine");
    walk.call("revokeConnection", {textAt(made, "connectionId")});
    walk.call("removeMachine", {textAt(made, "machineId")});
    walk.call("removeMachine", {textAt(made, "machineId")});
}

void OpenApiDocument::callCommands()
{
    std::string const connection = on.linked.connectionId;
    machine.onFrame([](json::object const&) {
        return resultOf(
            {{"widthPoints", 1600}, {"heightPoints", 900}, {"scaleFactor", 1}, {"displayId", 66}});
    });
    EXPECT_EQ(walk.call("runCommand", {connection}, {{"method", "display.info"}}).status, 200);
    machine.onFrame([](json::object const&) { return errorOf("hidden_app_active", "It is hidden"); });
    EXPECT_EQ(walk.call("runCommand", {connection}, {{"method", "ui.tree"}}).status, 403);
    machine.onFrame([](json::object const&) { return errorOf("internal_error", "It failed"); });
    EXPECT_EQ(walk.call("runCommand", {connection}, {{"method", "ui.tree"}}).status, 502);
    walk.call("runCommand", {"none"}, {{"method", "display.info"}});
    machine.drop();
    ASSERT_TRUE(becomes(
        [&] { return on.gateway.command(connection, "display.info").errorCode() == "machine_offline"; }));
    walk.call("runCommand", {connection}, {{"method", "display.info"}});
    json::object const queued{{"method", "shell.run"},
                              {"params", {{"command", "make"}}},
                              {"agent", {{"name", "Dana"}, {"ref", "agt_1"}}},
                              {"delivery", {{"whenUnavailable", "queue"}}}};
    Answer const answer = walk.call("runCommand", {connection}, queued);
    ASSERT_EQ(answer.status, 202);
    std::string const command = textAt(answer, "commandId");
    walk.call("getCommand", {connection, command});
    walk.call("cancelCommand", {connection, command});
    EXPECT_EQ(walk.call("cancelCommand", {connection, command}).status, 409);
    walk.call("getCommand", {connection, "none"});
}

void OpenApiDocument::callRecordings()
{
    std::string const recording = on.recording();
    walk.call("listRecordings", {}, nullptr, "?limit=1");
    walk.call("listRecordings", {}, nullptr, "?before=none");
    walk.call("listAuditEvents", {}, nullptr, "?limit=200");
    walk.call("listAuditEvents", {}, nullptr, "?before=none");
    walk.call("getRecording", {recording});
    walk.call("removeRecording", {recording});
    walk.call("removeRecording", {"none"});
}

void OpenApiDocument::callWebhooks()
{
    std::string const webhook = textAt(walk.call("addWebhook", {}, {{"url", receiver.url()}}), "id");
    walk.call("listWebhooks");
    walk.call("getWebhook", {webhook});
    walk.call("replaceWebhookSecret", {webhook});
    walk.call("enableWebhook", {webhook});
    on.gateway.link();
    ASSERT_TRUE(becomes([&] {
        std::string const list = on.gateway.platform("GET", "/v1/webhooks/" + webhook + "/deliveries").body;
        return list.find("\"delivered\"") != std::string::npos;
    }));
    Answer const list = walk.call("listDeliveries", {webhook});
    std::string const delivery(list.json().at("data").at(0).at("id").as_string());
    walk.call("sendDeliveryAgain", {webhook, delivery});
    walk.call("sendDeliveryAgain", {webhook, "none"});
    walk.call("removeWebhook", {webhook});
    walk.call("removeWebhook", {webhook});
    walk.call("addWebhook", {}, {{"url", "ftp://acme.example/"}});
    EXPECT_EQ(walk.call("addWebhook", {}, {{"url", std::string(2'000'000, 'x')}}).status, 413);
}

TEST_F(OpenApiDocument, describesEveryCallAndItsAnswers)
{
    walk.call("getOpenApi");
    callEndUsersAndLinks();
    callConnectionsAndMachines();
    callRecordings();
    callWebhooks();
    callCommands();

    EXPECT_EQ(walk.called, walk.operations()) << "an operation that no test calls";
}

TEST_F(OpenApiDocument, tellsGoodBodiesFromBadOnes)
{
    EXPECT_TRUE(walk.faultsOfBody("runCommand", parseJson(R"({"method": "display.info"})").value()).empty());
    for (char const* const body :
         {R"({})", R"({"method": "no.such.method"})", R"({"method": "shell.run"})",
          R"({"method": "shell.run", "params": {}})", R"({"method": "shell.run", "params": {"command": 5}})",
          R"({"method": "display.info", "delivery": {"whenUnavailable": "never"}})"})
        EXPECT_FALSE(walk.faultsOfBody("runCommand", parseJson(body).value()).empty()) << body;
    auto const webhook = [](char const* event) {
        return json::value{{"url", "https://acme.example/"}, {"events", {event}}};
    };
    EXPECT_TRUE(walk.faultsOfBody("addWebhook", webhook("machine.online")).empty());
    EXPECT_FALSE(walk.faultsOfBody("addWebhook", webhook("cloud_mac.ready")).empty()); // Never sent.
    EXPECT_FALSE(walk.faultsOfBody("addLinkSession", parseJson(R"({"scopes": ["screen"]})").value()).empty());
    EXPECT_FALSE(
        walk.faultsOfBody("addLinkSession", parseJson(R"({"endUserId": "a", "scopes": ["vnc"]})").value())
            .empty());
}

TEST_F(OpenApiDocument, isForEverybodyAndHoldsNothingOfAnybody)
{
    Answer const answer = on.gateway.call("GET", "/v1/openapi.json");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.json().at("openapi").as_string(), "3.1.0");
    EXPECT_EQ(answer.body.find(on.linked.connectionId), std::string::npos);
    EXPECT_EQ(answer.body.find(std::to_string(on.gateway.port())), std::string::npos);
}

TEST_F(OpenApiDocument, hasAPageThatLoadsNothingFromElsewhere)
{
    Answer const page = on.gateway.call("GET", "/docs");

    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.body.find("//"), std::string::npos);
    EXPECT_EQ(page.body.find("<script>"), std::string::npos);
    EXPECT_TRUE(
        page.headers.at("content-security-policy").starts_with("default-src 'none'; script-src 'self'"));
    for (char const* const file : {"/page/docs.js", "/page/docs.css"})
        EXPECT_EQ(on.gateway.call("GET", file).status, 200) << file;
}

} // namespace
} // namespace zelvo::service
