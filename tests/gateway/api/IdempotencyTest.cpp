#include "ZelvoGateway/api/IdempotentRoutes.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/store/Database.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/FakeKeyRing.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/RunTask.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <thread>

namespace zelvo::service {
namespace {

constexpr char const* link = R"({"endUserId":"ada","scopes":["screen"]})";
constexpr char const* screenshot = R"({"method":"screenshot"})";

bool isRepeated(Answer const& answer)
{
    auto const found = answer.headers.find("idempotent-replayed");
    return found != answer.headers.end() && found->second == "true";
}

class Idempotency : public testing::Test {
protected:
    explicit Idempotency(std::function<void(Settings&)> const& change = [](Settings&) {})
        : gateway(change), linked(gateway.link())
    {
    }

    Answer post(std::string const& path, std::string const& body, std::string const& key) const
    {
        return gateway.platform("POST", path, body, {{"Idempotency-Key", key}});
    }
    Answer postLink(std::string const& key, std::string const& body = link) const
    {
        return post("/v1/link-sessions", body, key);
    }
    Answer run(std::string const& key, std::string const& body = screenshot) const
    {
        return post("/v1/connections/" + linked.connectionId + "/commands", body, key);
    }
    std::size_t links() const
    {
        return gateway.platform("GET", "/v1/link-sessions").json().at("data").as_array().size();
    }
    FakeMachine& connect()
    {
        machine = std::make_unique<FakeMachine>(thread, gateway.port(), linked.token);
        EXPECT_EQ(machine->status(), 101);
        return *machine;
    }

    Gateway gateway;
    LinkedMachine linked;
    MachineThread thread;
    std::unique_ptr<FakeMachine> machine;
};

TEST_F(Idempotency, answersARepeatedRequestAsTheFirst)
{
    std::size_t const before = links();

    Answer const first = postLink("key-1");
    Answer const again = postLink("key-1");

    EXPECT_EQ(first.status, 201);
    EXPECT_FALSE(isRepeated(first));
    EXPECT_EQ(again.status, 201);
    EXPECT_EQ(again.body, first.body);
    EXPECT_TRUE(isRepeated(again));
    EXPECT_NE(again.headers.at("x-request-id"), first.headers.at("x-request-id"));
    EXPECT_EQ(links(), before + 1);
    EXPECT_NE(postLink("key-2").body, first.body);
    EXPECT_EQ(links(), before + 2);
}

TEST_F(Idempotency, isInTheDescriptionOfTheApi)
{
    json::value const document = gateway.call("GET", "/v1/openapi.json").json();
    int described = 0;

    for (auto const& [path, methods] : document.at("paths").as_object())
        for (auto const& [method, operation] : methods.as_object()) {
            bool const takesKey =
                writeJson(operation.at("parameters")).find("Idempotency-Key") != std::string::npos;
            EXPECT_EQ(takesKey, method == "post") << path;
            EXPECT_EQ(takesKey, operation.at("responses").as_object().contains("422")) << path;
            described += takesKey ? 1 : 0;
        }

    EXPECT_GT(described, 5);
}

TEST_F(Idempotency, carriesACommandOutOnce)
{
    connect().onFrame([](json::object const& frame) {
        return json::object{{"id", frame.at("id")}, {"result", {{"text", "done"}}}};
    });

    Answer const first = run("a");
    Answer const again = run("a");

    EXPECT_EQ(first.status, 200) << first.body;
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(machine->frames().size(), 1u);
    Answer const queued =
        run("b", R"({"method":"screenshot","delivery":{"whenUnavailable":"queue"}})"); // Runs at once.
    EXPECT_EQ(queued.status, 200);
}

TEST_F(Idempotency, refusesAnotherRequestWithTheSameKey)
{
    Answer const first = postLink("key");

    for (Answer const& other : {postLink("key", R"({"endUserId":"bob","scopes":["screen"]})"),
                                post("/v1/end-users", link, "key"), run("key")}) {
        EXPECT_EQ(other.status, 422);
        EXPECT_EQ(other.errorCode(), "invalid_request");
    }
    EXPECT_EQ(postLink("key").body, first.body);
}

TEST_F(Idempotency, belongsToOneCaller)
{
    std::pair<std::string, std::string> const session = gateway.consoleSession();
    Headers const page{session, {"Origin", gateway.origin()}};
    json::value const made = gateway.call("POST", "/console/keys", R"({"name":"Acme"})", page).json();
    std::string const other(made.at("text").as_string());

    Answer const first = postLink("key");
    Answer const theirs = gateway.call("POST", "/v1/link-sessions", link,
                                       {{"Authorization", "Bearer " + other}, {"Idempotency-Key", "key"}});

    EXPECT_EQ(theirs.status, 201);
    EXPECT_NE(theirs.body, first.body);
}

TEST_F(Idempotency, saysThatTheFirstStillRuns)
{
    connect().onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });
    Answer first;
    std::thread caller([&] { first = run("key"); });
    EXPECT_TRUE(becomes([&] { return machine->frames().size() == 1; }));

