#include "wire/records/ServiceHistory.h"
#include "wire/records/ServiceLinking.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

namespace zelvo::records {
namespace {

template <Record R>
void expectSameAgain(std::string_view text)
{
    auto const record = fromText<R>(text);
    ASSERT_TRUE(record) << text;
    EXPECT_EQ(json::value(toJson(*record)), *parseJson(text));
}

TEST(ServiceMachines, readAndWriteAConnection)
{
    expectSameAgain<Connection>(
        R"({"createdAt": "t", "endUserId": "u", "grantedOnMac": true, "id": "c", "kind": "cloud", "machineId": "m",
            "machine": {"availability": "unknown", "hiddenAppCount": 0, "online": false, "os": "linux",
                        "paused": false, "permissions": {"accessibility": false, "screenRecording": false}},
            "scopes": ["screen", "input"], "status": "active"})");
    expectSameAgain<DeliveryOptions>(R"({"whenUnavailable": "queue", "ttlSeconds": 5})");
}

TEST(ServiceMachines, writeAnErrorWithItsCode)
{
    expectSameAgain<APIError>(
        R"({"error": {"code": "machine_offline", "message": "m", "requestId": "r", "details": {"a": 1}}})");
    EXPECT_FALSE(fromText<APIError>(R"({"error": {"code": "no_such", "message": "m", "requestId": "r"}})"));
}

TEST(ServiceLinking, readsAndWritesItsRecords)
{
    expectSameAgain<CreateEndUserRequest>(R"({"externalId": "7", "email": "a@b"})");
    expectSameAgain<EndUser>(R"({"createdAt": "t", "externalId": "7", "id": "u"})");
    expectSameAgain<CreateLinkSessionRequest>(
        R"({"endUserId": "u", "scopes": ["screen"], "redirectUrl": "r"})");
    expectSameAgain<LinkSession>(R"({"code": "c", "expiresAt": "t", "id": "l", "url": "u"})");
}

TEST(ServiceHistory, readsAndWritesItsRecords)
{
    expectSameAgain<Recording>(
        R"({"createdAt": "t", "deletesAt": "t", "durationSEC": 2.5, "id": "r", "status": "processing", "target": "x"})");
    expectSameAgain<AuditEventList>(
        R"({"data": [{"actor": "end_user", "apiKey": {"id": "k", "name": "n", "apiKeyPrefix": "p"}, "at": "t",
             "details": {}, "id": "a", "type": "x"}], "nextBefore": "b"})");
    expectSameAgain<WebhookEvent>(
        R"({"createdAt": "t", "data": {"a": []}, "id": "w", "type": "machine.permissions_changed"})");
    EXPECT_EQ(EnumTexts<WebhookEventType>::texts.size(), 14u);
}

} // namespace
} // namespace zelvo::records
