#pragma once

#include "base/Task.h"
#include "router/Admission.h"
#include "wire/Json.h"
#include "wire/MethodTable.h"

#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace zelvo {

/// The name of a served method; any other text does not compile.
class ServedMethod {
public:
    consteval ServedMethod(char const* text) : name(text)
    {
        Method const* const method = methodNamed(name);
        if (!method || !method->isServed())
            throw "no served method has this name";
    }

    std::string_view name;
};

/// How a family of handlers answers one method. Each family lists its rows in a constexpr array `rows`.
template <class Family>
struct HandlerRow {
    ServedMethod method;
    Task<json::value> (Family::*handler)(Admission);
};

/// True if the families together have exactly one handler for each served method.
template <class... Families>
consteval bool haveOneHandlerForEachMethod()
{
    for (Method const& method : methods) {
        auto const isOfMethod = [&](auto const& row) { return row.method.name == method.name; };
        auto const handlers = (std::ranges::count_if(Families::rows, isOfMethod) + ... + 0);
        if (handlers != (method.isServed() ? 1 : 0))
            return false;
    }
    return true;
}

/// The handlers by the names of their methods.
using HandlerTable = std::map<std::string_view, std::function<Task<json::value>(Admission)>>;

/// family  lives as long as the table
template <class Family>
void addHandlers(HandlerTable& table, Family& family)
{
    for (HandlerRow<Family> const& row : Family::rows)
        table.emplace(row.method.name, [&family, handler = row.handler](Admission admission) {
            return (family.*handler)(std::move(admission));
        });
}

} // namespace zelvo
