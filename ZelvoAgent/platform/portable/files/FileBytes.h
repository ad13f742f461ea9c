#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Transfer bytes through a descriptor, with as many calls as necessary. False, with errno set, if one fails.
namespace zelvo::files {

bool writeAll(int file, std::string_view content);
/// Appends up to `atMost` bytes, fewer at the end of the file. Does not reallocate if at least one byte more
/// than the file's rest is reserved.
bool readUpTo(int file, std::size_t atMost, std::string& content);

} // namespace zelvo::files
