#include "platform/linux/wayland/elements/AtspiTextInsertion.h"

#include "base/Hop.h"

#include <utility>

namespace zelvo {

AtspiTextInsertion::AtspiTextInsertion(Contexts contexts,
                                       std::function<std::optional<std::int32_t>()> front,
                                       std::function<std::unique_ptr<AtspiReader>(std::int32_t pid)> reader)
    : contexts(std::move(contexts)), front(std::move(front)), openReader(std::move(reader))
{
}

Task<std::optional<TextInsertion::Place>> AtspiTextInsertion::begin()
{
    co_return co_await on(contexts.workers, [this] { return look(); });
}

std::optional<TextInsertion::Place> AtspiTextInsertion::look()
{
    reader.reset();
    auto const pid = front();
    if (!pid)
        return std::nullopt;
    auto opened = openReader(*pid);
    auto const element = opened->element(opened->application(), AccessibilityAttribute::focusedUiElement);
    if (!element || !opened->editing())
        return std::nullopt;
    focused = *element;
    reader = std::move(opened);
    AtspiEditing& editing = *reader->editing();
    return Place{.isEditable = editing.isEditable(focused.index),
                 .isReadable = editing.isReadable(focused.index),
                 .isTerminal = editing.isTerminal(focused.index)};
}

Task<bool> AtspiTextInsertion::insert(std::string text)
{
    auto const insertNow = [&] { return reader && reader->editing()->insert(focused.index, text); };
    co_return co_await on(contexts.workers, insertNow);
}

Task<bool> AtspiTextInsertion::isBeforeCaret(std::string text)
{
    auto const look = [&] { return reader && reader->editing()->isBeforeCaret(focused.index, text); };
    co_return co_await on(contexts.workers, look);
}

} // namespace zelvo
