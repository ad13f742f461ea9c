#include "desktop/wayland/pipewire/PlayedStream.h"

#include "desktop/harness/WaitFor.h"

#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <utility>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace zelvo::test {

namespace {

constexpr std::uint32_t bytesPerPixel = 4;
constexpr std::uint32_t stride = PlayedStream::width * bytesPerPixel;
constexpr std::uint32_t frameSize = stride * PlayedStream::height;
constexpr std::int64_t linear = 0;
constexpr long frameNanoseconds = 20'000'000;

spa_pod* format(spa_pod_builder& builder, PlayedStream::Memory memory)
{
    spa_pod_frame object;
    spa_rectangle const size = SPA_RECTANGLE(PlayedStream::width, PlayedStream::height);
    spa_fraction const rate = SPA_FRACTION(0, 1);
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
                        SPA_POD_Id(SPA_VIDEO_FORMAT_BGRx), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                        SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    if (memory == PlayedStream::Memory::card) {
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
        spa_pod_builder_long(&builder, linear);
    }
    return static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

spa_pod* buffersOf(spa_pod_builder& builder, std::uint32_t type)
{
    return static_cast<spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers, SPA_POD_Int(4),
        SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size, SPA_POD_Int(frameSize),
        SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int(1 << type)));
}

/// A new file of that size in memory, filled with a color.
int paintedMemory(std::size_t size, std::uint32_t color)
{
    int const descriptor = ::memfd_create("frame", MFD_CLOEXEC);
    std::vector<std::uint32_t> const pixels(size / bytesPerPixel, color);
    if (descriptor < 0 || ::write(descriptor, pixels.data(), size) != static_cast<ssize_t>(size))
        throw std::runtime_error("no memory for a frame");
    return descriptor;
}

} // namespace

struct PlayedStream::State {
    explicit State(Options options) : options(std::move(options)) {}

    void connect();
    void noteFormat(spa_pod const* chosen);
    void addBuffer(pw_buffer* buffer);
    void play();

    Options const options;
    pw_thread_loop* loop = nullptr;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr;
    spa_hook hook{};
    std::uint32_t type = SPA_DATA_Invalid;
    std::array<std::atomic<int>, 2> made{};
    std::atomic<int> sent = 0;
    std::atomic<std::uint32_t> node = PW_ID_ANY;
};

void PlayedStream::State::connect()
{
    static pw_stream_events const handlers = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = [](void* data, pw_stream_state, pw_stream_state now, char const*) {
            auto* const self = static_cast<State*>(data);
            if (now == PW_STREAM_STATE_PAUSED)
                self->node = pw_stream_get_node_id(self->stream);
        };
        table.param_changed = [](void* data, std::uint32_t id, spa_pod const* chosen) {
            if (id == SPA_PARAM_Format && chosen)
                static_cast<State*>(data)->noteFormat(chosen);
        };
        table.add_buffer = [](void* data, pw_buffer* buffer) {
            static_cast<State*>(data)->addBuffer(buffer);
        };
        table.remove_buffer = [](void*, pw_buffer* buffer) {
            ::close(static_cast<int>(buffer->buffer->datas[0].fd));
        };
        table.process = [](void* data) { static_cast<State*>(data)->play(); };
        return table;
    }();
    stream = pw_stream_new(core, "played", pw_properties_new_string("media.class=Video/Source"));
    pw_stream_add_listener(stream, &hook, &handlers, this);
    alignas(8) std::uint8_t memory[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    std::vector<spa_pod const*> formats;
    for (Memory const offered : options.offered)
        formats.push_back(format(builder, offered));
    auto const flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS);
    if (pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(),
                          static_cast<std::uint32_t>(formats.size())) < 0)
        throw std::runtime_error("no stream");
}

void PlayedStream::State::noteFormat(spa_pod const* chosen)
{
    bool const isOfCard = spa_pod_find_prop(chosen, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr;
    type = isOfCard ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
    alignas(8) std::uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_pod const* parameters[] = {buffersOf(builder, type)};
    pw_stream_update_params(stream, parameters, 1);
}

void PlayedStream::State::addBuffer(pw_buffer* buffer)
{
    spa_data& data = buffer->buffer->datas[0];
    data.type = type;
    data.flags = SPA_DATA_FLAG_READABLE;
    data.fd = paintedMemory(options.isCut ? frameSize / 2 : frameSize, options.color);
    data.mapoffset = 0;
    data.maxsize = frameSize;
    ++made[static_cast<std::size_t>(type == SPA_DATA_DmaBuf ? Memory::card : Memory::shared)];
}

void PlayedStream::State::play()
{
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
    if (!buffer)
        return;
    spa_chunk& chunk = *buffer->buffer->datas[0].chunk;
    chunk.offset = 0;
    chunk.size = type == SPA_DATA_DmaBuf ? 0 : frameSize; // As compositors do.
    chunk.stride = static_cast<std::int32_t>(stride);
    chunk.flags = SPA_CHUNK_FLAG_NONE;
    pw_stream_queue_buffer(stream, buffer);
    ++sent;
}

PlayedStream::PlayedStream(Options options) : state(std::make_unique<State>(std::move(options)))
{
    pw_init(nullptr, nullptr);
    state->loop = pw_thread_loop_new("played", nullptr);
    state->context = pw_context_new(pw_thread_loop_get_loop(state->loop), nullptr, 0);
    pw_thread_loop_start(state->loop);
    pw_thread_loop_lock(state->loop);
    state->core = pw_context_connect(state->context, nullptr, 0);
    if (state->core)
        state->connect();
    auto const tick = [](void* data, std::uint64_t) {
        pw_stream* const stream = static_cast<State*>(data)->stream;
        if (pw_stream_get_state(stream, nullptr) == PW_STREAM_STATE_STREAMING)
            pw_stream_trigger_process(stream);
    };
    pw_loop* const inner = pw_thread_loop_get_loop(state->loop);
    timespec interval{.tv_sec = 0, .tv_nsec = frameNanoseconds};
    state->timer = pw_loop_add_timer(inner, tick, state.get());
    pw_loop_update_timer(inner, state->timer, &interval, &interval, false);
    pw_thread_loop_unlock(state->loop);
    if (!state->core)
        throw std::runtime_error("no PipeWire");
    require("a node", [this] { return state->node != PW_ID_ANY; });
}

PlayedStream::~PlayedStream()
{
    pw_thread_loop_stop(state->loop);
    pw_stream_destroy(state->stream);
    pw_core_disconnect(state->core);
    pw_context_destroy(state->context);
    pw_thread_loop_destroy(state->loop);
}

std::uint32_t PlayedStream::node() const
{
    return state->node;
}

int PlayedStream::buffers(Memory memory) const
{
    return state->made[static_cast<std::size_t>(memory)];
}

int PlayedStream::frames() const
{
    return state->sent;
}

} // namespace zelvo::test
