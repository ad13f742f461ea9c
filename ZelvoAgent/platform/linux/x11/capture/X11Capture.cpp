#include "platform/linux/x11/capture/X11Capture.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/PixelCopy.h"
#include "platform/linux/x11/capture/Redirection.h"
#include "platform/linux/x11/windows/WindowOwners.h"

#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>

namespace zelvo {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// How long a new window may show what was beneath it, and a new redirection what was above.
constexpr milliseconds settling{250};
/// How long a compositing manager may go on showing a window that is gone.
constexpr milliseconds fading{1000};

milliseconds timeLeft(WindowWatch::Time since, milliseconds length)
{
    auto const left = std::chrono::ceil<milliseconds>(since + length - steady_clock::now());
    return std::max(left, milliseconds{0});
}

void drawCursor(Picture& picture, PixelRect const& area, xcb_xfixes_get_cursor_image_reply_t const& cursor)
{
    PixelRect const place{cursor.x - cursor.xhot - area.x, cursor.y - cursor.yhot - area.y, cursor.width,
                          cursor.height};
    auto const* pixels =
        reinterpret_cast<std::uint8_t const*>(xcb_xfixes_get_cursor_image_cursor_image(&cursor));
    blendPixels(picture, {pixels, place}, place);
}

} // namespace

/// One look: from the grab to the picture.
class X11Capture::Look {
public:
    Look(X11Capture& capture, PixelRect const& area)
        : capture(capture), x(capture.connection->get()), area(area)
    {
        xcb_grab_server(x);
    }
    ~Look() { release(); }
    Look(Look const&) = delete;
    Look& operator=(Look const&) = delete;

    /// Brings the survey up to date. True when a compositing manager is there.
    bool bringUpToDate(std::set<std::string> const& excluded)
    {
        auto const& server = *capture.connection;
        // Its answer also brings all events from before the grab.
        XReply<xcb_get_selection_owner_reply_t> const owner(
            xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, server.atoms().compositor), nullptr));
        if (!owner)
            throw ScreenFailure{"the X server is gone"};
        capture.changes.takeEvents();
        // What has gone may have been one that is hidden only now.
        if (excluded != capture.lastExcluded) {
            capture.changes.forgetKept();
            capture.lastExcluded = excluded;
        }
        if (capture.changes.hasChanged()) {
            capture.survey = surveyWindows(server);
            capture.changes.reset(capture.survey);
            capture.owners.reset();
        }
        if (!capture.owners)
            capture.owners = std::make_unique<WindowOwners>(capture.survey, *capture.index, ::getpid());
        auto const isNamed = [&](ClientWindow const& client) {
            auto const names = capture.owners->namesOf(client).names;
            return std::ranges::any_of(names, [&](auto const& name) { return excluded.contains(name); });
        };
        exclusion = excludedWindows(capture.survey, isNamed);
        leaveOutEmptyFrames();
        capture.changes.setHiddenEmbedded(hiddenEmbedded(isNamed));
        return owner->owner != XCB_NONE;
    }

    /// Leaves out what windows that stay may still show of others. hides: the person has hidden something.
    void leaveOutStalePixels(bool hides)
    {
        if (!hides && !exclusion.isAny())
            return;
        for (std::size_t i = 0; i < exclusion.windows.size(); ++i) {
            PixelRegion const stale = capture.changes.stale(capture.survey.windows[i]);
            exclusion.holes[i].insert(exclusion.holes[i].end(), stale.all().begin(), stale.all().end());
        }
    }

    /// How long windows that stay must be given to paint themselves over those that don't.
    milliseconds unsettled() const
    {
        milliseconds left = timeLeft(capture.redirectedAt, settling);
        eachUnsettled([&](std::size_t, PixelRect const&, milliseconds one) { left = std::max(left, one); });
        return left;
    }

    void leaveOutUnsettled()
    {
        auto holes = exclusion.holes;
        eachUnsettled(
            [&](std::size_t i, PixelRect const& overlap, milliseconds) { holes[i].push_back(overlap); });
        exclusion.holes = std::move(holes);
    }

    Picture screen()
    {
        reserve(bytesOf(area));
        fetch(capture.connection->root(), area, area.movedBy(-area.x, -area.y));
        auto const cursor = askCursor();
        release();
        Picture picture;
        takeWhole(picture);
        draw(picture, cursor);
        return picture;
    }

    Picture composed(bool alphaCounts)
    {
        CapturePlan const plan = planCapture(capture.survey, exclusion, area, alphaCounts);
        reserveFor(plan);
        fetchBackground(plan.background, alphaCounts);
        std::size_t const firstPiece = reads.size();
        for (CapturePiece const& piece : plan.pieces)
            fetchPiece(piece);
        auto const cursor = askCursor();
        release();

        Picture picture;
        picture.width = area.width;
        picture.height = area.height;
        picture.stride = area.width * 4;
        picture.pixels = PixelBuffer(bytesOf(area));
        for (std::size_t i = 0; i < firstPiece; ++i)
            put(picture, reads[i], plan.background, false);
        for (std::size_t i = firstPiece; i < reads.size(); ++i) {
            CapturePiece const& piece = plan.pieces[reads[i].piece];
            put(picture, reads[i], piece.visible, piece.blends);
        }
        draw(picture, cursor);
        return picture;
    }

    bool isAnyExcluded() const { return exclusion.isAny(); }
    void noteKept()
    {
        std::unordered_set<std::uint32_t> kept;
        for (std::size_t i = 0; i < exclusion.windows.size(); ++i)
            if (!exclusion.windows[i] && exclusion.holes[i].empty())
                kept.insert(capture.survey.windows[i].id);
        capture.changes.setKept(std::move(kept));
    }

