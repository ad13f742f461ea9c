#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/console/PageTexts.h"
#include "ZelvoGateway/control/RedirectUrl.h"
#include "ZelvoGateway/store/Page.h"
#include "ZelvoGateway/webhooks/WebhookUrl.h"

#include <cstdint>
#include <cstdlib>

using namespace zelvo::service;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

bool isWebhookUrl(std::string const& url)
{
    try {
        assertWebhookUrl(url, {});
        return true;
    } catch (Failure const&) {
        return false;
    }
}

} // namespace

// What callers send in addresses and headers: the place in a list, addresses to return to and to post to, the
// language of a page.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    if (auto const cursor = pageCursorFrom(text)) // What we accept, we can write and read again.
        require(pageCursorFrom(textOf(*cursor)) == cursor);
    if (isRedirectUrl(text) || isWebhookUrl(text))
        require(text.find_first_of("\r\n\t <>\"\\") == std::string::npos &&
                text.find(':') != std::string::npos);
    std::string const language = preferredLanguage(text);
    require(language == "en" || language == "ru");
    std::string const html = filledPage("{{consent.platformAsks}}", language, text, {});
    require(html.find_first_of("<>\"'") == std::string::npos);
    return 0;
}
