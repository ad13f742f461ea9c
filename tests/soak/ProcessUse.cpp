#include "soak/ProcessUse.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace zelvo::test {

namespace {

namespace fs = std::filesystem;

double privateKibOf(fs::path const& process)
{
    std::ifstream stream(process / "smaps_rollup");
    double sum = 0;
    int found = 0;
    std::string line;
    while (std::getline(stream, line))
        if (line.starts_with("Anonymous:") || line.starts_with("Swap:")) {
            sum += std::stod(line.substr(line.find(':') + 1));
            ++found;
        }
    if (found != 2)
        throw std::runtime_error("no memory figures in " + process.string());
    return sum;
}

int entriesOf(fs::path const& folder)
{
    return static_cast<int>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

} // namespace

ProcessUse processUse(pid_t pid)
{
    fs::path const process = fs::path("/proc") / std::to_string(pid);
    return {.privateKib = privateKibOf(process),
            .descriptors = entriesOf(process / "fd"),
            .threads = entriesOf(process / "task")};
}

} // namespace zelvo::test
