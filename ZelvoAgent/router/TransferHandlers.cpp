#include "router/TransferHandlers.h"

#include "base/Base64.h"
#include "base/Hop.h"
#include "wire/AgentError.h"
#include "wire/records/SystemCommands.h"

namespace zelvo {

namespace {

/// A text may be far over 100 MB: it is made in its place.
json::value downloadResult(std::string const& content)
{
    records::DownloadedFile file{.mime = "application/octet-stream"};
    file.data.resize(base64::encodedLength(content.size()));
    base64::encodeTo(file.data.data(),
                     {reinterpret_cast<unsigned char const*>(content.data()), content.size()});
    return records::toJson(std::move(file));
}

} // namespace

/// The whole file comes in one message.
Task<json::value> TransferHandlers::uploadFile(Admission admission)
{
    auto const path = read::text(admission.frame.params, "path");
    std::string encoded = std::exchange(admission.frame.data, {});
    json::value const* const text = admission.frame.params.if_contains("data");
    if (!path || (encoded.empty() && (!text || !text->is_string())))
        throw AgentError::invalidRequest;
    auto content = co_await on(services.contexts.workers, [&] {
        auto decoded = base64::decode(encoded.empty() ? std::string_view(text->get_string()) : encoded);
        encoded = {};
        admission.frame.params.erase("data");
        return decoded;
    });
    if (!content)
        throw AgentError::invalidRequest;
    ConfirmationSubject const subject{ConfirmationSubject::FileWrite{*path}};
    co_await services.confirmations.ask(subject, admission.asker);
    auto const size = static_cast<std::int64_t>(content->size());
    co_await services.files.write(*path, *std::move(content));
    records::UploadedFile const uploaded{.sizeBytes = size};
    co_return records::toJson(uploaded);
}

Task<json::value> TransferHandlers::downloadFile(Admission admission)
{
    auto const path = read::text(admission.frame.params, "path");
    if (!path)
        throw AgentError::invalidRequest;
    std::string content = co_await services.files.read(*path);
    co_return co_await on(services.contexts.workers, [&content] {
        json::value result = downloadResult(content);
        content = {};
        return result;
    });
}

/// What a hidden application copied is not shown, nor any text if one copies while it is fetched.
Task<json::value> TransferHandlers::clipboardText(Admission)
{
    std::int64_t const before = co_await assertClipboardMayBeSeen(std::nullopt);
    records::ClipboardText clipboard;
    clipboard.text = co_await services.pasteboard.text();
    co_await assertClipboardMayBeSeen(before);
    co_return records::toJson(std::move(clipboard));
}

Task<std::int64_t> TransferHandlers::assertClipboardMayBeSeen(std::optional<std::int64_t> since)
{
    std::set<std::string> const hidden = co_await services.hiddenApps.bundleIds();
    auto look = [this, &hidden, since]() -> Task<std::optional<std::int64_t>> {
        co_await services.clipboard.poll(); // A change of the last half second too.
        std::int64_t const last = services.clipboard.lastChange();
        if (services.clipboard.isSourceHidden(hidden, since.value_or(last)))
            co_return std::nullopt;
        co_return last;
    };
    auto const last = co_await runOn(services.contexts.main, std::move(look));
    if (!last)
        throw AgentError::hiddenAppActive;
    co_return *last;
}

Task<json::value> TransferHandlers::setClipboardText(Admission admission)
{
    auto text = read::text(admission.frame.params, "text");
    if (!text)
        throw AgentError::invalidRequest;
    if (!co_await services.pasteboard.setText(*std::move(text)))
        throw AgentError::internalError;
    co_return records::toJson(records::Done{});
}

} // namespace zelvo
