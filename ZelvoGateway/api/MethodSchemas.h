#pragma once

#include "wire/Json.h"

namespace zelvo::service {

/// The body that sends a command: one schema for each method of the method table that platforms may send.
/// Params and results are those of docs/schema, which tests hold to the program.
struct MethodSchemas {
    json::object body;
    json::object result;  ///< of any method
    json::object schemas; ///< what both refer to
};
MethodSchemas methodSchemas();

} // namespace zelvo::service
