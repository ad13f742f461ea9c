#include "unit/docs/ProtocolDocument.h"
#include "unit/docs/ProtocolMachine.h"

#include <gtest/gtest.h>

// The examples of docs/protocol.md, and what it says of params, tried on the machine in memory.

namespace zelvo {
namespace {

using Effects = ProtocolMachine::Effects;

/// A key that may be left out, with params in which it makes a difference.
struct Optional {
    json::object params; ///< without the key
    json::value other;   ///< unlike its default
};

std::map<std::string, Optional> const& optionals()
{
    static json::object const click = {
        {"actions", json::array{json::object{{"type", "move"}, {"x", 1}, {"y", 1}}}}};
    static json::object const command = {{"command", "true"}};
    static json::object const offer = {{"connectionId", "con_7f2a"}, {"commands", json::array()}};
    static json::object const nobody = {{"waiting", json::array()}, {"paused", json::array()}};
    static json::object const agent = {{"ref", "agt_1"}, {"name", "Dana"}, {"since", ""}};
    static std::map<std::string, Optional> const all = {
        {"screenshot format", {{{"maxWidth", 16}}, "png"}},
        {"screenshot quality", {{{"maxWidth", 16}}, 5}},
        {"screenshot maxWidth", {{{"format", "png"}}, 16}},
        {"screenshot region", {{}, json::object{{"x", 0}, {"y", 0}, {"w", 32}, {"h", 18}}}},
        {"screen.settle quietMs", {{}, 500}},
        {"screen.settle timeoutMs", {{}, 50}},
        {"screen.settle region", {{}, json::object{{"x", 0}, {"y", 0}, {"w", 100}, {"h", 50}}}},
        {"ui.tree scope", {{}, "menu_bar"}},
        {"ui.tree interactiveOnly", {{}, false}},
        {"ui.tree format", {{}, "json"}},
        {"ui.wait role", {{{"name", "find"}}, "AXTextArea"}},
        {"ui.wait name", {{{"role", "AXButton"}}, "send"}},
        {"ui.wait value", {{{"role", "AXButton"}}, "Milk"}},
        {"ui.wait until", {{{"role", "AXButton"}}, "disappears"}},
        {"ui.wait timeoutMs", {{{"name", "send"}}, 50}},
        {"ui.wait scope", {{{"name", "find"}}, "menu_bar"}},
        {"actions.perform expectBundleId", {click, "org.gnome.Calculator"}},
        {"shell.run cwd", {command, "/tmp"}},
        {"shell.run env", {command, json::object{{"LC_ALL", "C"}}}},
        {"shell.run timeoutMs", {command, 1}},
        {"shell.run confirmationTimeoutMs", {command, 1000}},
        {"apps.open bundleId", {{}, "org.gnome.Calculator"}},
        {"apps.open name", {{}, "Calculator"}},
        {"apps.activate bundleId", {{}, "org.xfce.mousepad"}},
        {"apps.activate name", {{}, "Mousepad"}},
        {"urls.open confirmationTimeoutMs", {{{"url", "mailto:kim@example.org"}}, 1000}},
        {"queue.offer platformName", {offer, "Other"}},
        {"connection.revoke connectionId", {{}, "con_7f2a"}},
        {"agents.update holder", {nobody, agent}}};
    return all;
}

std::vector<DocumentSection> methods()
{
    return ProtocolDocument::present().named("Methods");
}

json::object exampleParams(DocumentSection const& method)
{
    json::object const* const params = read::object(method.examples.front().as_object(), "params");
    return params ? *params : json::object();
}

Effects effectsOf(std::string const& method, json::object params)
{
    ProtocolMachine machine;
    return machine.perform(method, std::move(params));
}

/// What the program answers without a required param; empty when that is no error.
std::string codeWithoutRequired(DocumentSection const& method)
{
    if (DocumentTable const* const errors = method.table("Error"))
        for (auto const& row : errors->rows)
            if (errors->cell(row, "When").starts_with("a required param is missing"))
                return row[0];
    return "";
}

/// A batch of one action, after a tree was read.
Effects effectsOfAction(json::object action)
{
    ProtocolMachine machine;
    machine.perform("ui.tree", {});
    return machine.perform("actions.perform", {{"actions", json::array{std::move(action)}}});
}

json::object with(json::object object, std::string const& key, json::value value)
{
    object[key] = std::move(value);
    return object;
}

json::object without(json::object object, std::string const& key)
{
    object.erase(key);
    return object;
}

TEST(ProtocolExamples, everyRequestIsAnsweredAsShown)
{
    int tried = 0;
    for (DocumentSection const& section : ProtocolDocument::present().sections)
        for (std::size_t i = 0; i + 1 < section.examples.size(); i += 2) {
            ProtocolMachine machine;
            Effects const effects = machine.perform(section.examples[i]);
            EXPECT_EQ(effects.reply, section.examples[i + 1]) << section.title << " answers\n"
                                                              << writeJson(effects.reply);
            ++tried;
        }
    EXPECT_EQ(tried, 1 + static_cast<int>(methods().size()) + 1); // A refusal, each method and any other.
}

TEST(ProtocolExamples, everyMethodHasOneOfItsOwn)
{
    for (DocumentSection const& method : methods()) {
        ASSERT_EQ(method.examples.size(), 2U) << method.title;
        EXPECT_EQ(method.examples[0].at("method").as_string(), method.title);
    }
}

TEST(ProtocolFrames, requiredKeysAreThoseWithoutWhichAMessageIsDropped)
{
    DocumentTable const& table = *ProtocolDocument::present().section("Frames").table("Key");
    json::object const whole = {{"id", "7"},
                                {"method", "screenshot"},
                                {"connectionId", "con_7f2a"},
                                {"params", json::object{{"format", "png"}}},
                                {"agent", json::object{{"name", "Dana"}}}};
    ASSERT_EQ(table.rows.size(), whole.size());
    for (auto const& row : table.rows) {
        bool const required = table.cell(row, "Default") == "required";
        EXPECT_EQ(parseFrame(writeJson(without(whole, row[0]))).has_value(), !required) << row[0];
        EXPECT_EQ(parseFrame(writeJson(with(whole, row[0], 5))).has_value(), !required) << row[0];
    }
    EXPECT_EQ(parseFrame(writeJson(without(whole, "params")))->params, json::object());
}

TEST(ProtocolParams, aRequiredOneThatIsMissingIsTheErrorShown)
{
    int tried = 0;
    for (DocumentSection const& method : methods()) {
        DocumentTable const* const table = method.table("Param");
        json::object const params = exampleParams(method);
        for (auto const& row : table ? table->rows : DocumentTable().rows) {
            if (table->cell(row, "Default") != "required")
                continue;
            for (json::object const& broken :
                 {without(params, row[0]), with(params, row[0], nullptr), with(params, row[0], 5)}) {
                Effects const effects = effectsOf(method.title, broken);
                EXPECT_EQ(effects.code(), codeWithoutRequired(method)) << method.title << " " << row[0];
                EXPECT_TRUE(effects.agents.isEmpty()) << row[0]; // What an update without it comes to.
                ++tried;
            }
        }
    }
    EXPECT_EQ(tried, 3 * 12);
}

TEST(ProtocolParams, anOptionalOneMayBeMissingOrOfTheWrongType)
{
    for (DocumentSection const& method : methods()) {
        DocumentTable const* const table = method.table("Param");
        json::object const params = exampleParams(method);
        for (auto const& row : table ? table->rows : DocumentTable().rows) {
            if (table->cell(row, "Default") == "required")
                continue;
            Effects const missing = effectsOf(method.title, without(params, row[0]));
            EXPECT_EQ(missing.code(), "") << method.title << " " << row[0];
            EXPECT_EQ(effectsOf(method.title, with(params, row[0], nullptr)), missing)
                << method.title << " " << row[0];
        }
    }
}

TEST(ProtocolParams, defaultsAreThoseShownAndEveryOptionalOneIsRead)
{
    std::size_t tried = 0;
    for (DocumentSection const& method : methods()) {
        DocumentTable const* const table = method.table("Param");
        for (auto const& row : table ? table->rows : DocumentTable().rows) {
            std::string const given = table->cell(row, "Default");
            if (given == "required")
                continue;
            auto const found = optionals().find(method.title + " " + row[0]);
            ASSERT_NE(found, optionals().end()) << method.title << " " << row[0];
            auto const& [params, other] = found->second;
            Effects const missing = effectsOf(method.title, params);
            EXPECT_NE(effectsOf(method.title, with(params, row[0], other)), missing) << found->first;
            if (given != "none")
                EXPECT_EQ(effectsOf(method.title, with(params, row[0], *parseJson(given))), missing)
                    << found->first;
            ++tried;
        }
    }
    EXPECT_EQ(tried, optionals().size());
}

/// An object inside of params, with a table of its own.
struct Inner {
    char const* method;
    char const* pointer;
};

class ProtocolInner : public testing::TestWithParam<Inner> {
protected:
    json::value broken(std::string const& key) const
    {
        json::value changed = example;
        changed.at_pointer(GetParam().pointer).as_object().erase(key);
        return changed;
    }

