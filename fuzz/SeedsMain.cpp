// Runs a fuzz target once over each file of a folder, so that every input that ever failed remains a test.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Each target defines it; clang-tidy reads several sources as one and has already seen the definition.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, // NOLINT(readability-redundant-declaration)
                                      std::size_t size);

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    int seeds = 0;
    for (auto const& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::string const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::printf("%s\n", entry.path().filename().c_str());
        std::fflush(stdout); // If a seed ends the process, its name is the last output.
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
        ++seeds;
    }
    if (seeds == 0)
        std::fprintf(stderr, "no seed in %s\n", arguments[1]);
    return seeds == 0 ? 1 : 0;
}
