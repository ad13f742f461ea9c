#pragma once

#include "platform/portable/video/Libav.h"

#include <memory>
#include <string>

namespace zelvo {

template <auto release>
struct ReleaseWith { ///< for C functions that take the pointer
    template <class T>
    void operator()(T* raw) const noexcept
    {
        (libav().*release)(raw);
    }
};
template <auto release>
struct ReleaseAt { ///< for C functions that take its address
    template <class T>
    void operator()(T* raw) const noexcept
    {
        (libav().*release)(&raw);
    }
};

using AvBufferPtr = std::unique_ptr<AVBufferRef, ReleaseAt<&Libav::av_buffer_unref>>;
using AvCodecPtr = std::unique_ptr<AVCodecContext, ReleaseAt<&Libav::avcodec_free_context>>;
using AvFramePtr = std::unique_ptr<AVFrame, ReleaseAt<&Libav::av_frame_free>>;
using AvInputPtr = std::unique_ptr<AVFormatContext, ReleaseAt<&Libav::avformat_close_input>>;
using AvOutputPtr = std::unique_ptr<AVFormatContext, ReleaseWith<&Libav::avformat_free_context>>;
using AvPacketPtr = std::unique_ptr<AVPacket, ReleaseAt<&Libav::av_packet_free>>;
using AvParametersPtr = std::unique_ptr<AVCodecParameters, ReleaseAt<&Libav::avcodec_parameters_free>>;

/// Options by name; unknown ones are ignored.
class AvOptions {
public:
    AvOptions() = default;
    ~AvOptions() { libav().av_dict_free(&raw); }
    AvOptions(AvOptions const&) = delete;
    AvOptions& operator=(AvOptions const&) = delete;

    void set(std::string const& name, std::string const& value)
    {
        libav().av_dict_set(&raw, name.c_str(), value.c_str(), 0);
    }
    AVDictionary** get() { return &raw; }

private:
    AVDictionary* raw = nullptr;
};

} // namespace zelvo
