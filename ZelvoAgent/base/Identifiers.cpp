#include "base/Identifiers.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <openssl/rand.h>

#include <stdexcept>
#include <vector>

namespace zelvo {

std::string newUuid()
{
    static thread_local boost::uuids::random_generator generate;
    std::string text = boost::uuids::to_string(generate());
    for (char& c : text)
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string randomHex(std::size_t bytes)
{
    std::vector<unsigned char> raw(bytes);
    if (RAND_bytes(raw.data(), static_cast<int>(raw.size())) != 1)
        throw std::runtime_error("the system's random generator gives nothing");
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes * 2);
    for (unsigned char const byte : raw) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace zelvo
