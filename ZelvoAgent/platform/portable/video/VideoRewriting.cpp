#include "platform/portable/video/VideoRewriting.h"

#include "platform/VideoFile.h"
#include "platform/portable/video/DescriptorIo.h"
#include "platform/portable/video/GrowingVideo.h"
#include "platform/portable/video/LibavFailures.h"
#include "platform/portable/video/LibavObjects.h"
#include "platform/portable/video/VideoTime.h"

#include <algorithm>

namespace zelvo {

namespace {

AvInputPtr openDemuxer(DescriptorIo& io)
{
    AVFormatContext* raw = libav().avformat_alloc_context();
    if (!raw)
        throw VideoFailure{"no memory for the video"};
    raw->pb = io.get();
    raw->flags |= AVFMT_FLAG_CUSTOM_IO;
    // It frees its argument on failure.
    checkLibav(libav().avformat_open_input(&raw, "", libav().av_find_input_format("mp4"), nullptr),
               "the video can't be read");
    AvInputPtr demuxer(raw);
    if (demuxer->nb_streams != 1)
        throw VideoFailure{"the video has no track"};
    return demuxer;
}

/// Upper bound of the index: each packet's size and time, an entry for each key packet and for each chunk of
/// packets (two neighbouring chunks together exceed a MiB), and a constant part.
std::int64_t indexBound(GrownVideo const& video, std::int64_t bytes)
{
    return video.packets * 13 + video.keyPackets * 4 + (bytes / (1 << 20) * 2 + 2) * 20 + 4096;
}

/// Copies packets, each as soon as the next one shows how long it lasts.
class Copying {
public:
    Copying(AVFormatContext& from, AVFormatContext& to) : from(from), to(to) {}

    std::int64_t run(std::int64_t end)
    {
        while (read(next)) {
            if (copied++ > 0)
                write(next->dts);
            std::swap(current, next);
        }
        if (copied > 0)
            write(end);
        return copied;
    }

private:
    bool read(AvPacketPtr& packet)
    {
        if (!packet)
            packet.reset(libav().av_packet_alloc());
        int const code = packet ? libav().av_read_frame(&from, packet.get()) : AVERROR(ENOMEM);
        if (code == AVERROR_EOF)
            return false;
        checkLibav(code, "the video can't be read");
        libav().av_packet_rescale_ts(packet.get(), from.streams[0]->time_base, {1, videoTicksPerSecond});
        return true;
    }

    void write(std::int64_t end)
    {
        current->duration = std::max<std::int64_t>(end - current->dts, 1);
        current->pos = -1;
        libav().av_packet_rescale_ts(current.get(), {1, videoTicksPerSecond}, to.streams[0]->time_base);
        checkLibav(libav().av_write_frame(&to, current.get()), "the video can't be written");
        libav().av_packet_unref(current.get());
    }

    AVFormatContext& from;
    AVFormatContext& to;
    AvPacketPtr current;
    AvPacketPtr next;
    std::int64_t copied = 0;
};

void rewrite(DescriptorIo& source, DescriptorIo& target, GrownVideo const& video)
{
    AvInputPtr const demuxer = openDemuxer(source);
    AvOutputPtr const muxer = openMuxer(target, *demuxer->streams[0]->codecpar);
    AvOptions options;
    options.set("moov_size", std::to_string(indexBound(video, source.length())));
    options.set("movie_timescale", std::to_string(videoTicksPerSecond));
    checkLibav(libav().avformat_write_header(muxer.get(), options.get()), "the video's head");
    std::int64_t const copied = Copying(*demuxer, *muxer).run(video.end);
    checkLibav(libav().av_write_trailer(muxer.get()), "the video's index");
    if (copied != video.packets || !target.flush())
        throw VideoFailure{"the video is not whole"};
}

} // namespace

bool rewriteVideo(int from, int to, GrownVideo const& video)
{
    try {
        DescriptorIo source(from, DescriptorIo::Use::reading);
        DescriptorIo target(to, DescriptorIo::Use::writing);
        rewrite(source, target, video);
        return true;
    } catch (VideoFailure const&) {
        return false;
    }
}

} // namespace zelvo
