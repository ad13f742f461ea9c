#include "platform/linux/dbus/LinuxFileReveal.h"

#include "platform/linux/system/FileUrl.h"

#include <boost/asio/post.hpp>

#include <system_error>
#include <utility>

namespace zelvo {

namespace {

std::string fileUrl(std::filesystem::path const& file)
{
    return "file://" + urlPathOf(file);
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
