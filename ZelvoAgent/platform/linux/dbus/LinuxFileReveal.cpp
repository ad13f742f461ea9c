#include "platform/linux/dbus/LinuxFileReveal.h"

#include <boost/asio/post.hpp>

#include <string_view>
#include <system_error>
#include <utility>

namespace zelvo {

namespace {

/// Escapes every byte that is not plain in a URL's path.
std::string fileUrl(std::filesystem::path const& file)
{
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (char const c : file.string()) {
        auto const byte = static_cast<unsigned char>(c);
        if (plain.find(c) != std::string_view::npos)
            url += c;
        else
            url.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return url;
}

std::filesystem::path folderOf(std::filesystem::path const& file)
{
    std::error_code ignored;
    return std::filesystem::is_directory(file, ignored) ? file : file.parent_path();
}

} // namespace

LinuxFileReveal::LinuxFileReveal(Executor workers, BusConnection& session, OpenUrl openUrl)
    : workers(std::move(workers)), session(session), openUrl(std::move(openUrl))
{
}

void LinuxFileReveal::reveal(std::filesystem::path file)
{
    BusCall call{.destination = "org.freedesktop.FileManager1",
                 .path = "/org/freedesktop/FileManager1",
                 .interface = "org.freedesktop.FileManager1",
                 .member = "ShowItems"};
    call.arguments = [url = fileUrl(file)](sd_bus_message* message) {
        sd_bus_message_append(message, "ass", 1, url.c_str(), "");
    };
    auto openFolder = [workers = workers, openUrl = openUrl, file] {
        asio::post(workers, [openUrl, file] { openUrl(fileUrl(folderOf(file))); });
    };
    session.ask(std::move(call), {}, std::move(openFolder));
}

} // namespace zelvo
