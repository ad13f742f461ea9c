#include "platform/portable/video/LibavEncoder.h"

#include "platform/portable/video/Libav.h"
#include "platform/portable/video/LibavFailures.h"
#include "platform/portable/video/VideoTime.h"

namespace zelvo {

namespace {

/// Checks the result of C functions that return null if there is no memory.
template <class Owned>
Owned made(Owned object)
{
    if (!object)
        throw VideoFailure{"no memory for the video"};
    return object;
}

AVPixelFormat formatOf(EncoderCandidate::Layout layout)
{
    return layout == EncoderCandidate::Layout::nv12 ? AV_PIX_FMT_NV12 : AV_PIX_FMT_YUV420P;
}

AvFramePtr frameOf(AVPixelFormat format, int width, int height)
{
    AvFramePtr frame = made(AvFramePtr(libav().av_frame_alloc()));
    frame->format = format;
    frame->width = width;
    frame->height = height;
    checkLibav(libav().av_frame_get_buffer(frame.get(), 0), "no memory for a frame");
    return frame;
}

} // namespace

LibavEncoder::LibavEncoder(EncoderCandidate const& candidate, VideoSettings const& settings)
{
    AVCodec const* const codec = libav().avcodec_find_encoder_by_name(candidate.codec.c_str());
    if (!codec)
        throw VideoFailure{"there is no " + candidate.codec};
    context = made(AvCodecPtr(libav().avcodec_alloc_context3(codec)));
    set(candidate, settings);
    if (candidate.uploads)
        openDevice(candidate);
    AvOptions options;
    for (auto const& [name, value] : candidate.options)
        options.set(name, value);
    checkLibav(libav().avcodec_open2(context.get(), codec, options.get()),
               candidate.codec + " does not open");
    parameters = made(AvParametersPtr(libav().avcodec_parameters_alloc()));
    checkLibav(libav().avcodec_parameters_from_context(parameters.get(), context.get()), candidate.codec);
    held = frameOf(formatOf(candidate.layout), settings.width, settings.height);
    packet = made(AvPacketPtr(libav().av_packet_alloc()));
}

void LibavEncoder::set(EncoderCandidate const& candidate, VideoSettings const& settings)
{
    AVCodecContext& c = *context;
    c.width = settings.width;
    c.height = settings.height;
    c.pix_fmt = formatOf(candidate.layout);
    c.time_base = {1, videoTicksPerSecond};
    c.framerate = {settings.expectedFrameRate, 1};
    c.bit_rate = settings.averageBitRate;
    c.gop_size = settings.maxKeyFrameInterval;
    c.max_b_frames = 0;
    // One thread is enough at this rate; each further one would delay by a frame.
    c.thread_count = 1;
    c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // FrameConversion's output.
    c.color_range = AVCOL_RANGE_MPEG;
    c.colorspace = AVCOL_SPC_SMPTE170M;
    c.color_primaries = AVCOL_PRI_BT709;
    c.color_trc = AVCOL_TRC_BT709;
}

void LibavEncoder::openDevice(EncoderCandidate const& candidate)
{
    AVBufferRef* opened = nullptr;
    checkLibav(
        libav().av_hwdevice_ctx_create(&opened, AV_HWDEVICE_TYPE_VAAPI, candidate.device.c_str(), nullptr, 0),
        candidate.device + " does not open");
    device.reset(opened);
    AvBufferPtr frames = made(AvBufferPtr(libav().av_hwframe_ctx_alloc(device.get())));
    auto& facts = *reinterpret_cast<AVHWFramesContext*>(frames->data);
    facts.format = AV_PIX_FMT_VAAPI;
    facts.sw_format = context->pix_fmt;
    facts.width = context->width;
    facts.height = context->height;
    checkLibav(libav().av_hwframe_ctx_init(frames.get()), candidate.codec + " has no memory");
    context->pix_fmt = AV_PIX_FMT_VAAPI;
    context->hw_frames_ctx = frames.release();
}

AVFrame* LibavEncoder::frame()
{
    return libav().av_frame_make_writable(held.get()) < 0 ? nullptr : held.get();
}

bool LibavEncoder::encode(std::int64_t ticks, Taker const& take)
{
    held->pts = ticks;
    if (!context->hw_frames_ctx)
        return send(held.get(), take);
    AvFramePtr const inside = uploaded();
    return inside && send(inside.get(), take);
}

AvFramePtr LibavEncoder::uploaded()
{
    AvFramePtr inside(libav().av_frame_alloc());
    if (!inside || libav().av_hwframe_get_buffer(context->hw_frames_ctx, inside.get(), 0) < 0 ||
        libav().av_hwframe_transfer_data(inside.get(), held.get(), 0) < 0)
        return nullptr;
    inside->pts = held->pts;
    return inside;
}

bool LibavEncoder::drain(Taker const& take)
{
    return send(nullptr, take);
}

/// given  null at the end
bool LibavEncoder::send(AVFrame const* given, Taker const& take)
{
    return libav().avcodec_send_frame(context.get(), given) >= 0 && takeReady(take);
}

bool LibavEncoder::takeReady(Taker const& take)
{
    for (;;) {
        int const code = libav().avcodec_receive_packet(context.get(), packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return true;
        if (code < 0)
            return false;
        bool const kept = take(*packet);
        libav().av_packet_unref(packet.get());
        if (!kept)
            return false;
    }
}

} // namespace zelvo
