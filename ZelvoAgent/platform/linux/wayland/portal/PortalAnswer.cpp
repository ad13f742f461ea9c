#include "platform/linux/wayland/portal/PortalAnswer.h"

#include <functional>
#include <string_view>

namespace zelvo {

namespace {

constexpr char const* handlesBegin = "/org/freedesktop/portal/desktop/session/";
constexpr int maxEntries = 64;
constexpr std::size_t maxItems = 32;
constexpr std::size_t maxText = 1024;
constexpr int maxPlace = 1 << 20;
constexpr int maxSize = 1 << 16;

/// Reads one entry's value; the message is inside the variant. True if it was read to its end.
using ReadEntry = std::function<bool(std::string const& name, std::string_view type)>;

bool readEntry(sd_bus_message* message, ReadEntry const& read)
{
    auto const name = readText(message);
    char const* type = nullptr;
    if (!name || sd_bus_message_peek_type(message, nullptr, &type) <= 0 || !type)
        return false;
    std::string const kept = type;
    if (sd_bus_message_enter_container(message, 'v', kept.c_str()) <= 0)
        return false;
    if (!read(*name, kept))
        sd_bus_message_skip(message, kept.c_str());
    return sd_bus_message_exit_container(message) >= 0;
}

/// False if the rest of the message cannot be read.
bool readEntries(sd_bus_message* message, ReadEntry const& read)
{
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0)
        return false;
    int count = 0;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        if (++count > maxEntries || !readEntry(message, read) || sd_bus_message_exit_container(message) < 0)
            return false;
    }
    return sd_bus_message_exit_container(message) >= 0;
}

bool takeText(sd_bus_message* message, std::string_view type, std::string& text)
{
    if (type != "s" && type != "o")
        return false;
    auto found = readText(message);
    if (found && found->size() <= maxText)
        text = std::move(*found);
    return true;
}

std::optional<std::array<int, 2>> readPair(sd_bus_message* message, int least, int most)
{
    std::int32_t first = 0;
    std::int32_t second = 0;
    if (sd_bus_message_read(message, "(ii)", &first, &second) <= 0)
        return std::nullopt;
    bool const isSane = first >= least && second >= least && first <= most && second <= most;
    return isSane ? std::optional(std::array<int, 2>{first, second}) : std::nullopt;
}

bool takeStreamValue(sd_bus_message* message,
                     PortalStream& stream,
                     std::string const& name,
                     std::string_view type)
{
    if (name == "position" && type == "(ii)")
        return stream.position = readPair(message, -maxPlace, maxPlace), true;
    if (name == "size" && type == "(ii)")
        return stream.size = readPair(message, 1, maxSize), true;
    return name == "mapping_id" && takeText(message, type, stream.mapping);
}

bool takeStreams(sd_bus_message* message, std::vector<PortalStream>& streams)
{
    if (sd_bus_message_enter_container(message, 'a', "(ua{sv})") <= 0)
        return false;
    while (sd_bus_message_enter_container(message, 'r', "ua{sv}") > 0) {
        PortalStream stream{.node = readUnsigned(message).value_or(0)};
        auto const take = [&](std::string const& name, std::string_view type) {
            return takeStreamValue(message, stream, name, type);
        };
        if (!readEntries(message, take) || sd_bus_message_exit_container(message) < 0)
            return false;
        if (stream.node && streams.size() < maxItems)
            streams.push_back(std::move(stream));
    }
    return sd_bus_message_exit_container(message) >= 0;
}

bool takeShortcuts(sd_bus_message* message, std::vector<std::string>& ids)
{
    if (sd_bus_message_enter_container(message, 'a', "(sa{sv})") <= 0)
        return false;
    while (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
        std::string id;
        takeText(message, "s", id);
        if (sd_bus_message_skip(message, "a{sv}") < 0 || sd_bus_message_exit_container(message) < 0)
            return false;
        if (ids.size() < maxItems)
            ids.push_back(std::move(id));
    }
    return sd_bus_message_exit_container(message) >= 0;
}

bool takeResult(sd_bus_message* message, PortalAnswer& answer, std::string const& name, std::string_view type)
{
    if (name == "session_handle")
        return takeText(message, type, answer.sessionHandle);
    if (name == "restore_token")
        return takeText(message, type, answer.restoreToken);
    if (name == "devices" && type == "u")
        return answer.devices = readUnsigned(message).value_or(0), true;
    if (name == "clipboard_enabled" && type == "b")
        return answer.hasClipboard = readTruth(message).value_or(false), true;
    if (name == "streams" && type == "a(ua{sv})")
        return takeStreams(message, answer.streams);
    return name == "shortcuts" && type == "a(sa{sv})" && takeShortcuts(message, answer.shortcuts);
}

PortalAnswer::Code codeOf(std::optional<std::uint32_t> number)
{
    if (number == 0U)
        return PortalAnswer::Code::done;
    return number == 1U ? PortalAnswer::Code::refused : PortalAnswer::Code::ended;
}

} // namespace

PortalAnswer readPortalAnswer(sd_bus_message* message)
{
    PortalAnswer answer{.code = codeOf(readUnsigned(message))};
    auto const take = [&](std::string const& name, std::string_view type) {
        return takeResult(message, answer, name, type);
    };
    if (answer.code == PortalAnswer::Code::done && !readEntries(message, take))
        return {.code = PortalAnswer::Code::ended}; // Nothing of an answer that cannot be read counts.
    return answer;
}

bool isSessionHandle(std::string const& text)
{
    return text.starts_with(handlesBegin) && sd_bus_object_path_is_valid(text.c_str()) > 0;
}

} // namespace zelvo
