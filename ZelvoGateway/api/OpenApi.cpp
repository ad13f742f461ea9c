#include "ZelvoGateway/api/OpenApi.h"

#include "ZelvoGateway/api/Describe.h"
#include "base/Text.h"
#include "wire/records/ServiceMachines.h"

#include <map>
#include <set>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr char const* overview =
    "Link people's computers, send commands to them, and follow what happens. Every call needs a key in "
    "\"Authorization: Bearer KEY\". The pages docs/platforms.md and docs/protocol.md say more.";

/// What any call with a key may be refused for.
constexpr std::array<ErrorCode, 5> errorsOfAll = {ErrorCode::invalidRequest, ErrorCode::unauthorized,
                                                  ErrorCode::forbidden, ErrorCode::rateLimited,
                                                  ErrorCode::internalError};

json::object content(json::object schema)
{
    return {{"application/json", {{"schema", std::move(schema)}}}};
}

std::string pathOf(Route const& route)
{
    std::string path;
    auto name = route.operation->pathNames.begin();
    for (std::string_view const segment : route.pattern)
        path += "/" + (segment == "*" ? "{" + *name++ + "}" : std::string(segment));
    return path;
}

json::array parametersOf(Operation const& operation)
{
    json::array parameters;
    for (std::string const& name : operation.pathNames)
        parameters.push_back(
            {{"name", name}, {"in", "path"}, {"required", true}, {"schema", {{"type", "string"}}}});
    for (Operation::Parameter const& each : operation.query)
        parameters.push_back({{"name", each.name},
                              {"in", "query"},
                              {"description", each.description},
                              {"schema", each.schema}});
    if (operation.mayRepeat)
        parameters.push_back({{"name", "Idempotency-Key"},
                              {"in", "header"},
                              {"description", "Carries the request out once, however often it is sent"},
                              {"schema", {{"type", "string"}, {"minLength", 1}, {"maxLength", 255}}}});
    return parameters;
}

/// Errors by their status: several codes may share one.
json::object errorAnswers(Operation const& operation)
{
    std::map<int, std::set<std::string_view>> byStatus;
    for (ErrorCode const code : operation.errors)
        byStatus[statusOf(code)].insert(rawValue(code));
    if (operation.needsKey)
        for (ErrorCode const code : errorsOfAll) // internal_error of the gateway is 500, of a machine 502.
            byStatus[code == ErrorCode::internalError ? 500 : statusOf(code)].insert(rawValue(code));
    if (operation.mayRepeat)
        byStatus[422].insert(rawValue(ErrorCode::invalidRequest));
    if (operation.body || operation.mayRepeat)
        byStatus[413].insert(rawValue(ErrorCode::invalidRequest));
    if (operation.mayConflict || operation.mayRepeat)
        byStatus[409].insert(rawValue(ErrorCode::invalidRequest));
    json::object answers;
    for (auto const& [status, codes] : byStatus) {
        std::string text;
        for (std::string_view const code : codes)
            text += (text.empty() ? "" : ", ") + std::string(code);
        answers[std::to_string(status)] = {{"description", text},
                                           {"content", content(schemaReference("APIError"))}};
    }
    return answers;
}

/// What platforms may call has to say what it does.
void assertNotForPlatforms(Route const& route)
{
    if (!route.pattern.empty() && route.pattern.front() == "v1")
        throw std::logic_error(std::string(route.method) + " /v1/" + std::string(route.pattern.at(1)) +
                               " does not describe itself");
}

json::object operationOf(Route const& route)
{
    Operation const& operation = *route.operation;
    json::object answers = errorAnswers(operation);
    for (Operation::Answer const& answer : operation.answers)
        answers[std::to_string(answer.status)] = {{"description", answer.description},
                                                  {"content", content(answer.schema)}};
    json::object described{{"operationId", operation.id},
                           {"summary", operation.summary},
                           {"tags", {route.pattern.at(1)}},
                           {"parameters", parametersOf(operation)},
                           {"responses", std::move(answers)}};
    if (operation.body)
        described["requestBody"] = {{"required", !operation.mayLackBody},
                                    {"content", content(*operation.body)}};
    if (!operation.needsKey)
        described["security"] = json::array();
    return described;
}

} // namespace

json::object openApiDocument(std::vector<Route> const& routes, std::string const& version)
{
    json::object paths;
    json::object schemas;
    std::set<std::string> tags;
    schemaOf<records::APIError>(schemas);
    for (Route const& route : routes) {
        if (!route.operation) {
            assertNotForPlatforms(route);
            continue;
        }
        json::value& path = paths[pathOf(route)];
        if (!path.is_object())
            path = json::object();
        path.get_object()[text::lowercased(std::string(route.method))] = operationOf(route);
        tags.emplace(route.pattern.at(1));
        for (auto const& [name, schema] : route.operation->schemas)
            schemas[name] = schema;
    }
    json::array tagList;
    for (std::string const& tag : tags)
        tagList.push_back({{"name", tag}});
    return {{"openapi", "3.1.0"},
            {"info", {{"title", "Zelvo gateway"}, {"version", version}, {"description", overview}}},
            {"servers", {{{"url", "/"}}}},
            {"security", {{{"key", json::array()}}}},
            {"tags", std::move(tagList)},
            {"paths", std::move(paths)},
            {"components",
             {{"securitySchemes", {{"key", {{"type", "http"}, {"scheme", "bearer"}}}}},
              {"schemas", std::move(schemas)}}}};
}

std::vector<Route> OpenApi::routes()
{
    Route route =
        endpoints.open("GET", {"v1", "openapi.json"}, limits.linkBody, *this, &OpenApi::handleDocument);
    route.operation = Describe("getOpenApi", "This document")
                          .needsNoKey()
                          .gives("An OpenAPI 3.1 document", {{"type", "object"}})
                          .done();
    return {std::move(route)};
}

Task<HttpResponse> OpenApi::handleDocument(HttpRequest, PathIds)
{
    if (document.empty())
        document = writeJson(openApiDocument(all.list(), version));
    co_return HttpResponse{.body = document};
}

} // namespace zelvo::service
