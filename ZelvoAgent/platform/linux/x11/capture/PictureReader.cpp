#include "platform/linux/x11/capture/PictureReader.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/PixelCopy.h"
#include "platform/linux/x11/capture/RootBackground.h"
#include "platform/linux/x11/capture/ServerGrab.h"

#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>

namespace zelvo {

namespace {

std::size_t bytesOf(PixelRect const& rect)
{
    return static_cast<std::size_t>(rect.pixels()) * 4;
}

/// The rectangles to read for a piece: its bounds, unless parts of it must not be read.
std::vector<PixelRect> readsOf(PixelRegion const& region, bool exactly)
{
    if (region.isEmpty())
        return {};
    return exactly ? region.all() : std::vector<PixelRect>{region.bounds()};
}

/// The part of a region that no window covers.
PixelRegion barePart(PixelRegion region, WindowSurvey const& survey)
{
    for (SurveyedWindow const& window : survey.windows)
        region.subtract(window.area);
    return region;
}

} // namespace

PictureReader::PictureReader(Services services, PixelRect const& area) : services(services), area(area) {}

Picture PictureReader::screen(WindowSurvey const& survey, CaptureExclusion const& exclusion)
{
    reserve(bytesOf(area));
    fetch(services.connection.root(), area, area.movedBy(-area.x, -area.y));
    AskedPointer const asked = askPointer();
    services.grab.release();
    if (!arrived(reads.front()))
        throw ScreenFailure{"the X server does not let the screen be read"};
    Picture picture = emptyPicture();
    picture.pixels = PixelBuffer({shared->data(), bytesOf(area)}, shared);
    if (isPointerShown(survey, exclusion, asked))
        drawPointer(picture, asked);
    return picture;
}

Picture
PictureReader::composed(WindowSurvey const& survey, CaptureExclusion const& exclusion, bool alphaCounts)
{
    CapturePlan const plan = planCapture(survey, exclusion, area, alphaCounts);
    reserveFor(plan);
    fetchBackground(survey, plan.background, alphaCounts);
    std::size_t const firstPiece = reads.size();
    for (std::size_t i = 0; i < plan.pieces.size(); ++i)
        fetchPiece(survey.windows[plan.pieces[i].window], plan.pieces[i], i);
    AskedPointer const asked = askPointer();
    services.grab.release();

    Picture picture = emptyPicture();
    picture.pixels = PixelBuffer(bytesOf(area));
    auto const whole = [this](Read const& read) { return PixelRegion(read.place.movedBy(area.x, area.y)); };
    for (std::size_t i = 0; i < firstPiece; ++i)
        put(picture, reads[i], whole(reads[i]), false);
    for (std::size_t i = firstPiece; i < reads.size(); ++i) {
        CapturePiece const& piece = plan.pieces[reads[i].piece];
        put(picture, reads[i], piece.hasHoles ? whole(reads[i]) : piece.visible, piece.blends);
    }
    if (isPointerShown(survey, exclusion, asked))
        drawPointer(picture, asked);
    return picture;
}

Picture PictureReader::emptyPicture() const
{
    Picture picture;
    picture.width = area.width;
    picture.height = area.height;
    picture.stride = area.width * 4;
    return picture;
}

void PictureReader::reserve(std::size_t bytes)
{
    shared = services.memory.lend(bytes);
    if (!shared)
        throw ScreenFailure{"the X server shares no memory"};
}

void PictureReader::reserveFor(CapturePlan const& plan)
{
    std::size_t bytes = bytesOf(plan.background.bounds());
    for (CapturePiece const& piece : plan.pieces)
        for (PixelRect const& rect : readsOf(piece.visible, piece.hasHoles))
            bytes += bytesOf(rect);
    reserve(std::max<std::size_t>(bytes, 4));
}

void PictureReader::fetch(std::uint32_t drawable,
                          PixelRect const& from,
                          PixelRect const& place,
                          std::size_t piece)
{
    auto const cookie =
        xcb_shm_get_image(services.connection.get(), drawable, static_cast<std::int16_t>(from.x),
                          static_cast<std::int16_t>(from.y), static_cast<std::uint16_t>(from.width),
                          static_cast<std::uint16_t>(from.height), ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP,
                          shared->segment(), static_cast<std::uint32_t>(used));
    reads.push_back({cookie.sequence, used, place, piece});
    used += bytesOf(from);
}

void PictureReader::fetchBackground(WindowSurvey const& survey, PixelRegion const& region, bool compositor)
{
    // Uncovered areas can be read from the screen, unless a compositing manager draws shadows there.
    PixelRegion covered = region;
    if (!compositor) {
        PixelRegion const bare = barePart(region, survey);
        for (PixelRect const& rect : bare.all())
            fetch(services.connection.root(), rect, rect.movedBy(-area.x, -area.y));
        covered.subtract(bare);
    }
    PixelRect const around = covered.bounds();
    if (around.isEmpty())
        return;
    std::uint32_t const pixmap = services.background.show(around);
    for (PixelRect const& rect : covered.all())
        fetch(pixmap, rect.movedBy(-around.x, -around.y), rect.movedBy(-area.x, -area.y));
    services.background.hide(pixmap);
}

void PictureReader::fetchPiece(SurveyedWindow const& window, CapturePiece const& piece, std::size_t number)
{
    auto* const x = services.connection.get();
    std::uint32_t const pixmap = xcb_generate_id(x);
    xcb_composite_name_window_pixmap(x, window.id, pixmap);
    for (PixelRect const& rect : readsOf(piece.visible, piece.hasHoles))
        fetch(pixmap, rect.movedBy(-window.area.x, -window.area.y), rect.movedBy(-area.x, -area.y), number);
    xcb_free_pixmap(x, pixmap);
}

bool PictureReader::arrived(Read const& read) const
{
    xcb_shm_get_image_cookie_t const cookie{read.sequence};
    return XReply<xcb_shm_get_image_reply_t>(
               xcb_shm_get_image_reply(services.connection.get(), cookie, nullptr)) != nullptr;
}

void PictureReader::put(Picture& picture, Read const& read, PixelRegion const& visible, bool blends)
{
    // A window whose memory can't be read stays black.
    if (!arrived(read))
        return;
    PixelSource const source{shared->data() + read.offset, read.place};
    for (PixelRect const& rect : visible.all()) {
        PixelRect const part = rect.movedBy(-area.x, -area.y);
        if (blends)
            blendPixels(picture, source, part);
        else
            copyPixels(picture, source, part);
    }
}

PictureReader::AskedPointer PictureReader::askPointer() const
{
    if (!services.connection.capabilities().xfixes)
        return {};
    auto* const x = services.connection.get();
    return {.place = xcb_query_pointer(x, services.connection.root()).sequence,
            .image = xcb_xfixes_get_cursor_image(x).sequence};
}

bool PictureReader::isPointerShown(WindowSurvey const& survey,
                                   CaptureExclusion const& exclusion,
                                   AskedPointer const& asked) const
{
    if (!services.connection.capabilities().xfixes)
        return false;
    XReply<xcb_query_pointer_reply_t> const place(
        xcb_query_pointer_reply(services.connection.get(), xcb_query_pointer_cookie_t{asked.place}, nullptr));
    if (!place)
        return false;
    constexpr unsigned anyButton =
        XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3 | XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;
    PointerPlace const pointer{.x = place->root_x,
                               .y = place->root_y,
                               .window = place->child,
                               .isPressed = (place->mask & anyButton) != 0};
    return !isPointerExcluded(survey, exclusion, pointer, ::getpid());
}

void PictureReader::drawPointer(Picture& picture, AskedPointer const& asked) const
{
    XReply<xcb_xfixes_get_cursor_image_reply_t> const cursor(xcb_xfixes_get_cursor_image_reply(
        services.connection.get(), xcb_xfixes_get_cursor_image_cookie_t{asked.image}, nullptr));
    if (!cursor)
        return;
    PixelRect const place{cursor->x - cursor->xhot - area.x, cursor->y - cursor->yhot - area.y, cursor->width,
                          cursor->height};
    auto const* pixels =
        reinterpret_cast<std::uint8_t const*>(xcb_xfixes_get_cursor_image_cursor_image(cursor.get()));
    blendPixels(picture, {pixels, place}, place);
}

} // namespace zelvo
