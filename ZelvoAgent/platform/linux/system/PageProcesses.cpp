#include "platform/linux/system/PageProcesses.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace zelvo {

namespace {

constexpr std::size_t maxProcesses = 500;
constexpr std::size_t maxCommandLine = 4096;
constexpr auto marks =
    std::to_array<std::string_view>({"--type=renderer", "-contentproc", "WebKitWebProcess"});

std::string processFolder(std::int32_t pid)
{
    return "/proc/" + std::to_string(pid);
}

/// The kernel lists children by the thread that started them.
void appendChildren(std::vector<std::int32_t>& processes, std::int32_t pid)
{
    std::error_code failure;
    std::filesystem::directory_iterator thread(processFolder(pid) + "/task", failure);
    for (; !failure && thread != std::filesystem::directory_iterator(); thread.increment(failure)) {
        std::ifstream children(thread->path() / "children");
        for (std::int32_t child = 0; processes.size() < maxProcesses && children >> child;)
            processes.push_back(child);
    }
}

bool drawsPages(std::int32_t pid)
{
    std::string line(maxCommandLine, '\0');
    std::ifstream file(processFolder(pid) + "/cmdline", std::ios::binary);
    file.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(static_cast<std::size_t>(file.gcount()));
    return std::ranges::any_of(marks,
                               [&](std::string_view mark) { return line.find(mark) != std::string::npos; });
}

} // namespace

std::vector<std::int32_t> pageProcessesOf(std::int32_t pid)
{
    std::vector<std::int32_t> below;
    appendChildren(below, pid);
    for (std::size_t i = 0; i < below.size(); ++i)
        appendChildren(below, below[i]);
    std::erase_if(below, [](std::int32_t process) { return !drawsPages(process); });
    return below;
}

} // namespace zelvo
