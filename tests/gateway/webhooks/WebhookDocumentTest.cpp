#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/webhooks/WebhookSignature.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace zelvo::service {
namespace {

/// The example of docs/platforms.md for receivers.
std::string example()
{
    std::string const page = contentOf(std::filesystem::path(ZELVO_DOCS) / "platforms.md");
    std::size_t const begin = page.find("```python\n");
    EXPECT_NE(begin, std::string::npos);
    std::size_t const code = begin + std::string("```python\n").size();
    return page.substr(code, page.find("```", code) - code);
}

/// What the example says of a request.
bool isGenuine(std::string const& header, std::string const& body, std::string const& secret)
{
    TemporaryFolder folder;
    std::filesystem::path const script = folder.path / "check.py";
    std::ofstream(script) << example() << "import sys\nsys.exit(0 if is_genuine(sys.argv[1], "
                          << "sys.argv[2].encode(), sys.argv[3]) else 3)\n";
    std::string const command =
        "python3 '" + script.string() + "' '" + header + "' '" + body + "' '" + secret + "'";
    int const status = std::system(command.c_str()); // NOLINT(cert-env33-c,concurrency-mt-unsafe): a test.
    EXPECT_TRUE(status == 0 || WEXITSTATUS(status) == 3) << "the example does not run";
    return status == 0;
}

TEST(WebhookDocument, hasAnExampleThatTellsGenuineRequests)
{
    Date const now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    StoredWebhook const webhook{
        .secret = "whsec_new", .oldSecret = "whsec_old", .oldUntil = now + std::chrono::hours(1)};
    std::string const body = R"({"id":"evt_1"})";
    std::string const header = webhookSignature(webhook, body, now);

    EXPECT_TRUE(isGenuine(header, body, "whsec_new"));
    EXPECT_TRUE(isGenuine(header, body, "whsec_old"));
    EXPECT_FALSE(isGenuine(header, body, "whsec_other"));
    EXPECT_FALSE(isGenuine(header, R"({"id":"evt_2"})", "whsec_new"));
    EXPECT_FALSE(
        isGenuine(webhookSignature(webhook, body, now - std::chrono::minutes(6)), body, "whsec_new"));
}

} // namespace
} // namespace zelvo::service
