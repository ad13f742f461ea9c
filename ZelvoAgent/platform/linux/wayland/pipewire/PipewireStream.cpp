#include "platform/linux/wayland/pipewire/PipewireStream.h"

#include "platform/linux/wayland/pipewire/BufferMemory.h"
#include "platform/linux/wayland/pipewire/PipewireCore.h"
#include "platform/linux/wayland/pipewire/StreamOffers.h"

#include <boost/asio/post.hpp>

#include <spa/param/video/format-utils.h>

#include <map>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace zelvo {

namespace {

constexpr std::uint32_t bytesPerPixel = 4;

bool isUsable(spa_video_info_raw const& format)
{
    return format.size.width > 0 && format.size.width <= maxSide && format.size.height > 0 &&
           format.size.height <= maxSide;
}

} // namespace

/// Thread: agent. The library calls it only inside of the core's loop.
struct PipewireStream::State : std::enable_shared_from_this<State> {
    State(std::shared_ptr<PipewireCore> core, Events events)
        : core(std::move(core)), events(std::move(events))
    {
    }

    void connect(std::uint32_t node);
    void close();
    void noteState(pw_stream_state now);
    void noteParameter(std::uint32_t id, spa_pod const* parameter);
    void noteBuffer(pw_buffer* buffer);
    void takeFrames();
    VideoFrame frameOf(pw_buffer* buffer);
    void giveBack(pw_buffer* buffer) const;
    void lose();

    std::shared_ptr<PipewireCore> core;
    Events events;
    pw_stream* stream = nullptr;
    spa_hook hook{};
    spa_video_info_raw format{};
    std::map<pw_buffer*, std::shared_ptr<BufferMemory>> buffers;
};

void PipewireStream::State::connect(std::uint32_t node)
{
    static pw_stream_events const handlers = [] {
        auto const self = [](void* data) { return static_cast<State*>(data); };
        static auto const of = self;
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = [](void* data, pw_stream_state, pw_stream_state now, char const*) {
            of(data)->noteState(now);
        };
        table.param_changed = [](void* data, std::uint32_t id, spa_pod const* parameter) {
            of(data)->noteParameter(id, parameter);
        };
        table.add_buffer = [](void* data, pw_buffer* buffer) { of(data)->noteBuffer(buffer); };
        table.remove_buffer = [](void* data, pw_buffer* buffer) { of(data)->buffers.erase(buffer); };
        table.process = [](void* data) { of(data)->takeFrames(); };
        return table;
    }();
    Pipewire const& library = pipewire();
    stream = library.pw_stream_new(core->raw(), "zelvo",
                                   library.pw_properties_new_string("media.type=Video media.category=Capture "
                                                                    "media.role=Screen"));
    if (!stream)
        throw ScreenFailure{"PipeWire opens no stream"};
    library.pw_stream_add_listener(stream, &hook, &handlers, this);
    alignas(8) std::uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    // The sender takes the first that it has: reading a graphics card's memory is slower than the copy that
    // it makes.
    spa_pod const* parameters[] = {offeredFormats(builder, FrameMemory::shared),
                                   offeredFormats(builder, FrameMemory::card)};
    auto const flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_INACTIVE);
    if (library.pw_stream_connect(stream, PW_DIRECTION_INPUT, node, flags, parameters, 2) < 0)
        throw ScreenFailure{"PipeWire connects no stream"};
}

void PipewireStream::State::close()
{
    events = {};
    if (!stream)
        return;
    spa_hook_remove(&hook);
    pipewire().pw_stream_destroy(std::exchange(stream, nullptr));
    buffers.clear();
}

void PipewireStream::State::noteState(pw_stream_state now)
{
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED)
        lose();
    else if (now == PW_STREAM_STATE_PAUSED && events.onPaused)
        events.onPaused();
    else if (now == PW_STREAM_STATE_STREAMING && events.onStreaming)
        events.onStreaming();
}

