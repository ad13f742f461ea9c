#include "ZelvoGateway/mcp/ArgumentCheck.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

/// The problem of arguments with a schema for the argument "a", or "fits".
std::string check(std::string_view schemaOfA, std::string_view arguments)
{
    json::object const schema{{"type", "object"},
                              {"properties", json::object{{"a", parseJson(schemaOfA).value()}}},
                              {"additionalProperties", false}};
    return argumentProblem(schema, parseJson(arguments).value().as_object()).value_or("fits");
}

TEST(ArgumentCheck, checksTypes)
{
    EXPECT_EQ(check(R"({"type":"string"})", R"({"a":"x"})"), "fits");
    EXPECT_EQ(check(R"({"type":"string"})", R"({"a":1})"), R"("a" must be a string)");
    EXPECT_EQ(check(R"({"type":"string"})", R"({"a":null})"), R"("a" must be a string)");
    EXPECT_EQ(check(R"({"type":"integer"})", R"({"a":2.0})"), "fits");
    EXPECT_EQ(check(R"({"type":"integer"})", R"({"a":2.5})"), R"("a" must be an integer)");
    EXPECT_EQ(check(R"({"type":"number"})", R"({"a":2.5})"), "fits");
    EXPECT_EQ(check(R"({"type":"number"})", R"({"a":"2"})"), R"("a" must be a number)");
    EXPECT_EQ(check(R"({"type":"boolean"})", R"({"a":false})"), "fits");
    EXPECT_EQ(check(R"({"type":"boolean"})", R"({"a":0})"), R"("a" must be a boolean)");
    EXPECT_EQ(check(R"({"type":"array"})", R"({"a":{}})"), R"("a" must be an array)");
    EXPECT_EQ(check(R"({"type":"object"})", R"({"a":[]})"), R"("a" must be an object)");
}

TEST(ArgumentCheck, listsTheChoices)
{
    EXPECT_EQ(check(R"({"type":"string","enum":["x","y","z"]})", R"({"a":"y"})"), "fits");
    EXPECT_EQ(check(R"({"type":"string","enum":["x","y","z"]})", R"({"a":"Y"})"),
              R"("a" must be "x", "y" or "z")");
}

TEST(ArgumentCheck, checksBounds)
{
    EXPECT_EQ(check(R"({"minimum":1,"maximum":3})", R"({"a":1})"), "fits");
    EXPECT_EQ(check(R"({"minimum":1,"maximum":3})", R"({"a":3})"), "fits");
    EXPECT_EQ(check(R"({"minimum":1,"maximum":3})", R"({"a":0.5})"), R"("a" must be at least 1)");
    EXPECT_EQ(check(R"({"minimum":1,"maximum":3})", R"({"a":1e30})"), R"("a" must be at most 3)");
    EXPECT_EQ(check(R"({"minItems":1,"maxItems":2})", R"({"a":[]})"), R"("a" must have at least 1 items)");
    EXPECT_EQ(check(R"({"minItems":1,"maxItems":2})", R"({"a":[1,2,3]})"),
              R"("a" must have at most 2 items)");
    EXPECT_EQ(check(R"({"minLength":2,"maxLength":2})", R"({"a":"äö"})"), "fits");
    EXPECT_EQ(check(R"({"minLength":2})", R"({"a":"ä"})"), R"("a" must have at least 2 characters)");
    EXPECT_EQ(check(R"({"maxLength":2})", R"({"a":"abc"})"), R"("a" must have at most 2 characters)");
}

TEST(ArgumentCheck, namesThePlace)
{
    std::string_view const schema =
        R"({"type":"array","items":{"type":"object","properties":{"x":{"type":"number"}},"required":["x"],)"
        R"("additionalProperties":false}})";

    EXPECT_EQ(check(schema, R"({"a":[{"x":1},{"x":"1"}]})"), R"("a[1].x" must be a number)");
    EXPECT_EQ(check(schema, R"({"a":[{}]})"), R"("a[0].x" is missing)");
    EXPECT_EQ(check(schema, R"({"a":[{"x":1,"y":1}]})"), R"("a[0].y" is unknown)");
    EXPECT_EQ(check(schema, R"({"a":[3]})"), R"("a[0]" must be an object)");
}

TEST(ArgumentCheck, refusesUnknownArguments)
{
    EXPECT_EQ(check("{}", R"({"b":1})"), R"("b" is unknown)");
    EXPECT_EQ(argumentProblem({{"type", "object"}}, {{"b", 1}}), std::nullopt);
    EXPECT_EQ(argumentProblem({{"additionalProperties", false}}, {{"b", 1}}), R"("b" is unknown)");
}

TEST(ArgumentCheck, checksMembersWithNamesOfTheirOwn)
{
    std::string_view const texts = R"({"type":"object","additionalProperties":{"type":"string"}})";

    EXPECT_EQ(check(texts, R"({"a":{"b":"1","c":"2"}})"), "fits");
    EXPECT_EQ(check(texts, R"({"a":{"b":"1","c":2}})"), R"("a.c" must be a string)");
}

TEST(ArgumentCheck, showsForeignNamesInOneShortLine)
{
    std::string const name = "b\n\x1b[31m" + std::string(500, 'x');

    auto const problem = argumentProblem({{"additionalProperties", false}}, {{name, 1}});

    ASSERT_TRUE(problem);
    EXPECT_LT(problem->size(), 100U);
    EXPECT_EQ(problem->find('\n'), std::string::npos);
    EXPECT_EQ(problem->find('\x1b'), std::string::npos);
}

TEST(ArgumentCheck, allowsWhatItDoesNotKnow)
{
    EXPECT_EQ(check(R"({"type":"string","format":"uri"})", R"({"a":"x"})"), "fits");
    EXPECT_EQ(check(R"({"type":"other"})", R"({"a":"x"})"), "fits");
}

} // namespace
} // namespace zelvo::service
