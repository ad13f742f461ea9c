#include "soak/SoakStage.h"

#include <stdexcept>

namespace zelvo::test {

SoakStage::SoakStage()
{
    std::filesystem::create_directories(folder());
    agent.store("dev.zelvo.fileRoots", json::array{folder().string()});
    auto const made = gateway.provision();
    connection = made.connection;
    agent.makeUnattended(made.token);
    agent.start();
    require("the agent's link", [&] { return gateway.isOnline(connection); }, 20s);
    require("the accessibility bus", [&] { return command("permissions.get").at("accessibility") == true; });
    field.emplace(desktop, FieldKind::gtk);
}

json::value SoakStage::command(std::string const& method, json::object params) const
{
    auto answer = gateway.command(connection, method, std::move(params));
    if (answer.status != 200)
        throw std::runtime_error(method + ": " + writeJson(answer.body));
    return std::move(answer.body.at("result"));
}

void SoakStage::act(json::object action) const
{
    command("actions.perform", {{"actions", json::array{std::move(action)}}});
}

} // namespace zelvo::test