    DocumentSection const& section = ProtocolDocument::present().section("Methods", GetParam().method);
    json::value const example = exampleParams(section);
};

TEST_P(ProtocolInner, keysAreRequiredOrNotAsShown)
{
    DocumentTable const& table = *section.table("Key");
    Effects const whole = effectsOf(section.title, example.as_object());
    for (auto const& row : table.rows) {
        Effects const effects = effectsOf(section.title, broken(row[0]).as_object());
        bool const required = table.cell(row, "Default") == "required";
        EXPECT_EQ(effects.code(), required ? codeWithoutRequired(section) : "") << row[0];
        EXPECT_EQ(effects.offers.empty() && effects.agents.isEmpty(), required) << row[0];
        EXPECT_NE(effects, whole) << row[0];
    }
}

INSTANTIATE_TEST_SUITE_P(All,
                         ProtocolInner,
                         testing::Values(Inner{"queue.offer", "/commands/0"},
                                         Inner{"agents.update", "/holder"}));

TEST(ProtocolActions, exampleRuns)
{
    for (DocumentSection const& section : ProtocolDocument::present().named("Input actions"))
        EXPECT_EQ(effectsOfAction(section.examples.front().as_object()).code(), "") << section.title;
}

TEST(ProtocolActions, keysAreRequiredOrHaveTheDefaultsShown)
{
    for (DocumentSection const& section : ProtocolDocument::present().named("Input actions")) {
        DocumentTable const& table = *section.table("Key");
        json::object const example = section.examples.front().as_object();
        EXPECT_EQ(table.rows.size() + 1, example.size()) << section.title; // It shows every key.
        for (auto const& row : table.rows) {
            std::string const what = section.title + " " + row[0];
            std::string const given = table.cell(row, "Default");
            Effects const missing = effectsOfAction(without(example, row[0]));
            EXPECT_EQ(effectsOfAction(with(example, row[0], nullptr)), missing) << what;
            if (given == "required") {
                EXPECT_EQ(missing.code(), "invalid_request") << what;
                continue;
            }
            EXPECT_EQ(missing, effectsOfAction(with(example, row[0], *parseJson(given)))) << what;
            EXPECT_NE(missing, effectsOfAction(example)) << what;
        }
    }
}

} // namespace
} // namespace zelvo
