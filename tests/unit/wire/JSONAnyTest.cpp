#include "wire/JSONAny.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

template <class T>
T held(std::string_view text)
{
    return std::any_cast<T>(JSONAny::decodeText(text).value);
}

template <class F>
std::string failureOf(F work)
{
    try {
        work();
    } catch (JSONAnyError const& error) {
        return error.what();
    }
    return "no failure";
}

TEST(JSONAny, triesTruthIntegerNumberTextNull)
{
    EXPECT_EQ(held<bool>("true"), true);
    EXPECT_EQ(held<std::int64_t>("1"), 1);
    EXPECT_EQ(held<double>("1.5"), 1.5);
    EXPECT_EQ(held<std::string>("\"1\""), "1");
    EXPECT_EQ(held<JSONNull>("null"), JSONNull{});
}

TEST(JSONAny, neverReadsTrueAsANumber)
{
    JSONAny const any = JSONAny::decodeText("true");

    EXPECT_FALSE(std::any_cast<std::int64_t>(&any.value));
    EXPECT_FALSE(std::any_cast<double>(&any.value));
}

TEST(JSONAny, readsNestedValuesByTheSameRule)
{
    auto const object = held<JSONAny::Object>(R"({"a": [1, {"b": null}]})");

    auto const& array = std::any_cast<JSONAny::Array const&>(object.at("a").value);
    EXPECT_EQ(std::any_cast<std::int64_t>(array.at(0).value), 1);
    auto const& inner = std::any_cast<JSONAny::Object const&>(array.at(1).value);
    EXPECT_EQ(std::any_cast<JSONNull>(inner.at("b").value), JSONNull{});
}

TEST(JSONAny, readsAnIntegerBeyond64BitsAsNumber)
{
    EXPECT_EQ(held<double>("9223372036854775808"), 0x1p63);
    json::value const unsignedValue = std::uint64_t{1} << 63;
    EXPECT_EQ(std::any_cast<double>(JSONAny::decode(unsignedValue).value), 0x1p63);
}

TEST(JSONAny, isWrittenAsItWasRead)
{
    for (std::string_view const text : {"null", "true", "-5", "1.5", "\"x\"", R"([1,[],{"a":{"b":[null]}}])"})
        EXPECT_EQ(JSONAny::decodeText(text).encode(), *parseJson(text)) << text;
}

TEST(JSONAny, failsInItsOwnWords)
{
    EXPECT_EQ(failureOf([] { JSONAny::decodeText("{"); }), "Cannot decode JSONAny");
    EXPECT_EQ(failureOf([] { JSONAny::decodeText("1e400"); }), "Cannot decode JSONAny");
    EXPECT_EQ(failureOf([] { JSONAny{std::any(std::vector<int>{1})}.encode(); }), "Cannot encode JSONAny");
    EXPECT_EQ(failureOf([] { JSONAny{std::any()}.encode(); }), "Cannot encode JSONAny");
    EXPECT_EQ(failureOf([] { JSONAny{std::numeric_limits<double>::infinity()}.encode(); }),
              "Cannot encode JSONAny");
    EXPECT_EQ(failureOf([] { JSONNull::decode(0); }), "Wrong type for JSONNull");
}

TEST(JSONNull, readsAndWritesNullOnly)
{
    EXPECT_EQ(JSONNull::decode(nullptr), JSONNull{});
    EXPECT_TRUE(JSONNull{}.encode().is_null());
    EXPECT_EQ(failureOf([] { JSONNull::decode("null"); }), "Wrong type for JSONNull");
}

} // namespace
} // namespace zelvo
