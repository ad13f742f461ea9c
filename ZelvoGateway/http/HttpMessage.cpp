#include "ZelvoGateway/http/HttpMessage.h"

#include "ZelvoGateway/http/HttpError.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

namespace zelvo::service {

namespace {

std::string first(std::multimap<std::string, std::string> const& map, std::string const& key)
{
    auto const entry = map.find(key);
    return entry == map.end() ? std::string() : entry->second;
}

} // namespace

std::string HttpRequest::header(std::string const& name) const
{
    return first(headers, name);
}

std::string HttpRequest::queryItem(std::string const& name) const
{
    return first(query, name);
}

HttpResponse jsonResponse(int status, json::value const& value)
{
    return {.status = status, .body = writeJson(value)};
}

json::object objectOf(std::string const& body)
{
    auto parsed = parseJson(body);
    if (!parsed || !parsed->is_object())
        throw badRequest("The body must be a JSON object");
    return std::move(parsed->get_object());
}

bool readTarget(std::string_view target, HttpRequest& request)
{
    auto const url = boost::urls::parse_origin_form(target);
    if (!url)
        return false;
    for (auto const& segment : url->segments())
        request.path.emplace_back(segment);
    if (request.path.size() == 1 && request.path.front().empty())
        request.path.clear();
    for (auto const& item : url->params())
        request.query.emplace(item.key, item.value);
    return true;
}

} // namespace zelvo::service
