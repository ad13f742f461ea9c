#include "platform/linux/wayland/shell/ShellPasteboard.h"

#include "base/Hop.h"
#include "base/LockedBox.h"
#include "base/Text.h"

#include <sys/mman.h>
#include <unistd.h>

#include <deque>

namespace zelvo {

namespace {

constexpr std::size_t keptChanges = 64;
constexpr Duration readPatience = 35s; // The extension gives up after 30 s.

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
    auto const rule = "type='signal',sender='org.gnome.Shell',path='/dev/zelvo/Shell',"
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
    MemoryFile const file;
    if (file.descriptor < 0 || text.size() > maxTextLength || !presence.isPresent())
        co_return false;
    auto write = [&] { return writeFile(file.descriptor, text); };
    if (!co_await on(contexts.workers, std::move(write)))
        co_return false;
    auto const isDone = std::make_shared<bool>(false);
    auto const size = static_cast<std::uint32_t>(text.size());
    BusCall call = shellCall("WriteText", [descriptor = file.descriptor, size](sd_bus_message* message) {
        sd_bus_message_append(message, "hu", descriptor, size);
    });
    BusConnection::MessageHandler onReply = [isDone](sd_bus_message* reply) {
        *isDone = readTruth(reply).value_or(false);
    };
    try {
        co_await bus.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return false;
    }
    co_return *isDone;
}

Task<> ShellPasteboard::handOver()
{
    co_return; // The shell owns the text already.
}

} // namespace zelvo
