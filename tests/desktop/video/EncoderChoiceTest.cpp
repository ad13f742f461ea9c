#include "platform/portable/video/EncoderChoice.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;

struct Machine {
    std::vector<std::string> present;
    std::vector<std::string> fit;
    std::vector<std::string> asked = {};

    std::optional<std::string> choose(std::vector<EncoderCandidate> const& candidates)
    {
        auto const holds = [](auto const& names, auto const& name) {
            return std::ranges::find(names, name) != names.end();
        };
        auto const isThere = [&](EncoderCandidate const& one) { return holds(present, one.codec); };
        auto const fits = [&](EncoderCandidate const& one) {
            asked.push_back(one.codec);
            return holds(fit, one.codec);
        };
        auto const found = chooseEncoder(candidates, isThere, fits);
        return found ? std::optional(found->codec) : std::nullopt;
    }
};

std::vector<EncoderCandidate> const three = {{.codec = "card", .device = "/dev/card"},
                                             {.codec = "chip", .device = "/dev/chip"},
                                             {.codec = "software"}};

TEST(EncoderChoice, takesTheFirstThatIsPresentAndFit)
{
    Machine machine{.present = {"card", "chip", "software"}, .fit = {"chip", "software"}};

    EXPECT_EQ(machine.choose(three), "chip");
    EXPECT_THAT(machine.asked, ElementsAre("card", "chip"));
}

TEST(EncoderChoice, triesNothingThatIsNotThere)
{
    Machine machine{.present = {"software"}, .fit = {"card", "chip", "software"}};

    EXPECT_EQ(machine.choose(three), "software");
    EXPECT_THAT(machine.asked, ElementsAre("software"));
}

TEST(EncoderChoice, isNothingWhenNoneFits)
{
    Machine machine{.present = {"card", "software"}, .fit = {}};

    EXPECT_EQ(machine.choose(three), std::nullopt);
    EXPECT_EQ(machine.choose({}), std::nullopt);
}

TEST(EncoderChoice, knowsHardwareFirstAndSoftwareLast)
{
    auto const all = encoderCandidates();

    EXPECT_EQ(all.front().codec, "h264_nvenc");
    EXPECT_EQ(all.back().codec, "libx264");
    for (EncoderCandidate const& each : all)
        EXPECT_EQ(each.device.empty(), each.codec == "libx264") << each.codec;
    EXPECT_TRUE(isPresent(all.back()));
    EXPECT_FALSE(isPresent({.codec = "any", .device = "/dev/there-is-no-such-device"}));
}

} // namespace
} // namespace zelvo
