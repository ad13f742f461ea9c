#pragma once

#include "base/Text.h"
#include "platform/linux/dbus/BusMessages.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zelvo::fuzz {

/// Fills D-Bus messages with values that are made of the bytes of a fuzzer. After the last byte come zeros.
class FuzzedMessage {
public:
    struct Options {
        std::span<char const* const> variants;   ///< the types that a variant may hold
        std::span<char const* const> words = {}; ///< texts that the reader knows
    };

    FuzzedMessage(std::string_view bytes, Options options) : bytes(bytes), options(options) {}

    unsigned next()
    {
        if (bytes.empty())
            return 0;
        auto const first = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        return first;
    }

    std::string text()
    {
        unsigned const length = next();
        if (length >= firstWord && !options.words.empty())
            return options.words[(length - firstWord) % options.words.size()];
        auto const part = bytes.substr(0, std::min<std::size_t>(length, bytes.size()));
        bytes.remove_prefix(part.size());
        std::string const clean = text::repaired(part);
        return clean.substr(0, clean.find('\0'));
    }

    void append(sd_bus_message* message, std::string_view signature)
    {
        while (!signature.empty()) {
            std::size_t const length = lengthOfType(signature);
            appendType(message, signature.substr(0, length));
            signature.remove_prefix(length);
        }
    }

private:
    static constexpr unsigned firstWord = 0xE0; ///< lengths from here on are numbers of words

    /// The length of the first complete type.
    static std::size_t lengthOfType(std::string_view signature)
    {
        if (signature.front() == 'a')
            return 1 + lengthOfType(signature.substr(1));
        if (signature.front() != '(' && signature.front() != '{')
            return 1;
        int depth = 0;
        for (std::size_t at = 0; at < signature.size(); ++at) {
            depth += signature[at] == '(' || signature[at] == '{' ? 1 : 0;
            depth -= signature[at] == ')' || signature[at] == '}' ? 1 : 0;
            if (depth == 0)
                return at + 1;
        }
        return signature.size();
    }

    void appendBasic(sd_bus_message* message, char type)
    {
        std::uint32_t const number = next() | next() << 8 | next() << 24;
        switch (type) {
        case 's':
            sd_bus_message_append(message, "s", text().c_str());
            break;
        case 'o':
            sd_bus_message_append(message, "o",
                                  next() % 2 ? "/org/a11y/atspi/null" : "/org/a11y/atspi/accessible/1");
            break;
        case 'd':
            sd_bus_message_append(message, "d", 0.5);
            break;
        default:
            sd_bus_message_append_basic(message, type, &number);
        }
    }

    void appendType(sd_bus_message* message, std::string_view type)
    {
        std::string const inside(type.substr(1, type.size() - (type.front() == 'a' ? 1 : 2)));
        switch (type.front()) {
        case 'a':
            sd_bus_message_open_container(message, 'a', inside.c_str());
            for (unsigned left = next(); left > 0; --left)
                appendType(message, inside);
            break;
        case '(':
        case '{':
            sd_bus_message_open_container(message, type.front() == '(' ? 'r' : 'e', inside.c_str());
            append(message, inside);
            break;
        case 'v': {
            std::string const held = options.variants[next() % options.variants.size()];
            std::string const plain = held == "v" || held == "a{sv}" ? "s" : held;
            sd_bus_message_open_container(message, 'v', plain.c_str());
            append(message, plain);
            break;
        }
        default:
            return appendBasic(message, type.front());
        }
        sd_bus_message_close_container(message);
    }

    std::string_view bytes;
    Options options;
};

} // namespace zelvo::fuzz
