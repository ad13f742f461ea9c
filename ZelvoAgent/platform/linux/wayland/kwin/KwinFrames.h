#pragma once

#include "base/AsyncMutex.h"
#include "base/Contexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/kwin/KwinScreenshots.h"

#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

struct KwinSelection;

/// Pictures of KDE's compositor. KWin must let this program take them: KwinPermissionFile. A picture without
/// some windows is composed of pictures of the others, each of which KWin takes alone.
class KwinFrames final : public FrameSource {
public:
    using Layout = std::function<MonitorLayout()>;

    /// The bus and the windows must outlive it.
    /// windows  KWin's own
    /// layout   the monitors of the moment; called on any thread
    KwinFrames(Contexts contexts, BusConnection& session, WindowSource& windows, Layout layout);

    Task<Picture> everything(std::uint32_t monitor) override;
    bool canLeaveOut() const override { return true; }
    Task<Picture> without(std::uint32_t monitor, LeftOut leftOut) override;
    bool watchDrawing(std::function<void(std::uint32_t monitor)>) override { return false; }
    void setDrawingWanted(bool) override {}

private:
    struct Scene;

    Monitor findMonitor(std::uint32_t id) const;
    Task<WindowsNow> look();
    Task<std::optional<Picture>> compose(Monitor monitor, LeftOut leftOut, bool wantsPointer);
    Task<> draw(std::shared_ptr<Scene> scene);
    Task<> drawSome(std::shared_ptr<Scene> scene, std::vector<CompositorWindow> some);
    Task<std::vector<CompositorWindow>> newPlaces(std::shared_ptr<Scene> scene,
                                                  std::vector<CompositorWindow> some);

    Contexts contexts;
    WindowSource& windows;
    Layout layout;
    KwinScreenshots screenshots;
    AsyncMutex turn;
};

} // namespace zelvo