private:
    /// A frame whose client is gone keeps that client's pixels until the window manager takes it away.
    void leaveOutEmptyFrames()
    {
        for (std::size_t i = 0; i < exclusion.windows.size(); ++i) {
            SurveyedWindow const& window = capture.survey.windows[i];
            if (window.windowManagers && !window.inputOnly && capture.changes.hasHeldClient(window.id))
                exclusion.windows[i] = true;
        }
    }

    template <class Named>
    std::vector<WindowWatch::HiddenEmbeddedWindow> hiddenEmbedded(Named named) const
    {
        std::vector<WindowWatch::HiddenEmbeddedWindow> found;
        for (SurveyedWindow const& host : capture.survey.windows)
            for (EmbeddedWindow const& inside : host.embedded)
                if (named(inside.client))
                    found.push_back(
                        {inside.client.id, host.id, inside.place,
                         inside.area.movedBy(-host.area.x - host.border, -host.area.y - host.border)});
        return found;
    }

    /// Pixels on their way into the shared memory.
    struct Read {
        xcb_shm_get_image_cookie_t cookie;
        std::size_t offset;
        PixelRect place; ///< in the picture
        std::size_t piece = 0;
    };

    static std::size_t bytesOf(PixelRect const& rect) { return static_cast<std::size_t>(rect.pixels()) * 4; }

    /// Ends the grab. Sent after the last question, so that the server is free as soon as it has answered.
    void release()
    {
        if (released)
            return;
        released = true;
        xcb_ungrab_server(x);
        xcb_flush(x);
    }

    template <class F>
    void eachUnsettled(F visit) const
    {
        auto const& windows = capture.survey.windows;
        for (std::size_t i = 0; i < windows.size(); ++i) {
            if (exclusion.windows[i] || windows[i].inputOnly)
                continue;
            milliseconds const left = timeLeft(capture.changes.shownSince(windows[i].id), settling);
            if (left == milliseconds{0})
                continue;
            for (std::size_t other = 0; other < windows.size(); ++other)
                if (exclusion.windows[other])
                    if (auto const overlap = intersection(windows[i].area, windows[other].area);
                        !overlap.isEmpty())
                        visit(i, overlap, left);
        }
    }

    void fetch(std::uint32_t drawable, PixelRect const& from, PixelRect const& place, std::size_t piece = 0)
    {
        auto const cookie = xcb_shm_get_image(
            x, drawable, static_cast<std::int16_t>(from.x), static_cast<std::int16_t>(from.y),
            static_cast<std::uint16_t>(from.width), static_cast<std::uint16_t>(from.height), ~0u,
            XCB_IMAGE_FORMAT_Z_PIXMAP, shared->segment(), static_cast<std::uint32_t>(used));
        reads.push_back({cookie, used, place, piece});
        used += bytesOf(from);
    }

    /// The rectangles of a piece that are read: one around all of it, unless parts of it may not be read.
    static std::vector<PixelRect> readsOf(PixelRegion const& region, bool exactly)
    {
        if (region.isEmpty())
            return {};
        return exactly ? region.all() : std::vector<PixelRect>{region.bounds()};
    }

    void reserve(std::size_t bytes)
    {
        shared = capture.memory->lend(bytes);
        if (!shared)
            throw ScreenFailure{"the X server shares no memory"};
    }

    void reserveFor(CapturePlan const& plan)
    {
        std::size_t bytes = bytesOf(plan.background.bounds());
        for (CapturePiece const& piece : plan.pieces)
            for (PixelRect const& rect : readsOf(piece.visible, piece.hasHoles))
                bytes += bytesOf(rect);
        reserve(std::max<std::size_t>(bytes, 4));
    }

    void fetchBackground(PixelRegion const& region, bool compositor)
    {
        // What no window covers can be read where it stands, but for a compositing manager's shadows.
        PixelRegion covered = region;
        if (!compositor) {
            covered = PixelRegion();
            for (SurveyedWindow const& window : capture.survey.windows) {
                PixelRegion const under = region.intersected(window.area);
                for (PixelRect const& part : under.all())
                    covered.add(part);
            }
            PixelRegion bare = region;
            bare.subtract(covered);
            for (PixelRect const& rect : bare.all())
                fetch(capture.connection->root(), rect, rect.movedBy(-area.x, -area.y));
        }
        PixelRect const around = covered.bounds();
        if (around.isEmpty())
            return;
        std::uint32_t const pixmap = capture.background.show(around);
        for (PixelRect const& rect : covered.all())
            fetch(pixmap, rect.movedBy(-around.x, -around.y), rect.movedBy(-area.x, -area.y));
        capture.background.hide(pixmap);
    }

    void fetchPiece(CapturePiece const& piece)
    {
        SurveyedWindow const& window = capture.survey.windows[piece.window];
        std::uint32_t const pixmap = xcb_generate_id(x);
        xcb_composite_name_window_pixmap(x, window.id, pixmap);
        for (PixelRect const& rect : readsOf(piece.visible, piece.hasHoles))
            fetch(pixmap, rect.movedBy(-window.area.x, -window.area.y), rect.movedBy(-area.x, -area.y),
                  nextPiece);
        ++nextPiece;
        xcb_free_pixmap(x, pixmap);
    }

    xcb_xfixes_get_cursor_image_cookie_t askCursor()
    {
        return capture.connection->capabilities().xfixes ? xcb_xfixes_get_cursor_image(x)
                                                         : xcb_xfixes_get_cursor_image_cookie_t{0};
    }

    void draw(Picture& picture, xcb_xfixes_get_cursor_image_cookie_t cookie)
    {
        if (!capture.connection->capabilities().xfixes)
            return;
        XReply<xcb_xfixes_get_cursor_image_reply_t> const cursor(
            xcb_xfixes_get_cursor_image_reply(x, cookie, nullptr));
        if (cursor)
            drawCursor(picture, area, *cursor);
    }

    bool arrived(Read const& read)
    {
        return XReply<xcb_shm_get_image_reply_t>(xcb_shm_get_image_reply(x, read.cookie, nullptr)) != nullptr;
    }

    void takeWhole(Picture& picture)
    {
        if (!arrived(reads.front()))
            throw ScreenFailure{"the X server does not let the screen be read"};
        picture.width = area.width;
        picture.height = area.height;
        picture.stride = area.width * 4;
        picture.pixels = PixelBuffer({shared->data(), bytesOf(area)}, shared);
    }

    void put(Picture& picture, Read const& read, PixelRegion const& visible, bool blends)
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

    X11Capture& capture;
    xcb_connection_t* x;
    PixelRect area;
    CaptureExclusion exclusion;
    std::shared_ptr<SharedImage> shared;
    std::vector<Read> reads;
    std::size_t used = 0;
    std::size_t nextPiece = 0;
    bool released = false;
};

