#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/hwcontext.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
}

namespace zelvo {

/// A library that is loaded on first use and never unloaded. Throws VideoFailure if it can't be loaded.
class LoadedLibrary {
public:
    explicit LoadedLibrary(char const* name);

    /// The address of a symbol, converted to the type of the variable that it initialises.
    struct Symbol {
        void* place;
        template <class Function>
        operator Function*() const
        {
            return reinterpret_cast<Function*>(place);
        }
    };
    Symbol find(char const* name) const;

private:
    void* handle;
};

// NOLINTBEGIN(readability-identifier-naming,bugprone-macro-parentheses): the names are libav's.
#define ZELVO_LOADED(library, function) decltype(&::function) function = library.find(#function)

/// The functions of libav that videos need, from the library versions of our headers. They load some hundred
/// other libraries, which would slow down each start and add half to the program's memory; so they load with
/// the first video. Thread: any.
struct Libav {
    LoadedLibrary util{"libavutil.so." AV_STRINGIFY(LIBAVUTIL_VERSION_MAJOR)};
    LoadedLibrary codec{"libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR)};
    LoadedLibrary format{"libavformat.so." AV_STRINGIFY(LIBAVFORMAT_VERSION_MAJOR)};

    ZELVO_LOADED(util, av_buffer_unref);
    ZELVO_LOADED(util, av_dict_free);
    ZELVO_LOADED(util, av_dict_set);
    ZELVO_LOADED(util, av_frame_alloc);
    ZELVO_LOADED(util, av_frame_free);
    ZELVO_LOADED(util, av_frame_get_buffer);
    ZELVO_LOADED(util, av_frame_make_writable);
    ZELVO_LOADED(util, av_free);
    ZELVO_LOADED(util, av_freep);
    ZELVO_LOADED(util, av_hwdevice_ctx_create);
    ZELVO_LOADED(util, av_hwframe_ctx_alloc);
    ZELVO_LOADED(util, av_hwframe_ctx_init);
    ZELVO_LOADED(util, av_hwframe_get_buffer);
    ZELVO_LOADED(util, av_hwframe_transfer_data);
    ZELVO_LOADED(util, av_log_set_callback);
    ZELVO_LOADED(util, av_malloc);
    ZELVO_LOADED(util, av_opt_set);
    ZELVO_LOADED(util, av_strerror);

    ZELVO_LOADED(codec, av_packet_alloc);
    ZELVO_LOADED(codec, av_packet_free);
    ZELVO_LOADED(codec, av_packet_rescale_ts);
    ZELVO_LOADED(codec, av_packet_unref);
    ZELVO_LOADED(codec, avcodec_alloc_context3);
    ZELVO_LOADED(codec, avcodec_find_encoder_by_name);
    ZELVO_LOADED(codec, avcodec_free_context);
    ZELVO_LOADED(codec, avcodec_open2);
    ZELVO_LOADED(codec, avcodec_parameters_alloc);
    ZELVO_LOADED(codec, avcodec_parameters_copy);
    ZELVO_LOADED(codec, avcodec_parameters_free);
    ZELVO_LOADED(codec, avcodec_parameters_from_context);
    ZELVO_LOADED(codec, avcodec_receive_packet);
    ZELVO_LOADED(codec, avcodec_send_frame);

    ZELVO_LOADED(format, av_find_input_format);
    ZELVO_LOADED(format, av_read_frame);
    ZELVO_LOADED(format, av_write_frame);
    ZELVO_LOADED(format, av_write_trailer);
    ZELVO_LOADED(format, avformat_alloc_context);
    ZELVO_LOADED(format, avformat_alloc_output_context2);
    ZELVO_LOADED(format, avformat_close_input);
    ZELVO_LOADED(format, avformat_free_context);
    ZELVO_LOADED(format, avformat_new_stream);
    ZELVO_LOADED(format, avformat_open_input);
    ZELVO_LOADED(format, avformat_write_header);
    ZELVO_LOADED(format, avio_alloc_context);
    ZELVO_LOADED(format, avio_context_free);
    ZELVO_LOADED(format, avio_flush);
};

#undef ZELVO_LOADED
// NOLINTEND(readability-identifier-naming,bugprone-macro-parentheses)

/// The first call loads the libraries, which blocks for some hundredths of a second, and silences their log:
/// failures are return values. Throws VideoFailure if they are not installed.
Libav const& libav();

} // namespace zelvo
