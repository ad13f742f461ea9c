#pragma once

#include "wire/ErrorCode.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// What a route does, for those who call it: the page of the API is made of these. Schemas are JSON Schemas.
struct Operation {
    struct Parameter {
        std::string name;
        std::string description;
        json::object schema;
    };
    struct Answer {
        int status = 200;
        std::string description;
        json::object schema = {};
    };

    std::string id; ///< "listMachines"
    std::string summary;
    bool needsKey = true;
    std::vector<std::string> pathNames = {}; ///< of the segments that stand for "*", in their order
    std::vector<Parameter> query = {};
    std::optional<json::object> body = {};
    bool mayLackBody = false;
    std::vector<Answer> answers = {};
    std::vector<ErrorCode> errors = {}; ///< beside those of every call with a key
    bool mayConflict = false;           ///< also fails with 409 because of a state
    bool mayRepeat = false;             ///< takes the header "Idempotency-Key"
    json::object schemas = {};          ///< what the schemas above refer to, by name
};

} // namespace zelvo::service
