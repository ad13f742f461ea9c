#pragma once

#include "platform/ScreenStream.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// Streams that deliver the test's frames on their own queue.
class FakeScreenStreams final : public ScreenStreams {
public:
    /// The record of one stream; outlives the stream.
    struct Opened {
        ScreenStreamRequest request; ///< its display is updated by updateFilter()
        Executor queue;
        std::weak_ptr<ScreenStreamOutput> output;
        std::vector<std::set<std::string>> filters; ///< the first one and each update
        std::vector<bool> wanted;                   ///< arguments of setWanted()
        bool stopped = false;
        bool ended = false; ///< the stream is destroyed
    };

    std::vector<std::shared_ptr<Opened>> opened;
    std::optional<ScreenFailure> openFailure;
    std::optional<ScreenFailure> updateFailure;
    std::optional<ScreenFailure> stopFailure;
    std::function<Task<>()> beforeUpdate; ///< runs before a filter takes effect
    std::function<void()> onStop;

    Task<std::unique_ptr<ScreenStream>>
    open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output) override
    {
        if (openFailure)
            throw *openFailure;
        auto const state = std::make_shared<Opened>();
        state->filters.push_back(request.picture.excluded);
        state->request = std::move(request);
        state->queue = queue;
        state->output = std::move(output);
        opened.push_back(state);
        co_return std::make_unique<Stream>(*this, state);
    }

    Opened& last() { return *opened.back(); }

    /// Delivers a frame in this shade of grey to the last stream.
    void deliver(Instant time, std::uint8_t shade = 128) { deliver(ScreenFrame{.time = time}, shade); }
    /// Delivers a frame with any status to the last stream; without a picture if `shade` is absent.
    void deliver(ScreenFrame frame, std::optional<std::uint8_t> shade)
    {
        CaptureRequest const& size = last().request.picture;
        deliver(frame, shade, size.width, size.height);
    }
    void deliver(ScreenFrame frame, std::optional<std::uint8_t> shade, int width, int height)
    {
        asio::post(last().queue, [state = opened.back(), frame, shade, width, height]() mutable {
            auto const output = state->output.lock();
            if (!output || state->ended)
                return;
            Picture picture;
            picture.width = width;
            picture.height = height;
            picture.stride = width * 4;
            picture.pixels = PixelBuffer(static_cast<std::size_t>(picture.stride) * height);
            std::fill_n(picture.pixels.data(), picture.pixels.size(), shade.value_or(0));
            frame.picture = shade ? &picture : nullptr;
            output->frameArrived(frame);
        });
    }
    /// Ends the last stream with a failure.
    void end(std::string reason)
    {
        asio::post(last().queue, [state = opened.back(), reason = std::move(reason)] {
            if (auto const output = state->output.lock())
                output->streamStopped(ScreenFailure{reason});
        });
    }

private:
    class Stream final : public ScreenStream {
    public:
        Stream(FakeScreenStreams& all, std::shared_ptr<Opened> state) : all(all), state(std::move(state)) {}
        Stream(Stream const&) = delete;
        Stream& operator=(Stream const&) = delete;
        ~Stream() override { state->ended = true; }

        Task<> updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded) override
        {
            if (all.beforeUpdate)
                co_await all.beforeUpdate();
            if (all.updateFailure)
                throw *all.updateFailure;
            state->request.picture.display = display.value_or(state->request.picture.display);
            state->filters.push_back(std::move(excluded));
        }
        void setWanted(bool wanted) override { state->wanted.push_back(wanted); }
        Task<> stop() override
        {
            state->stopped = true;
            if (all.onStop)
                all.onStop();
            if (all.stopFailure)
                throw *all.stopFailure;
            co_return;
        }

    private:
        FakeScreenStreams& all;
        std::shared_ptr<Opened> state;
    };
};

} // namespace zelvo
