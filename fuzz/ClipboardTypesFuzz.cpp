#include "Check.h"
#include "platform/linux/wayland/clipboard/OwnContent.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

/// The types that the owner of the clipboard offers, one a line.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    std::vector<std::string> offered;
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    while (!rest.empty()) {
        std::size_t const end = rest.find('\n');
        offered.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(offered.back().size() + 1, rest.size()));
    }
    std::string const best = bestTextType(offered);
    check(best.empty() || std::ranges::find(offered, best) != offered.end());
    auto const kept = formsToKeep(offered);
    if (!kept)
        return 0;
    check(kept->size() <= LendableClipboard::maxForms);
    check(std::set(kept->begin(), kept->end()).size() == kept->size());
    ClipboardForms forms;
    for (std::string const& type : *kept) {
        check(!type.empty() && !type.starts_with(ownMarkPrefix));
        forms.push_back({type, type});
    }
    OwnContent const content(forms);
    check(content.forms() == forms && content.types() == *kept && !content.isLent());
    return 0;
}
