#pragma once

#include <string>

namespace zelvo {

/// A new random UUID in upper case, "8C5F...-...": unguessable only as far as uniqueness needs.
std::string newUuid();
/// `bytes` random bytes of the system's generator, fit for secrets, as lower-case hexadecimal text.
std::string randomHex(std::size_t bytes);

} // namespace zelvo