    Answer const meanwhile = run("key");
    machine->sendText(
        writeJson(json::object{{"id", machine->frames()[0].at("id")}, {"result", {{"text", "done"}}}}));
    caller.join();

    EXPECT_EQ(meanwhile.status, 409);
    EXPECT_EQ(meanwhile.errorCode(), "invalid_request");
    EXPECT_NE(meanwhile.body.find("still running"), std::string::npos);
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(run("key").body, first.body);
    EXPECT_EQ(machine->frames().size(), 1u);
}

TEST_F(Idempotency, survivesARestart)
{
    Answer const first = postLink("key");

    gateway.stop();
    gateway.start();

    EXPECT_EQ(postLink("key").body, first.body);
}

TEST_F(Idempotency, saysThatTheEffectOfAnInterruptedRequestIsUnknown)
{
    connect().onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });
    std::thread caller([&] { run("key"); });
    EXPECT_TRUE(becomes([&] { return machine->frames().size() == 1; }));
    std::filesystem::path const copy = gateway.data().parent_path() / "copy";
    std::filesystem::copy(gateway.data(), copy,
                          std::filesystem::copy_options::recursive); // As a crash leaves it.
    gateway.stopNow();
    caller.join();
    std::filesystem::remove_all(gateway.data());
    std::filesystem::rename(copy, gateway.data());
    gateway.start();
    connect();

    Answer const again = run("key");

    EXPECT_EQ(again.status, 500);
    EXPECT_EQ(again.errorCode(), "internal_error");
    EXPECT_NE(again.body.find("not known"), std::string::npos);
    EXPECT_TRUE(machine->frames().empty());
}

TEST_F(Idempotency, leavesAKeyUnusedIfNothingWasDone)
{
    EXPECT_EQ(run("key").status, 503); // The machine is offline.
    EXPECT_EQ(postLink("other", "{}").status, 400);

    connect().onFrame([](json::object const& frame) {
        return json::object{{"id", frame.at("id")}, {"result", json::object()}};
    });

    EXPECT_EQ(run("key").status, 200);
    EXPECT_EQ(postLink("other").status, 201);
}

TEST_F(Idempotency, keepsTheErrorOfAMachine)
{
    connect().onFrame([](json::object const& frame) {
        json::object const error{{"code", "denied_by_user"}, {"message", "No"}};
        return json::object{{"id", frame.at("id")}, {"error", error}};
    });

    Answer const first = run("key");
    Answer const again = run("key");

    EXPECT_EQ(first.errorCode(), "denied_by_user");
    EXPECT_EQ(again.status, first.status);
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(machine->frames().size(), 1u); // The person is not asked again.
}

TEST_F(Idempotency, leavesAKeyUnusedIfTheMachineDidNotStart)
{
    connect().onFrame([](json::object const&) { return errorOf("machine_paused", "Paused"); });
    std::string const batch = R"({"method":"actions.perform","params":{"actions":[]}})";

    EXPECT_EQ(run("key").errorCode(), "machine_paused");
    EXPECT_EQ(run("batch", batch).errorCode(), "machine_paused");
    machine->onFrame(answerOk);

    EXPECT_EQ(run("key").status, 200);
    EXPECT_EQ(run("batch", batch).errorCode(), "machine_paused"); // A part of it may have run.
}

TEST_F(Idempotency, repeatsAnErrorWithItsHeaders)
{
    connect().onFrame([](json::object const&) { return errorOf("recordings_unavailable", "Full"); });

    Answer const first = run("key");
    testing::internal::CaptureStderr();
    Answer const again = run("key");
    std::string const log = testing::internal::GetCapturedStderr();

    EXPECT_EQ(first.status, 503);
    EXPECT_EQ(again.status, 503);
    EXPECT_EQ(again.body, first.body);
    EXPECT_TRUE(isRepeated(again));
    for (char const* const name : {"x-request-id", "retry-after"}) {
        ASSERT_TRUE(again.headers.contains(name)) << name;
        EXPECT_EQ(again.headers.at(name), first.headers.at(name));
    }
    std::string const id(again.json().at("error").at("requestId").as_string());
    EXPECT_EQ(again.headers.at("x-request-id"), id);
    EXPECT_NE(log.find(id), std::string::npos) << log;
    EXPECT_EQ(machine->frames().size(), 1U);
}

