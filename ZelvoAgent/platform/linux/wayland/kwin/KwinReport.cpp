#include "platform/linux/wayland/kwin/KwinReport.h"

#include "wire/Json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace zelvo {

namespace {

constexpr double maxCoordinate = 1e6;
constexpr std::size_t maxId = 100;

using Kind = CompositorWindow::Kind;

constexpr std::array<std::pair<std::string_view, Kind>, 6> kinds{{{"normal", Kind::normal},
                                                                  {"dialog", Kind::dialog},
                                                                  {"popup", Kind::popup},
                                                                  {"dock", Kind::dock},
                                                                  {"overlay", Kind::overlay},
                                                                  {"desktop", Kind::desktop}}};

/// A window and its place in the stack.
struct StackedWindow {
    std::int64_t place = 0;
    CompositorWindow window;
};

std::optional<double> coordinate(json::value const& value)
{
    double number = 0;
    if (value.is_double())
        number = value.get_double();
    else if (value.is_int64())
        number = static_cast<double>(value.get_int64());
    else
        return std::nullopt;
    if (!std::isfinite(number) || std::abs(number) > maxCoordinate)
        return std::nullopt;
    return number;
}

template <std::size_t count>
std::optional<std::array<double, count>> coordinates(json::object const& object, std::string_view key)
{
    json::array const* const list = read::array(object, key);
    if (!list || list->size() != count)
        return std::nullopt;
    std::array<double, count> numbers{};
    for (std::size_t at = 0; at < count; ++at) {
        auto const number = coordinate((*list)[at]);
        if (!number)
            return std::nullopt;
        numbers[at] = *number;
    }
    return numbers;
}

std::optional<LogicalRect> rectangle(json::object const& object, std::string_view key)
{
    auto const numbers = coordinates<4>(object, key);
    if (!numbers || (*numbers)[2] < 0 || (*numbers)[3] < 0)
        return std::nullopt;
    auto const [x, y, width, height] = *numbers;
    return LogicalRect{.x = x, .y = y, .width = width, .height = height};
}

std::optional<LogicalPoint> pointer(json::object const& object)
{
    auto const numbers = coordinates<2>(object, "pointer");
    if (!numbers)
        return std::nullopt;
    return LogicalPoint{.x = (*numbers)[0], .y = (*numbers)[1]};
}

Kind kindOf(std::string_view name)
{
    auto const* const found = std::ranges::find(kinds, name, &std::pair<std::string_view, Kind>::first);
    return found == kinds.end() ? Kind::normal : found->second;
}

std::optional<std::int32_t> processOf(json::object const& object)
{
    auto const pid = read::integer(object, "pid");
    if (!pid || *pid <= 0 || *pid > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::int32_t>(*pid);
}

WindowWords wordsOf(json::object const& object, bool isX11)
{
    WindowWords words{.kdeDesktopFile = read::text(object, "desktopFile").value_or("")};
    if (isX11) {
        words.instance = read::text(object, "instance").value_or("");
        words.className = read::text(object, "className").value_or("");
    }
    return words;
}

void readStates(json::object const& object, CompositorWindow& window)
{
    auto const is = [&](std::string_view key) { return read::boolean(object, key).value_or(false); };
    window.isActive = is("active");
    window.isMinimized = is("minimized");
    window.isOnScreen = is("shown") && window.frame.width > 0 && window.frame.height > 0;
    window.isAbove = is("above");
    window.isFullScreen = is("fullScreen");
    window.isX11 = is("x11");
}

std::optional<StackedWindow> windowOf(json::value const& value)
{
    json::object const* const object = value.if_object();
    if (!object)
        return std::nullopt;
    auto id = read::text(*object, "id");
    auto const frame = rectangle(*object, "frame");
    auto const place = read::integer(*object, "stacking");
    if (!id || id->empty() || id->size() > maxId || !frame || !place)
        return std::nullopt;
    StackedWindow found{.place = *place, .window = {.id = std::move(*id)}};
    CompositorWindow& window = found.window;
    window.pid = processOf(*object);
    window.title = read::text(*object, "title").value_or("");
    window.frame = *frame;
    window.surface = rectangle(*object, "surface").value_or(*frame);
    window.parent = read::text(*object, "parent").value_or("").substr(0, maxId);
    window.kind = kindOf(read::text(*object, "kind").value_or(""));
    readStates(*object, window);
    window.words = wordsOf(*object, window.isX11);
    return found;
}

std::optional<std::vector<CompositorWindow>> windowsOf(json::array const& list)
{
    if (list.size() > maxKwinWindows)
        return std::nullopt;
    std::vector<StackedWindow> stacked;
    for (json::value const& value : list) {
        auto window = windowOf(value);
        if (!window)
            return std::nullopt;
        stacked.push_back(std::move(*window));
    }
    std::ranges::sort(stacked, {}, &StackedWindow::place);
    std::vector<CompositorWindow> windows;
    for (StackedWindow& one : stacked)
        windows.push_back(std::move(one.window));
    return windows;
}

} // namespace

std::optional<KwinAnswer> parseKwinAnswer(std::string_view text)
{
    if (text.size() > maxKwinAnswer)
        return std::nullopt;
    auto const value = parseJson(text);
    json::object const* const object = value ? value->if_object() : nullptr;
    if (!object)
        return std::nullopt;
    auto const command = read::integer(*object, "command");
    if (!command)
        return std::nullopt;
    KwinAnswer answer{.command = *command, .isDone = read::boolean(*object, "done").value_or(false)};
    json::array const* const list = read::array(*object, "windows");
    if (!list)
        return answer;
    auto windows = windowsOf(*list);
    if (!windows)
        return std::nullopt;
    answer.windows = WindowsNow{.windows = std::move(*windows), .pointer = pointer(*object)};
    return answer;
}

} // namespace zelvo
