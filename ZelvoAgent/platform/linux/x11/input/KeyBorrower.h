#pragma once

#include "platform/linux/x11/input/BindingPlan.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/KeyLoan.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// Lends spare keys of the server's keymap to characters that the layout lacks, and gives them back. What is
/// lent stands in a property of the root window, so that the next start can give back what a killed process
/// could not. Thread: one caller at a time; each call blocks for a few round trips.
class KeyBorrower {
public:
    explicit KeyBorrower(InputConnection& connection);

    /// Gives back what an earlier process left behind.
    void recover();
    /// The keys that mean nothing in the layout, ours included.
    SpareKeys emptyKeys() const;
    /// The same, and the keys F13 to F24 as far as no other client waits for them.
    SpareKeys allSpareKeys() const;
    /// Binds these keys, and only these, in one change of the keymap. False when the server refused.
    bool bind(std::vector<KeyBinding> const& bindings);
    /// Makes every key what it was, unless somebody else has changed it meanwhile.
    void giveBack();

    bool hasLoans() const { return !loans.empty(); }
    bool isLent(std::uint8_t keycode) const;

private:
    /// The rows of all keys, beginning with the lowest keycode.
    struct Keymap {
        std::uint8_t lowest = 0;
        std::uint8_t highest = 0;
        std::vector<KeySymbols> keys;

        KeySymbols* find(std::uint8_t keycode);
    };

    Keymap readKeymap() const;
    bool writeKeymap(Keymap const& keymap, std::vector<std::uint8_t> changed) const;
    /// Puts back, in a copy of the keymap, what these loans replaced; tells which keys changed by it.
    static std::vector<std::uint8_t> undo(std::vector<KeyLoan> const& loans, Keymap& keymap);
    bool isFree(std::uint8_t keycode) const;
    void record(std::vector<KeyLoan> const& lent) const;

    InputConnection& connection;
    std::uint32_t loansAtom;
    std::vector<KeyLoan> loans;
};

} // namespace zelvo
