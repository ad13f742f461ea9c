#pragma once

#include "wire/Json.h"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// JSON Schemas (draft 2020-12), with just the keywords that those of docs/schema use. Our own, since it is
/// short and stricter than the usual ones: a keyword that it does not know is an error and not an annotation.
class JsonSchemas {
public:
    /// A schema of a file, such as "frame.json#/$defs/request".
    struct Place {
        std::string file;
        json::object const* schema = nullptr; ///< lives as long as the JsonSchemas
    };
    struct Variant {
        std::string what; ///< what was broken, and where
        json::value value;
    };

    /// files  schemas by file name. Throws std::runtime_error for an unknown keyword, a reference to nowhere
    ///        and a required key that no property describes.
    explicit JsonSchemas(std::map<std::string, json::object> files);
    static JsonSchemas inFolder(std::filesystem::path const& folder);
    /// Those of docs/schema.
    static JsonSchemas const& ofProtocol();

    /// What is wrong with a value; empty when nothing is.
    std::vector<std::string> faults(std::string const& reference, json::value const& value) const;
    /// The value broken in every way that the schema forbids for it: without each required key, with each
    /// part of a wrong type, out of its bounds, or beside a key that is not known. Notes the references and
    /// properties that it came by.
    std::vector<Variant>
    broken(std::string const& reference, json::value const& value, std::set<std::string>& seen) const;

    Place at(std::string const& reference, std::string const& fromFile = "") const;
    /// The references of all definitions, such as "frame.json#/$defs/request".
    std::vector<std::string> definitions() const;
    /// The reference of the one definition with this name; empty when there is none.
    std::string definition(std::string const& name) const;
    /// What broken() notes for the properties of all definitions: the definition and the property.
    std::vector<std::string> properties() const;

private:
    std::map<std::string, json::object> files;
};

} // namespace zelvo
