#include "state/QueuedCommandsOffer.h"
#include "unit/docs/BlindBreaker.h"
#include "unit/docs/JsonSchemas.h"
#include "unit/docs/ProtocolDocument.h"
#include "unit/docs/ProtocolMachine.h"
#include "unit/docs/ProtocolSent.h"
#include "wire/records/Connections.h"
#include "wire/records/Events.h"
#include "wire/records/Heartbeat.h"
#include "wire/records/ServiceHistory.h"
#include "wire/records/ServiceMachines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

// docs/schema fits what is told in docs/protocol.md and what the program says, and refuses what is broken.

namespace zelvo {
namespace {

using testing::IsEmpty;

struct Instance {
    std::string reference;
    json::value value;
};

JsonSchemas const& schemas()
{
    return JsonSchemas::ofProtocol();
}

void addExchange(std::vector<Instance>& all, json::value const& request, json::value const& reply)
{
    std::string const method(request.at("method").as_string());
    all.push_back({"frame.json#/$defs/request", request});
    all.push_back({"frame.json#/$defs/reply", reply});
    json::value const* const params = request.as_object().if_contains("params");
    if (std::string const reference = schemas().definition(method + ".params"); !reference.empty())
        all.push_back({reference, params ? *params : json::object()});
    json::value const* const result = reply.as_object().if_contains("result");
    if (std::string const reference = schemas().definition(method + ".result"); result)
        all.push_back({reference, *result});
}

void addExamples(std::vector<Instance>& all)
{
    for (DocumentSection const& section : ProtocolDocument::present().sections) {
        for (std::size_t i = 0; i + 1 < section.examples.size(); i += 2)
            addExchange(all, section.examples[i], section.examples[i + 1]);
        if (section.chapter == "Input actions")
            for (json::value const& action : section.examples)
                all.push_back({"actions.json#/$defs/action", action});
    }
}

void addSaid(std::vector<Instance>& all)
{
    for (json::value const& message : saidUnasked())
        all.push_back({message.as_object().contains("event") ? "events.json#/$defs/event"
                                                             : "events.json#/$defs/heartbeat",
                       message});
}

/// What the examples leave out.
void addOthers(std::vector<Instance>& all)
{
    auto const add = [&](char const* reference, char const* text) {
        all.push_back({reference, *parseJson(text)});
    };
    add("observation.json#/$defs/screenshot.params",
        R"({"format": "jpeg", "quality": 80, "maxWidth": 800, "region": {"x": 0, "y": 1.5, "w": 20, "h": 10}})");
    add("observation.json#/$defs/screenshot.result",
        R"({"mime": "image/png", "data": "AAAA", "imageWidth": 20, "imageHeight": 10, "widthPoints": 1600,
            "heightPoints": 900, "scale": 1, "region": {"x": 0, "y": 1, "w": 20, "h": 10}})");
    add("observation.json#/$defs/screen.settle.params",
        R"({"quietMs": 300, "timeoutMs": 3000, "region": {"x": 0, "y": 1.5, "w": 20, "h": 10}})");
    add("observation.json#/$defs/ui.wait.params",
        R"({"role": "AXButton", "name": "find", "value": "", "until": "value", "timeoutMs": 3000, "scope": "menu_bar"})");
    add("observation.json#/$defs/ui.tree.result",
        R"({"snapshotId": "s", "truncated": false, "elements": [], "framesRelativeTo": "window"})");
    add("observation.json#/$defs/ui.wait.result", R"({"matched": false, "elapsedMs": 3000})");
    add("observation.json#/$defs/ui.wait.result",
        R"({"matched": true, "elapsedMs": 3, "snapshotId": "s", "framesRelativeTo": "window",
            "element": {"id": "e1", "role": "AXButton", "frame": {"x": 1, "y": 2, "w": 3, "h": 4}, "enabled": true,
                        "focused": false, "actions": []}})");
    add("observation.json#/$defs/element",
        R"({"id": "e1", "role": "AXTextField", "frame": {"x": 1, "y": 2.5, "w": 3, "h": 4}, "enabled": false,
            "focused": true, "actions": [], "title": "Find", "subrole": "AXSearchField", "description": "a",
            "value": "fox", "identifier": "search"})");
    add("system.json#/$defs/shell.run.params",
        R"({"command": "ls", "cwd": "/", "env": {"A": "b"}, "timeoutMs": 1, "confirmationTimeoutMs": 2})");
    add("system.json#/$defs/urls.open.params", R"({"url": "a:b", "confirmationTimeoutMs": 2})");
    add("service.json#/$defs/agents.update.params",
        R"({"holder": null, "waiting": [{"ref": "r", "name": "n", "since": "", "task": null}],
            "paused": [{"ref": "r", "name": "n", "since": "", "connectionId": "c"}]})");
    add("events.json#/$defs/event",
        R"({"event": "queued_commands_ack", "connectionId": "c", "data": {"accepted": ["a"], "declined": ["b"]}})");
    add("delivery.json#/$defs/deliveryOptions",
        R"({"whenUnavailable": "queue", "ttlSeconds": 60, "confirmationTimeoutMs": 1000})");
    add("delivery.json#/$defs/queuedCommand",
        R"({"commandId": "cmd_1", "expiresAt": "", "status": "failed", "result": 1, "error": {"code": "timeout"}})");
    add("recordings.json#/$defs/announcement",
        R"({"connectionId": "con_7f2a", "durationSec": 12.5, "sizeBytes": 80})");
    add("recordings.json#/$defs/announced", R"({"recordingId": "rec_1", "uploadUrl": "http://a/uploads/b"})");
    add("recordings.json#/$defs/completion", R"({"recordingId": "rec_1"})");
    add("recordings.json#/$defs/completed", R"({"recordingId": "rec_1", "status": "ready"})");
    add("recordings.json#/$defs/sharing", R"({"connectionId": "con_7f2a", "shared": true})");
    add("recordings.json#/$defs/recording",
        R"({"createdAt": "", "deletesAt": "", "durationSEC": 12.5, "id": "rec_1", "status": "processing",
            "target": "con_7f2a"})");
    add("recordings.json#/$defs/recordingList",
        R"({"data": [{"createdAt": "", "deletesAt": "", "durationSEC": 12, "expiresAt": "", "id": "rec_1",
            "status": "ready", "target": "con_7f2a", "url": "http://a/recordings/b"}], "nextBefore": "rec_1"})");
    for (char const* const empty :
         {"screenshot", "ui.tree", "apps.open", "apps.activate", "connection.revoke"})
        all.push_back({schemas().definition(std::string(empty) + ".params"), json::object()});
}

