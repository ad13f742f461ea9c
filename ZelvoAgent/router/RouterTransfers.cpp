#include "base/Base64.h"
#include "base/Hop.h"
#include "router/RpcRouter.h"

namespace zelvo {

namespace {

/// A text may be far over 100 MB: it is made in its place.
json::value downloadResult(std::string const& content)
{
    json::object result{{"mime", "application/octet-stream"}};
    json::string& text = result["data"].emplace_string();
    text.resize(base64::encodedLength(content.size()));
    base64::encodeTo(text.data(), {reinterpret_cast<unsigned char const*>(content.data()), content.size()});
    return result;
}

} // namespace

/// The whole file comes in one message.
Task<json::value> RpcRouter::handleFileUpload(RpcFrame frame)
{
    auto const path = read::text(frame.params, "path");
    json::value const* const text = frame.params.if_contains("data");
    if (!path || !text || !text->is_string())
        throw AgentError::invalidRequest;
    auto content = co_await on(contexts.workers, [&] {
        auto decoded = base64::decode(text->get_string());
        frame.params.erase("data");
        return decoded;
    });
    if (!content)
        throw AgentError::invalidRequest;
    ConfirmationSubject const subject{ConfirmationSubject::FileWrite{*path}};
    co_await askFirst(subject, co_await connection(frame.connectionId), confirmationTimeoutMs);
    std::size_t const size = content->size();
    co_await members.files.write(*path, *std::move(content));
    co_return json::object{{"ok", true}, {"sizeBytes", size}};
}

Task<json::value> RpcRouter::filesDownload(RpcFrame frame)
{
    auto const path = read::text(frame.params, "path");
    if (!path)
        throw AgentError::invalidRequest;
    std::string content = co_await members.files.read(*path);
    co_return co_await on(contexts.workers, [&content] {
        json::value result = downloadResult(content);
        content = {};
        return result;
    });
}

/// What a hidden application copied is not shown, nor what is copied while the text is fetched.
Task<json::value> RpcRouter::handleClipboardGet(RpcFrame)
{
    co_await assertClipboardMayBeSeen();
    std::string const text = co_await members.pasteboard.text();
    co_await assertClipboardMayBeSeen();
    co_return json::object{{"text", text}};
}

Task<> RpcRouter::assertClipboardMayBeSeen()
{
    std::set<std::string> const hidden = co_await members.hiddenApps.bundleIds();
    auto look = [this, &hidden]() -> Task<bool> {
        co_await members.clipboard.poll(); // A change of the last half second too.
        co_return members.clipboard.isSourceHidden(hidden);
    };
    if (co_await runOn(contexts.main, std::move(look)))
        throw AgentError::hiddenAppActive;
}

Task<json::value> RpcRouter::clipboardSet(RpcFrame frame)
{
    auto text = read::text(frame.params, "text");
    if (!text)
        throw AgentError::invalidRequest;
    if (!co_await members.pasteboard.setText(*std::move(text)))
        throw AgentError::internalError;
    co_return json::object{{"ok", true}};
}

} // namespace zelvo
