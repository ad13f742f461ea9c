#pragma once

#include "base/Contexts.h"
#include "drivers/ClipboardWatcher.h"
#include "drivers/FileGate.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/Pasteboard.h"
#include "router/Confirmations.h"
#include "router/HandlerTable.h"

#include <array>
#include <cstdint>
#include <optional>

namespace zelvo {

/// Files and the clipboard's text. Thread: the router's strand.
class TransferHandlers {
    Task<json::value> uploadFile(Admission admission);
    Task<json::value> downloadFile(Admission admission);
    Task<json::value> clipboardText(Admission admission);
    Task<json::value> setClipboardText(Admission admission);

public:
    static constexpr std::array<HandlerRow<TransferHandlers>, 4> rows = {{
        {"files.upload.begin", &TransferHandlers::uploadFile},
        {"files.download", &TransferHandlers::downloadFile},
        {"clipboard.get", &TransferHandlers::clipboardText},
        {"clipboard.set", &TransferHandlers::setClipboardText},
    }};

    struct Services {
        Contexts contexts;
        FileGate& files;
        Pasteboard& pasteboard;
        ClipboardWatcher& clipboard;
        HiddenAppsStore& hiddenApps;
        Confirmations& confirmations;
    };

    explicit TransferHandlers(Services services) : services(std::move(services)) {}

private:
    /// since  the change that the text is of, or an earlier one; `nullopt` for the last one. Returns the
    /// last.
    Task<std::int64_t> assertClipboardMayBeSeen(std::optional<std::int64_t> since);

    Services services;
};

} // namespace zelvo
