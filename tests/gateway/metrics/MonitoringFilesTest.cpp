#include "ZelvoGateway/base/Refusal.h"
#include "gateway/support/Connected.h"
#include "gateway/support/Scraped.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>

namespace zelvo::service {
namespace {

std::string contentOf(std::string const& file)
{
    std::ifstream stream(std::string(ZELVO_SOURCES "/") + file);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_FALSE(text.empty()) << file;
    return text;
}

std::set<std::string> namesIn(std::string const& text, std::regex const& pattern)
{
    std::set<std::string> names;
    for (std::sregex_iterator found(text.begin(), text.end(), pattern); found != std::sregex_iterator();
         ++found)
        names.insert((*found)[1]);
    return names;
}

/// Everything that the gateway exports: one command makes the families that begin with the first one.
Scraped everything()
{
    Connected on(withMetrics);
    on.gateway.command(on.linked.connectionId, "cursor.position");
    return Scraped(on.gateway);
}

/// Without the ending of a histogram's series.
std::string familyOf(std::string const& name, std::set<std::string> const& families)
{
    for (std::string_view const ending : {"_bucket", "_sum", "_count"})
        if (name.ends_with(ending) && families.contains(name.substr(0, name.size() - ending.size())))
            return name.substr(0, name.size() - ending.size());
    return name;
}

/// The values of a label that selectors in a text ask for.
std::set<std::string> labelValues(std::string const& text, std::string const& label)
{
    return namesIn(text, std::regex(label + R"(=~?\\?"([a-z0-9_|]+))"));
}

struct Ended {
    std::string output;
    int status = 0;
};

Ended runCommand(std::string const& command, std::string const& input = {})
{
    TemporaryFolder const folder;
    std::string const file = folder.path / "input";
    std::ofstream(file) << input;
    std::string const line = command + " <'" + file + "' 2>&1";
    // NOLINTNEXTLINE(cert-env33-c): a fixed command of this test.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(line.c_str(), "r"),
                                                         [](std::FILE*) { return 0; });
    Ended run;
    std::array<char, 4096> piece{};
    while (std::size_t const count = std::fread(piece.data(), 1, piece.size(), pipe.get()))
        run.output.append(piece.data(), count);
    run.status = ::pclose(pipe.release());
    return run;
}

// Nothing here installs it: its package also starts a server.
constexpr char const* noPromtool = "promtool is not installed";

bool hasPromtool()
{
    return runCommand("command -v promtool").status == 0;
}

class MonitoringFile : public testing::TestWithParam<char const*> {};

TEST_P(MonitoringFile, asksOnlyForWhatTheGatewayExports)
{
    std::string const text = contentOf(GetParam());
    Scraped const exported = everything();

    auto const names = namesIn(text, std::regex(R"(\b((?:zelvo|process)_[a-z_]+)\b)"));

    EXPECT_GE(names.size(), 5U);
    for (std::string const& name : names)
        EXPECT_TRUE(exported.families.contains(familyOf(name, exported.families))) << name;
    for (std::string const& reasons : labelValues(text, "reason"))
        for (std::string const& reason : namesIn(reasons, std::regex("([a-z_]+)")))
            EXPECT_TRUE(exported.has("zelvo_refused_total{reason=\"" + reason + "\"}")) << reason;
}

INSTANTIATE_TEST_SUITE_P(,
                         MonitoringFile,
                         testing::Values("packaging/monitoring/zelvo-alerts.yml",
                                         "packaging/monitoring/zelvo-dashboard.json"));

TEST(MonitoringFiles, areValid)
{
    auto const dashboard = json::parse(contentOf("packaging/monitoring/zelvo-dashboard.json"));
    std::set<std::int64_t> ids;
    for (json::value const& panel : dashboard.at("panels").as_array()) {
        EXPECT_TRUE(ids.insert(panel.at("id").as_int64()).second);
        EXPECT_FALSE(panel.at("targets").as_array().empty()) << panel.at("title");
    }
    EXPECT_GE(ids.size(), 8U);
    if (!hasPromtool())
        GTEST_SKIP() << noPromtool;

    Ended const rules =
        runCommand("promtool check rules '" ZELVO_SOURCES "/packaging/monitoring/zelvo-alerts.yml'");

    EXPECT_EQ(rules.status, 0) << rules.output;
    EXPECT_NE(rules.output.find("5 rules found"), std::string::npos) << rules.output;
}

TEST(MonitoringFiles, haveRulesThatFire)
{
    if (!hasPromtool())
        GTEST_SKIP() << noPromtool;

    Ended const tests =
        runCommand("promtool test rules '" ZELVO_SOURCES "/tests/gateway/metrics/alerts-test.yml'");

    EXPECT_EQ(tests.status, 0) << tests.output;
}

TEST(MonitoringFiles, haveAQueryLanguageThatPrometheusReads)
{
    if (!hasPromtool())
        GTEST_SKIP() << noPromtool;
    auto const dashboard = json::parse(contentOf("packaging/monitoring/zelvo-dashboard.json"));
    std::string rules = "groups:\n- name: dashboard\n  rules:\n";
    for (json::value const& panel : dashboard.at("panels").as_array())
        for (json::value const& target : panel.at("targets").as_array())
            rules += "  - record: query:" + std::to_string(rules.size()) + "\n    expr: " +
                     std::regex_replace(json::serialize(target.at("expr")),
                                        std::regex(R"(\$__rate_interval)"), "5m") +
                     "\n";
    TemporaryFolder const folder;
    std::ofstream(folder.path / "rules.yml") << rules;

    Ended const checked = runCommand("promtool check rules '" + (folder.path / "rules.yml").string() + "'");

    EXPECT_EQ(checked.status, 0) << checked.output;
}

TEST(Scrape, isReadByPrometheusWithoutAComplaint)
{
    if (!hasPromtool())
        GTEST_SKIP() << noPromtool;

    Ended const checked = runCommand("promtool check metrics", everything().answer.body);

    EXPECT_EQ(checked.status, 0) << checked.output;
}

TEST(OperatingPage, listsEveryMetricAndNoOther)
{
    std::string const page = contentOf("docs/operating.md");

    EXPECT_EQ(namesIn(page, std::regex(R"(\n\| `((?:zelvo|process)_[a-z_]+)`)")), everything().families);
}

TEST(OperatingPage, listsEveryReasonOfARefusal)
{
    std::string const page = contentOf("docs/operating.md");

    for (std::string_view const reason : refusalNames)
        EXPECT_NE(page.find("| `" + std::string(reason) + "` |"), std::string::npos) << reason;
}

} // namespace
} // namespace zelvo::service
