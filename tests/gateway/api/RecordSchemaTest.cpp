#include "ZelvoGateway/api/RecordSchema.h"

#include "ZelvoGateway/api/MethodSchemas.h"
#include "unit/docs/JsonSchemas.h"
#include "wire/MethodTable.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

struct Inner {
    std::map<std::string, std::int64_t> counts;
};
BOOST_DESCRIBE_STRUCT(Inner, (), (counts))

struct Sample {
    std::string name;
    std::optional<bool> flag;
    std::vector<Inner> inner;
    records::Nullable<double> share;
    json::object data;
    json::value any;
    records::WhenUnavailable kind{};
};
BOOST_DESCRIBE_STRUCT(Sample, (), (name, flag, inner, share, data, any, kind))

TEST(RecordSchema, saysWhatTheCodecReadsAndWrites)
{
    json::object schemas;

    json::object const reference = schemaOf<Sample>(schemas);

    EXPECT_EQ(reference, (json::object{{"$ref", "#/components/schemas/Sample"}}));
    EXPECT_EQ(json::value(schemas), parseJson(R"({
        "Sample": {"type": "object", "properties": {
            "name": {"type": "string"},
            "flag": {"type": "boolean"},
            "inner": {"type": "array", "items": {"$ref": "#/components/schemas/Inner"}},
            "share": {"type": ["number", "null"]},
            "data": {"type": "object"},
            "any": {},
            "kind": {"type": "string", "enum": ["fail", "queue"]}},
          "required": ["name", "inner", "share", "data", "any", "kind"]},
        "Inner": {"type": "object", "properties": {
            "counts": {"type": "object", "additionalProperties": {"type": "integer"}}},
          "required": ["counts"]}})"));
}

TEST(MethodSchemas, areThoseOfEveryCommandOfTheMethodTable)
{
    MethodSchemas const all = methodSchemas();

    for (Method const& method : methods) {
        std::string const name = std::string(method.name) + ".command";
        // What only old gateways send has no schema.
        bool const isDescribed = method.use == MethodUse::command && method.name != "connection.grant";
        EXPECT_EQ(all.schemas.contains(name), isDescribed) << name;
    }
    EXPECT_NE(writeJson(all.schemas.at("shell.run.command")).find("Scope: shell"), std::string::npos);
    std::string const text = writeJson(all.schemas) + writeJson(all.body) + writeJson(all.result);
    EXPECT_EQ(text.find("$defs"), std::string::npos) << "a reference between files";
}

} // namespace
} // namespace zelvo::service