std::vector<Instance> const& instances()
{
    static std::vector<Instance> const found = [] {
        std::vector<Instance> all;
        addExamples(all);
        addSaid(all);
        addOthers(all);
        return all;
    }();
    return found;
}

TEST(ProtocolSchemas, fitWhatIsToldAndSaid)
{
    for (Instance const& instance : instances())
        EXPECT_THAT(schemas().faults(instance.reference, instance.value), IsEmpty())
            << instance.reference << " " << writeJson(instance.value);
}

/// The params, results and their keys that docs/protocol.md marks as additions.
std::set<std::string> toldAdditions()
{
    std::set<std::string> all;
    for (DocumentSection const& section : ProtocolDocument::present().named("Methods"))
        for (auto const& [kind, column] : {std::pair("params", "Param"), std::pair("result", "Result")}) {
            std::string const name = section.title + "." + kind;
            if (section.text.find("*Addition.*") != std::string::npos)
                all.insert(name);
            DocumentTable const* const table = section.table(column);
            for (auto const& row : table ? table->rows : std::vector<std::vector<std::string>>())
                if (table->cell(row, "Meaning").starts_with("*addition*"))
                    all.insert(name + " " + row[0]);
        }
    return all;
}

TEST(ProtocolSchemas, markTheAdditions)
{
    auto const isMarked = [](json::object const& schema) {
        return read::text(schema, "description").value_or("").starts_with("Addition.");
    };
    std::set<std::string> marked;
    for (std::string const& reference : schemas().definitions()) {
        std::string const name = reference.substr(reference.rfind('/') + 1);
        json::object const& schema = *schemas().at(reference).schema;
        if (isMarked(schema))
            marked.insert(name);
        if (json::object const* const properties = read::object(schema, "properties"))
            for (auto const& [key, property] : *properties)
                if (isMarked(property.as_object()))
                    marked.insert(name + " " + std::string(key));
    }

    EXPECT_FALSE(marked.empty());
    EXPECT_EQ(marked, toldAdditions());
}

