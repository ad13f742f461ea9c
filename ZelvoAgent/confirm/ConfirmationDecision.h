#pragma once

namespace zelvo {

/// The outcome of a question to the person.
struct ConfirmationDecision {
    enum class Kind { allowed, denied, timedOut };

    Kind kind = Kind::timedOut;
    bool remember = false; ///< allowed for the rest of the session; true only with `allowed`
    bool operator==(ConfirmationDecision const&) const = default;

    static constexpr ConfirmationDecision allowed(bool remember) { return {Kind::allowed, remember}; }
    static constexpr ConfirmationDecision denied() { return {Kind::denied}; }
    static constexpr ConfirmationDecision timedOut() { return {Kind::timedOut}; }
    constexpr bool isAllowed() const { return kind == Kind::allowed; }
};

} // namespace zelvo
