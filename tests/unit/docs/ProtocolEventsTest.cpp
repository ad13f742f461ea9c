#include "unit/docs/ProtocolDocument.h"
#include "unit/docs/ProtocolSent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

/// The names with which the program's sources send events.
std::set<std::string> namesInTheSources()
{
    std::set<std::string> names;
    std::regex const call("sendEvent\\(([^,;]*),");
    std::regex const literal("\"([a-z_]+)\"");
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(ZELVO_SOURCES)) {
        if (entry.path().extension() != ".cpp")
            continue;
        std::ifstream stream(entry.path(), std::ios::binary);
        std::string const code{std::istreambuf_iterator<char>(stream), {}};
        for (std::sregex_iterator match(code.begin(), code.end(), call), end; match != end; ++match) {
            std::string const argument = (*match)[1];
            for (std::sregex_iterator name(argument.begin(), argument.end(), literal); name != end; ++name)
                names.insert((*name)[1]);
        }
    }
    return names;
}

TEST(ProtocolEvents, areThoseThatTheProgramSends)
{
    EXPECT_THAT(ProtocolDocument::present().names("Events"),
                testing::UnorderedElementsAreArray(namesInTheSources()));
}

TEST(ProtocolEvents, andTheHeartbeatAreSentAsShown)
{
    std::vector<json::value> shown = ProtocolDocument::present().section("Heartbeat").examples;
    for (DocumentSection const& event : ProtocolDocument::present().named("Events")) {
        ASSERT_EQ(event.examples.size(), 1U) << event.title;
        EXPECT_EQ(event.examples.front().at("event").as_string(), event.title);
        shown.push_back(event.examples.front());
    }
    EXPECT_THAT(saidUnasked(), testing::ElementsAreArray(shown));
}

TEST(ProtocolEvents, tableOfTheHeartbeatHasItsKeys)
{
    DocumentSection const& section = ProtocolDocument::present().section("Heartbeat");
    std::vector<std::string> keys;
    for (auto const& [key, value] : section.examples.front().at("params").as_object())
        keys.emplace_back(key);
    std::vector<std::string> told;
    for (auto const& row : section.table("Key")->rows)
        told.push_back(row[0]);
    EXPECT_EQ(told, keys);
}

} // namespace
} // namespace zelvo
