#include "platform/linux/wayland/desktop/KwinDoors.h"

#include "base/Hop.h"
#include "platform/linux/system/XdgFolders.h"
#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"
#include "platform/linux/wayland/desktop/PortalDoors.h"
#include "platform/linux/wayland/kwin/KwinFrames.h"
#include "platform/linux/wayland/kwin/KwinLayout.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"
#include "platform/linux/wayland/kwin/KwinScreenshots.h"
#include "platform/linux/wayland/kwin/KwinWindows.h"
#include "platform/linux/wayland/overlays/LayerOverlays.h"
#include "platform/portable/files/Files.h"

#include <boost/asio/post.hpp>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

/// Whether KWin lets this program take pictures, and the file by which it does.
class ScreenRight : public std::enable_shared_from_this<ScreenRight> {
public:
    explicit ScreenRight(DesktopParts const& parts)
        : contexts(parts.contexts), clock(parts.clock), file(entries, fs::read_symlink("/proc/self/exe")),
          screenshots(parts.contexts, parts.user)
    {
    }

    bool isGiven() const { return given; }
    void observe(std::function<void()> call)
    {
        std::scoped_lock const guard(lock);
        changed = std::move(call);
    }

    /// Asks KWin, soon, and again for a while if it refuses: it notices a new file within some seconds.
    void check()
    {
        spawn(contexts.agent, [self = shared_from_this()]() -> Task<> {
            for (int asked = 0; asked < maxChecks && !co_await self->askOnce(); ++asked)
                co_await self->clock.sleep(betweenChecks);
        });
    }

    /// Writes the file, after the person pressed the button for it.
    void give()
    {
        asio::post(contexts.workers, [self = shared_from_this()] {
            self->install();
            self->check(); // If it could not be written, the row stays, and with it the button.
        });
    }

private:
    static constexpr int maxChecks = 30;
    static constexpr Duration betweenChecks = 1s;

    void install() const
    {
        fs::path const folder = xdg::sessionDataHome() / "applications";
        std::error_code ignored;
        fs::create_directories(folder, ignored);
        auto folders = applicationFolders();
        folders.push_back(folder);
        if (auto const name = file.nameIn(folders))
            files::replace(folder / *name, file.text());
    }

    Task<bool> askOnce()
    {
        bool const now = co_await screenshots.isAllowed();
        if (given.exchange(now) != now)
            report();
        co_return now;
    }

    void report()
    {
        std::scoped_lock const guard(lock);
        if (changed)
            changed();
    }

    Contexts const contexts;
    Clock& clock;
    DesktopEntries entries;
    KwinPermissionFile file;
    KwinScreenshots screenshots;
    std::atomic<bool> given = false;
    std::mutex lock;
    std::function<void()> changed; // lock
};

void addScreen(CompositorDoors& doors, DesktopParts const& parts, WaylandMonitors& monitors)
{
    using Kind = PermissionCause::Kind;
    auto const right = std::make_shared<ScreenRight>(parts);
    right->check();
    doors.frames = std::make_unique<KwinFrames>(parts.contexts, parts.user, *doors.windows,
                                                [&monitors] { return monitors.current(); });
    doors.seesScreen = [right] { return right->isGiven(); };
    doors.observe = [right](std::function<void()> changed) { right->observe(std::move(changed)); };
    doors.missingForScreen = [right] {
        return right->isGiven() ? std::vector<PermissionCause>()
                                : std::vector<PermissionCause>{{Kind::programNotRegistered}};
    };
    doors.request = [right](Kind kind) {
        if (kind == Kind::programNotRegistered)
            right->give();
    };
}

} // namespace

CompositorDoors openKwinDoors(DesktopParts const& parts,
                              std::shared_ptr<WaylandClient> const& client,
                              WaylandMonitors& monitors)
{
    CompositorDoors doors;
    auto windows = std::make_unique<KwinWindows>(parts.contexts.agent, parts.user, parts.clock,
                                                 xdg::runtimeFolder().value_or("/tmp"));
    doors.start = [windows = windows.get()] { windows->start(); };
    doors.windows = std::move(windows);
    doors.activeLayout = activeKwinLayout;
    PortalDoors const portals = addPortals(doors, parts, monitors);
    auto const lacksHotKey = addHotKey(doors, parts, portals);
    addScreen(doors, parts, monitors);
    if (DataControlPasteboard::isOffered(*client))
        doors.clipboard =
            std::make_unique<DataControlPasteboard>(parts.contexts, parts.clock, WaylandClient::open());
    bool const hasOverlays = LayerOverlays::isOffered(*client);
    if (hasOverlays)
        doors.overlays = std::make_unique<LayerOverlays>(parts.contexts, WaylandClient::open(), monitors);
    doors.lacks = [lacksHotKey, hasOverlays, hasClipboard = doors.clipboard != nullptr] {
        std::vector<PermissionCause> lacks;
        if (lacksHotKey())
            lacks.push_back({PermissionCause::Kind::noHotKey});
        if (!hasClipboard)
            lacks.push_back({PermissionCause::Kind::noClipboard});
        if (!hasOverlays)
            lacks.push_back({PermissionCause::Kind::noOverlays});
        return lacks;
    };
    return doors;
}

} // namespace zelvo
