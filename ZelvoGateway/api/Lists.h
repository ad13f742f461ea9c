#pragma once

#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/store/Page.h"
#include "wire/records/RecordCodec.h"

#include <cstddef>

namespace zelvo::service {

/// "limit" of a request for a list. Throws HttpError.
std::size_t limitIn(HttpRequest const& request, std::size_t usual = 100);

/// What a request for a list asks for: "limit", "before", and the filters that `PageQuery` knows. Throws
/// HttpError.
PageQuery pageQueryIn(HttpRequest const& request);

/// A page as the list record `List`, each row converted by `record`.
template <class List, class T, class F>
HttpResponse listResponse(Page<T> const& page, F record)
{
    List list;
    for (T const& row : page.rows)
        list.data.push_back(record(row));
    if (page.next)
        list.nextBefore = textOf(*page.next);
    return jsonResponse(200, records::toJson(std::move(list)));
}

} // namespace zelvo::service
