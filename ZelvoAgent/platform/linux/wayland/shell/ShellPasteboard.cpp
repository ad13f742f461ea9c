#include "platform/linux/wayland/shell/ShellPasteboard.h"

#include "base/Hop.h"
#include "base/LockedBox.h"
#include "base/Text.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t keptChanges = 64;
constexpr Duration readPatience = 35s; // The extension gives up after 30 s.
constexpr char const* textType = "text/plain;charset=utf-8";

/// An anonymous file; closed at the end.
struct MemoryFile {
    MemoryFile() : descriptor(::memfd_create("zelvo-text", MFD_CLOEXEC)) {}
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;
    ~MemoryFile()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    int const descriptor;
};

/// Empty if not all of it is there.
std::string readFile(int descriptor, std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t at = 0; at < size;) {
        ssize_t const got = ::pread(descriptor, text.data() + at, size - at, static_cast<off_t>(at));
        if (got <= 0)
            return {};
        at += static_cast<std::size_t>(got);
    }
    return text;
}

bool writeFile(int descriptor, std::string const& text)
{
    for (std::size_t at = 0; at < text.size();) {
        ssize_t const put = ::pwrite(descriptor, text.data() + at, text.size() - at, static_cast<off_t>(at));
        if (put <= 0)
            return false;
        at += static_cast<std::size_t>(put);
    }
    return true;
}

bool isTextForm(std::string const& type)
{
    return type.starts_with("text/plain") || type == "UTF8_STRING" || type == "STRING" || type == "TEXT" ||
           type == "COMPOUND_TEXT";
}

/// The one form that is the whole content; empty if there is no content, `nullopt` if there is more than one.
std::optional<std::string> formToKeep(std::vector<std::string> const& offered)
{
    auto const types = formsToKeep(offered);
    if (!types)
        return std::nullopt;
    if (types->size() <= 1)
        return types->empty() ? std::string() : types->front();
    bool const isText = std::ranges::all_of(*types, isTextForm);
    for (char const* const best : {textType, "UTF8_STRING"})
        if (isText && std::ranges::find(*types, best) != types->end())
            return best;
    return std::nullopt;
}

BusCall shellCall(char const* member, std::function<void(sd_bus_message*)> arguments)
{
    return {.destination = "org.gnome.Shell",
            .path = "/dev/zelvo/Shell",
            .interface = "dev.zelvo.Shell",
            .member = member,
            .arguments = std::move(arguments),
            .patience = readPatience,
            .mayStart = false};
}

} // namespace

struct ShellPasteboard::Changes {
    struct Known {
        std::int64_t count = 0;
        std::deque<ClipboardChange> latest;
    };
    LockedBox<Known> known{Known{}};

    void add(bool isOurs)
    {
        known.change([isOurs](Known& now) {
            ClipboardChange change;
            change.count = ++now.count;
            change.isOurs = isOurs;
            now.latest.push_back(std::move(change));
            if (now.latest.size() > keptChanges)
                now.latest.pop_front();
        });
    }
};

ShellPasteboard::ShellPasteboard(Contexts contexts, BusConnection& bus, ShellPresence& presence)
    : contexts(std::move(contexts)), bus(bus), presence(presence), changes(std::make_shared<Changes>())
{
}

void ShellPasteboard::start()
{
    char const* const rule = "type='signal',sender='org.gnome.Shell',path='/dev/zelvo/Shell',"
                             "interface='dev.zelvo.Shell',member='TextChanged'";
    bus.watchSignal(
        rule, [kept = changes](sd_bus_message* message) { kept->add(readTruth(message).value_or(false)); });
}

std::int64_t ShellPasteboard::changeCount() const
{
    return changes->known.get().count;
}

Task<std::vector<ClipboardChange>> ShellPasteboard::changesAfter(std::int64_t count)
{
    std::vector<ClipboardChange> after;
    for (ClipboardChange const& change : changes->known.get().latest)
        if (change.count > count)
            after.push_back(change);
    co_return after;
}

