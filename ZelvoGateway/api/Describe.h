#pragma once

#include "ZelvoGateway/api/RecordSchema.h"
#include "ZelvoGateway/http/Operation.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// Describes a route where it is registered: `Describe("listMachines", "Lists machines").listed()
/// .gives<records::MachineList>("A page")`.
class Describe {
public:
    Describe(std::string id, std::string summary)
    {
        operation.id = std::move(id);
        operation.summary = std::move(summary);
    }

    /// The names of the segments that "*" matches.
    Describe& at(std::vector<std::string> names)
    {
        operation.pathNames = std::move(names);
        return *this;
    }
    Describe& asks(std::string name, std::string description, json::object schema = {{"type", "string"}});
    /// A list in pages, with these filters.
    Describe& listed(std::vector<std::pair<std::string, std::string>> const& filters = {});
    template <class R>
    Describe& takes()
    {
        operation.body = schemaOf<R>(operation.schemas);
        return *this;
    }
    /// A body by its schema, which may refer to `schemas`.
    Describe& takes(json::object schema, json::object const& schemas, bool mayLack = false);
    template <class R>
    Describe& gives(std::string description, int status = 200)
    {
        return gives(std::move(description), schemaOf<R>(operation.schemas), status);
    }
    Describe& gives(std::string description, json::object schema, int status = 200);
    Describe& needsNoKey()
    {
        operation.needsKey = false;
        return *this;
    }
    /// Beside those of every call.
    Describe& fails(std::vector<ErrorCode> errors)
    {
        operation.errors = std::move(errors);
        return *this;
    }

    /// invalid_request with the status 409, because of the state that something is in.
    Describe& conflicts()
    {
        operation.mayConflict = true;
        return *this;
    }

    std::shared_ptr<Operation const> done() const { return std::make_shared<Operation const>(operation); }

private:
    Operation operation;
};

} // namespace zelvo::service
