#include "state/ActivityLog.h"

#include "state/StoredList.h"

namespace zelvo {

void ActivityLog::add(ActivityEntry entry)
{
    texts.insert(texts.begin(), writeJson(entry.toJson()));
    list.insert(list.begin(), std::move(entry));
    if (list.size() > maxActivityEntries) {
        list.resize(maxActivityEntries);
        texts.resize(maxActivityEntries);
    }
}

void ActivityLog::replace(std::size_t index, ActivityEntry entry)
{
    texts.at(index) = writeJson(entry.toJson());
    list.at(index) = std::move(entry);
}

std::string ActivityLog::encoded() const
{
    std::string bytes = "[";
    for (std::string const& text : texts) {
        if (bytes.size() > 1)
            bytes += ',';
        bytes += text;
    }
    return bytes + "]";
}

ActivityLog ActivityLog::decoded(std::string_view bytes)
{
    ActivityLog log;
    log.list = stored::decodeList<ActivityEntry>(bytes).value_or(std::vector<ActivityEntry>{});
    for (ActivityEntry const& entry : log.list)
        log.texts.push_back(writeJson(entry.toJson()));
    return log;
}

} // namespace zelvo
