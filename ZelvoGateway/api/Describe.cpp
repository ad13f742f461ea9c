#include "ZelvoGateway/api/Describe.h"

#include "ZelvoGateway/store/Page.h"

namespace zelvo::service {

Describe& Describe::asks(std::string name, std::string description, json::object schema)
{
    operation.query.push_back(
        {.name = std::move(name), .description = std::move(description), .schema = std::move(schema)});
    return *this;
}

Describe& Describe::listed(std::vector<std::pair<std::string, std::string>> const& filters)
{
    asks("limit", "How many at most",
         {{"type", "integer"}, {"minimum", 1}, {"maximum", maxListed}, {"default", PageQuery().limit}});
    asks("before", "The \"nextBefore\" of the page before");
    for (auto const& [name, description] : filters)
        asks(name, description);
    return *this;
}

Describe& Describe::takes(json::object schema, json::object const& schemas, bool mayLack)
{
    operation.body = std::move(schema);
    operation.mayLackBody = mayLack;
    for (auto const& [name, each] : schemas)
        operation.schemas[name] = each;
    return *this;
}

Describe& Describe::gives(std::string description, json::object schema, int status)
{
    operation.answers.push_back(
        {.status = status, .description = std::move(description), .schema = std::move(schema)});
    return *this;
}

} // namespace zelvo::service
