#pragma once

#include "wire/Availability.h"

#include <string>

/// The words of the activity log.
namespace zelvo::ActivityWording {

/// What happened to the machine when its availability changed.
std::string availability(Availability from, Availability to);

} // namespace zelvo::ActivityWording
