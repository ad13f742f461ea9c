#include "platform/linux/applications/ApplicationIdentity.h"

#include "base/Text.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <vector>

namespace zelvo {

namespace {

using Texts = std::vector<std::string>;

std::string withoutSuffix(std::string text, std::string_view suffix)
{
    if (text.ends_with(suffix))
        text.resize(text.size() - suffix.size());
    return text;
}

/// Names in the order of their weight, each once, without this program's.
class NameList {
public:
    void add(std::string const& said)
    {
        std::string const name = text::repaired(said); // They go into replies.
        // In any case of letters: agents may ask for identifiers in any.
        if (!name.empty() && !text::equalIgnoringCase(name, ownBundleIdentifier) &&
            std::ranges::find(all, name) == all.end())
            all.push_back(name);
    }
    void add(Texts const& more)
    {
        for (std::string const& name : more)
            add(name);
    }
    bool isEmpty() const { return all.empty(); }

    Texts all;
};

/// The words that a decision rests on.
struct Said {
    Said(WindowWords const& window, ProcessFacts const& process)
        : className(window.className), instance(window.instance), program(process.executable.filename())
    {
        ownWords.add(withoutSuffix(window.gtkApplicationId, ".desktop"));
        ownWords.add(withoutSuffix(std::filesystem::path(window.kdeDesktopFile).filename(), ".desktop"));
        ownWords.add(process.confinedIds);
    }

    NameList ownWords;
    std::string className;
    std::string instance;
    std::string program;
};

/// The ids of the entries that the words find, the surest first.
NameList entriesByWords(Said const& said, DesktopEntryIndex const& entries)
{
    NameList ids;
    for (std::string const& word : said.ownWords.all)
        if (entries.find(word))
            ids.add(word);
    for (std::string const& part : {said.className, said.instance})
        ids.add(entries.withWmClass(part));
    for (std::string const& part : {said.className, said.instance})
        ids.add(entries.named(part));
    for (std::string const& word : said.ownWords.all)
        ids.add(entries.named(word));
    return ids;
}

NameList entriesByProgram(ProcessFacts const& process, DesktopEntryIndex const& entries)
{
    NameList ids;
    if (process.executable.is_absolute())
        ids.add(entries.running(process.executable));
    return ids;
}

/// Entries that no menu shows, such as an application's settings, do not put the others in doubt.
bool isShared(NameList const& ids, DesktopEntryIndex const& entries)
{
    return std::ranges::count_if(ids.all,
                                 [&](std::string const& id) { return !entries.find(id)->noDisplay; }) > 1;
}

} // namespace

ApplicationIdentity
identifyApplication(WindowWords const& words, ProcessFacts const& process, DesktopEntryIndex const& entries)
{
    using Basis = ApplicationIdentity::Basis;
    Said const said(words, process);
    NameList const byWords = entriesByWords(said, entries);
    NameList const byProgram = entriesByProgram(process, entries);

    NameList names = byWords;
    names.add(byProgram.all);
    ApplicationIdentity identity;
    if (!names.isEmpty()) {
        identity.entry = entries.find(names.all.front());
        identity.basis =
            byWords.isEmpty() && isShared(byProgram, entries) ? Basis::sharedProgram : Basis::entry;
    }
    names.add(said.ownWords.all);
    names.add(said.className);
    if (!identity.entry && !names.isEmpty())
        identity.basis = Basis::words;
    names.add(said.program);
    names.add(said.instance);
    if (identity.basis == Basis::nothing && !names.isEmpty())
        identity.basis = Basis::program;

    if (identity.entry)
        identity.localizedName = identity.entry->name;
    else
        identity.localizedName = text::repaired(said.className.empty() ? said.program : said.className);
    identity.names.names = std::move(names.all);
    return identity;
}

} // namespace zelvo
