#include "platform/linux/wayland/pipewire/StreamOffers.h"

#include <spa/buffer/buffer.h>
#include <spa/param/video/format-utils.h>

#include <cstdint>
#include <initializer_list>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace zelvo {

namespace {

constexpr std::uint32_t maxFramesPerSecond = 30;
constexpr std::int64_t linear = 0; // Row after row, as shared memory is; the kernel's DRM_FORMAT_MOD_LINEAR.

} // namespace

spa_pod* offeredFormats(spa_pod_builder& builder, FrameMemory memory)
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
    if (memory == FrameMemory::card) {
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
        spa_pod_builder_long(&builder, linear);
    }
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    spa_pod_builder_rectangle(&builder, 1920, 1080);
    spa_pod_builder_rectangle(&builder, 1, 1);
    spa_pod_builder_rectangle(&builder, maxSide, maxSide);
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&builder, 0, 1);
    // The bound is that of the range: senders ignore its default.
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_maxFramerate, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    spa_pod_builder_fraction(&builder, maxFramesPerSecond, 1);
    spa_pod_builder_fraction(&builder, 1, 1);
    spa_pod_builder_fraction(&builder, maxFramesPerSecond, 1);
    spa_pod_builder_pop(&builder, &choice);
    return static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

spa_pod* offeredBuffers(spa_pod_builder& builder, FrameMemory memory)
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
    spa_pod_builder_int(&builder, 1 << (memory == FrameMemory::card ? SPA_DATA_DmaBuf : SPA_DATA_MemFd));
    spa_pod_builder_pop(&builder, &choice);
    return static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

FrameMemory memoryOf(spa_pod const* format)
{
    bool const isOfCard = spa_pod_find_prop(format, nullptr, SPA_FORMAT_VIDEO_modifier) != nullptr;
    return isOfCard ? FrameMemory::card : FrameMemory::shared;
}

} // namespace zelvo
