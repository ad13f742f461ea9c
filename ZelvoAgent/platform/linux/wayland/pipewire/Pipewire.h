#pragma once

#include <pipewire/pipewire.h>

namespace zelvo {

// NOLINTBEGIN(readability-identifier-naming,bugprone-macro-parentheses): the names are PipeWire's.
#define ZELVO_LOADED(function) decltype(&::function) function = find<decltype(&::function)>(#function)

/// The functions of PipeWire that streams need. The library is loaded when the first stream is opened,
/// because most sessions never need one, and it starts threads. Thread: any.
struct Pipewire {
    ZELVO_LOADED(pw_context_connect);
    ZELVO_LOADED(pw_context_connect_fd);
    ZELVO_LOADED(pw_context_destroy);
    ZELVO_LOADED(pw_context_new);
    ZELVO_LOADED(pw_core_disconnect);
    ZELVO_LOADED(pw_init);
    ZELVO_LOADED(pw_loop_destroy);
    ZELVO_LOADED(pw_loop_new);
    ZELVO_LOADED(pw_properties_new_string);
    ZELVO_LOADED(pw_stream_add_listener);
    ZELVO_LOADED(pw_stream_connect);
    ZELVO_LOADED(pw_stream_dequeue_buffer);
    ZELVO_LOADED(pw_stream_destroy);
    ZELVO_LOADED(pw_stream_new);
    ZELVO_LOADED(pw_stream_queue_buffer);
    ZELVO_LOADED(pw_stream_set_active);
    ZELVO_LOADED(pw_stream_update_params);

private:
    /// Throws ScreenFailure.
    static void* symbol(char const* name);
    template <class Function>
    static Function find(char const* name)
    {
        return reinterpret_cast<Function>(symbol(name));
    }
};

#undef ZELVO_LOADED
// NOLINTEND(readability-identifier-naming,bugprone-macro-parentheses)

/// The first call loads the library, which blocks for some milliseconds. Throws ScreenFailure if it is not
/// installed.
Pipewire const& pipewire();

} // namespace zelvo
