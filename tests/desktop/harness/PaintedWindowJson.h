#pragma once

#include "desktop/harness/Painter.h"

#include <boost/json/object.hpp>

namespace zelvo::test {

boost::json::object toJson(PaintedWindow const& window);
PaintedWindow windowFrom(boost::json::object const& json);

} // namespace zelvo::test
