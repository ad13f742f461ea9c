#include "base/Url.h"

#include <boost/url/parse.hpp>

namespace zelvo {

namespace {

/// False for "https://host:name/": Boost.URL parses the text after an empty port as a path.
bool hasSoundPath(boost::urls::url_view const& url)
{
    auto const path = url.encoded_path();
    return !url.has_authority() || path.empty() || path.starts_with('/');
}

/// Newer versions of the library let a fragment contain a second '#'.
bool hasSoundFragment(boost::urls::url_view const& url)
{
    return url.encoded_fragment().find('#') == boost::core::string_view::npos;
}

bool isSound(boost::urls::url_view const& url)
{
    return hasSoundPath(url) && hasSoundFragment(url);
}

} // namespace

bool isUrl(std::string_view text)
{
    auto const parsed = boost::urls::parse_uri_reference(text);
    return !text.empty() && parsed && isSound(*parsed);
}

bool isAbsoluteUrl(std::string_view text)
{
    auto const parsed = boost::urls::parse_uri(text);
    return parsed && isSound(*parsed);
}

} // namespace zelvo
