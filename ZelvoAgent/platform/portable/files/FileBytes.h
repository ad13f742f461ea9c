#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Bytes through a descriptor, however many calls it takes. False, with errno set, when one fails.
namespace zelvo::files {

bool writeAll(int file, std::string_view content);
/// Appends up to `atMost` bytes, fewer when the file ends before. A reserve of one byte more than there is to
/// read is not outgrown.
bool readUpTo(int file, std::size_t atMost, std::string& content);

} // namespace zelvo::files
