#pragma once

#include "platform/VideoFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// Video files in memory. Every call can be made to fail.
class FakeVideoFiles final : public VideoFiles {
public:
    struct Frame {
        Duration time{};
        std::uint8_t shade = 0; ///< the picture's first byte
        bool isRepeated = false;
        bool operator==(Frame const&) const = default;
    };
    /// The record of one video file; outlives the VideoFile.
    struct Video {
        VideoSettings settings;
        std::vector<Frame> frames;
        std::optional<Duration> end; ///< set by finish()
        bool cancelled = false;
        bool released = false; ///< the VideoFile is destroyed
    };

    std::vector<std::shared_ptr<Video>> videos;
    std::optional<VideoFailure> createFailure;
    bool isReady = true;
    bool writes = true; ///< result of append() and repeat()
    bool closes = true;

    std::unique_ptr<VideoFile> create(VideoSettings settings) override
    {
        if (createFailure)
            throw *createFailure;
        auto const state = std::make_shared<Video>();
        state->settings = std::move(settings);
        videos.push_back(state);
        return std::make_unique<File>(*this, state);
    }

    Video& last() { return *videos.back(); }

private:
    class File final : public VideoFile {
    public:
        File(FakeVideoFiles& all, std::shared_ptr<Video> state) : all(all), state(std::move(state)) {}
        File(File const&) = delete;
        File& operator=(File const&) = delete;
        ~File() override { state->released = true; }

        bool isReadyForMoreData() const override { return all.isReady; }
        bool append(Picture const& picture, Duration time) override
        {
            return write({.time = time, .shade = picture.pixels[0]});
        }
        bool repeat(Duration time) override
        {
            return write({.time = time, .shade = state->frames.back().shade, .isRepeated = true});
        }
        bool finish(Duration end) override
        {
            if (all.closes)
                state->end = end;
            return all.closes;
        }
        void cancel() override { state->cancelled = true; }

    private:
        bool write(Frame frame)
        {
            if (all.writes)
                state->frames.push_back(frame);
            return all.writes;
        }

        FakeVideoFiles& all;
        std::shared_ptr<Video> state;
    };
};

} // namespace zelvo
