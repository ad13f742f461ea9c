#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace zelvo {

/// What the person is asked to confirm. Two subjects are equal if their kind and all texts are.
struct ConfirmationSubject {
    struct ShellCommand {
        std::string command;
        std::optional<std::string> cwd = {};         ///< the folder that it runs in, if the agent names one
        std::map<std::string, std::string> env = {}; ///< the variables that the agent sets for it
        bool operator==(ShellCommand const&) const = default;
    };
    struct FileDelete {
        std::string path;
        bool operator==(FileDelete const&) const = default;
    };
    struct FileWrite {
        std::string path;
        bool operator==(FileWrite const&) const = default;
    };
    struct OpenUrl {
        std::string url;
        bool operator==(OpenUrl const&) const = default;
    };
    struct SubmitButton {
        std::string title;
        bool operator==(SubmitButton const&) const = default;
    };
    struct DialogButton {
        std::string title;
        std::string app;
        bool operator==(DialogButton const&) const = default;
    };
    struct KeyShortcut {
        std::string keys;
        std::string app;
        std::string meaning;
        bool operator==(KeyShortcut const&) const = default;
    };

    using Value =
        std::variant<ShellCommand, FileDelete, FileWrite, OpenUrl, SubmitButton, DialogButton, KeyShortcut>;
    Value value;
    bool operator==(ConfirmationSubject const&) const = default;

    /// The question, in the person's language.
    std::string title() const;
    /// The command, path, URL or button in question; never translated.
    std::string detail() const;
    /// The key of a remembered yes: one per kind, independent of the texts.
    std::string_view allowanceKey() const;
};

} // namespace zelvo
