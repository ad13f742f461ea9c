#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvo::service {

/// With what requests to a store are signed.
struct S3Credentials {
    std::string accessKey;
    std::string secretKey;

    /// Reads a file of mode 0600 with the lines "access-key = ..." and "secret-key = ...". Throws
    /// std::runtime_error without any of its values.
    static S3Credentials read(std::filesystem::path const& file);
    /// name   of the file, for errors
    static S3Credentials parse(std::string_view text, std::string const& name);
};

} // namespace zelvo::service
