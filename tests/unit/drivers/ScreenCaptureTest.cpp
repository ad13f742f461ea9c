#include "drivers/ScreenCapture.h"

#include "DecodedImage.h"
#include "base/Base64.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using ImageFormat = ScreenshotOptions::ImageFormat;

class ScreenCaptureTest : public testing::Test {
public:
    CapturedImage take(ScreenshotOptions options = {}) { return run(platform.io, capture.capture(options)); }
    CaptureRequest const& asked() const { return platform.screenSource.requests.back(); }

    FakePlatform platform;
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    ScreenCapture capture{platform.contexts, platform.screenSource, hiddenApps};
};

DisplayGeometry geometry(std::int64_t width, std::int64_t height, double scale = 1)
{
    return {width, height, scale, 7};
}

TEST(DisplayGeometry, cutsPointsTowardZero)
{
    Display const display{.id = 3, .widthPoints = 1512.9, .heightPoints = 982.5, .scaleFactor = 1.25};

    EXPECT_EQ(DisplayGeometry::of(display), (DisplayGeometry{1512, 982, 1.25, 3}));
}

TEST(PictureSize, isTheDisplaysSizeInPoints)
{
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), std::nullopt), (PictureSize{1512, 982}));
    EXPECT_EQ(PictureSize::of(geometry(1512, 982, 2), std::nullopt), (PictureSize{1512, 982}));
}

TEST(PictureSize, shrinksToTheLimitAndRoundsTheHeight)
{
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), 1000), (PictureSize{1000, 649}));
    EXPECT_EQ(PictureSize::of(geometry(1000, 501), 500), (PictureSize{500, 251})); // 250.5, away from zero
    EXPECT_EQ(PictureSize::of(geometry(1920, 1080), 1), (PictureSize{1, 1}));
    EXPECT_EQ(PictureSize::of(geometry(1920, 100), 1), (PictureSize{1, 0}));
}

TEST(PictureSize, neverGrows)
{
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), 1512), (PictureSize{1512, 982}));
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), 5000), (PictureSize{1512, 982}));
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), INT64_MAX), (PictureSize{1512, 982}));
}

TEST(PictureSize, letsALimitBelowOnePass)
{
    EXPECT_EQ(PictureSize::of(geometry(1512, 982), 0), (PictureSize{0, 0}));
    EXPECT_EQ(PictureSize::of(geometry(1000, 500), -100), (PictureSize{-100, -50}));
    EXPECT_EQ(PictureSize::of(geometry(1000, 5000), INT64_MIN), (PictureSize{INT32_MIN, INT32_MIN}));
}

TEST(PictureSize, hasNoHeightForADisplayWithoutAWidth)
{
    EXPECT_EQ(PictureSize::of(geometry(0, 0), std::nullopt), (PictureSize{0, 0}));
}

TEST_F(ScreenCaptureTest, returnsTheGeometryOfTheFirstScreen)
{
    platform.screenSource.attached = {{.id = 9, .widthPoints = 800, .heightPoints = 600, .scaleFactor = 2},
                                      {.id = 1, .widthPoints = 5120, .heightPoints = 2880, .scaleFactor = 1}};

    EXPECT_EQ(capture.displayGeometry(), (DisplayGeometry{800, 600, 2, 9}));
}

TEST_F(ScreenCaptureTest, isUnavailableWithoutAScreen)
{
    platform.screenSource.attached.clear();

    EXPECT_EQ(errorOf([this] { capture.displayGeometry(); }), AgentError::machineUnavailable);
    EXPECT_EQ(errorOf([this] { take(); }), AgentError::machineUnavailable);
}

TEST_F(ScreenCaptureTest, lacksThePermissionWhenNoDisplayMayBeCaptured)
{
    platform.screenSource.capturable = std::vector<Display>{};

    EXPECT_EQ(errorOf([this] { take(); }), AgentError::permissionMissing);
    EXPECT_TRUE(platform.screenSource.requests.empty());
}

