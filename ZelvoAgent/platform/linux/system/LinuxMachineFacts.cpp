#include "platform/linux/system/LinuxMachineFacts.h"

#include "platform/linux/system/AssignmentFile.h"
#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <climits>

namespace zelvo {

LinuxMachineFacts::LinuxMachineFacts(std::filesystem::path root, std::filesystem::path home)
    : root(std::move(root)), home(std::move(home))
{
}

std::optional<std::string> LinuxMachineFacts::computerName()
{
    auto pretty = assignedValueIn(root / "etc" / "machine-info", "PRETTY_HOSTNAME");
    if (pretty && !pretty->empty())
        return pretty;
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name - 1) != 0 || !*name)
        return std::nullopt;
    return name;
}

std::string LinuxMachineFacts::osVersion()
{
    // The first file that exists counts, whatever its content.
    std::error_code error;
    auto const own = root / "etc" / "os-release";
    auto const file = std::filesystem::exists(own, error) ? own : root / "usr" / "lib" / "os-release";
    return threeNumbers(assignedValueIn(file, "VERSION_ID").value_or(""));
}

std::string LinuxMachineFacts::threeNumbers(std::string_view version)
{
    std::array<unsigned, 3> numbers{};
    for (unsigned& number : numbers) {
        auto const [end, error] = std::from_chars(version.data(), version.data() + version.size(), number);
        if (error != std::errc())
            break;
        version.remove_prefix(static_cast<std::size_t>(end - version.data()));
        if (!version.starts_with('.'))
            break;
        version.remove_prefix(1);
    }
    return std::to_string(numbers[0]) + "." + std::to_string(numbers[1]) + "." + std::to_string(numbers[2]);
}

std::optional<std::uint64_t> LinuxMachineFacts::freeDiskBytes()
{
    struct statvfs facts{};
    if (::statvfs(home.c_str(), &facts) != 0)
        return std::nullopt;
    return std::uint64_t(facts.f_bavail) * facts.f_frsize;
}

std::optional<std::uint64_t> LinuxMachineFacts::residentBytes()
{
    UniqueFd const file(::open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
    char text[128] = {};
    ssize_t const count = file ? ::read(file.get(), text, sizeof text - 1) : -1;
    if (count <= 0)
        return std::nullopt;
    std::string_view const line(text, static_cast<std::size_t>(count));
    auto const second = line.find(' ');
    std::uint64_t pages = 0;
    if (second == std::string_view::npos ||
        std::from_chars(line.data() + second + 1, line.data() + line.size(), pages).ec != std::errc())
        return std::nullopt;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

std::int32_t LinuxMachineFacts::ownPid()
{
    return ::getpid();
}

} // namespace zelvo