Task<std::string> ShellPasteboard::text()
{
    MemoryFile const file;
    auto const size = std::make_shared<std::uint32_t>(0);
    if (file.descriptor < 0 || !presence.isPresent())
        co_return "";
    BusCall call = shellCall("ReadText", [descriptor = file.descriptor](sd_bus_message* message) {
        sd_bus_message_append(message, "h", descriptor);
    });
    BusConnection::MessageHandler onReply = [size](sd_bus_message* reply) {
        *size = readUnsigned(reply).value_or(0);
    };
    try {
        co_await bus.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return "";
    }
    if (*size == 0 || *size > maxTextLength)
        co_return "";
    auto read = [&] { return zelvo::text::repaired(readFile(file.descriptor, *size)); };
    co_return co_await on(contexts.workers, std::move(read));
}

Task<bool> ShellPasteboard::setText(std::string text)
{
    ClipboardForm form{textType, std::move(text)};
    return writeForm(std::move(form));
}

Task<bool> ShellPasteboard::lend(std::string text)
{
    return setText(std::move(text));
}

Task<std::optional<ClipboardForms>> ShellPasteboard::keep()
{
    auto const offered = co_await types();
    std::optional<std::string> const type = offered ? formToKeep(*offered) : std::nullopt;
    if (!type)
        co_return std::nullopt;
    ClipboardForms forms;
    if (type->empty())
        co_return forms;
    auto bytes = co_await readForm(*type);
    if (!bytes)
        co_return std::nullopt;
    forms.push_back({isTextForm(*type) ? textType : *type, std::move(*bytes)});
    co_return forms;
}

Task<bool> ShellPasteboard::putBack(ClipboardForms forms)
{
    if (forms.empty()) // The shell brings the last text back when nobody owns the clipboard.
        forms.push_back({textType, ""});
    co_return co_await writeForm(std::move(forms.front()));
}

Task<std::optional<std::vector<std::string>>> ShellPasteboard::types()
{
    auto const offered = std::make_shared<std::vector<std::string>>();
    BusConnection::MessageHandler onReply = [offered](sd_bus_message* reply) { *offered = readTexts(reply); };
    try {
        BusCall call = shellCall("ListForms", {});
        co_await bus.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return std::nullopt;
    }
    co_return *offered;
}

Task<std::optional<std::string>> ShellPasteboard::readForm(std::string type)
{
    MemoryFile const file;
    if (file.descriptor < 0)
        co_return std::nullopt;
    auto const size = std::make_shared<std::optional<std::uint32_t>>();
    BusCall call = shellCall("ReadForm", [descriptor = file.descriptor, type](sd_bus_message* message) {
        sd_bus_message_append(message, "sh", type.c_str(), descriptor);
    });
    call.patience = keepPatience;
    BusConnection::MessageHandler onReply = [size](sd_bus_message* reply) {
        if (readTruth(reply).value_or(false))
            *size = readUnsigned(reply);
    };
    try {
        co_await bus.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return std::nullopt;
    }
    if (!*size || **size > maxFormsSize)
        co_return std::nullopt;
    auto read = [&] { return readFile(file.descriptor, **size); };
    std::string bytes = co_await on(contexts.workers, std::move(read));
    if (bytes.size() != **size)
        co_return std::nullopt;
    co_return bytes;
}

Task<bool> ShellPasteboard::writeForm(ClipboardForm form)
{
    MemoryFile const file;
    if (file.descriptor < 0 || form.bytes.size() > maxTextLength || !presence.isPresent())
        co_return false;
    auto write = [&] { return writeFile(file.descriptor, form.bytes); };
    if (!co_await on(contexts.workers, std::move(write)))
        co_return false;
    auto const size = static_cast<std::uint32_t>(form.bytes.size());
    bool const isText = form.type == textType; // Which versions of the extension before this one take, too.
    BusCall call = shellCall(isText ? "WriteText" : "WriteForm", [descriptor = file.descriptor, size, isText,
                                                                  type = form.type](sd_bus_message* message) {
        if (!isText)
            sd_bus_message_append(message, "s", type.c_str());
        sd_bus_message_append(message, "hu", descriptor, size);
    });
    auto const isTrue = std::make_shared<bool>(false);
    BusConnection::MessageHandler onReply = [isTrue](sd_bus_message* reply) {
        *isTrue = readTruth(reply).value_or(false);
    };
    try {
        co_await bus.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return false;
    }
    co_return *isTrue;
}

Task<> ShellPasteboard::handOver()
{
    co_return; // The shell owns the text already.
}

} // namespace zelvo
