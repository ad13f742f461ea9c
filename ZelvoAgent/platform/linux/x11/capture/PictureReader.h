#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/x11/capture/CapturePlan.h"
#include "platform/linux/x11/capture/SharedImagePool.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace zelvo {

class RootBackground;
class ServerGrab;
class X11Connection;

/// Reads the pixels of one picture into shared memory and composes them. Releases the server as soon as
/// everything is requested. Thread: one.
class PictureReader {
public:
    struct Services {
        X11Connection& connection;
        SharedImagePool& memory;
        RootBackground& background;
        ServerGrab& grab;
    };

    /// area  of the root window
    PictureReader(Services services, PixelRect const& area);

    /// The screen itself, which shows nothing excluded but perhaps the pointer's image. Throws ScreenFailure.
    Picture screen(WindowSurvey const& survey, CaptureExclusion const& exclusion);
    /// The remaining windows, each from its own memory.
    /// alphaCounts  true if a compositing manager runs
    Picture composed(WindowSurvey const& survey, CaptureExclusion const& exclusion, bool alphaCounts);

private:
    /// A read of pixels into the shared memory.
    struct Read {
        unsigned sequence = 0; ///< of the request
        std::size_t offset = 0;
        PixelRect place; ///< in the picture
        std::size_t piece = 0;
    };

    /// The requests about the pointer, by their sequence numbers.
    struct AskedPointer {
        unsigned place = 0;
        unsigned image = 0;
    };

    void reserve(std::size_t bytes);
    void reserveFor(CapturePlan const& plan);
    void fetch(std::uint32_t drawable, PixelRect const& from, PixelRect const& place, std::size_t piece = 0);
    void fetchBackground(WindowSurvey const& survey, PixelRegion const& region, bool compositor);
    void fetchPiece(SurveyedWindow const& window, CapturePiece const& piece, std::size_t number);
    bool arrived(Read const& read) const;
    Picture emptyPicture() const;
    void put(Picture& picture, Read const& read, PixelRegion const& visible, bool blends);
    AskedPointer askPointer() const;
    bool isPointerShown(WindowSurvey const& survey,
                        CaptureExclusion const& exclusion,
                        AskedPointer const& asked) const;
    void drawPointer(Picture& picture, AskedPointer const& asked) const;

    Services services;
    PixelRect area;
    std::shared_ptr<SharedImage> shared;
    std::vector<Read> reads;
    std::size_t used = 0; ///< bytes of `shared`
};

} // namespace zelvo
