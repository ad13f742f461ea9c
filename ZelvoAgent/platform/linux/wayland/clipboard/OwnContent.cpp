#include "platform/linux/wayland/clipboard/OwnContent.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo {

namespace {

/// The forms of a text, the best first.
constexpr std::array<char const*, 4> textTypes{"text/plain;charset=utf-8", "UTF8_STRING", "text/plain",
                                               "TEXT"};
/// By this form password managers ask clipboard histories to leave a content out.
constexpr char const* hintType = "x-kde-passwordManagerHint";
constexpr char const* hint = "secret";

} // namespace

OwnContent::OwnContent(Bytes text, Use use) : use(use)
{
    for (char const* const type : textTypes)
        all.push_back({type, text});
    if (use == Use::lent)
        all.push_back({hintType, std::make_shared<std::string const>(hint)});
}

OwnContent::OwnContent(ClipboardForms forms)
{
    for (ClipboardForm& form : forms)
        all.push_back({std::move(form.type), std::make_shared<std::string const>(std::move(form.bytes))});
}

std::vector<std::string> OwnContent::types() const
{
    std::vector<std::string> types;
    for (Form const& form : all)
        types.push_back(form.type);
    return types;
}

OwnContent::Bytes OwnContent::find(std::string const& type) const
{
    auto const found = std::ranges::find(all, type, &Form::type);
    return found == all.end() ? nullptr : found->bytes;
}

ClipboardForms OwnContent::forms() const
{
    ClipboardForms forms;
    for (Form const& form : all)
        forms.push_back({form.type, *form.bytes});
    return forms;
}

bool isTextType(std::string const& type)
{
    return std::ranges::find(textTypes, type) != textTypes.end();
}

std::string bestTextType(std::vector<std::string> const& types)
{
    for (char const* const type : textTypes)
        if (std::ranges::find(types, type) != types.end())
            return type;
    // With other parameters, or with the charset written in another way.
    auto const plain =
        std::ranges::find_if(types, [](std::string const& type) { return type.starts_with("text/plain;"); });
    return plain == types.end() ? std::string() : *plain;
}

} // namespace zelvo