X11Capture::X11Capture(std::shared_ptr<X11Connection> server, DesktopEntries& entries)
    : connection(std::move(server)), entries(entries), memory(std::make_shared<SharedImagePool>(connection)),
      changes(connection), background(connection), redirectedAt(steady_clock::now())
{
    changes.ignore(background.window());
    changes.takeEvents();
    redirectWindows(*connection, changes);
    changes.takeEvents();
}

X11Capture::~X11Capture() = default;

CaptureResult X11Capture::take(PixelRect area, std::set<std::string> const& excluded, bool lastTry)
{
    if (!connection->isAlive())
        throw ScreenFailure{"the X server is gone"};
    if (auto newest = entries.current(); newest != index) {
        owners.reset();
        index = std::move(newest);
    }
    Look look(*this, area);
    bool const compositor = look.bringUpToDate(excluded);
    look.leaveOutStalePixels(excluded.size() > excluded.count(ownBundleIdentifier));
    bool const excludes = look.isAnyExcluded();
    bool const lingers = compositor && timeLeft(changes.lastLoss(), fading) > milliseconds{0};
    CaptureResult result;
    if (!excludes && !lingers) {
        result.picture = look.screen();
    } else if (auto const wait = look.unsettled(); wait > milliseconds{0} && !lastTry) {
        result.wait = wait;
    } else {
        look.leaveOutUnsettled();
        result.picture = look.composed(compositor);
    }
    look.noteKept();
    return result;
}

} // namespace zelvo
