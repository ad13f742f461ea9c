#pragma once

#include "base/ReleaseWith.h"

#include <libei.h>

#include <memory>

namespace zelvo {

// Each owns one reference.
using EiPtr = std::unique_ptr<ei, ReleaseWith<ei_unref>>;
using EiEventPtr = std::unique_ptr<ei_event, ReleaseWith<ei_event_unref>>;
using EiDevicePtr = std::unique_ptr<ei_device, ReleaseWith<ei_device_unref>>;

} // namespace zelvo
