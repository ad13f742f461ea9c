#include "base/Url.h"

#include <boost/url/parse.hpp>

namespace zelvo {

namespace {

/// The library takes what follows an empty port for a path: "https://host:name/" would be one.
bool hasSoundPath(boost::urls::url_view const& url)
{
    auto const path = url.encoded_path();
    return !url.has_authority() || path.empty() || path.starts_with('/');
}

} // namespace

bool isUrl(std::string_view text)
{
    auto const parsed = boost::urls::parse_uri_reference(text);
    return !text.empty() && parsed && hasSoundPath(*parsed);
}

bool isAbsoluteUrl(std::string_view text)
{
    auto const parsed = boost::urls::parse_uri(text);
    return parsed && hasSoundPath(*parsed);
}

} // namespace zelvo
