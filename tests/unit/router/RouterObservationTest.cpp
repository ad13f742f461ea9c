#include "base/Base64.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

class RouterObservationTest : public RouterHarness {
protected:
    json::object shot(std::string const& params = "{}")
    {
        return call("screenshot", params).at("result").as_object();
    }
    static std::string bytes(json::object const& result)
    {
        return *base64::decode(std::string_view(result.at("data").as_string()));
    }
};

TEST_F(RouterObservationTest, resultHasItsKeys)
{
    json::object const result = shot();
    std::vector<std::string> keys;
    for (auto const& [key, value] : result)
        keys.emplace_back(key);
    EXPECT_THAT(keys, testing::ElementsAre("mime", "data", "imageWidth", "imageHeight", "widthPoints",
                                           "heightPoints", "scale"));
    EXPECT_EQ(result.at("mime"), "image/jpeg");
    EXPECT_EQ(result.at("imageWidth"), 1512);
    EXPECT_EQ(result.at("imageHeight"), 982);
    EXPECT_EQ(result.at("widthPoints"), 1512);
    EXPECT_EQ(result.at("heightPoints"), 982);
    EXPECT_EQ(result.at("scale"), 1.0);
    EXPECT_EQ(bytes(result).substr(0, 3), "\xff\xd8\xff");
}

TEST_F(RouterObservationTest, pngOnlyForExactlyPng)
{
    EXPECT_EQ(shot(R"({"format":"png"})").at("mime"), "image/png");
    EXPECT_EQ(bytes(shot(R"({"format":"png","quality":50})")).substr(1, 3), "PNG");
    for (char const* const params : {R"({"format":"PNG"})", R"({"format":"gif"})", R"({"format":5})"})
        EXPECT_EQ(shot(params).at("mime"), "image/jpeg") << params;
}

TEST_F(RouterObservationTest, halfTheWidthHalvesTheScale)
{
    json::object const result = shot(R"({"maxWidth":756})");
    EXPECT_EQ(result.at("imageWidth"), 756);
    EXPECT_EQ(result.at("imageHeight"), 491);
    EXPECT_EQ(result.at("widthPoints"), 1512);
    EXPECT_EQ(result.at("scale"), 0.5);
}

TEST_F(RouterObservationTest, maxWidthOfZeroIsTheSystemsError)
{
    EXPECT_EQ(code(call("screenshot", R"({"maxWidth":0})")), "internal_error");
}

TEST_F(RouterObservationTest, maxWidthOfTheWrongTypeCountsAsMissing)
{
    EXPECT_EQ(shot(R"({"maxWidth":"700"})").at("imageWidth"), 1512);
    EXPECT_EQ(shot(R"({"maxWidth":700.5})").at("imageWidth"), 1512);
    EXPECT_EQ(shot(R"({"maxWidth":700.0})").at("imageWidth"), 700);
}

TEST_F(RouterObservationTest, lowerQualityIsSmaller)
{
    EXPECT_LE(bytes(shot(R"({"quality":1})")).size(), bytes(shot(R"({"quality":100})")).size());
    EXPECT_EQ(bytes(shot(R"({"quality":"1"})")).size(), bytes(shot(R"({"quality":80})")).size());
    EXPECT_EQ(bytes(shot(R"({"quality":900})")).size(), bytes(shot(R"({"quality":100})")).size());
}

TEST_F(RouterObservationTest, hiddenAndOwnApplicationsAreExcludedFromTheRequest)
{
    run(platform.io, hiddenApps.add("com.bank"));
    shot();
    EXPECT_EQ(platform.screenSource.requests.back().excluded,
              (std::set<std::string>{"com.bank", "dev.zelvo.agent"}));
    run(platform.io, hiddenApps.remove("com.bank"));
    shot();
    EXPECT_EQ(platform.screenSource.requests.back().excluded, (std::set<std::string>{"dev.zelvo.agent"}));
}

} // namespace
} // namespace zelvo
