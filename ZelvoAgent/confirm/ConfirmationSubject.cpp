#include "confirm/ConfirmationSubject.h"

#include "base/LocalizedTexts.h"

#include <array>

namespace zelvo {

namespace {

struct Row {
    std::string_view titleKey;
    std::string_view allowanceKey;
};

// Same order as ConfirmationSubject::Value.
constexpr std::array<Row, 7> rows = {{
    {"confirm.title.shell", "shell"},
    {"confirm.title.fileDelete", "file_delete"},
    {"confirm.title.fileWrite", "file_write"},
    {"confirm.title.openUrl", "open_url"},
    {"confirm.title.submitButton", "submit_button"},
    {"confirm.title.dialogButton", "dialog_button"},
    {"confirm.title.keyShortcut", "key_shortcut"},
}};

struct Detail {
    std::string operator()(ConfirmationSubject::ShellCommand const& subject) const { return subject.command; }
    std::string operator()(ConfirmationSubject::FileDelete const& subject) const { return subject.path; }
    std::string operator()(ConfirmationSubject::FileWrite const& subject) const { return subject.path; }
    std::string operator()(ConfirmationSubject::OpenUrl const& subject) const { return subject.url; }
    std::string operator()(ConfirmationSubject::SubmitButton const& subject) const
    {
        return quoted(subject.title);
    }
    std::string operator()(ConfirmationSubject::DialogButton const& subject) const
    {
        return subject.app + ": " + quoted(subject.title);
    }
    std::string operator()(ConfirmationSubject::KeyShortcut const& subject) const
    {
        return subject.app + ": " + subject.keys + " — " + subject.meaning;
    }

    static std::string quoted(std::string const& title) { return "«" + title + "»"; }
};

} // namespace

std::string ConfirmationSubject::title() const
{
    std::string_view const key = rows.at(value.index()).titleKey;
    if (auto const* const shortcut = std::get_if<KeyShortcut>(&value))
        return localized(key, {shortcut->meaning});
    return localized(key);
}

std::string ConfirmationSubject::detail() const
{
    return std::visit(Detail{}, value);
}

std::string_view ConfirmationSubject::allowanceKey() const
{
    return rows.at(value.index()).allowanceKey;
}

} // namespace zelvo