TEST(ProtocolSchemas, refuseEveryBrokenVariantAndEveryPartIsTried)
{
    std::set<std::string> seen;
    std::size_t tried = 0;
    for (Instance const& instance : instances())
        for (JsonSchemas::Variant const& variant :
             schemas().broken(instance.reference, instance.value, seen)) {
            EXPECT_FALSE(schemas().faults(instance.reference, variant.value).empty())
                << instance.reference << ": " << variant.what << " " << writeJson(variant.value);
            ++tried;
        }
    EXPECT_GT(tried, instances().size() * 5);
    for (std::string const& definition : schemas().definitions())
        EXPECT_TRUE(seen.contains(definition)) << definition;
    for (std::string const& property : schemas().properties())
        EXPECT_TRUE(seen.contains(property)) << property;
}

// The variants above come from the schemas, so a schema that says little would break little. These do not.
TEST(ProtocolSchemas, refuseWhatIsBrokenBlindly)
{
    for (auto const& [reference, value] : instances()) {
        bool const isSaid = reference.ends_with(".result") || reference.starts_with("events.json") ||
                            reference == "frame.json#/$defs/reply";
        std::set<std::string> free; // Told by other schemas, or not looked at.
        if (reference.starts_with("frame.json"))
            free = {"params", "result", "details"};
        else if (reference.ends_with("queuedCommand"))
            free = {"result", "error"};
        else if (reference.ends_with("connection.grant.params"))
            free = {"connectionId", "platformName", "scopes"};
        for (JsonSchemas::Variant const& variant : BlindBreaker(value, free, isSaid).variants)
            EXPECT_FALSE(schemas().faults(reference, variant.value).empty())
                << reference << ": " << variant.what;
    }
}

std::vector<std::string> columnOf(DocumentTable const* table)
{
    std::vector<std::string> names;
    for (auto const& row : table ? table->rows : DocumentTable().rows)
        names.push_back(row[0]);
    return names;
}

std::vector<std::string> keysOf(json::object const& schema)
{
    std::vector<std::string> keys;
    if (json::object const* const properties = read::object(schema, "properties"))
        for (auto const& [key, rule] : *properties)
            keys.emplace_back(key);
    return keys;
}

/// Past references, and from an array to its items.
JsonSchemas::Place objectAt(JsonSchemas::Place place)
{
    while (true) {
        if (auto const next = read::text(*place.schema, "$ref"))
            place = schemas().at(*next, place.file);
        else if (json::object const* const items = read::object(*place.schema, "items"))
            place.schema = items;
        else
            return place;
    }
}

TEST(ProtocolSchemas, haveTheKeysOfTheTables)
{
    for (DocumentSection const& method : ProtocolDocument::present().named("Methods")) {
        if (method.title == "connection.grant") // Whatever comes with it is not looked at.
            continue;
        json::object const& params =
            *objectAt(schemas().at(schemas().definition(method.title + ".params"))).schema;
        DocumentTable const* const table = method.table("Param");
        EXPECT_EQ(keysOf(params), columnOf(table)) << method.title;
        json::object const& result =
            *objectAt(schemas().at(schemas().definition(method.title + ".result"))).schema;
        EXPECT_EQ(keysOf(result), columnOf(method.table("Result"))) << method.title;
    }
}

