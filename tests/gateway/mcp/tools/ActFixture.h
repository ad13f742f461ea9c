#pragma once

#include "gateway/mcp/tools/ToolFixture.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// "desktop_act" against a machine that a test answers for.
class ActTool : public ToolFixture {
protected:
    std::string act(std::string const& actions, std::string const& more = "")
    {
        return call("desktop_act", R"({"actions":)" + actions + more + "}");
    }
    std::vector<std::string> performed() const { return commands->paramsOf("actions.perform"); }
};

} // namespace zelvo::service
