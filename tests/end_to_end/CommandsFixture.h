#pragma once

#include "base/Base64.h"
#include "end_to_end/ConfirmingFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>

namespace zelvo::test {

/// Commands for shell, files, clipboard, applications and URLs.
class Commands : public Confirming {
protected:
    Answer command(std::string const& method, json::object params = {})
    {
        return gateway.command(connection, method, std::move(params));
    }
    /// The result of a command that must not fail.
    json::value resultOf(std::string const& method, json::object params = {})
    {
        Answer const answer = command(method, std::move(params));
        EXPECT_EQ(answer.status, 200) << method << " " << writeJson(answer.body);
        return answer.status == 200 ? answer.body.at("result") : json::value(json::object());
    }
    std::string failureOf(std::string const& method, json::object params = {})
    {
        return codeOf(command(method, std::move(params)));
    }
    std::future<Answer> commanding(std::string method, json::object params)
    {
        return std::async(std::launch::async, [this, method = std::move(method), params = std::move(params)] {
            return gateway.command(connection, method, params);
        });
    }

    static std::string base64(std::string_view bytes)
    {
        return base64::encode({reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size()});
    }
    static std::string contentOf(std::filesystem::path const& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static void write(std::filesystem::path const& file, std::string_view content)
    {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
    }
    /// A link with the scope "shell", which the user has to switch on.
    void linkWithShell() { linkSwitchingOnLast({"screen", "shell"}); }
    /// A link whose last scope the user has to switch on.
    void linkSwitchingOnLast(std::vector<std::string> const& scopes)
    {
        agent.start({gateway.newLink(scopes)});
        waitForConsent();
        for (std::size_t i = 2; i < scopes.size(); ++i)
            press("Tab"); // The focus begins on the first switch that can be turned, the one after "screen".
        std::this_thread::sleep_for(500ms); // A switch is turned on only after a moment without keys.
        press("space");
        allowConsent();
        require("the connection", [&] { return !gateway.connections().empty(); });
        connection = gateway.connections().front();
        EXPECT_TRUE(gateway.comesOnline(connection));
    }
    /// A folder that agents may use. Call it before the agent starts.
    std::filesystem::path grantFolder()
    {
        std::filesystem::path const folder = desktop.home() / "shared";
        std::filesystem::create_directories(folder);
        agent.store("dev.zelvo.fileRoots", json::array{folder.string()});
        return folder;
    }
    /// A desktop entry of the user.
    void entry(std::string const& id, std::string const& lines) const
    {
        write(desktop.dataHome() / "applications" / (id + ".desktop"),
              "[Desktop Entry]\nType=Application\n" + lines);
    }
    std::string inFront()
    {
        json::value const running = resultOf("apps.list");
        for (json::value const& each : running.as_array())
            if (each.at("active") == true)
                return std::string(each.at("bundleId").as_string());
        return "";
    }
};

} // namespace zelvo::test
