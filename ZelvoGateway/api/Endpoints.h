#pragma once

#include "ZelvoGateway/api/Describe.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/http/Routes.h"
#include "wire/records/RecordCodec.h"

#include <functional>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Makes routes of handlers, and says the services' failures in HTTP. Thread: the server's.
class Endpoints {
public:
    using Check = std::function<void(HttpRequest const& head)>;
    using Handler = std::function<Task<HttpResponse>(HttpRequest request, PathIds ids)>;
    template <class Api>
    using Method = Task<HttpResponse> (Api::*)(HttpRequest request, PathIds ids);

    explicit Endpoints(AccessControl const& access) : access(access) {}

    /// For platforms and the console.
    template <class Api>
    Route platform(std::string_view method,
                   std::vector<std::string_view> pattern,
                   std::size_t maxBody,
                   Api& api,
                   Method<Api> handler) const
    {
        Check check = [this](HttpRequest const& head) { access.assertPlatform(head); };
        return route(method, std::move(pattern), maxBody, std::move(check), bound(api, handler));
    }

    /// The same, with what it does.
    template <class Api>
    Route platform(std::string_view method,
                   std::vector<std::string_view> pattern,
                   std::size_t maxBody,
                   Api& api,
                   Method<Api> handler,
                   Describe const& description) const
    {
        Route route = platform(method, std::move(pattern), maxBody, api, handler);
        route.operation = description.done();
        return route;
    }

    /// For everybody: the request carries its own credential.
    template <class Api>
    Route open(std::string_view method,
               std::vector<std::string_view> pattern,
               std::size_t maxBody,
               Api& api,
               Method<Api> handler) const
    {
        return route(method, std::move(pattern), maxBody, Check(), bound(api, handler));
    }

    /// For callers that pass a check, for all if it is empty. The check and the handler may throw Failure.
    Route route(std::string_view method,
                std::vector<std::string_view> pattern,
                std::size_t maxBody,
                Check check,
                Handler handler) const;

    /// A handler that calls a member function; `api` must outlive it.
    template <class Api>
    static Handler bound(Api& api, Method<Api> handler)
    {
        return [&api, handler](HttpRequest request, PathIds ids) {
            return (api.*handler)(std::move(request), std::move(ids));
        };
    }

private:
    Task<HttpResponse> answer(Handler const* handler, HttpRequest request, PathIds ids) const;

    AccessControl const& access;
};

/// Runs `work`, and says a service's Failure as an HttpError.
template <class Work>
auto inHttp(Work const& work)
{
    try {
        return work();
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

/// The record in a request's body. Throws HttpError.
template <class R>
R recordIn(std::string const& body)
{
    auto record = records::fromJson<R>(objectOf(body));
    if (!record)
        throw badRequest("The body lacks a required key, or a key has the wrong type");
    return *std::move(record);
}

} // namespace zelvo::service
