#include "platform/linux/wayland/shell/ShellMessages.h"

#include <string_view>

namespace zelvo {

namespace {

constexpr std::size_t maxEntries = 1500;
constexpr std::size_t maxText = 4096;
constexpr std::uint32_t maxSide = 32768;
constexpr std::uint32_t bytesPerPixel = 4;
constexpr char const* windowType = "sisssss(iiii)(iiii)suu";

enum Flag : std::uint32_t { active = 1, minimized = 2, onScreen = 4, above = 8, fullScreen = 16, x11 = 32 };

bool readRect(sd_bus_message* message, LogicalRect& rect)
{
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    if (sd_bus_message_read(message, "(iiii)", &x, &y, &width, &height) <= 0 || width < 0 || height < 0)
        return false;
    rect = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
            static_cast<double>(height)};
    return true;
}

bool readBounded(sd_bus_message* message, std::string& text)
{
    char const* raw = nullptr;
    if (sd_bus_message_read(message, "s", &raw) <= 0 || std::string_view(raw).size() > maxText)
        return false;
    text = raw;
    return true;
}

/// An application id without ".desktop".
std::string entryId(std::string text)
{
    constexpr std::string_view end = ".desktop";
    if (text.ends_with(end))
        text.resize(text.size() - end.size());
    return text;
}

void applyFlags(CompositorWindow& window, std::uint32_t flags)
{
    window.isActive = flags & active;
    window.isMinimized = flags & minimized;
    window.isOnScreen = flags & onScreen;
    window.isAbove = flags & above;
    window.isFullScreen = flags & fullScreen;
    window.isX11 = flags & x11;
}

struct ShellNames {
    std::string className; ///< of an X11 window; else the Wayland application id
    std::string instance;
    std::string entry; ///< the desktop file that the shell found
};

void applyNames(CompositorWindow& window, ShellNames names)
{
    if (window.isX11) {
        window.words.className = std::move(names.className);
        window.words.instance = std::move(names.instance);
    } else {
        window.words.kdeDesktopFile =
            names.className.empty() ? entryId(std::move(names.entry)) : std::move(names.className);
    }
}

/// The kind of what is no window, after those of CompositorWindow.
constexpr std::uint32_t chromeKind = 6;

struct ShellEntry {
    CompositorWindow window;
    bool isChrome = false;
};

struct ShellEntries {
    std::vector<CompositorWindow> windows;
    std::vector<CompositorWindow> chrome;
};

std::optional<ShellEntry> readEntry(sd_bus_message* message)
{
    CompositorWindow window;
    ShellNames names;
    std::int32_t pid = 0;
    std::uint32_t kind = 0;
    std::uint32_t flags = 0;
    if (!readBounded(message, window.id) || window.id.empty() ||
        sd_bus_message_read(message, "i", &pid) <= 0 || !readBounded(message, names.className) ||
        !readBounded(message, names.instance) || !readBounded(message, names.entry) ||
        !readBounded(message, window.words.gtkApplicationId) || !readBounded(message, window.title) ||
        !readRect(message, window.frame) || !readRect(message, window.surface) ||
        !readBounded(message, window.parent) || sd_bus_message_read(message, "uu", &kind, &flags) <= 0 ||
        kind > chromeKind)
        return std::nullopt;
    bool const isChrome = kind == chromeKind;
    if (pid > 0)
        window.pid = pid;
    window.kind = isChrome ? CompositorWindow::Kind::overlay : static_cast<CompositorWindow::Kind>(kind);
    applyFlags(window, flags);
    applyNames(window, std::move(names));
    return ShellEntry{std::move(window), isChrome};
}

std::optional<ShellEntries> readEntries(sd_bus_message* message)
{
    ShellEntries entries;
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(sisssss(iiii)(iiii)suu)") <= 0)
        return std::nullopt;
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, windowType) > 0) {
        auto entry = readEntry(message);
        if (!entry || entries.windows.size() + entries.chrome.size() == maxEntries)
            return std::nullopt;
        (entry->isChrome ? entries.chrome : entries.windows).push_back(std::move(entry->window));
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    return entries;
}

} // namespace

std::optional<WindowsNow> readShellLook(sd_bus_message* message)
{
    auto entries = readEntries(message);
    std::int32_t x = 0;
    std::int32_t y = 0;
    int isCovered = 0;
    if (!entries || sd_bus_message_read(message, "(iib)", &x, &y, &isCovered) <= 0)
        return std::nullopt;
    return WindowsNow{.windows = std::move(entries->windows),
                      .chrome = std::move(entries->chrome),
                      .pointer = LogicalPoint{static_cast<double>(x), static_cast<double>(y)},
                      .isCovered = isCovered != 0};
}

std::optional<ShellPicture> readShellPicture(sd_bus_message* message)
{
    ShellPicture picture;
    std::uint32_t channels = 0;
    if (sd_bus_message_read(message, "(uuuu)", &picture.width, &picture.height, &picture.stride, &channels) <=
        0)
        return std::nullopt;
    bool const fits = picture.width > 0 && picture.width <= maxSide && picture.height > 0 &&
                      picture.height <= maxSide && channels == bytesPerPixel &&
                      picture.stride >= picture.width * bytesPerPixel &&
                      picture.stride <= maxSide * bytesPerPixel && picture.stride % bytesPerPixel == 0;
    auto entries = readEntries(message);
    if (!fits || !entries)
        return std::nullopt;
    picture.windows = std::move(entries->windows);
    picture.chrome = std::move(entries->chrome);
    return picture;
}

} // namespace zelvo