void PipewireStream::State::lose()
{
    // Posted: the stream must not be destroyed inside its own event.
    asio::post(core->agent, [weak = weak_from_this()] {
        auto const self = weak.lock();
        auto const onLost = self ? std::exchange(self->events, {}).onLost : nullptr;
        if (onLost)
            onLost();
    });
}

void PipewireStream::State::noteParameter(std::uint32_t id, spa_pod const* parameter)
{
    if (id != SPA_PARAM_Format || !parameter)
        return;
    spa_video_info_raw found{};
    if (spa_format_video_raw_parse(parameter, &found) < 0 || !isUsable(found))
        return lose();
    format = found;
    alignas(8) std::uint8_t memory[512];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_pod const* parameters[] = {offeredBuffers(builder, memoryOf(parameter))};
    pipewire().pw_stream_update_params(stream, parameters, 1);
}

void PipewireStream::State::noteBuffer(pw_buffer* buffer)
{
    if (buffer->buffer->n_datas == 0)
        return;
    auto mapping = std::make_shared<BufferMemory>(buffer->buffer->datas[0]);
    if (mapping->isUsable())
        buffers[buffer] = std::move(mapping);
}

void PipewireStream::State::takeFrames()
{
    VideoFrame newest;
    while (pw_buffer* const buffer = pipewire().pw_stream_dequeue_buffer(stream)) {
        VideoFrame frame = frameOf(buffer);
        if (frame.lease)
            newest = std::move(frame);
        else
            pipewire().pw_stream_queue_buffer(stream, buffer);
    }
    if (newest.lease && events.onFrame)
        events.onFrame(std::move(newest));
}

/// Without a lease if the buffer holds no picture: one without bytes carries only a pointer.
VideoFrame PipewireStream::State::frameOf(pw_buffer* buffer)
{
    auto const known = buffers.find(buffer);
    spa_chunk const* const chunk = known != buffers.end() ? buffer->buffer->datas[0].chunk : nullptr;
    // A graphics card's have no size.
    bool const isEmpty = !chunk || (chunk->size == 0 && known->second->card() < 0);
    if (isEmpty || (chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0 || chunk->stride <= 0)
        return {};
    auto const stride = static_cast<std::size_t>(chunk->stride);
    std::size_t const row = std::size_t{format.size.width} * bytesPerPixel;
    std::size_t const length = stride * (format.size.height - 1) + row;
    std::uint8_t const* const pixels = stride < row ? nullptr : known->second->at(chunk->offset, length);
    if (!pixels)
        return {};
    auto const release = [weak = weak_from_this(), agent = core->agent, buffer,
                          memory = known->second](void*) {
        asio::post(agent, [weak, buffer, memory] {
            if (auto const self = weak.lock();
                self && self->buffers.contains(buffer) && self->buffers.at(buffer) == memory)
                self->giveBack(buffer);
        });
    };
    bool const isRedFirst = format.format == SPA_VIDEO_FORMAT_RGBx || format.format == SPA_VIDEO_FORMAT_RGBA;
    return {.lease = std::shared_ptr<void>(known->second.get(), release),
            .pixels = pixels,
            .width = static_cast<int>(format.size.width),
            .height = static_cast<int>(format.size.height),
            .stride = chunk->stride,
            .isRedFirst = isRedFirst,
            .card = known->second->card()};
}

void PipewireStream::State::giveBack(pw_buffer* buffer) const
{
    pipewire().pw_stream_queue_buffer(stream, buffer);
}

PipewireStream::PipewireStream(std::shared_ptr<PipewireCore> core, std::uint32_t node, Events events)
    : state(std::make_shared<State>(std::move(core), std::move(events)))
{
    state->connect(node);
}

PipewireStream::~PipewireStream()
{
    state->close();
}

void PipewireStream::setActive(bool active)
{
    if (state->stream)
        pipewire().pw_stream_set_active(state->stream, active);
}

} // namespace zelvo
