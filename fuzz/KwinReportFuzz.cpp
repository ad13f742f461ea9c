#include "Check.h"
#include "platform/linux/wayland/kwin/KwinReport.h"

#include <cmath>
#include <cstdint>
#include <string_view>

namespace {

void checkRect(zelvo::LogicalRect const& rect)
{
    check(std::isfinite(rect.x) && std::isfinite(rect.y) && rect.width >= 0 && rect.height >= 0);
}

} // namespace

/// The answers of the script inside KWin.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const answer = zelvo::parseKwinAnswer(std::string_view(reinterpret_cast<char const*>(data), size));
    if (!answer || !answer->windows)
        return 0;
    check(answer->windows->windows.size() <= zelvo::maxKwinWindows);
    for (zelvo::CompositorWindow const& window : answer->windows->windows) {
        check(!window.id.empty());
        check(!window.pid || *window.pid > 0);
        checkRect(window.frame);
        checkRect(window.surface);
    }
    return 0;
}