TEST_F(Idempotency, repeatsTheDetailsOfAnError)
{
    connect().onFrame([](json::object const&) {
        json::object const error{{"code", "stale_view"}, {"message", "Old"}, {"details", {{"a", 1}}}};
        return json::object{{"error", error}};
    });

    Answer const first = run("key");

    EXPECT_EQ(first.json().at("error").at("details").at("a"), 1);
    EXPECT_EQ(run("key").body, first.body);
}

TEST_F(Idempotency, endsAfterADay)
{
    Answer const first = postLink("key");
    gateway.clock.advance(23h);
    EXPECT_EQ(postLink("key").body, first.body);

    gateway.clock.advance(1h + 1s);

    EXPECT_NE(postLink("key").body, first.body);
}

TEST_F(Idempotency, refusesWhatIsNoKey)
{
    for (std::string const& bad : {std::string("a b"), std::string(256, 'a'), std::string("\xc3\xa4")})
        EXPECT_EQ(postLink(bad).status, 400) << bad;
    EXPECT_EQ(postLink(std::string(255, 'a')).status, 201);

    HttpRequest request;
    EXPECT_FALSE(idempotencyKeyIn(request));
    request.headers.emplace("idempotency-key", "");
    EXPECT_THROW(idempotencyKeyIn(request), HttpError);
    request.headers = {{"idempotency-key", "a"}, {"idempotency-key", "a"}};
    EXPECT_THROW(idempotencyKeyIn(request), HttpError);
}

TEST_F(Idempotency, storesNoSecretOfAnAnswer)
{
    Answer const first = postLink("a-key-that-nobody-guesses");
    std::string const code(first.json().at("code").as_string());

    gateway.stop();

    std::string content;
    for (auto const& file : std::filesystem::directory_iterator(gateway.data()))
        if (file.path().filename().string().starts_with("gateway.sqlite")) {
            std::ifstream stream(file.path(), std::ios::binary);
            content.append(std::istreambuf_iterator<char>(stream), {});
        }
    EXPECT_NE(content.find("lks_"), std::string::npos); // The file is the right one.
    EXPECT_EQ(content.find(code), std::string::npos);
    EXPECT_EQ(content.find("a-key-that-nobody-guesses"), std::string::npos);
}

TEST_F(Idempotency, storesNoHashByWhichABodyCouldBeGuessed)
{
    postLink("a");
    postLink("b");
    gateway.stop();

    SqliteStore store(gateway.data() / "gateway.sqlite");
    auto const requestHash = [&](std::string const& key) {
        auto const known =
            store.beginAnswer({.caller = "key_builtin", .keyHash = hashOf("idempotency key " + key)}, Date());
        return known.value().requestHash;
    };
    EXPECT_NE(requestHash("a"), requestHash("b")); // Of the same request.
}

class SmallIdempotency : public Idempotency {
protected:
    SmallIdempotency()
        : Idempotency([](Settings& settings) {
              settings.answers.maxBytes = 100;
              settings.answers.maxAnswers = 2;
          })
    {
    }
};

TEST_F(SmallIdempotency, repeatsNothingWhoseAnswerWasTooLarge)
{
    std::size_t const before = links();
    EXPECT_EQ(postLink("key").status, 201);

    Answer const again = postLink("key");

    EXPECT_EQ(again.status, 409);
    EXPECT_NE(again.body.find("with status 201"), std::string::npos) << again.body;
    EXPECT_EQ(links(), before + 1);
}

TEST_F(SmallIdempotency, isBoundedInNumber)
{
    for (char const* const key : {"1", "2", "3"}) {
        EXPECT_EQ(post("/v1/end-users", R"({"externalId":"a"})", key).status, 201);
        gateway.clock.advance(1ms);
    }

    EXPECT_EQ(post("/v1/end-users", link, "3").status, 422);
    EXPECT_EQ(post("/v1/end-users", R"({"externalId":"b"})", "1").status, 201); // Forgotten, without a wait.
}

TEST_F(SmallIdempotency, isBoundedForEachCaller)
{
    Headers const page{gateway.consoleSession(), {"Origin", gateway.origin()}};
    json::value const made = gateway.call("POST", "/console/keys", R"({"name":"Acme"})", page).json();
    std::string const other = "Bearer " + std::string(made.at("text").as_string());
    auto const postOther = [&](std::string const& key) {
        gateway.clock.advance(1ms);
        return gateway.call("POST", "/v1/end-users", R"({"externalId":"a"})",
                            {{"Authorization", other}, {"Idempotency-Key", key}});
    };
    EXPECT_EQ(post("/v1/end-users", R"({"externalId":"a"})", "key").status, 201);

    for (char const* const key : {"1", "2", "3", "4"})
        EXPECT_EQ(postOther(key).status, 201);
    gateway.clock.advance(60s);

    EXPECT_TRUE(becomes([&] { return !isRepeated(postOther("1")); }));
    EXPECT_TRUE(isRepeated(post("/v1/end-users", R"({"externalId":"a"})", "key")));
}

