#pragma once

#include "base/Clock.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// The bodies that a store answers with. What is not the expected document gives nullopt.

struct S3Error {
    std::string code;
    std::string region;   ///< where the bucket is, for a request to the wrong place
    std::string endpoint; ///< the same as an address

    static std::optional<S3Error> parse(std::string_view body);
};

struct S3Object {
    std::string key;
    std::uint64_t bytes = 0;
    Date modified;
};

/// A page of a bucket's objects.
struct S3ObjectPage {
    std::vector<S3Object> objects;
    std::string next; ///< the continuation token; empty on the last page

    static std::optional<S3ObjectPage> parse(std::string_view body);
};

/// A multipart upload that is neither complete nor aborted.
struct S3Upload {
    std::string key;
    std::string id;
    Date begun;
};

/// A page of them.
struct S3UploadPage {
    std::vector<S3Upload> uploads;
    std::string nextKey; ///< both empty on the last page
    std::string nextId;

    static std::optional<S3UploadPage> parse(std::string_view body);
};

/// The id of an upload that was created.
std::optional<std::string> createdUploadIn(std::string_view body);
/// Whether a completion succeeded: status 200 alone does not say so.
bool isCompletion(std::string_view body);
/// The body of a request that completes an upload: the tags of its parts from 1 on.
std::string completionOf(std::vector<std::string> const& partTags);

} // namespace zelvo::service
