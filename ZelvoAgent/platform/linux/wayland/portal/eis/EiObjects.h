#pragma once

#include <libei.h>

#include <memory>

namespace zelvo {

template <auto unref>
struct EiUnref {
    template <class T>
    void operator()(T* object) const noexcept
    {
        unref(object);
    }
};

// Each owns one reference.
using EiPtr = std::unique_ptr<ei, EiUnref<ei_unref>>;
using EiEventPtr = std::unique_ptr<ei_event, EiUnref<ei_event_unref>>;
using EiDevicePtr = std::unique_ptr<ei_device, EiUnref<ei_device_unref>>;

} // namespace zelvo
