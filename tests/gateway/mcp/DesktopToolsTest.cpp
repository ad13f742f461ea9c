#include "ZelvoGateway/mcp/DesktopTools.h"

#include "ZelvoGateway/mcp/ArgumentCheck.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace zelvo::service {
namespace {

constexpr DesktopToolChoice everything{.namesMachines = true, .hasComputerTool = true};

/// A rough count that errs on the high side: a token of English or JSON is between three and four bytes.
std::size_t tokensOf(std::string_view text)
{
    return (text.size() + 2) / 3;
}

std::string listOf(DesktopToolChoice choice)
{
    json::array list;
    for (McpTool const& tool : desktopTools(choice))
        list.emplace_back(toJson(tool));
    return writeJson(json::value(std::move(list)));
}

std::vector<std::string> namesOf(DesktopToolChoice choice)
{
    std::vector<std::string> names;
    for (McpTool const& tool : desktopTools(choice))
        names.push_back(tool.name);
    return names;
}

/// The problem with arguments of a tool, or "fits".
std::string check(std::string_view tool, std::string_view arguments, DesktopToolChoice choice = everything)
{
    McpServer const server{.tools = desktopTools(choice)};
    McpTool const* const found = server.find(tool);
    if (!found)
        return "no such tool";
    return argumentProblem(found->inputSchema, parseJson(arguments).value().as_object()).value_or("fits");
}

/// Calls `visit` with every schema in a schema.
template <class Visit>
void forEachSchema(json::object const& schema, Visit const& visit)
{
    visit(schema);
    if (json::object const* const properties = read::object(schema, "properties"))
        for (auto const& property : *properties)
            forEachSchema(property.value().as_object(), visit);
    if (json::object const* const items = read::object(schema, "items"))
        forEachSchema(*items, visit);
}

TEST(DesktopTools, fitIntoAModelsContext)
{
    EXPECT_LE(tokensOf(listOf(everything)), 3500U);
    EXPECT_LE(tokensOf(desktopInstructions()), 300U);
}

TEST(DesktopTools, nameBothTimeOutsOfAWait)
{
    McpServer const server{.tools = desktopTools(everything)};
    json::value const schema = server.find("desktop_wait")->inputSchema;

    EXPECT_EQ(schema.at("properties").at("timeoutMs").at("description"), "Default 10000; 45000 with op");
}

TEST(DesktopTools, haveAFixedOrder)
{
    std::vector<std::string> const usual = {
        "machine_list",   "desktop_see",     "desktop_act", "desktop_wait", "app_list",  "app_open",
        "clipboard_read", "clipboard_write", "shell_run",   "file_read",    "file_write"};
    std::vector<std::string> all = usual;
    all.emplace_back("computer");

    EXPECT_EQ(namesOf({}), usual);
    EXPECT_EQ(namesOf(everything), all);
    EXPECT_EQ(listOf(everything), listOf(everything));
}

TEST(DesktopTools, haveNamesThatClientsTake)
{
    std::set<std::string> names;
    for (McpTool const& tool : desktopTools(everything)) {
        EXPECT_EQ(tool.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << tool.name;
        EXPECT_TRUE(names.insert(tool.name).second) << tool.name;
        EXPECT_FALSE(tool.title.empty()) << tool.name;
        EXPECT_FALSE(tool.description.empty()) << tool.name;
    }
}

TEST(DesktopTools, sayEveryHint)
{
    std::map<std::string, std::string> hints;
    for (McpTool const& tool : desktopTools(everything)) {
        json::object const told = toJson(tool).at("annotations").as_object();
        std::string& text = hints[tool.name];
        for (std::string_view const hint :
             {"readOnlyHint", "destructiveHint", "idempotentHint", "openWorldHint"})
            text += told.at(hint).as_bool() ? hint.substr(0, 1) : "-";
    }

    EXPECT_EQ(hints, (std::map<std::string, std::string>{{"machine_list", "r---"},
                                                         {"desktop_see", "r---"},
                                                         {"desktop_act", "-d-o"},
                                                         {"desktop_wait", "r---"},
                                                         {"app_list", "r---"},
                                                         {"app_open", "---o"},
                                                         {"clipboard_read", "r---"},
                                                         {"clipboard_write", "-di-"},
                                                         {"shell_run", "-d-o"},
                                                         {"file_read", "r---"},
                                                         {"file_write", "-di-"},
                                                         {"computer", "-d-o"}}));
}

TEST(DesktopTools, useOnlyKeywordsThatAreChecked)
{
    std::set<std::string> const known = {
        "type",    "enum",    "required", "properties", "additionalProperties", "items",
        "minimum", "maximum", "minItems", "maxItems",   "description"};
    for (McpTool const& tool : desktopTools(everything))
        forEachSchema(tool.inputSchema, [&](json::object const& schema) {
            for (auto const& keyword : schema)
                EXPECT_TRUE(known.contains(keyword.key())) << tool.name << ": " << keyword.key();
            EXPECT_TRUE(schema.contains("type")) << tool.name;
        });
}

TEST(DesktopTools, requireOnlyWhatTheyDescribe)
{
    for (McpTool const& tool : desktopTools(everything))
        forEachSchema(tool.inputSchema, [&](json::object const& schema) {
            if (json::array const* const required = read::array(schema, "required"))
                for (json::value const& key : *required)
                    EXPECT_TRUE(schema.at("properties").as_object().contains(key.as_string())) << tool.name;
        });
}

TEST(DesktopTools, nameAMachineUnlessTheAddressDoes)
{
    EXPECT_EQ(check("app_list", R"({"machine":"desk"})"), "fits");
    EXPECT_EQ(check("app_list", R"({"machine":"desk"})", {.namesMachines = false}),
              R"("machine" is unknown)");
    EXPECT_EQ(check("machine_list", R"({"machine":"desk"})"), R"("machine" is unknown)");
    EXPECT_EQ(check("computer", R"({"action":"key","text":"ctrl+s","machine":"desk"})"), "fits");
    EXPECT_EQ(listOf({.namesMachines = false, .hasComputerTool = true}).find("machine\":"),
              std::string::npos);
}

TEST(DesktopTools, takeWhatModelsSend)
{
    EXPECT_EQ(check("desktop_see", "{}"), "fits");
    EXPECT_EQ(check("desktop_see", R"({"what":"both","region":{"x":0,"y":0,"w":10,"h":10},"maxLines":1500})"),
              "fits");
    EXPECT_EQ(check("desktop_act",
                    R"({"actions":[{"type":"click","ref":"b9"},{"type":"key","keys":["ctrl","s"]}],)"
                    R"("expectApp":"Mousepad","settle":0,"observe":"none"})"),
              "fits");
    EXPECT_EQ(check("desktop_act", R"({"actions":[{"type":"drag","x":1,"y":2,"toX":3.5,"toY":4}]})"), "fits");
    EXPECT_EQ(check("desktop_wait", R"({"op":"op_1","timeoutMs":45000})"), "fits");
    EXPECT_EQ(check("shell_run", R"({"command":"ls","env":{"LC_ALL":"C"}})"), "fits");
    EXPECT_EQ(check("computer", R"({"action":"left_click","coordinate":[1,2]})"), "fits");
    EXPECT_EQ(check("computer", R"({"type":"drag","path":[{"x":1,"y":2}],"keys":["SHIFT"]})"), "fits");
}

TEST(DesktopTools, refuseWhatIsOutOfBounds)
{
    EXPECT_EQ(check("desktop_act", "{}"), R"("actions" is missing)");
    EXPECT_EQ(check("desktop_act", R"({"actions":[]})"), R"("actions" must have at least 1 items)");
    std::string twentyOne = R"({"actions":[{"type":"wait"})";
    for (int i = 0; i < 20; ++i)
        twentyOne += R"(,{"type":"wait"})";
    EXPECT_EQ(check("desktop_act", twentyOne + "]}"), R"("actions" must have at most 20 items)");
    EXPECT_EQ(check("desktop_act", R"({"actions":[{"ref":"b9"}]})"), R"("actions[0].type" is missing)");
    EXPECT_EQ(check("desktop_see", R"({"maxLines":0})"), R"("maxLines" must be at least 1)");
    EXPECT_EQ(check("desktop_wait", R"({"timeoutMs":45001})"), R"("timeoutMs" must be at most 45000)");
    EXPECT_EQ(check("clipboard_write", "{}"), R"("text" is missing)");
    EXPECT_EQ(check("file_write", R"({"path":"/a","mode":1})"), R"("mode" is unknown)");
}

} // namespace
} // namespace zelvo::service
