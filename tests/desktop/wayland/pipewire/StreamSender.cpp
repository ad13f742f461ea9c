// Sends pictures of one colour by PipeWire, as a compositor does, and writes a line for its node ("node 42"),
// for each buffer
// ("card", "shared") and for each frame ("frame"). Memory of a graphics card is shared memory here under that
// name. Usage: stream_sender COLOUR whole|cut MEMORY..., the memory "card" or "shared", the preferred one
// first; cut: it is smaller than a picture
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace {

constexpr std::uint32_t width = 640;
constexpr std::uint32_t height = 480;
constexpr std::uint32_t bytesPerPixel = 4;
constexpr std::uint32_t stride = width * bytesPerPixel;
constexpr std::uint32_t frameSize = stride * height;
constexpr std::int64_t linear = 0;
constexpr long frameNanoseconds = 20'000'000;

spa_pod* format(spa_pod_builder& builder, bool isOfCard)
{
    spa_pod_frame object;
    spa_rectangle const size = SPA_RECTANGLE(width, height);
    spa_fraction const rate = SPA_FRACTION(0, 1);
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
                        SPA_POD_Id(SPA_VIDEO_FORMAT_BGRx), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                        SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    if (isOfCard) {
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

void say(std::string const& line)
{
    std::puts(line.c_str());
    std::fflush(stdout);
}

struct Sender {
    void connect(pw_core* core);
    void noteFormat(spa_pod const* chosen);
    void addBuffer(pw_buffer* buffer);
    void play();

    std::vector<bool> offered; // whether a graphics card's
    std::uint32_t color = 0;
    bool isCut = false;
    pw_stream* stream = nullptr;
    spa_hook hook{};
    std::uint32_t type = SPA_DATA_Invalid;
};

void Sender::connect(pw_core* core)
{
    static pw_stream_events const handlers = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = [](void* data, pw_stream_state, pw_stream_state now, char const*) {
            auto* const self = static_cast<Sender*>(data);
            if (now == PW_STREAM_STATE_PAUSED)
                say("node " + std::to_string(pw_stream_get_node_id(self->stream)));
        };
        table.param_changed = [](void* data, std::uint32_t id, spa_pod const* chosen) {
            if (id == SPA_PARAM_Format && chosen)
                static_cast<Sender*>(data)->noteFormat(chosen);
        };
        table.add_buffer = [](void* data, pw_buffer* buffer) {
            static_cast<Sender*>(data)->addBuffer(buffer);
        };
        table.remove_buffer = [](void*, pw_buffer* buffer) {
            ::close(static_cast<int>(buffer->buffer->datas[0].fd));
        };
        table.process = [](void* data) { static_cast<Sender*>(data)->play(); };
        return table;
    }();
    stream = pw_stream_new(core, "played", pw_properties_new_string("media.class=Video/Source"));
    pw_stream_add_listener(stream, &hook, &handlers, this);
    alignas(8) std::uint8_t memory[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    std::vector<spa_pod const*> formats;
    for (bool const isOfCard : offered)
        formats.push_back(format(builder, isOfCard));
    auto const flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS);
    if (pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(),
                          static_cast<std::uint32_t>(formats.size())) < 0)
        throw std::runtime_error("no stream");
}

void Sender::noteFormat(spa_pod const* chosen)
{
    bool const isOfCard = spa_pod_find_prop(chosen, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr;
    type = isOfCard ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
    alignas(8) std::uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_pod const* parameters[] = {buffersOf(builder, type)};
    pw_stream_update_params(stream, parameters, 1);
}

void Sender::addBuffer(pw_buffer* buffer)
{
    spa_data& data = buffer->buffer->datas[0];
    data.type = type;
    data.flags = SPA_DATA_FLAG_READABLE;
    data.fd = paintedMemory(isCut ? frameSize / 2 : frameSize, color);
    data.mapoffset = 0;
    data.maxsize = frameSize;
    say(type == SPA_DATA_DmaBuf ? "card" : "shared");
}

void Sender::play()
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
    say("frame");
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 4)
        return 2;
    Sender sender;
    sender.color = static_cast<std::uint32_t>(std::strtoul(arguments[1], nullptr, 16));
    sender.isCut = std::string(arguments[2]) == "cut";
    for (int at = 3; at < count; ++at)
        sender.offered.push_back(std::string(arguments[at]) == "card");
    pw_init(nullptr, nullptr);
    pw_main_loop* const main = pw_main_loop_new(nullptr);
    pw_loop* const loop = pw_main_loop_get_loop(main);
    pw_core* const core = pw_context_connect(pw_context_new(loop, nullptr, 0), nullptr, 0);
    if (!core)
        return 1;
    sender.connect(core);
    auto const tick = [](void* data, std::uint64_t) {
        pw_stream* const stream = static_cast<Sender*>(data)->stream;
        if (pw_stream_get_state(stream, nullptr) == PW_STREAM_STATE_STREAMING)
            pw_stream_trigger_process(stream);
    };
    timespec interval{.tv_sec = 0, .tv_nsec = frameNanoseconds};
    pw_loop_update_timer(loop, pw_loop_add_timer(loop, tick, &sender), &interval, &interval, false);
    return pw_main_loop_run(main);
}
