#pragma once

#include "wire/MethodTable.h"

namespace zelvo::service {

/// How logs and events name a method: "unknown" unless it is one of the table, since a caller may send any
/// text as a method.
constexpr std::string_view knownMethod(std::string_view method)
{
    return methodNamed(method) ? method : std::string_view("unknown");
}

} // namespace zelvo::service
