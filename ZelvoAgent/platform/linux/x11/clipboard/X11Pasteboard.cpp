#include "platform/linux/x11/clipboard/X11Pasteboard.h"

#include "base/Hop.h"
#include "platform/linux/x11/clipboard/ClipboardEngine.h"
#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <utility>

namespace zelvo {

namespace {

/// Shorter texts are converted in place; a hop to the workers would take longer.
constexpr std::size_t worthAHop = 64 << 10;

} // namespace

X11Pasteboard::X11Pasteboard(Contexts contexts,
                             Clock& clock,
                             std::string const& display,
                             ProcessNaming naming)
    : contexts(std::move(contexts))
{
    std::shared_ptr<ClipboardLink> const link = ClipboardLink::open(display);
    if (!link)
        return;
    engine = std::make_shared<ClipboardEngine>(this->contexts, clock, link, std::move(naming));
    events.emplace(this->contexts, link->server(), [engine = engine] { engine->arrived(); });
}

X11Pasteboard::~X11Pasteboard() = default;

std::int64_t X11Pasteboard::changeCount() const
{
    return engine ? engine->changeCount() : 0;
}

Task<std::vector<ClipboardChange>> X11Pasteboard::changesAfter(std::int64_t count)
{
    if (!engine)
        co_return std::vector<ClipboardChange>();
    auto const ask = [engine = engine, count] { return engine->changesAfter(count); };
    co_return co_await runOn(contexts.agent, ask);
}

Task<std::string> X11Pasteboard::text()
{
    if (!engine)
        co_return std::string();
    auto const find = [engine = engine] { return engine->find(); };
    ClipboardContent const found = co_await runOn(contexts.agent, find);
    auto const convert = [&found] { return found.text(); };
    if (found.size() < worthAHop)
        co_return convert();
    co_return co_await on(contexts.workers, convert);
}

Task<bool> X11Pasteboard::setText(std::string text)
{
    if (!engine)
        co_return false;
    bool const isLong = text.size() >= worthAHop;
    auto const prepare = [&text] { return std::make_shared<OfferedText const>(std::move(text)); };
    std::shared_ptr<OfferedText const> offered;
    if (isLong)
        offered = co_await on(contexts.workers, prepare);
    else
        offered = prepare();
    auto const own = [engine = engine, offered] { return engine->own(offered); };
    co_return co_await runOn(contexts.agent, own);
}

Task<> X11Pasteboard::handOver()
{
    if (!engine)
        co_return;
    auto const save = [engine = engine] { return engine->save(); };
    co_await runOn(contexts.agent, save);
}

} // namespace zelvo
