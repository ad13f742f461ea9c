#pragma once

#include <string>
#include <vector>

namespace zelvo::test {

struct HttpAnswer {
    long status = 0; ///< 0 without a response
    std::string body;
};

/// One HTTP call; blocks for at most maxSeconds, and then disconnects. With TLS it trusts SSL_CERT_FILE.
HttpAnswer httpCall(std::string const& method,
                    std::string const& url,
                    std::vector<std::string> const& headers,
                    std::string const& body,
                    long maxSeconds = 40);

} // namespace zelvo::test