void expectRequiredAsShown(std::string const& what, DocumentTable const& table, json::object const& schema)
{
    json::array const* const required = read::array(schema, "required");
    for (auto const& row : table.rows) {
        bool const isRequired =
            required && std::ranges::find(*required, json::value(row[0])) != required->end();
        EXPECT_EQ(isRequired, table.cell(row, "Default") == "required") << what << " " << row[0];
        json::object const& property =
            *objectAt({"", &schema}).schema->at("properties").at(row[0]).if_object();
        if (auto const type = read::text(property, "type"))
            EXPECT_EQ(*type, table.cell(row, "Type")) << what << " " << row[0];
    }
}

TEST(ProtocolSchemas, requireWhatTheTablesRequire)
{
    expectRequiredAsShown("frame", *ProtocolDocument::present().section("Frames").table("Key"),
                          *schemas().at("frame.json#/$defs/request").schema);
    for (DocumentSection const& method : ProtocolDocument::present().named("Methods"))
        if (DocumentTable const* const table = method.table("Param"))
            expectRequiredAsShown(
                method.title, *table,
                *objectAt(schemas().at(schemas().definition(method.title + ".params"))).schema);
    auto const expectInner = [](char const* method, char const* reference) {
        expectRequiredAsShown(reference, *ProtocolDocument::present().section("Methods", method).table("Key"),
                              *schemas().at(reference).schema);
    };
    expectInner("queue.offer", "service.json#/$defs/offeredCommand");
    expectInner("agents.update", "service.json#/$defs/liveAgent");
    for (DocumentSection const& action : ProtocolDocument::present().named("Input actions"))
        expectRequiredAsShown(action.title, *action.table("Key"),
                              *schemas().at("actions.json#/$defs/" + action.title).schema);
}

/// How the program or the gateway reads a record, and values that it reads.
struct RecordCase {
    char const* reference;
    std::function<bool(json::value const&)> reads;
};

template <class R>
bool isRead(json::value const& value)
{
    return records::fromJson<R>(value).has_value();
}

bool isOffer(json::value const& value)
{
    return value.is_object() && QueuedCommandsOffer::parse(value.get_object());
}

class ProtocolRecords : public testing::TestWithParam<RecordCase> {};

TEST_P(ProtocolRecords, areReadWhereTheSchemaFitsAndNotWithoutARequiredKey)
{
    int tried = 0;
    for (auto const& [reference, value] : instances()) {
        if (reference != GetParam().reference)
            continue;
        EXPECT_TRUE(GetParam().reads(value)) << writeJson(value);
        std::set<std::string> seen;
        for (JsonSchemas::Variant const& variant : schemas().broken(reference, value, seen))
            if (variant.what.find(" without ") != std::string::npos) {
                EXPECT_FALSE(GetParam().reads(variant.value)) << variant.what;
                ++tried;
            }
    }
    if (std::string_view(GetParam().reference) != "delivery.json#/$defs/deliveryOptions")
        EXPECT_GT(tried, 0);
}

INSTANTIATE_TEST_SUITE_P(
    All,
    ProtocolRecords,
    testing::Values(RecordCase{"delivery.json#/$defs/deliveryOptions", isRead<records::DeliveryOptions>},
                    RecordCase{"delivery.json#/$defs/queuedCommand", isRead<records::QueuedCommand>},
                    RecordCase{"recordings.json#/$defs/recording", isRead<records::Recording>},
                    RecordCase{"service.json#/$defs/agents.update.params", isRead<records::AgentsUpdate>},
                    RecordCase{"service.json#/$defs/connections.names.params",
                               isRead<records::ConnectionNames>},
                    RecordCase{"service.json#/$defs/queue.offer.params", isOffer}));

TEST(ProtocolRecords, theGatewayReadsWhatTheAgentSays)
{
    for (auto const& [reference, value] : instances()) {
        if (reference == "events.json#/$defs/heartbeat")
            EXPECT_TRUE(isRead<records::Heartbeat>(value.at("params")));
        if (reference == "events.json#/$defs/event")
            EXPECT_TRUE(isRead<records::MachineEvent>(value)) << writeJson(value);
    }
}

} // namespace
} // namespace zelvo
