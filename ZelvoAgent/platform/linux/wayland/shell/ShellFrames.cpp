#include "platform/linux/wayland/shell/ShellFrames.h"

#include "base/Hop.h"
#include "platform/linux/wayland/shell/ShellMessages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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
    PixelBuffer map(std::size_t size)
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
    co_return co_await without(monitor, [](CompositorWindow const&) { return false; });
}

Task<Picture> ShellFrames::without(std::uint32_t monitor, LeavesOut leavesOut)
{
    AsyncMutex::Lock const lock = co_await mutex.lock();
    std::string const connector = connectorOf(layout(), monitor);
    auto work = [this, &connector, &leavesOut] { return paintWithout(connector, leavesOut); };
    co_return co_await on(contexts.workers, std::move(work));
}

Picture ShellFrames::paintWithout(std::string const& connector, LeavesOut const& leavesOut)
{
    std::set<std::string> leftOut = windowsToLeaveOut(leavesOut);
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        SharedMemory memory;
        ShellPicture const painted = paint(connector, leftOut, memory.get());
        bool isClean = true;
        for (CompositorWindow const& window : painted.windows)
            if (leavesOut(window)) {
                isClean = false;
                leftOut.insert(window.id);
            }
        if (isClean)
            return pictureOf(painted, memory);
    }
    throw ScreenFailure{"windows appear faster than pictures are taken"};
}

std::set<std::string> ShellFrames::windowsToLeaveOut(LeavesOut const& leavesOut)
{
    ShellReply const reply = link.call({.member = "Look"});
    auto const look = reply.message ? readShellLook(reply.message.get()) : std::nullopt;
    if (!look)
        throw ScreenFailure{"the shell does not list its windows"};
    std::set<std::string> ids;
    for (CompositorWindow const& window : look->now.windows)
        if (leavesOut(window))
            ids.insert(window.id);
    return ids;
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
    if (!reply.message)
        throw ScreenFailure{"the shell paints no picture: " + reply.reason};
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
