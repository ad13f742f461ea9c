#pragma once

#include "platform/linux/wayland/LendableClipboard.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// What this program offers on the clipboard. A reader that is slow keeps the bytes of its form alive.
class OwnContent {
public:
    enum class Use {
        copied, ///< for everybody
        lent,   ///< clipboard histories leave it out
    };

    using Bytes = std::shared_ptr<std::string const>;

    /// A text in all its forms.
    OwnContent(Bytes text, Use use);
    /// What somebody else had copied.
    explicit OwnContent(ClipboardForms forms);

    bool isLent() const { return use == Use::lent; }
    std::vector<std::string> types() const;
    /// The bytes of a form; null if it is not offered.
    Bytes find(std::string const& type) const;
    ClipboardForms forms() const;

private:
    struct Form {
        std::string type;
        Bytes bytes;
    };
    std::vector<Form> all;
    Use use = Use::copied;
};

/// Whether it is one of the types under which our texts are offered.
bool isTextType(std::string const& type);
/// The best form of a text among these types; empty if there is none.
std::string bestTextType(std::vector<std::string> const& types);

} // namespace zelvo
