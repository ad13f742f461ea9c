#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

struct VideoPacket {
    double time = 0;     ///< seconds
    double duration = 0; ///< seconds
    bool isKey = false;
};

/// A video's properties as ffprobe reports them.
struct VideoFacts {
    std::string codec;
    std::string profile;
    std::string pixelFormat;
    int width = 0;
    int height = 0;
    int reorderedFrames = -1;
    double duration = 0; ///< seconds
    std::vector<VideoPacket> packets;
};

/// Throws std::runtime_error if ffprobe can't read it.
VideoFacts factsOf(std::filesystem::path const& video);
/// Decodes the whole video. Returns ffmpeg's complaints; empty for a valid video.
std::string complaintsAbout(std::filesystem::path const& video);
/// The number of frames that can be decoded.
std::size_t decodableFrames(std::filesystem::path const& video);
/// The frame at a time, BGRX, rows without gaps.
std::string frameAt(std::filesystem::path const& video, double seconds);
/// The names of the file's boxes, in order.
std::vector<std::string> boxesOf(std::filesystem::path const& video);

} // namespace zelvo::test