TEST_F(SmallIdempotency, forgetsNoRequestThatRuns)
{
    connect().onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });
    std::thread caller([&] { run("key"); });
    EXPECT_TRUE(becomes([&] { return machine->frames().size() == 1; }));
    for (char const* const key : {"1", "2", "3", "4"}) {
        gateway.clock.advance(1ms);
        EXPECT_EQ(post("/v1/end-users", R"({"externalId":"a"})", key).status, 201);
    }
    gateway.clock.advance(60s);
    EXPECT_TRUE(becomes([&] { return post("/v1/end-users", R"({"externalId":"a"})", "1").status == 201; }));

    Answer const meanwhile = run("key");
    Answer const another = run("key", R"({"method":"ui.tree"})");
    machine->onFrame(answerOk);
    machine->sendText(writeJson(json::object{{"id", machine->frames()[0].at("id")}, {"result", {}}}));
    caller.join();

    EXPECT_EQ(meanwhile.status, 409);
    EXPECT_EQ(another.status, 422);
    EXPECT_EQ(machine->frames().size(), 1U);
}

/// The routes without HTTP.
class IdempotencyWithoutAStore : public testing::Test {
protected:
    IdempotencyWithoutAStore()
    {
        keys.callers["zk_1"] = {.keyId = "key_1"};
        Route route{.method = "POST", .pattern = {"v1", "things"}, .maxBody = 1_KiB, .assertAccess = {}};
        route.answer = [this](HttpRequest, PathIds) -> Task<HttpResponse> { return made(); };
        routes = idempotent.over({route});
    }

    Task<HttpResponse> made()
    {
        if (breaks) // From now on the store fails, as it does on a full disk.
            Database(file).execute("ALTER TABLE answers RENAME TO elsewhere");
        if (refuses)
            throw HttpError{.status = 429, .code = ErrorCode::rateLimited, .message = "Later"};
        co_return HttpResponse{.status = 201, .body = "made"};
    }
    /// The status of the answer.
    int post()
    {
        HttpRequest request{.method = "POST", .path = {"v1", "things"}};
        request.headers = {{"authorization", "Bearer zk_1"}, {"idempotency-key", "key"}};
        try {
            return runTask(io, routes.front().answer(request, {})).status;
        } catch (HttpError const& error) {
            return error.status;
        }
    }

    TemporaryFolder folder;
    asio::io_context io;
    SteppedClock clock;
    std::filesystem::path const file = folder.path / "store.sqlite";
    SqliteStore store{file};
    ConsoleTimes times;
    ConsoleSessions sessions{clock, times};
    FakeKeyRing keys;
    AttemptRules attempts;
    AttemptLimiter wrongKeys{clock, attempts};
    std::string publicUrl;
    AccessControl access{keys, publicUrl, sessions, wrongKeys};
    AnswerRules rules;
    IdempotentRoutes idempotent{access, store, rules, clock, io.get_executor()};
    std::vector<Route> routes;
    bool breaks = false;
    bool refuses = false;
};

TEST_F(IdempotencyWithoutAStore, refusesAsOtherwiseAndFreesTheKeyLater)
{
    refuses = breaks = true;
    EXPECT_EQ(post(), 429);
    Database(file).execute("ALTER TABLE elsewhere RENAME TO answers");
    refuses = breaks = false;

    EXPECT_EQ(post(), 201);
    EXPECT_EQ(post(), 201);
}

TEST_F(IdempotencyWithoutAStore, answersAsOtherwise)
{
    breaks = true;

    EXPECT_EQ(post(), 201);
}

class CrowdedIdempotency : public Idempotency {
protected:
    CrowdedIdempotency() : Idempotency([](Settings& settings) { settings.limits.callsOfMachine = 1; }) {}
};

TEST_F(CrowdedIdempotency, leavesAKeyUnusedIfNothingWasSent)
{
    connect().onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });
    std::thread caller([&] { run("first"); });
    EXPECT_TRUE(becomes([&] { return machine->frames().size() == 1; }));

    Answer const refused = run("key");
    machine->onFrame(answerOk);
    machine->sendText(writeJson(json::object{{"id", machine->frames()[0].at("id")}, {"result", {}}}));
    caller.join();

    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.headers.at("x-request-id"), refused.json().at("error").at("requestId").as_string());
    EXPECT_EQ(run("key").status, 200);
}

} // namespace
} // namespace zelvo::service
