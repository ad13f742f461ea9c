#include "app/LinkUrl.h"

#include "base/Text.h"

#include <boost/url/decode_view.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

namespace zelvo {

namespace {

std::string decoded(boost::urls::pct_string_view text)
{
    boost::urls::decode_view const view(text, boost::urls::encoding_opts(false)); // "+" stays a plus.
    return {view.begin(), view.end()};
}

} // namespace

std::optional<std::string> linkTokenOf(std::string_view url)
{
    boost::system::result<boost::urls::url_view> const parsed = boost::urls::parse_uri(url);
    if (!parsed || parsed->scheme() != "zelvo" || !parsed->has_authority() ||
        parsed->encoded_host() != "link")
        return std::nullopt;
    if (parsed->encoded_query().empty())
        return std::nullopt; // Boost 1.81 reads beyond an empty query in front of a fragment.
    for (auto const& item : parsed->encoded_params()) {
        if (decoded(item.key) != "token")
            continue;
        if (!item.has_value)
            return std::nullopt;
        std::string token = decoded(item.value);
        if (!text::isUtf8(token))
            return std::nullopt;
        return token;
    }
    return std::nullopt;
}

} // namespace zelvo
