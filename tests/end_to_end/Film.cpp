#include "end_to_end/Film.h"

#include "wire/Json.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelvo::test {

namespace {

constexpr int compressionNoise = 28;

json::object probed(PrivateDesktop& desktop, std::filesystem::path const& file)
{
    std::string const said = desktop.run({"ffprobe", "-v", "error", "-of", "json", "-show_streams",
                                          "-show_format", "-show_entries", "packet=pts_time", file.string()},
                                         30);
    auto const read = parseJson(said);
    if (!read)
        throw std::runtime_error("no film: " + said);
    return read->as_object();
}

double numberIn(json::object const& object, char const* key)
{
    return std::strtod(object.at(key).as_string().c_str(), nullptr);
}

} // namespace

Film::Film(PrivateDesktop& desktop, std::filesystem::path const& file)
{
    json::object const facts = probed(desktop, file);
    json::object const& stream = facts.at("streams").at(0).as_object();
    codec = stream.at("codec_name").as_string();
    profile = stream.at("profile").as_string();
    width = static_cast<int>(stream.at("width").as_int64());
    height = static_cast<int>(stream.at("height").as_int64());
    seconds = numberIn(facts.at("format").as_object(), "duration");
    for (json::value const& packet : facts.at("packets").as_array())
        times.push_back(numberIn(packet.as_object(), "pts_time"));

    std::filesystem::path const raw = desktop.home() / "film.rgb";
    desktop.run({"ffmpeg", "-v", "error", "-y", "-i", file.string(), "-fps_mode", "passthrough", "-f",
                 "rawvideo", "-pix_fmt", "rgb24", raw.string()},
                60);
    std::ifstream bytes(raw, std::ios::binary);
    auto const size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
    for (Pixels next{.width = width, .height = height, .bytes = std::vector<std::uint8_t>(size)};
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
