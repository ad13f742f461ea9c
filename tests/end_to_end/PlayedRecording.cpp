#include "end_to_end/PlayedRecording.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>

namespace zelvo::test {

namespace {

constexpr int compressionNoise = 28;

} // namespace

PlayedRecording::PlayedRecording(PrivateDesktop& desktop, std::filesystem::path const& file)
    : facts(factsOf(file))
{
    std::filesystem::path const raw = desktop.home() / "recording.rgb";
    desktop.run({"ffmpeg", "-v", "error", "-y", "-i", file.string(), "-fps_mode", "passthrough", "-f",
                 "rawvideo", "-pix_fmt", "rgb24", raw.string()},
                60);
    std::ifstream bytes(raw, std::ios::binary);
    auto const size = static_cast<std::size_t>(facts.width) * static_cast<std::size_t>(facts.height) * 3;
    for (Pixels next{.width = facts.width, .height = facts.height, .bytes = std::vector<std::uint8_t>(size)};
         bytes.read(reinterpret_cast<char*>(next.bytes.data()), static_cast<std::streamsize>(size));)
        frames.push_back(next);
    std::filesystem::remove(raw);
}

std::uint32_t colorAt(Pixels const& picture, int x, int y)
{
    auto const at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                     static_cast<std::size_t>(x)) *
                    3;
    return static_cast<std::uint32_t>(picture.bytes.at(at) << 16 | picture.bytes.at(at + 1) << 8 |
                                      picture.bytes.at(at + 2));
}

bool isNear(std::uint32_t color, std::uint32_t wanted)
{
    auto const channel = [](std::uint32_t of, int shift) { return static_cast<int>(of >> shift & 0xFF); };
    return std::ranges::all_of(std::array{0, 8, 16}, [&](int shift) {
        return std::abs(channel(color, shift) - channel(wanted, shift)) <= compressionNoise;
    });
}

int pixelsLike(Pixels const& picture, std::uint32_t wanted)
{
    int found = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            found += isNear(colorAt(picture, x, y), wanted) ? 1 : 0;
    return found;
}

} // namespace zelvo::test
