#include "wire/Json.h"

#include "wire/LongText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace zelvo {
namespace {

std::string nested(std::size_t depth)
{
    return std::string(depth, '[') + std::string(depth, ']');
}

json::value numberOf(std::string_view text)
{
    auto const value = parseJson(text);
    return value ? *value : json::value("not JSON");
}

TEST(Json, readsAnObject)
{
    auto const value = parseJson(R"({"a": [1, 1.5, true, null, "x"], "b": {}})");

    ASSERT_TRUE(value);
    EXPECT_EQ(value->at("a").as_array().size(), 5u);
    EXPECT_TRUE(value->at("b").as_object().empty());
}

TEST(Json, readsNestingTo512)
{
    EXPECT_TRUE(parseJson(nested(512)));
}

TEST(Json, dropsNestingOf513)
{
    EXPECT_FALSE(parseJson(nested(513)));
}

TEST(Json, dropsNestingOfAMillion)
{
    EXPECT_FALSE(parseJson(nested(1'000'000)));
    EXPECT_FALSE(parseJson(std::string(1'000'000, '[')));
    std::string objects;
    for (int i = 0; i < 1'000'000; ++i)
        objects += R"({"a":)";
    EXPECT_FALSE(parseJson(objects));
}

TEST(Json, countsObjectsAsNestingToo)
{
    auto const objects = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += R"({"a":)";
        return text + "1" + std::string(static_cast<std::size_t>(depth), '}');
    };

    EXPECT_TRUE(parseJson(objects(512)));
    EXPECT_FALSE(parseJson(objects(513)));
}

