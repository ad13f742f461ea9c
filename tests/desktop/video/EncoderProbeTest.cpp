#include "platform/portable/video/EncoderProbe.h"

#include "desktop/video/FakeEncoder.h"
#include "desktop/video/TestPictures.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

class EncoderProbe : public testing::Test {
protected:
    bool isFit(EncoderFaults faults, EncoderCandidate const& candidate = encoderCandidates().back())
    {
        return isFitEncoder(candidate, settings, withFaults(std::move(faults)));
    }

    VideoSettings settings = settingsFor("");
};

TEST_F(EncoderProbe, takesTheSoftware)
{
    EXPECT_TRUE(isFit({}));
}

TEST_F(EncoderProbe, refusesWhatDoesNotOpen)
{
    EXPECT_FALSE(isFit({}, {.codec = "no such codec"}));
    settings.width = 100'000;
    settings.height = 100'000;
    EXPECT_FALSE(isFit({}));
}

TEST_F(EncoderProbe, refusesAnotherProfile)
{
    EncoderCandidate candidate = encoderCandidates().back();
    for (auto& [name, value] : candidate.options)
        if (name == "preset")
            value = "ultrafast"; // Switches off the features of High profile.
    EXPECT_FALSE(isFit({}, candidate));
    EXPECT_FALSE(isFit({.misnames = [](AVCodecParameters& stream) { stream.extradata_size = 0; }}));
}

TEST_F(EncoderProbe, refusesFramesOutOfOrder)
{
    EXPECT_FALSE(isFit({.spoils = [](AVPacket& packet) { packet.dts -= 1; }}));
    EXPECT_FALSE(isFit({.spoils = [](AVPacket& packet) { packet.pts = packet.dts = 0; }}));
}

TEST_F(EncoderProbe, refusesKeyFramesAtACut)
{
    EXPECT_FALSE(isFit({.spoils = [](AVPacket& packet) { packet.flags |= AV_PKT_FLAG_KEY; }}));
    EXPECT_FALSE(isFit({.spoils = [](AVPacket& packet) { packet.flags &= ~AV_PKT_FLAG_KEY; }}));
}

TEST_F(EncoderProbe, refusesWhatFailsAtAnyCall)
{
    constexpr int calls = 4 * 2 + 1; // frame() and encode() for each of four, then drain().
    for (int call = 0; call < calls; ++call)
        EXPECT_FALSE(isFit({.failsAtCall = call})) << call;
    EXPECT_TRUE(isFit({.failsAtCall = calls}));
}

TEST_F(EncoderProbe, refusesOneThatHoldsFramesBack)
{
    EXPECT_FALSE(isFit({.holdsBack = true}));
}

} // namespace
} // namespace zelvo::test
