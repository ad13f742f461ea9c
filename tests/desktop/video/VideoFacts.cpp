#include "desktop/video/VideoFacts.h"

#include <boost/json/parse.hpp>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace zelvo::test {

namespace {

namespace json = boost::json;

struct Output {
    std::string text;
    bool succeeded = false;
};

Output run(std::string const& command)
{
    std::FILE* const pipe = ::popen(command.c_str(), "re"); // NOLINT(cert-env33-c): the path is ours
    if (!pipe)
        throw std::runtime_error("cannot run " + command);
    Output output;
    std::array<char, 65536> part;
    while (std::size_t const got = std::fread(part.data(), 1, part.size(), pipe))
        output.text.append(part.data(), got);
    int const status = ::pclose(pipe);
    output.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return output;
}

/// Quoted for the shell.
std::string quoted(std::filesystem::path const& file)
{
    std::string text = "'";
    for (char const each : file.string())
        if (each == '\'')
            text += R"('\'')";
        else
            text += each;
    return text + "'";
}

std::string textIn(json::object const& object, char const* key)
{
    auto const* const value = object.if_contains(key);
    return value && value->is_string() ? std::string(value->as_string()) : std::string();
}

double numberIn(json::object const& object, char const* key)
{
    return std::strtod(textIn(object, key).c_str(), nullptr);
}

} // namespace

VideoFacts factsOf(std::filesystem::path const& video)
{
    Output const output =
        run("ffprobe -v error -show_streams -show_packets -show_format -of json " + quoted(video));
    if (!output.succeeded)
        throw std::runtime_error("ffprobe can't read " + video.string());
    json::object const all = json::parse(output.text).as_object();
    json::object const& stream = all.at("streams").at(0).as_object();
    VideoFacts facts{.codec = textIn(stream, "codec_name"),
                     .profile = textIn(stream, "profile"),
                     .pixelFormat = textIn(stream, "pix_fmt"),
                     .width = stream.at("width").to_number<int>(),
                     .height = stream.at("height").to_number<int>(),
                     .reorderedFrames = stream.at("has_b_frames").to_number<int>(),
                     .duration = numberIn(all.at("format").as_object(), "duration")};
    for (json::value const& packet : all.at("packets").as_array())
        facts.packets.push_back({.time = numberIn(packet.as_object(), "pts_time"),
                                 .duration = numberIn(packet.as_object(), "duration_time"),
                                 .isKey = textIn(packet.as_object(), "flags").starts_with("K")});
    return facts;
}

std::string complaintsAbout(std::filesystem::path const& video)
{
    Output const output =
        run("ffmpeg -v error -i " + quoted(video) + " -fps_mode passthrough -f null - 2>&1");
    return output.succeeded ? output.text : output.text + "(failed)";
}

std::size_t decodableFrames(std::filesystem::path const& video)
{
    Output const output = run(
        "ffprobe -v quiet -count_frames -show_entries stream=nb_read_frames -of csv=p=0 " + quoted(video));
    return std::strtoul(output.text.c_str(), nullptr, 10);
}

std::string frameAt(std::filesystem::path const& video, double seconds)
{
    return run("ffmpeg -v error -i " + quoted(video) + " -ss " + std::to_string(seconds) +
               " -frames:v 1 -f rawvideo -pix_fmt bgr0 -")
        .text;
}

std::vector<std::string> boxesOf(std::filesystem::path const& video)
{
    std::ifstream file(video, std::ios::binary);
    std::vector<std::string> boxes;
    std::array<unsigned char, 16> head{};
    std::uint64_t at = 0;
    while (file.seekg(std::streamoff(at)) && file.read(reinterpret_cast<char*>(head.data()), 8)) {
        std::uint64_t size = 0;
        for (std::size_t i = 0; i < 4; ++i)
            size = size << 8 | head[i];
        boxes.emplace_back(head.begin() + 4, head.begin() + 8);
        if (size == 1 && file.read(reinterpret_cast<char*>(head.data() + 8), 8)) {
            size = 0;
            for (std::size_t i = 8; i < 16; ++i)
                size = size << 8 | head[i];
        }
        if (size < 8)
            break;
        at += size;
    }
    return boxes;
}

} // namespace zelvo::test
