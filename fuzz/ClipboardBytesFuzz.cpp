#include "Check.h"
#include "base/Text.h"
#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace zelvo;

void readAsText(std::string_view bytes)
{
    for (auto const encoding :
         {ClipboardEncoding::utf8, ClipboardEncoding::latin1, ClipboardEncoding::unsaid}) {
        ClipboardBytes const given{encoding, std::string(bytes)};
        std::string const read = given.text();
        check(text::isUtf8(read));
        check(read.size() <= 3 * bytes.size());
        OfferedText const offered(read);
        check(offered.utf8 == read);
        check(offered.latin1().size() <= read.size());
        // Text of one byte per character survives the round trip.
        if (encoding == ClipboardEncoding::latin1)
            check(utf8FromLatin1(offered.latin1()) == read);
    }
}

} // namespace

/// The bytes of properties that other programs set: texts, and lists of conversions.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    readAsText(bytes);
    check(text::isUtf8(OfferedText(std::string(bytes)).utf8));
    if (auto const pairs = parseAtomPairs(bytes))
        check(!pairs->empty() && pairs->size() * sizeof(AtomPair) == size);
    return 0;
}
