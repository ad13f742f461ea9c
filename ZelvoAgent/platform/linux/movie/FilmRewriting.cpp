#include "platform/linux/movie/FilmRewriting.h"

#include "platform/MovieFile.h"
#include "platform/linux/movie/DescriptorIo.h"
#include "platform/linux/movie/FilmTime.h"
#include "platform/linux/movie/GrowingFilm.h"
#include "platform/linux/movie/LibavFailures.h"
#include "platform/linux/movie/LibavObjects.h"

#include <algorithm>

namespace zelvo {

namespace {

AvInputPtr openDemuxer(DescriptorIo& io)
{
    AVFormatContext* raw = libav().avformat_alloc_context();
    if (!raw)
        throw MovieFailure{"no memory for the film"};
    raw->pb = io.get();
    raw->flags |= AVFMT_FLAG_CUSTOM_IO;
    // Frees what it was given when it fails.
    checkLibav(libav().avformat_open_input(&raw, "", libav().av_find_input_format("mp4"), nullptr),
               "the film can't be read");
    AvInputPtr demuxer(raw);
    if (demuxer->nb_streams != 1)
        throw MovieFailure{"the film has no track"};
    return demuxer;
}

/// Room for the index: each packet's size and time, a place for each key packet, one for each chunk of
/// packets (two that follow each other are larger than a MiB together), and what every film has.
std::int64_t indexBound(GrownFilm const& film, std::int64_t bytes)
{
    return film.packets * 13 + film.keyPackets * 4 + (bytes / (1 << 20) * 2 + 2) * 20 + 4096;
}

/// Copies packets, each as soon as the next one tells how long it lasts.
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
        checkLibav(code, "the film can't be read");
        libav().av_packet_rescale_ts(packet.get(), from.streams[0]->time_base, {1, filmTicksPerSecond});
        return true;
    }

    void write(std::int64_t end)
    {
        current->duration = std::max<std::int64_t>(end - current->dts, 1);
        current->pos = -1;
        libav().av_packet_rescale_ts(current.get(), {1, filmTicksPerSecond}, to.streams[0]->time_base);
        checkLibav(libav().av_write_frame(&to, current.get()), "the film can't be written");
        libav().av_packet_unref(current.get());
    }

    AVFormatContext& from;
    AVFormatContext& to;
    AvPacketPtr current;
    AvPacketPtr next;
    std::int64_t copied = 0;
};

void rewrite(DescriptorIo& source, DescriptorIo& target, GrownFilm const& film)
{
    AvInputPtr const demuxer = openDemuxer(source);
    AvOutputPtr const muxer = openMuxer(target, *demuxer->streams[0]->codecpar);
    AvOptions options;
    options.set("moov_size", std::to_string(indexBound(film, source.length())));
    options.set("movie_timescale", std::to_string(filmTicksPerSecond));
    checkLibav(libav().avformat_write_header(muxer.get(), options.get()), "the film's head");
    std::int64_t const copied = Copying(*demuxer, *muxer).run(film.end);
    checkLibav(libav().av_write_trailer(muxer.get()), "the film's index");
    if (copied != film.packets || !target.flush())
        throw MovieFailure{"the film is not whole"};
}

} // namespace

bool rewriteFilm(int from, int to, GrownFilm const& film)
{
    try {
        DescriptorIo source(from, DescriptorIo::Use::reading);
        DescriptorIo target(to, DescriptorIo::Use::writing);
        rewrite(source, target, film);
        return true;
    } catch (MovieFailure const&) {
        return false;
    }
}

} // namespace zelvo
