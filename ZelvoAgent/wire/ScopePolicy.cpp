#include "wire/ScopePolicy.h"

#include "wire/MethodTable.h"

namespace zelvo {

std::optional<AgentScope> ScopePolicy::required(std::string_view method)
{
    Method const* const row = methodNamed(method);
    return row ? row->scope : std::nullopt;
}

} // namespace zelvo
