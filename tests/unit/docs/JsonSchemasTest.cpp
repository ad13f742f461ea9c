#include "unit/docs/JsonSchemas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

JsonSchemas schemasOf(std::string const& definition)
{
    json::value const file =
        *parseJson(R"({"$id": "a.json", "$defs": {"other": {"type": "string"}, "it": )" + definition + "}}");
    return JsonSchemas({{"a.json", file.as_object()}});
}

struct Case {
    char const* schema;
    char const* fits;
    char const* doesNot;
};

class JsonSchemasKeyword : public testing::TestWithParam<Case> {};

TEST_P(JsonSchemasKeyword, tellsWhatFitsFromWhatDoesNot)
{
    JsonSchemas const schemas = schemasOf(GetParam().schema);
    EXPECT_TRUE(schemas.faults("a.json#/$defs/it", *parseJson(GetParam().fits)).empty());
    EXPECT_FALSE(schemas.faults("a.json#/$defs/it", *parseJson(GetParam().doesNot)).empty());
}

INSTANTIATE_TEST_SUITE_P(
    All,
    JsonSchemasKeyword,
    testing::Values(Case{R"({"type": "string"})", R"("a")", "1"},
                    Case{R"({"type": "integer"})", "1", "1.5"},
                    Case{R"({"type": "number"})", "1", R"("1")"},
                    Case{R"({"type": "boolean"})", "true", "0"},
                    Case{R"({"type": ["string", "null"]})", "null", "1"},
                    Case{R"({"const": "a"})", R"("a")", R"("b")"},
                    Case{R"({"enum": ["a", "b"]})", R"("b")", R"("c")"},
                    Case{R"({"minimum": 1})", "1", "0.5"},
                    Case{R"({"maximum": 1})", "1", "2"},
                    Case{R"({"minLength": 1})", R"("a")", R"("")"},
                    Case{R"({"minItems": 1})", "[1]", "[]"},
                    Case{R"({"items": {"type": "string"}})", R"(["a"])", R"(["a", 1])"},
                    Case{R"({"properties": {"a": {"type": "string"}}})", R"({"b": 1})", R"({"a": 1})"},
                    Case{R"({"properties": {"a": {}}, "required": ["a"]})", R"({"a": 1})", "{}"},
                    Case{R"({"properties": {"a": {}}, "additionalProperties": false})", R"({"a": 1})",
                         R"({"b": 1})"},
                    Case{R"({"additionalProperties": {"type": "string"}})", R"({"b": "1"})", R"({"b": 1})"},
                    Case{R"({"$ref": "#/$defs/other"})", R"("a")", "1"},
                    Case{R"({"$ref": "a.json#/$defs/other"})", R"("a")", "1"},
                    Case{R"({"oneOf": [{"type": "string"}, {"type": "null"}]})", "null", "1"},
                    Case{R"({"oneOf": [{"type": "number"}, {"type": "integer"}]})", "1.5", "1"}));

TEST(JsonSchemas, aKeywordThatIsNotKnownIsAnError)
{
    EXPECT_THROW(schemasOf(R"({"pattern": "a"})"), std::runtime_error);
    EXPECT_THROW(schemasOf(R"({"properties": {"a": {"typ": "string"}}})"), std::runtime_error);
}

TEST(JsonSchemas, aReferenceToNowhereIsAnError)
{
    EXPECT_THROW(schemasOf(R"({"items": {"$ref": "#/$defs/gone"}})"), std::runtime_error);
    EXPECT_THROW(schemasOf(R"({"$ref": "b.json#/$defs/other"})"), std::runtime_error);
}

TEST(JsonSchemas, aRequiredKeyThatNothingDescribesIsAnError)
{
    EXPECT_THROW(schemasOf(R"({"required": ["a"]})"), std::runtime_error);
}

TEST(JsonSchemas, breaksEveryPart)
{
    JsonSchemas const schemas = schemasOf(
        R"({"type": "object", "properties": {"a": {"type": "array", "items": {"type": "integer", "minimum": 0}}},
            "required": ["a"], "additionalProperties": false})");
    std::set<std::string> seen;
    std::vector<std::string> what;
    for (auto const& variant : schemas.broken("a.json#/$defs/it", *parseJson(R"({"a": [3]})"), seen)) {
        what.push_back(variant.what);
        EXPECT_FALSE(schemas.faults("a.json#/$defs/it", variant.value).empty()) << variant.what;
    }
    EXPECT_THAT(what, testing::IsSupersetOf({"/ without a", "/ with an unknown key", "/a as string",
                                             "/a/0 as boolean", "/a/0 below its minimum"}));
    EXPECT_THAT(seen, testing::UnorderedElementsAre("a.json#/$defs/it", "a.json#/$defs/it.a",
                                                    "a.json#/$defs/it.a[]"));
}

} // namespace
} // namespace zelvo
