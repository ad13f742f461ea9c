#include "end_to_end/HttpCall.h"

#include <curl/curl.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace zelvo::test {

namespace {

size_t keep(char* data, size_t size, size_t count, void* into)
{
    static_cast<std::string*>(into)->append(data, size * count);
    return size * count;
}

struct Cleanup {
    void operator()(CURL* raw) const { curl_easy_cleanup(raw); }
    void operator()(curl_slist* raw) const { curl_slist_free_all(raw); }
};

} // namespace

HttpAnswer httpCall(std::string const& method,
                    std::string const& url,
                    std::vector<std::string> const& headers,
                    std::string const& body,
                    long maxSeconds)
{
    std::unique_ptr<CURL, Cleanup> const call(curl_easy_init());
    std::unique_ptr<curl_slist, Cleanup> lines;
    for (std::string const& line : headers)
        lines.reset(curl_slist_append(lines.release(), line.c_str()));
    HttpAnswer answer;
    curl_easy_setopt(call.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(call.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(call.get(), CURLOPT_HTTPHEADER, lines.get());
    curl_easy_setopt(call.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(call.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(call.get(), CURLOPT_TIMEOUT, maxSeconds);
    curl_easy_setopt(call.get(), CURLOPT_WRITEFUNCTION, keep);
    curl_easy_setopt(call.get(), CURLOPT_WRITEDATA, &answer.body);
    if (char const* const authority = std::getenv("SSL_CERT_FILE"))
        curl_easy_setopt(call.get(), CURLOPT_CAINFO, authority);
    if (!body.empty()) {
        curl_easy_setopt(call.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(call.get(), CURLOPT_POSTFIELDS, body.data());
    }
    if (curl_easy_perform(call.get()) == CURLE_OK)
        curl_easy_getinfo(call.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    return answer;
}

} // namespace zelvo::test
