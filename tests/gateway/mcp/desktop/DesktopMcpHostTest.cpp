#include "gateway/mcp/desktop/SeenDesktop.h"

#include <gmock/gmock.h>

#include <regex>

namespace zelvo::service {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// The number of "[b9]" in a text of "desktop_see"; 0 if there is none.
std::uint64_t referenceIn(std::string const& text)
{
    std::smatch found;
    return std::regex_search(text, found, std::regex(R"(\[b(\d+)\])")) ? std::stoull(found[1]) : 0;
}

TEST(DesktopMcpHost, knowsNoReferenceOfBeforeARestart)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    std::uint64_t last = 0;

    for (int i = 0; i < 3; ++i) {
        SeenDesktop const desktop(thread, gateway, linked);
        McpHttpClient const client(gateway.port(), gateway.apiKey());
        ASSERT_TRUE(becomes([&] { return referenceIn(toolText(client.call("desktop_see"))) > 0; }));
        std::uint64_t const reference = referenceIn(toolText(client.call("desktop_see")));
        EXPECT_GT(reference, last);
        EXPECT_LT(reference, 10'000U); // Models read it often.
        if (last > 0) {
            std::string const old =
                R"({"actions":[{"type":"click","ref":"b)" + std::to_string(last) + R"("}]})";
            EXPECT_THAT(toolText(client.call("desktop_act", old)),
                        HasSubstr("is unknown: it was never given out"));
        }
        last = reference;
        gateway.stop();
        gateway.start();
    }
}

} // namespace
} // namespace zelvo::service
