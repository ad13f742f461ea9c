#include "base/Text.h"
#include "desktop/atspi/OfflineBus.h"
#include "platform/linux/atspi/AtspiActions.h"
#include "platform/linux/atspi/AtspiMessages.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace zelvo;

void check(bool holds)
{
    if (!holds)
        std::abort();
}

/// Consumes the input byte by byte; zeros after its end.
struct Input {
    std::string_view bytes;

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
        auto const part = bytes.substr(0, std::min<std::size_t>(next(), bytes.size()));
        bytes.remove_prefix(std::min(part.size(), bytes.size()));
        std::string const clean = text::repaired(part);
        return clean.substr(0, clean.find('\0'));
    }
};

char const* const signatures[] = {"a(so)",  "(so)",   "u", "au",    "as",    "a{sv}", "v", "s",
                                  "(iiii)", "a(sss)", "i", "a{ss}", "(iii)", "a(ss)", "d", "aau"};

void appendSignature(sd_bus_message* message, std::string_view signature, Input& input);

/// The length of the first complete type.
std::size_t lengthOfType(std::string_view signature)
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

void appendBasic(sd_bus_message* message, char type, Input& input)
{
    std::uint32_t const number = input.next() | input.next() << 8 | input.next() << 24;
    switch (type) {
    case 's':
        sd_bus_message_append(message, "s", input.text().c_str());
        break;
    case 'o':
        sd_bus_message_append(message, "o",
                              input.next() % 2 ? "/org/a11y/atspi/null" : "/org/a11y/atspi/accessible/1");
        break;
    case 'd':
        sd_bus_message_append(message, "d", 0.5);
        break;
    default:
        sd_bus_message_append_basic(message, type, &number);
    }
}

void appendType(sd_bus_message* message, std::string_view type, Input& input)
{
    std::string const inside(type.substr(1, type.size() - (type.front() == 'a' ? 1 : 2)));
    switch (type.front()) {
    case 'a':
        sd_bus_message_open_container(message, 'a', inside.c_str());
        for (unsigned left = input.next(); left > 0; --left)
            appendType(message, inside, input);
        break;
    case '(':
    case '{':
        sd_bus_message_open_container(message, type.front() == '(' ? 'r' : 'e', inside.c_str());
        appendSignature(message, inside, input);
        break;
    case 'v': {
        std::string const held = signatures[input.next() % std::size(signatures)];
        std::string const plain = held == "v" || held == "a{sv}" ? "s" : held;
        sd_bus_message_open_container(message, 'v', plain.c_str());
        appendSignature(message, plain, input);
        break;
    }
    default:
        return appendBasic(message, type.front(), input);
    }
    sd_bus_message_close_container(message);
}

void appendSignature(sd_bus_message* message, std::string_view signature, Input& input)
{
    while (!signature.empty()) {
        std::size_t const length = lengthOfType(signature);
        appendType(message, signature.substr(0, length), input);
        signature.remove_prefix(length);
    }
}

void checkText(std::optional<std::string> const& text)
{
    check(!text || (text->size() <= 3 * atspi::maxTextLength && text::isUtf8(*text)));
}

void readAsEverything(sd_bus_message* message)
{
    auto const again = [message] {
        sd_bus_message_rewind(message, 1);
        return message;
    };
    auto const references = atspi::readReferences(again());
    check(!references || references->size() <= atspi::maxChildren);
    atspi::readReference(again());
    atspi::readRole(again());
    atspi::readStates(again());
    atspi::readInterfaces(again());
    if (auto const properties = atspi::readProperties(again())) {
        checkText(properties->name);
        checkText(properties->description);
        checkText(properties->help);
        checkText(properties->identifier);
    }
    checkText(atspi::readTextProperty(again()));
    atspi::readNumberProperty(again());
    atspi::readReferenceProperty(again());
    checkText(atspi::readBoundedText(again()));
    atspi::readExtents(again());
    if (auto const actions = atspi::readActions(again())) {
        check(actions->size() <= atspi::maxActions);
        std::vector<std::string> names;
        for (atspi::Action const& action : *actions)
            names.push_back(action.name);
        check(axActionsOf(names).size() <= names.size());
    }
    if (auto const relations = atspi::readRelations(again()))
        check(relations->size() <= atspi::maxRelations);
    checkText(atspi::readAttribute(again(), "id"));
}

} // namespace

/// AT-SPI replies of applications: messages of the expected and of other types, each parsed as every kind of
/// reply, and texts of any bytes.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static test::OfflineBus const bus;
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    for (std::size_t const longest : {0u, 3u, 64u}) {
        std::string const kept = atspi::bounded(bytes, longest);
        check(text::isUtf8(kept) && kept.size() <= 3 * longest);
    }
    Input input{bytes};
    std::string_view const signature = signatures[input.next() % std::size(signatures)];
    auto const message = bus.message([&](sd_bus_message* made) { appendSignature(made, signature, input); });
    if (message)
        readAsEverything(message.get());
    return 0;
}
