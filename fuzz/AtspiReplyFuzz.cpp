#include "Check.h"
#include "FuzzedMessage.h"
#include "base/Text.h"
#include "desktop/atspi/OfflineBus.h"
#include "platform/linux/atspi/AtspiActions.h"
#include "platform/linux/atspi/AtspiMessages.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace zelvo;

char const* const signatures[] = {"a(so)",  "(so)",   "u", "au",    "as",    "a{sv}", "v", "s",
                                  "(iiii)", "a(sss)", "i", "a{ss}", "(iii)", "a(ss)", "d", "aau"};

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
    fuzz::FuzzedMessage input(bytes, {signatures});
    std::string_view const signature = signatures[input.next() % std::size(signatures)];
    auto const message = bus.message([&](sd_bus_message* made) { input.append(made, signature); });
    if (message)
        readAsEverything(message.get());
    return 0;
}
