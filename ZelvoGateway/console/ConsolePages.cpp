#include "ZelvoGateway/console/ConsolePages.h"

#include "base/EmbeddedFile.h"

#include <array>

namespace zelvo {

extern EmbeddedFile const embedded_console_html;
extern EmbeddedFile const embedded_console_locked_html;
extern EmbeddedFile const embedded_console_docs_html;
extern EmbeddedFile const embedded_console_docs_css;
extern EmbeddedFile const embedded_console_docs_js;
extern EmbeddedFile const embedded_console_link_html;
extern EmbeddedFile const embedded_console_link_css;
extern EmbeddedFile const embedded_console_link_js;
extern EmbeddedFile const embedded_console_open_html;
extern EmbeddedFile const embedded_console_open_js;
extern EmbeddedFile const embedded_console_session_js;
extern EmbeddedFile const embedded_console_recordings_html;
extern EmbeddedFile const embedded_console_recordings_js;
extern EmbeddedFile const embedded_console_recordings_css;
extern EmbeddedFile const embedded_console_api_keys_html;
extern EmbeddedFile const embedded_console_api_keys_js;
extern EmbeddedFile const embedded_console_api_keys_css;
extern EmbeddedFile const embedded_console_gateway_js;
extern EmbeddedFile const embedded_console_css;
extern EmbeddedFile const embedded_console_js;
extern EmbeddedFile const embedded_console_screen_js;
extern EmbeddedFile const embedded_console_input_js;
extern EmbeddedFile const embedded_console_keys_js;
extern EmbeddedFile const embedded_console_mcp_js;

namespace service {

namespace {

struct File {
    std::string_view name;
    EmbeddedFile const& content;
    char const* type;
};

constexpr char const* style = "text/css; charset=utf-8";
constexpr char const* script = "text/javascript; charset=utf-8";

std::array<File, 17> const files = {{{"console.css", embedded_console_css, style},
                                     {"recordings.css", embedded_console_recordings_css, style},
                                     {"recordings.js", embedded_console_recordings_js, script},
                                     {"docs.css", embedded_console_docs_css, style},
                                     {"docs.js", embedded_console_docs_js, script},
                                     {"link.css", embedded_console_link_css, style},
                                     {"link.js", embedded_console_link_js, script},
                                     {"api-keys.css", embedded_console_api_keys_css, style},
                                     {"api-keys.js", embedded_console_api_keys_js, script},
                                     {"session.js", embedded_console_session_js, script},
                                     {"open.js", embedded_console_open_js, script},
                                     {"gateway.js", embedded_console_gateway_js, script},
                                     {"console.js", embedded_console_js, script},
                                     {"screen.js", embedded_console_screen_js, script},
                                     {"input.js", embedded_console_input_js, script},
                                     {"keys.js", embedded_console_keys_js, script},
                                     {"mcp.js", embedded_console_mcp_js, script}}};

HttpResponse page(EmbeddedFile const& content)
{
    return {.contentType = "text/html; charset=utf-8", .body = std::string(content.text())};
}

} // namespace

HttpResponse consolePage()
{
    return page(embedded_console_html);
}

HttpResponse recordingsPage()
{
    return page(embedded_console_recordings_html);
}

HttpResponse apiKeysPage()
{
    return page(embedded_console_api_keys_html);
}

HttpResponse docsPage()
{
    return page(embedded_console_docs_html);
}

HttpResponse lockedPage()
{
    return page(embedded_console_locked_html);
}

HttpResponse openPage()
{
    return page(embedded_console_open_html);
}

std::string_view linkPageTemplate()
{
    return embedded_console_link_html.text();
}

/// The browser keeps what follows the "#".
std::optional<HttpResponse> redirectToHome(AccessControl const& access, HttpRequest const& request)
{
    auto const home = access.homeOfLocalPage(request);
    if (!home)
        return std::nullopt;
    HttpResponse response{.status = 307, .contentType = "text/plain"};
    std::string const path = request.path.empty() ? std::string() : request.path.front();
    response.headers.emplace_back("Location", *home + "/" + path);
    return response;
}

std::optional<HttpResponse> consoleFile(std::string const& name)
{
    for (File const& file : files)
        if (file.name == name)
            return HttpResponse{.contentType = file.type, .body = std::string(file.content.text())};
    return std::nullopt;
}

} // namespace service
} // namespace zelvo