TEST_F(ScreenCaptureTest, takesTheMainDisplayAtItsSizeInPoints)
{
    platform.screenSource.attached = {{.id = 9, .widthPoints = 800, .heightPoints = 600, .scaleFactor = 2}};
    platform.screenSource.capturable = std::vector<Display>{{.id = 1}, {.id = 9}};

    CapturedImage const image = take();

    EXPECT_EQ(asked().display, 9u);
    EXPECT_EQ(asked().width, 800);
    EXPECT_EQ(asked().height, 600);
    EXPECT_EQ(image.imageWidth, 800);
    EXPECT_EQ(image.imageHeight, 600);
    EXPECT_EQ(image.geometry, (DisplayGeometry{800, 600, 2, 9}));
    EXPECT_EQ(image.scale(), 1.0);
}

TEST_F(ScreenCaptureTest, fallsBackToTheFirstDisplayAndKeepsTheGeometry)
{
    platform.screenSource.capturable = std::vector<Display>{{.id = 4, .widthPoints = 10, .heightPoints = 10},
                                                            {.id = 5, .widthPoints = 20, .heightPoints = 20}};

    CapturedImage const image = take();

    EXPECT_EQ(asked().display, 4u);
    EXPECT_EQ(asked().width, 1512);
    EXPECT_EQ(image.geometry, (DisplayGeometry{1512, 982, 1, 7}));
}

TEST_F(ScreenCaptureTest, returnsTheScaleOfAShrunkPicture)
{
    CapturedImage const image = take({.maxWidth = 1000});

    EXPECT_EQ(image.imageWidth, 1000);
    EXPECT_EQ(image.imageHeight, 649);
    EXPECT_EQ(image.scale(), 1000.0 / 1512.0);
}

TEST_F(ScreenCaptureTest, keepsTheDisplaysWidthUnderALargerLimit)
{
    EXPECT_EQ(take({.maxWidth = 4000}).scale(), 1.0);
    EXPECT_EQ(asked().width, 1512);
}

TEST_F(ScreenCaptureTest, passesTheSystemsFailureOn)
{
    platform.screenSource.failsWith = ScreenFailure{"gone"};
    EXPECT_THROW(take(), ScreenFailure);

    platform.screenSource.failsWith.reset();
    EXPECT_THROW(take({.maxWidth = 0}), ScreenFailure);
    EXPECT_EQ(asked().width, 0); // The request reaches the source unchecked.
}

TEST_F(ScreenCaptureTest, leavesOutThisProgramAndTheHiddenApplications)
{
    take();
    EXPECT_EQ(asked().excluded, std::set<std::string>{"dev.zelvo.agent"});

    run(platform.io, hiddenApps.add("org.keys"));
    take();
    EXPECT_EQ(asked().excluded, (std::set<std::string>{"dev.zelvo.agent", "org.keys"}));

    run(platform.io, hiddenApps.remove("org.keys"));
    take();
    EXPECT_EQ(asked().excluded, std::set<std::string>{"dev.zelvo.agent"});
}

TEST(PictureSize, ofAPartHasAllOfItsPixels)
{
    EXPECT_EQ(PictureSize::of(DisplayPart{5, 5, 300, 200}, std::nullopt), (PictureSize{300, 200}));
    EXPECT_EQ(PictureSize::of(DisplayPart{5, 5, 300, 200}, 400), (PictureSize{300, 200}));
    EXPECT_EQ(PictureSize::of(DisplayPart{5, 5, 300, 200}, 30), (PictureSize{30, 20}));
    EXPECT_EQ(PictureSize::of(DisplayPart{0, 0, 1000, 1}, 10), (PictureSize{10, 1}));
}

TEST_F(ScreenCaptureTest, takesARegionAtFullResolution)
{
    platform.screenSource.attached = {{.id = 9, .widthPoints = 800, .heightPoints = 600, .scaleFactor = 2}};

    CapturedImage const image = take({.maxWidth = {}, .region = DesktopRect{700, 100, 200, 50}});

    EXPECT_EQ(asked().display, 9u);
    EXPECT_EQ(asked().part, (DisplayPart{1400, 200, 200, 100}));
    EXPECT_EQ(asked().width, 200);
    EXPECT_EQ(asked().height, 100);
    EXPECT_EQ(image.region, (DesktopRect{700, 100, 100, 50}));
    EXPECT_EQ(image.scale(), 2.0);
    EXPECT_EQ(image.geometry, (DisplayGeometry{800, 600, 2, 9}));
}

