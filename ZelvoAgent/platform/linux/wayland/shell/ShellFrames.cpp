#include "platform/linux/wayland/shell/ShellFrames.h"

#include "base/Hop.h"
#include "platform/linux/wayland/shell/ShellMessages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <span>

namespace zelvo {

namespace {

constexpr int maxAttempts = 3;
constexpr std::uint64_t paintPatience = 10'000'000; // microseconds; the shell compresses each picture
constexpr std::size_t bytesPerPixel = 4;

/// Memory that the shell writes to.
class SharedMemory {
public:
    SharedMemory() : descriptor(::memfd_create("zelvo-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING))
    {
        if (descriptor < 0)
            throw ScreenFailure{"no memory for a picture"};
    }
    SharedMemory(SharedMemory const&) = delete;
    SharedMemory& operator=(SharedMemory const&) = delete;
    ~SharedMemory() { ::close(descriptor); }

    int get() const { return descriptor; }

    /// The memory, which can't shrink any more. Throws ScreenFailure if it is smaller than `size`.
    PixelBuffer map(std::size_t size) const
    {
        struct stat facts{};
        if (::fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK) != 0 || ::fstat(descriptor, &facts) != 0 ||
            facts.st_size < 0 || static_cast<std::size_t>(facts.st_size) < size)
            throw ScreenFailure{"the shell's picture is cut"};
        void* const bytes = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        if (bytes == MAP_FAILED)
            throw ScreenFailure{"no memory for a picture"};
        std::shared_ptr<void> owner(bytes, [size](void* raw) { ::munmap(raw, size); });
        return {std::span(static_cast<std::uint8_t*>(bytes), size), std::move(owner)};
    }

private:
    int descriptor;
};

void swapRedAndBlue(std::span<std::uint8_t> bytes)
{
    for (std::size_t at = 0; at + bytesPerPixel <= bytes.size(); at += bytesPerPixel)
        std::swap(bytes[at], bytes[at + 2]);
}

Picture pictureOf(ShellPicture const& painted, SharedMemory& memory)
{
    // The last row has no padding.
    std::size_t const size =
        std::size_t{painted.stride} * (painted.height - 1) + painted.width * bytesPerPixel;
    Picture picture{.width = static_cast<int>(painted.width),
                    .height = static_cast<int>(painted.height),
                    .stride = static_cast<int>(painted.stride),
                    .pixels = memory.map(size)};
    swapRedAndBlue({picture.pixels.data(), size});
    return picture;
}

std::string connectorOf(MonitorLayout const& layout, std::uint32_t id)
{
    Monitor const* const monitor = layout.find(id);
    if (!monitor)
        throw ScreenFailure{"no such monitor"};
    return monitor->name;
}

/// What a picture says of a window is newer than what is known.
void addNew(std::vector<CompositorWindow>& known, std::vector<CompositorWindow> const& windows)
{
    for (CompositorWindow const& window : windows) {
        auto const same = std::ranges::find(known, window.id, &CompositorWindow::id);
        if (same == known.end())
            known.push_back(window);
        else
            *same = window;
    }
}

} // namespace

ShellFrames::ShellFrames(Contexts contexts,
                         ShellLink& link,
                         ShellPresence& presence,
                         std::function<MonitorLayout()> layout,
                         FrameSource* whole)
    : contexts(std::move(contexts)), link(link), presence(presence), layout(std::move(layout)), whole(whole)
{
}

Task<Picture> ShellFrames::everything(std::uint32_t monitor)
{
    if (whole)
        co_return co_await whole->everything(monitor);
    LeftOut const nothing = [](WindowsNow const&) { return std::set<std::string>(); };
    co_return co_await without(monitor, nothing);
}

Task<Picture> ShellFrames::without(std::uint32_t monitor, LeftOut leftOut)
{
    AsyncMutex::Lock const lock = co_await mutex.lock();
    std::string const connector = connectorOf(layout(), monitor);
    auto work = [this, &connector, &leftOut] { return paintWithout(connector, leftOut); };
    co_return co_await on(contexts.workers, std::move(work));
}

Picture ShellFrames::paintWithout(std::string const& connector, LeftOut const& leftOut)
{
    WindowsNow known = look();
    std::set<std::string> ids = leftOut(known);
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        SharedMemory memory;
        ShellPicture const painted = paint(connector, ids, memory.get());
        // A window may have appeared since the look. Whose it is may depend on others that are left out.
        addNew(known.windows, painted.windows);
        addNew(known.chrome, painted.chrome);
        std::set<std::string> const secret = leftOut(known);
        auto const isSecret = [&](CompositorWindow const& window) { return secret.contains(window.id); };
        if (std::ranges::none_of(painted.windows, isSecret) && std::ranges::none_of(painted.chrome, isSecret))
            return pictureOf(painted, memory);
        ids.insert(secret.begin(), secret.end());
    }
    throw ScreenFailure{"windows appear faster than pictures are taken", true};
}

WindowsNow ShellFrames::look()
{
    ShellReply const reply = link.call({.member = "Look"});
    auto seen = reply.message ? readShellLook(reply.message.get()) : std::nullopt;
    if (!seen)
        throw ScreenFailure{"the shell does not list its windows"};
    return std::move(*seen);
}

ShellPicture
ShellFrames::paint(std::string const& connector, std::set<std::string> const& leftOut, int memory)
{
    auto const arguments = [&](sd_bus_message* message) {
        sd_bus_message_append(message, "s", connector.c_str());
        sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "s");
        for (std::string const& id : leftOut)
            sd_bus_message_append(message, "s", id.c_str());
        sd_bus_message_close_container(message);
        sd_bus_message_append(message, "h", memory);
    };
    ShellReply const reply =
        link.call({.member = "Paint", .arguments = arguments, .patience = paintPatience});
    // It refuses while something left out is shown in a second way, as in an overview.
    if (!reply.message)
        throw ScreenFailure{"the shell paints no picture: " + reply.reason,
                            reply.error == "dev.zelvo.Shell.Error.Refused"};
    auto picture = readShellPicture(reply.message.get());
    if (!picture)
        throw ScreenFailure{"the shell's picture has another shape"};
    return std::move(*picture);
}

bool ShellFrames::watchDrawing(std::function<void(std::uint32_t monitor)> drawn)
{
    return whole && whole->watchDrawing(std::move(drawn));
}

void ShellFrames::setDrawingWanted(bool wanted)
{
    if (whole)
        whole->setDrawingWanted(wanted);
}

} // namespace zelvo
