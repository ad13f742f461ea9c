#pragma once

#include "platform/ScreenSource.h"

#include <algorithm>
#include <optional>

namespace zelvo {

/// A screen that returns grey pictures and records the requests.
class FakeScreenSource final : public ScreenSource {
public:
    std::vector<Display> attached = {{.id = 7, .widthPoints = 1512, .heightPoints = 982, .scaleFactor = 1}};
    std::optional<std::vector<Display>> capturable; ///< if it differs from `attached`
    std::vector<CaptureRequest> requests;
    std::optional<ScreenFailure> failsWith;
    std::vector<std::function<void()>> observers;

    std::vector<Display> screens() override { return attached; }
    Task<std::vector<Display>> capturableDisplays() override { co_return capturable.value_or(attached); }
    Task<Picture> capture(CaptureRequest request) override
    {
        requests.push_back(request);
        if (failsWith)
            throw *failsWith;
        if (request.width < 1 || request.height < 1)
            throw ScreenFailure{"a picture needs a size"};
        Picture picture;
        picture.width = request.width;
        picture.height = request.height;
        picture.stride = request.width * 4;
        picture.pixels = PixelBuffer(static_cast<std::size_t>(picture.stride) * picture.height);
        std::fill_n(picture.pixels.data(), picture.pixels.size(), std::uint8_t{128});
        co_return picture;
    }
    void observeScreens(std::function<void()> observer) override { observers.push_back(std::move(observer)); }
};

} // namespace zelvo
