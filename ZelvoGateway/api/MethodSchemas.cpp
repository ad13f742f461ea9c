#include "ZelvoGateway/api/MethodSchemas.h"

#include "ZelvoGateway/api/RecordSchema.h"
#include "base/EmbeddedFile.h"
#include "wire/MethodTable.h"
#include "wire/records/ServiceMachines.h"

#include <array>

namespace zelvo {

extern EmbeddedFile const embedded_schema_actions;
extern EmbeddedFile const embedded_schema_frame;
extern EmbeddedFile const embedded_schema_observation;
extern EmbeddedFile const embedded_schema_system;

namespace service {

namespace {

constexpr std::string_view definitionsPart = "#/$defs/";

/// Every definition of docs/schema that a command may need; their names are unique.
json::object allDefinitions()
{
    json::object all;
    for (EmbeddedFile const* const file : {&embedded_schema_actions, &embedded_schema_frame,
                                           &embedded_schema_observation, &embedded_schema_system}) {
        json::value const parsed = parseJson(file->text()).value();
        for (auto const& [name, schema] : parsed.at("$defs").as_object())
            all[name] = schema;
    }
    return all;
}

/// Copies definitions together with what they refer to.
class Collector {
public:
    json::object collected;

    bool knows(std::string_view name) const { return definitions.contains(name); }

    void add(std::string const& name)
    {
        if (collected.contains(name))
            return;
        collected[name] = nullptr; // A definition may refer to itself.
        json::value schema = definitions.at(name);
        redirect(schema);
        collected[name] = std::move(schema);
    }

private:
    /// Turns references between files into references between the components of one document.
    void redirect(json::value& value)
    {
        if (json::array* const array = value.if_array())
            for (json::value& each : *array)
                redirect(each);
        json::object* const object = value.if_object();
        if (!object)
            return;
        for (auto& member : *object) {
            std::string const text =
                member.value().is_string() ? std::string(member.value().get_string()) : "";
            std::size_t const at = text.find(definitionsPart);
            if (member.key() == "$ref" && at != std::string::npos) {
                std::string const name = text.substr(at + definitionsPart.size());
                add(name);
                member.value() = schemaReference(name).at("$ref");
            } else {
                redirect(member.value());
            }
        }
    }

    json::object const definitions = allDefinitions();
};

/// Who sends a command; the person sees it.
json::object agentSchema()
{
    json::object const text{{"type", "string"}};
    return {{"type", "object"}, {"properties", {{"name", text}, {"ref", text}, {"task", text}}}};
}

json::object commandSchema(Method const& method, json::object const& params, json::object& schemas)
{
    bool const needsParams = params.contains("required");
    json::array required{"method"};
    if (needsParams)
        required.emplace_back("params");
    std::string const scope = method.scope ? std::string(rawValue(*method.scope)) : "none";
    std::string const name(method.name);
    return {{"type", "object"},
            {"description", "Scope: " + scope},
            {"properties",
             {{"method", {{"const", name}}},
              {"params", schemaReference(name + ".params")},
              {"agent", schemaReference("Agent")},
              {"delivery", schemaOf<records::DeliveryOptions>(schemas)}}},
            {"required", std::move(required)}};
}

} // namespace

MethodSchemas methodSchemas()
{
    Collector collector;
    json::object commands{{"Agent", agentSchema()}};
    json::array bodies;
    json::array results;
    for (Method const& method : methods) {
        std::string const name(method.name);
        bool const isDescribed = collector.knows(name + ".params") && collector.knows(name + ".result");
        if (method.use != MethodUse::command || !isDescribed)
            continue;
        collector.add(name + ".params");
        collector.add(name + ".result");
        commands[name + ".command"] =
            commandSchema(method, collector.collected.at(name + ".params").as_object(), commands);
        bodies.push_back(schemaReference(name + ".command"));
        results.push_back(schemaReference(name + ".result"));
    }
    for (auto& [name, schema] : commands)
        collector.collected[name] = std::move(schema);
    return {.body = {{"oneOf", std::move(bodies)}},
            .result = {{"type", "object"},
                       {"properties", {{"result", {{"anyOf", std::move(results)}}}}},
                       {"required", {"result"}}},
            .schemas = std::move(collector.collected)};
}

} // namespace service
} // namespace zelvo
