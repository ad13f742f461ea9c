#include "platform/portable/video/GrowingVideo.h"

#include "platform/VideoFile.h"
#include "platform/portable/video/Libav.h"
#include "platform/portable/video/LibavFailures.h"
#include "platform/portable/video/VideoTime.h"

namespace zelvo {

AvOutputPtr openMuxer(DescriptorIo& io, AVCodecParameters const& stream)
{
    AVFormatContext* raw = nullptr;
    checkLibav(libav().avformat_alloc_output_context2(&raw, nullptr, "mp4", nullptr), "no MPEG-4 container");
    AvOutputPtr muxer(raw);
    AVStream* const track = libav().avformat_new_stream(raw, nullptr);
    if (!track)
        throw VideoFailure{"no memory for the video"};
    checkLibav(libav().avcodec_parameters_copy(track->codecpar, &stream), "no MPEG-4 track");
    track->codecpar->codec_tag = 0;
    track->time_base = {1, videoTicksPerSecond};
    raw->pb = io.get();
    raw->flags |= AVFMT_FLAG_CUSTOM_IO;
    return muxer;
}

GrowingVideo::GrowingVideo(int file, AVCodecParameters const& stream, std::int64_t frameLength)
    : io(file, DescriptorIo::Use::writing), muxer(openMuxer(io, stream)), frameLength(frameLength)
{
    writeHead();
}

void GrowingVideo::writeHead()
{
    AvOptions options;
    options.set("movflags", "empty_moov+default_base_moof+frag_custom");
    options.set("movie_timescale", std::to_string(videoTicksPerSecond));
    checkLibav(libav().avformat_write_header(muxer.get(), options.get()), "the video's head");
    if (!io.flush())
        throw VideoFailure{"the video's head can't be written"};
    whole = io.length();
}

bool GrowingVideo::write(AVPacket& packet)
{
    if (failed)
        return false;
    bool const isKey = packet.flags & AV_PKT_FLAG_KEY;
    packet.stream_index = 0;
    packet.duration = frameLength;
    int code = announce(packet);
    if (code >= 0)
        code = libav().av_write_frame(muxer.get(), &packet);
    if (code >= 0)
        code = libav().av_write_frame(muxer.get(), nullptr);
    if (!settle(code))
        return false;
    guessedEnd = packet.dts + frameLength;
    ++written;
    writtenKeys += isKey;
    return true;
}

/// Starts the next fragment at its own time, not at the guessed end of the last one.
int GrowingVideo::announce(AVPacket const& packet)
{
    libav().av_opt_set(muxer->priv_data, "movflags", "+frag_discont", 0);
    if (packet.dts >= guessedEnd)
        return 0;
    // The muxer learns the earlier start only from the following packet: here an empty one, which it drops.
    if (!empty)
        empty.reset(libav().av_packet_alloc());
    if (!empty)
        return AVERROR(ENOMEM);
    empty->dts = empty->pts = packet.dts - 1;
    return libav().av_write_frame(muxer.get(), empty.get());
}

bool GrowingVideo::close()
{
    return !failed && settle(libav().av_write_trailer(muxer.get()));
}

/// Keeps the last fragment, or truncates the file if the fragment is incomplete.
bool GrowingVideo::settle(int code)
{
    failed = !io.flush() || code < 0;
    if (failed)
        io.truncate(whole);
    else
        whole = io.length();
    return !failed;
}

} // namespace zelvo