TEST_F(ScreenCaptureTest, asksForNoPartWithoutARegion)
{
    EXPECT_FALSE(take().region);
    EXPECT_FALSE(asked().part);
}

TEST_F(ScreenCaptureTest, refusesARegionWithoutAPixelOfTheDisplay)
{
    EXPECT_EQ(errorOf([this] { take({.maxWidth = {}, .region = DesktopRect{2000, 0, 10, 10}}); }),
              AgentError::invalidRequest);
    EXPECT_TRUE(platform.screenSource.requests.empty());
}

TEST_F(ScreenCaptureTest, makesAJpegOfQualityEightyByDefault)
{
    CapturedImage const image = take();

    EXPECT_EQ(image.mime, "image/jpeg");
    EXPECT_EQ(DecodedImage::jpeg(image.data).width, 1512);
    EXPECT_EQ(image.data, take({.quality = 80}).data);
    EXPECT_NE(image.data, take({.quality = 30}).data);
}

TEST_F(ScreenCaptureTest, makesAPngWhateverTheQuality)
{
    CapturedImage const image = take({.format = ImageFormat::png});

    EXPECT_EQ(image.mime, "image/png");
    EXPECT_EQ(DecodedImage::png(image.data).height, 982);
    EXPECT_EQ(image.data, take({.format = ImageFormat::png, .quality = 50}).data);
}

/// An 8K display full of noise, which no format makes smaller.
class NoisyScreenSource final : public ScreenSource {
public:
    std::vector<Display> screens() override
    {
        return {{.id = 1, .widthPoints = 7680, .heightPoints = 4320, .scaleFactor = 1}};
    }
    Task<std::vector<Display>> capturableDisplays() override { co_return screens(); }
    Task<Picture> capture(CaptureRequest request) override
    {
        Picture picture{.width = request.width,
                        .height = request.height,
                        .stride = request.width * 4,
                        .pixels = PixelBuffer(static_cast<std::size_t>(request.width) * 4 * request.height)};
        std::uint32_t state = 1;
        for (std::size_t at = 0; at < picture.pixels.size(); ++at) {
            state = state * 1664525u + 1013904223u;
            picture.pixels.data()[at] = static_cast<std::uint8_t>(state >> 24);
        }
        co_return picture;
    }
    void observeScreens(std::function<void()> /*observer*/) override {}
};

TEST_F(ScreenCaptureTest, everyPixelOfAnEightKDisplayFitsIntoAMessage)
{
    constexpr std::size_t maxMessage = 192u << 20; // what gateways take
    NoisyScreenSource noisy;
    ScreenCapture large(platform.contexts, noisy, hiddenApps);
    ScreenshotOptions const options{
        .format = ImageFormat::png, .maxWidth = {}, .region = DesktopRect{0, 0, 7680, 4320}};

    CapturedImage const image = run(platform.io, large.capture(options));

    EXPECT_EQ(image.imageWidth, 7680);
    EXPECT_EQ(image.imageHeight, 4320);
    EXPECT_GE(image.data.size(), 7680u * 4320 * 3); // It is noise.
    EXPECT_LT(base64::encodedLength(image.data.size()), maxMessage * 3 / 4);
}

TEST_F(ScreenCaptureTest, passesAFailureOfTheEncoderOn)
{
    platform.screenSource.attached = {{.id = 7, .widthPoints = 70'000, .heightPoints = 1}};

    EXPECT_EQ(errorOf([this] { take(); }), AgentError::internalError);
    EXPECT_EQ(take({.format = ImageFormat::png}).imageWidth, 70'000);
}

TEST_F(ScreenCaptureTest, takesTwoPicturesAtOnce)
{
    std::vector<std::int64_t> widths;
    for (std::int64_t const limit : {100, 200}) {
        spawn(platform.contexts.agent, [&, limit]() -> Task<> {
            ScreenshotOptions options;
            options.maxWidth = limit;
            widths.push_back((co_await capture.capture(options)).imageWidth);
        });
    }
    platform.settle();

    EXPECT_EQ(widths, (std::vector<std::int64_t>{100, 200}));
}

} // namespace
} // namespace zelvo
