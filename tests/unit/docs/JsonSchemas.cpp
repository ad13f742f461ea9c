#include "unit/docs/JsonSchemas.h"

#include "unit/docs/JsonSchemaBreaker.h"
#include "unit/docs/JsonSchemaChecker.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelvo {

namespace {

/// Looks the schemas themselves through, and lists their properties under the names that broken() notes.
class Auditor {
public:
    explicit Auditor(JsonSchemas const& schemas) : schemas(schemas) {}

    std::vector<std::string> properties;

    void audit(std::string const& name, JsonSchemas::Place const& place)
    {
        static std::set<std::string, std::less<>> const known = {
            "$schema",     "$id",     "$defs",      "$ref",     "title",
            "description", "type",    "properties", "required", "additionalProperties",
            "items",       "enum",    "const",      "oneOf",    "anyOf",
            "minimum",     "maximum", "minItems",   "minLength"};
        for (auto const& [key, rule] : *place.schema) {
            if (!known.contains(std::string_view(key)))
                throw std::runtime_error(name + ": unknown keyword " + std::string(key));
            inner(name, place.file, key, rule);
        }
        requireDescribed(name, *place.schema);
    }

private:
    JsonSchemas const& schemas;

    void
    inner(std::string const& name, std::string const& file, std::string_view key, json::value const& rule)
    {
        if (key == "$ref")
            schemas.at(std::string(rule.as_string()), file);
        else if (key == "$defs")
            for (auto const& [definition, schema] : rule.as_object())
                audit(file + "#/$defs/" + std::string(definition), {file, &schema.as_object()});
        else if (key == "properties")
            for (auto const& [property, schema] : rule.as_object()) {
                properties.push_back(name + "." + std::string(property));
                audit(properties.back(), {file, &schema.as_object()});
            }
        else if (key == "items" || (key == "additionalProperties" && rule.is_object()))
            audit(name + (key == "items" ? "[]" : ".*"), {file, &rule.as_object()});
        else if (key == "oneOf" || key == "anyOf")
            for (json::value const& schema : rule.as_array())
                audit(name, {file, &schema.as_object()});
    }

    static void requireDescribed(std::string const& name, json::object const& schema)
    {
        json::array const* const required = read::array(schema, "required");
        json::object const* const described = read::object(schema, "properties");
        for (json::value const& key : required ? *required : json::array())
            if (!described || !described->contains(key.as_string()))
                throw std::runtime_error(name + ": nothing describes " + std::string(key.as_string()));
    }
};

} // namespace

JsonSchemas::JsonSchemas(std::map<std::string, json::object> files) : files(std::move(files))
{
    properties();
}

JsonSchemas JsonSchemas::inFolder(std::filesystem::path const& folder)
{
    std::map<std::string, json::object> found;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream stream(entry.path(), std::ios::binary);
        std::string const text{std::istreambuf_iterator<char>(stream), {}};
        auto const parsed = parseJson(text);
        std::string const name = entry.path().filename().string();
        if (!parsed || !parsed->is_object() || read::text(parsed->get_object(), "$id") != name)
            throw std::runtime_error(name + " is no schema with its own name as $id");
        found.emplace(name, parsed->as_object());
    }
    return JsonSchemas(std::move(found));
}

JsonSchemas const& JsonSchemas::ofProtocol()
{
    static JsonSchemas const schemas = inFolder(ZELVO_DOCS "/schema");
    return schemas;
}

std::vector<std::string> JsonSchemas::faults(std::string const& reference, json::value const& value) const
{
    JsonSchemaChecker checker(*this);
    checker.check(at(reference), value, "");
    return checker.faults;
}

std::vector<JsonSchemas::Variant>
JsonSchemas::broken(std::string const& reference, json::value const& value, std::set<std::string>& seen) const
{
    JsonSchemaBreaker breaker(*this, seen);
    breaker.breakAt(reference, at(reference), value, [](json::value part) { return part; }, "");
    return std::move(breaker.variants);
}

JsonSchemas::Place JsonSchemas::at(std::string const& reference, std::string const& fromFile) const
{
    constexpr std::string_view definitions = "#/$defs/";
    std::size_t const hash = reference.find(definitions);
    std::string const file = hash == 0 ? fromFile : reference.substr(0, hash);
    auto const found = files.find(file);
    if (hash == std::string::npos || found == files.end())
        throw std::runtime_error("no schema " + reference);
    json::object const* const all = read::object(found->second, "$defs");
    json::object const* const schema =
        all ? read::object(*all, reference.substr(hash + definitions.size())) : nullptr;
    if (!schema)
        throw std::runtime_error("no schema " + reference);
    return {file, schema};
}

std::vector<std::string> JsonSchemas::definitions() const
{
    std::vector<std::string> all;
    for (auto const& [file, schema] : files)
        for (auto const& [name, definition] : schema.at("$defs").as_object())
            all.push_back(file + "#/$defs/" + std::string(name));
    return all;
}

std::string JsonSchemas::definition(std::string const& name) const
{
    for (std::string const& reference : definitions())
        if (reference.ends_with("#/$defs/" + name))
            return reference;
    return {};
}

std::vector<std::string> JsonSchemas::properties() const
{
    Auditor auditor(*this);
    for (auto const& [file, schema] : files)
        auditor.audit(file, {file, &schema});
    return auditor.properties;
}

} // namespace zelvo
