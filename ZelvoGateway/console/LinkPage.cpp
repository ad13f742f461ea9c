#include "ZelvoGateway/console/LinkPage.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/console/ConsolePages.h"
#include "ZelvoGateway/console/PageTexts.h"
#include "ZelvoGateway/http/HttpError.h"

namespace zelvo::service {

std::vector<Route> LinkPage::routes()
{
    Route page{.method = "GET",
               .pattern = {"link"},
               .maxBody = settings.limits.linkBody,
               .assertAccess = {},
               .answer = [this](HttpRequest request, PathIds) { return handlePage(std::move(request)); }};
    Route state{.method = "POST",
                .pattern = {"link", "state"},
                .maxBody = settings.limits.linkBody,
                .assertAccess = {},
                .answer = [this](HttpRequest request, PathIds) { return handleState(std::move(request)); }};
    return {std::move(page), std::move(state)};
}

Task<HttpResponse> LinkPage::handlePage(HttpRequest request)
{
    if (auto redirect = redirectToHome(access, request))
        co_return *std::move(redirect);
    std::string const language = preferredLanguage(request.header("accept-language"));
    std::string install;
    if (!settings.installUrl.empty())
        install = R"(<a rel="noreferrer" href=")" + htmlText(settings.installUrl) + R"(">)" +
                  htmlText(settings.installUrl) + "</a>";
    HttpResponse response{.contentType = "text/html; charset=utf-8"};
    response.headers.emplace_back("Vary", "Accept-Language");
    response.body = filledPage(linkPageTemplate(), language, settings.platformName,
                               {{"lang", language}, {"install", install}});
    co_return response;
}

Task<HttpResponse> LinkPage::handleState(HttpRequest request)
{
    auto const code = read::text(objectOf(request.body), "token");
    if (!code)
        throw badRequest("\"token\" must be a text");
    try {
        auto const record = linkSessionRecord(links.sessionOfCode(*code), today());
        json::object state{{"status", rawValue(record.status)}, {"expiresAt", record.expiresAt}};
        if (record.redirectUrl && record.status == records::LinkSessionStatus::completed)
            state["redirectUrl"] = *record.redirectUrl;
        co_return jsonResponse(200, state);
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

} // namespace zelvo::service
