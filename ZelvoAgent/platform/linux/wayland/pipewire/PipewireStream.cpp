#include "platform/linux/wayland/pipewire/PipewireStream.h"

#include "platform/linux/wayland/pipewire/PipewireCore.h"

#include <boost/asio/post.hpp>

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <sys/mman.h>

#include <map>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace zelvo {

namespace {

constexpr std::uint32_t maxFramesPerSecond = 30;
constexpr std::uint32_t maxSide = 32768;
constexpr std::uint32_t bytesPerPixel = 4;

/// Memory of a buffer. It stays readable after the sender has removed the buffer.
class Mapping {
public:
    explicit Mapping(spa_data const& data)
        : size(data.maxsize + std::size_t{data.mapoffset}), offset(data.mapoffset)
    {
        if (data.type == SPA_DATA_MemFd)
            start = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, static_cast<int>(data.fd), 0);
    }
    ~Mapping()
    {
        if (isUsable())
            ::munmap(start, size);
    }
    Mapping(Mapping const&) = delete;
    Mapping& operator=(Mapping const&) = delete;

    bool isUsable() const { return start != MAP_FAILED; }
    /// Null if that part is not all inside.
    std::uint8_t const* at(std::size_t from, std::size_t length) const
    {
        if (from > size - offset || length > size - offset - from)
            return nullptr;
        return static_cast<std::uint8_t const*>(start) + offset + from;
    }

private:
    std::size_t size;
    std::size_t offset;
    void* start = MAP_FAILED;
};

/// What we can receive: four formats, any size, and as many frames as we want at most. The bound is that of
/// the range: senders ignore its default.
spa_pod* offeredFormats(spa_pod_builder& builder)
{
    spa_pod_frame object;
    spa_pod_frame choice;
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_prop(&builder, SPA_FORMAT_mediaType, 0);
    spa_pod_builder_id(&builder, SPA_MEDIA_TYPE_video);
    spa_pod_builder_prop(&builder, SPA_FORMAT_mediaSubtype, 0);
    spa_pod_builder_id(&builder, SPA_MEDIA_SUBTYPE_raw);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    for (std::uint32_t const format : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA,
                                       SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_RGBA})
        spa_pod_builder_id(&builder, format);
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    spa_pod_builder_rectangle(&builder, 1920, 1080);
    spa_pod_builder_rectangle(&builder, 1, 1);
    spa_pod_builder_rectangle(&builder, maxSide, maxSide);
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&builder, 0, 1);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_maxFramerate, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    spa_pod_builder_fraction(&builder, maxFramesPerSecond, 1);
    spa_pod_builder_fraction(&builder, 1, 1);
    spa_pod_builder_fraction(&builder, maxFramesPerSecond, 1);
    spa_pod_builder_pop(&builder, &choice);
    return static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

/// Buffers in shared memory only: reading those of a graphics card is slower than the copy that the sender
/// makes.
spa_pod* offeredBuffers(spa_pod_builder& builder)
{
    spa_pod_frame object;
    spa_pod_frame choice;
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    spa_pod_builder_int(&builder, 4);
    spa_pod_builder_int(&builder, 3);
    spa_pod_builder_int(&builder, 16);
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_dataType, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Flags, 0);
    spa_pod_builder_int(&builder, 1 << SPA_DATA_MemFd);
    spa_pod_builder_pop(&builder, &choice);
    return static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

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
    void giveBack(pw_buffer* buffer);
    void lose();

    std::shared_ptr<PipewireCore> core;
    Events events;
    pw_stream* stream = nullptr;
    spa_hook hook{};
    spa_video_info_raw format{};
    std::map<pw_buffer*, std::shared_ptr<Mapping>> buffers;
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
    spa_pod const* parameters[] = {offeredFormats(builder)};
    auto const flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_INACTIVE);
    if (library.pw_stream_connect(stream, PW_DIRECTION_INPUT, node, flags, parameters, 1) < 0)
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
    spa_pod const* parameters[] = {offeredBuffers(builder)};
    pipewire().pw_stream_update_params(stream, parameters, 1);
}

void PipewireStream::State::noteBuffer(pw_buffer* buffer)
{
    if (buffer->buffer->n_datas == 0)
        return;
    auto mapping = std::make_shared<Mapping>(buffer->buffer->datas[0]);
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
    if (!chunk || chunk->size == 0 || (chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0 || chunk->stride <= 0)
        return {};
    std::size_t const stride = static_cast<std::size_t>(chunk->stride);
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
            .isRedFirst = isRedFirst};
}

void PipewireStream::State::giveBack(pw_buffer* buffer)
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
