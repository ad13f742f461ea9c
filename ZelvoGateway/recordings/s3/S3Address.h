#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <map>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Items of a query, sorted by their names as signatures need them. An empty value is written "name=".
using S3Query = std::map<std::string, std::string, std::less<>>;

/// The address of an object, or of the bucket with an empty key. `place` must be complete.
std::string s3Address(S3Settings const& place, std::string_view key, S3Query const& query = {});
/// Escapes all but letters, digits and "-_.~", as signatures need it.
std::string s3Escaped(std::string_view text);
/// The reverse. A "%" that begins no escape stays.
std::string s3Unescaped(std::string_view text);
/// Text for a place inside an XML element.
std::string s3XmlText(std::string_view text);

} // namespace zelvo::service