std::string listOf(std::size_t count, std::string const& value)
{
    std::string text = "[";
    for (std::size_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + value;
    return text + "]";
}

TEST(Json, readsAMillionValues)
{
    EXPECT_TRUE(parseJson(listOf(999'999, "0"))); // The list is one, too.
    EXPECT_TRUE(parseJson(listOf(499'999, "[0]")));
}

TEST(Json, dropsMoreThanAMillionValuesOfEachKind)
{
    for (char const* const value : {"0", "1.5", "\"\"", "true", "null", "[]", "{}"})
        EXPECT_FALSE(parseJson(listOf(1'000'000, value))) << value;
    EXPECT_FALSE(parseJson(listOf(500'000, "[0]")));
    EXPECT_FALSE(parseJson(listOf(500'000, R"({"a":0})")));
    EXPECT_FALSE(parseJson(listOf(500'000, "[0]").substr(1) + "x"));
}

std::string objectOf(std::size_t members)
{
    std::string text = "{";
    for (std::size_t i = 0; i < members; ++i)
        text += (i == 0 ? "\"k" : ",\"k") + std::to_string(i) + "\":0";
    return text + "}";
}

TEST(Json, readsAnObjectOfAThousandMembers)
{
    auto const value = parseJson(objectOf(1000));

    ASSERT_TRUE(value);
    EXPECT_EQ(value->as_object().size(), 1000u);
    EXPECT_TRUE(parseJson("[" + objectOf(1000) + "," + objectOf(1000) + "]"));
}

// Keys that collide make an object's table quadratic: half a million members take minutes.
TEST(Json, dropsAnObjectOfMoreMembers)
{
    EXPECT_FALSE(parseJson(objectOf(1001)));
    EXPECT_FALSE(parseJson(R"({"id": "x", "result": [)" + objectOf(1001) + "]}"));
    std::string same = R"({"a":0)";
    for (int i = 0; i < 1000; ++i)
        same += R"(,"a":0)";
    EXPECT_FALSE(parseJson(same + "}"));
    LongText content{.outer = "params", .inner = "content", .minBytes = 1};
    EXPECT_FALSE(parseJsonAround(objectOf(1001), content));
}

TEST(Json, dropsInvalidUtf8)
{
    EXPECT_FALSE(parseJson("\"\xff\""));
    EXPECT_FALSE(parseJson("\"\xc3\""));
    EXPECT_FALSE(parseJson("\"\xc0\xaf\""));         // Overlong.
    EXPECT_FALSE(parseJson("\"\xed\xa0\x80\""));     // A surrogate.
    EXPECT_FALSE(parseJson("\"\xf4\x90\x80\x80\"")); // Beyond U+10FFFF.
    EXPECT_FALSE(parseJson("{\"\xff\": 1}"));
}

TEST(Json, readsValidUtf8AndEscapes)
{
    EXPECT_EQ(numberOf("\"\xf0\x9f\x91\x8d\"").as_string(), "\xf0\x9f\x91\x8d");
    EXPECT_EQ(numberOf(R"("\ud83d\udc4d")").as_string(), "\xf0\x9f\x91\x8d");
}

TEST(Json, dropsHalfASurrogatePair)
{
    EXPECT_FALSE(parseJson(R"("\ud83d")"));
    EXPECT_FALSE(parseJson(R"("\udc4d")"));
}

TEST(Json, readsANumberWithoutFractionAsInteger)
{
    EXPECT_EQ(numberOf("80"), json::value(std::int64_t{80}));
    EXPECT_TRUE(numberOf("80.0").is_int64());
    EXPECT_EQ(numberOf("80.0").as_int64(), 80);
    EXPECT_TRUE(numberOf("8e1").is_int64());
    EXPECT_EQ(numberOf("8e1").as_int64(), 80);
    EXPECT_EQ(numberOf("800e-1").as_int64(), 80);
    EXPECT_EQ(numberOf("-80.000").as_int64(), -80);
}

TEST(Json, readsTheWholeRangeOf64Bits)
{
    EXPECT_EQ(numberOf("9223372036854775807").as_int64(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(numberOf("-9223372036854775808").as_int64(), std::numeric_limits<std::int64_t>::min());
}

TEST(Json, readsNumbersBeyond64BitsAsDoubles)
{
    EXPECT_TRUE(numberOf("9223372036854775808").is_double());
    EXPECT_EQ(numberOf("9223372036854775808").as_double(), 0x1p63);
    EXPECT_EQ(numberOf("18446744073709551616").as_double(), 0x1p64);
    EXPECT_EQ(numberOf("-9223372036854775809").as_int64(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(numberOf("1e300").as_double(), 1e300);
}

TEST(Json, dropsANumberBeyondADouble)
{
    EXPECT_FALSE(parseJson("1e400"));
    EXPECT_FALSE(parseJson("-1e400"));
    EXPECT_FALSE(parseJson("1e309"));
    EXPECT_FALSE(parseJson(R"({"x": 1e99999999999999})"));
    EXPECT_FALSE(parseJson(std::string(400, '9')));
}

TEST(Json, readsATinyNumberAsZero)
{
    EXPECT_EQ(numberOf("1e-400").as_int64(), 0);
    EXPECT_EQ(numberOf("-1e-400").as_int64(), 0);
}

TEST(Json, readsDoublesExactly)
{
    EXPECT_EQ(numberOf("0.1").as_double(), 0.1);
    EXPECT_EQ(numberOf("1.7976931348623157e308").as_double(), std::numeric_limits<double>::max());
    EXPECT_EQ(numberOf("2.2250738585072014e-308").as_double(), std::numeric_limits<double>::min());
    EXPECT_EQ(numberOf("5e-324").as_double(), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(numberOf("0.1000000000000000055511151231257827").as_double(), 0.1);
    EXPECT_EQ(numberOf("123456789.123456789").as_double(), 123456789.123456789);
}

TEST(Json, letsTheLastOfEqualKeysWin)
{
    auto const value = parseJson(R"({"a": 1, "b": 2, "a": 3})");

    ASSERT_TRUE(value);
    EXPECT_EQ(value->at("a").as_int64(), 3);
}

TEST(Json, dropsWhatIsNotJson)
{
    for (std::string_view const text :
         {"", " ", "{", "}", "{} {}", "[1,]", "{'a': 1}", "NaN", "Infinity", "-", "01", "+1", ".5", "1.",
          "// x\n1", "\"\n\"", "tru", "\xef\xbb\xbf{}"})
        EXPECT_FALSE(parseJson(text)) << text;
    EXPECT_FALSE(parseJson(std::string_view("{}\0", 3)));
}

TEST(Json, allowsWhiteSpaceAround)
{
    EXPECT_TRUE(parseJson(" \r\n\t{} \n"));
}

TEST(Json, writesWhatItReads)
{
    std::string const text = R"({"a":[1,1.5E0,true,null,"\u0001\"\\x"],"b":{}})";

    auto const again = parseJson(writeJson(*parseJson(text)));

    EXPECT_EQ(again, parseJson(text));
}

TEST(JsonWriter, writesWhatIsReadBack)
{
    std::string const escaped(10'000, '\x01'); // Six times as long when it is written.
    for (json::value const& value :
         {json::value(nullptr), json::value(true), json::value(-1), json::value(1.5e300), json::value(""),
          json::value(escaped), json::value(json::array()), json::value(json::object()),
          json::value(json::array(5000, 7)),
          json::value(
              json::object{{"a", json::array{json::object{{"ключ", "\"\\\n"}}, escaped}}, {"b", nullptr}})})
        EXPECT_EQ(parseJson(writeJson(value)), value);
    EXPECT_EQ(writeJson(json::object{{"a", json::array{1, "b\n", false}}}), R"({"a":[1,"b\n",false]})");
}

TEST(JsonReaders, countAWrongTypeAsMissing)
{
    json::object const object =
        parseJson(R"({"t": 1, "i": "1", "f": 1.5, "b": 0, "o": [], "a": {}})")->as_object();

    EXPECT_FALSE(read::text(object, "t"));
    EXPECT_FALSE(read::integer(object, "i"));
    EXPECT_FALSE(read::integer(object, "f"));
    EXPECT_FALSE(read::boolean(object, "b"));
    EXPECT_FALSE(read::object(object, "o"));
    EXPECT_FALSE(read::array(object, "a"));
    EXPECT_FALSE(read::number(object, "missing"));
}

TEST(JsonReaders, takeIntegersAsNumbersToo)
{
    json::object const object = parseJson(R"({"i": 3, "f": 1.5, "b": true})")->as_object();

    EXPECT_EQ(read::number(object, "i"), 3.0);
    EXPECT_EQ(read::number(object, "f"), 1.5);
    EXPECT_FALSE(read::number(object, "b"));
    EXPECT_EQ(read::boolean(object, "b"), true);
}

TEST(PlainNumber, isAnIntegerWhereItIsOne)
{
    EXPECT_EQ(writeJson(plainNumber(20)), "20");
    EXPECT_EQ(writeJson(plainNumber(-3)), "-3");
    EXPECT_EQ(writeJson(plainNumber(-0.0)), "0");
    EXPECT_TRUE(plainNumber(12.5).is_double());
    EXPECT_TRUE(plainNumber(1e300).is_double());
    EXPECT_EQ(plainNumber(9007199254740992), 9007199254740992);
}

} // namespace
} // namespace zelvo
