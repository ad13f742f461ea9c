#include "drivers/FileAccess.h"
#include "drivers/InputAction.h"
#include "drivers/ShellRunner.h"
#include "drivers/TreeWalk.h"
#include "platform/Pasteboard.h"
#include "unit/docs/ProtocolDocument.h"
#include "unit/docs/ProtocolMachine.h"
#include "wire/ErrorCode.h"
#include "wire/MethodTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

// What docs/protocol.md names is what the program knows, no more and no less.

namespace zelvo {
namespace {

using testing::UnorderedElementsAreArray;

ProtocolDocument const& document()
{
    return ProtocolDocument::present();
}

/// The code spans of a text.
std::vector<std::string> spans(std::string const& text)
{
    std::vector<std::string> all;
    std::regex const span("`([^`]+)`");
    for (std::sregex_iterator match(text.begin(), text.end(), span), end; match != end; ++match)
        all.push_back((*match)[1]);
    // A cell that is one span stands without its backticks.
    return all.empty() && !text.empty() ? std::vector{text} : all;
}

TEST(ProtocolNames, methodsAreThoseThatAreServed)
{
    std::vector<std::string_view> served;
    for (Method const& method : methods)
        if (method.isServed())
            served.push_back(method.name);
    EXPECT_THAT(document().names("Methods"), UnorderedElementsAreArray(served));
}

TEST(ProtocolNames, serviceMethodsAreThoseOfTheTable)
{
    for (DocumentSection const& section : document().named("Methods"))
        EXPECT_EQ(section.scope.ends_with("a service method"), methodNamed(section.title)->isService())
            << section.title;
}

TEST(ProtocolNames, everyErrorCodeIsToldWithItsSenderAndMessage)
{
    DocumentTable const& table = *document().section("Errors").table("Code");
    std::vector<std::string> codes;
    for (auto const& row : table.rows) {
        codes.push_back(row[0]);
        auto const error = agentErrorFrom(row[0]);
        EXPECT_EQ(table.cell(row, "From"), error ? "agent" : "gateway") << row[0];
        EXPECT_EQ(table.cell(row, "Message"), error ? defaultMessage(*error) : "") << row[0];
    }
    EXPECT_THAT(codes, UnorderedElementsAreArray(EnumTexts<ErrorCode>::texts));
}

TEST(ProtocolNames, methodsTellOfCodesThatAnAgentSends)
{
    for (DocumentSection const& section : document().sections)
        if (DocumentTable const* const table = section.table("Error"))
            for (auto const& row : table->rows)
                EXPECT_TRUE(agentErrorFrom(row[0])) << section.title << " " << row[0];
}

TEST(ProtocolNames, scopesAreThoseOfThePolicy)
{
    DocumentTable const& table = *document().section("Scopes").table("Scope");
    std::map<std::string, std::string> told; // The scope by method.
    std::vector<std::string> scopes;
    for (auto const& row : table.rows) {
        scopes.push_back(row[0]);
        for (std::string const& method : spans(table.cell(row, "Methods")))
            told[method] = row[0];
    }

    EXPECT_THAT(scopes, testing::ElementsAreArray(EnumTexts<AgentScope>::texts));
    for (auto const& [method, scope, use] : methods) {
        EXPECT_EQ(told.contains(std::string(method)), scope.has_value()) << method;
        if (scope)
            EXPECT_EQ(told[std::string(method)], rawValue(*scope)) << method;
    }
    for (DocumentSection const& section : document().named("Methods")) {
        auto const scope = methodNamed(section.title)->scope;
        EXPECT_EQ(section.scope.substr(0, section.scope.find(';')), scope ? rawValue(*scope) : "none")
            << section.title;
    }
}

TEST(ProtocolNames, serviceMethodsAreAnsweredWhilePausedAndNoOthers)
{
    for (DocumentSection const& section : document().named("Methods")) {
        ProtocolMachine machine;
        machine.pause();
        std::string const code = machine.perform(section.examples.front()).code();
        EXPECT_EQ(code, section.scope.ends_with("a service method") ? "" : "machine_paused") << section.title;
    }
}

TEST(ProtocolNames, limitsAreThoseOfTheProgram)
{
    auto const expectTold = [](char const* chapter, char const* title, std::string const& words) {
        EXPECT_THAT(document().section(chapter, title).text, testing::HasSubstr(words)) << title;
    };
    auto const mib = [](auto bytes) { return std::to_string(bytes >> 20) + " MiB"; };
    auto const seconds = [](Duration time) {
        return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + " seconds";
    };
    TreeLimits const tree;
    ShellRunner::Limits const shell;
    expectTold("Methods", "ui.tree", "At most 1,500 elements, 25 levels and " + seconds(tree.totalTimeout));
    expectTold("Methods", "ui.tree", mib(tree.maxTextBytes) + " of texts");
    EXPECT_EQ(tree.maxElements, 1500);
    EXPECT_EQ(tree.maxDepth, 25);
    expectTold("Methods", "shell.run", "SIGKILL " + seconds(shell.sigtermGrace));
    expectTold("Methods", "shell.run", "Four commands run at a time");
    EXPECT_EQ(shell.maxConcurrent, 4);
    expectTold("Methods", "shell.run", "the first MiB");
    EXPECT_EQ(shell.maxOutputBytes, 1U << 20);
    expectTold("Methods", "clipboard.get", "longer than " + mib(Pasteboard::maxTextLength));
    expectTold("Methods", "files.download", "up to " + mib(FileAccess::maxBytes));
    expectTold("Methods", "files.upload.begin", "up to " + mib(FileAccess::maxBytes));
}

TEST(ProtocolNames, actionsAreThoseThatCanBeParsed)
{
    std::set<std::size_t> kinds;
    for (DocumentSection const& section : document().named("Input actions")) {
        ASSERT_EQ(section.examples.size(), 1U) << section.title;
        EXPECT_EQ(section.examples.front().at("type").as_string(), section.title);
        kinds.insert(InputAction::parse(section.examples.front().as_object()).value.index());
    }
    EXPECT_EQ(kinds.size(), std::variant_size_v<InputAction::Value>);
    EXPECT_EQ(document().names("Input actions").size(), kinds.size());
}

} // namespace
} // namespace zelvo
