#include "platform/linux/x11/input/KeyBorrower.h"

#include "platform/linux/x11/input/XkbProtocol.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo {

namespace {

constexpr std::uint8_t firstRarelyUsed = 191; // F13 to F24.
constexpr std::uint8_t lastRarelyUsed = 202;

/// Keys of browsers (stop, favourites, back, forward, home, reload, search): some act on them by their place
/// on the keyboard, whatever symbol they carry.
constexpr std::array<std::uint8_t, 7> browserKeys{136, 164, 166, 167, 180, 181, 225};

/// Keeps other clients from changing the keymap between our reading and writing it.
class ServerGrab {
public:
    explicit ServerGrab(InputConnection& connection) : connection(connection)
    {
        xcb_grab_server(connection.raw());
    }
    ~ServerGrab()
    {
        xcb_ungrab_server(connection.raw());
        connection.flush();
    }
    ServerGrab(ServerGrab const&) = delete;
    ServerGrab& operator=(ServerGrab const&) = delete;

private:
    InputConnection& connection;
};

bool isRarelyUsed(std::uint8_t keycode)
{
    return keycode >= firstRarelyUsed && keycode <= lastRarelyUsed;
}

xcb_void_cookie_t sendKeys(InputConnection& connection,
                           std::uint8_t lowest,
                           std::uint8_t highest,
                           std::uint8_t first,
                           std::span<KeySymbols const> keys)
{
    std::size_t symbols = 0;
    for (KeySymbols const& key : keys)
        symbols += key.symbols.size();
    std::vector<std::uint8_t> const bytes = writeKeySymbols(keys);
    return xcb_xkb_set_map_checked(connection.raw(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0,
                                   lowest, highest, 0, 0, first, static_cast<std::uint8_t>(keys.size()),
                                   static_cast<std::uint16_t>(symbols), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                   0, 0, 0, bytes.data());
}

} // namespace

KeyBorrower::KeyBorrower(InputConnection& connection)
    : connection(connection), loansAtom(connection.atom("_ZELVO_AGENT_LENT_KEYS"))
{
}

void KeyBorrower::recover()
{
    loans = readLoans(connection.property(connection.root(), loansAtom));
    giveBack();
}

bool KeyBorrower::isLent(std::uint8_t keycode) const
{
    return std::ranges::any_of(loans, [keycode](KeyLoan const& loan) { return loan.keycode == keycode; });
}

SpareKeys KeyBorrower::emptyKeys() const
{
    Keymap keymap = readKeymap();
    undo(loans, keymap);
    SpareKeys spare;
    for (std::size_t at = 0; at < keymap.keys.size(); ++at) {
        auto const keycode = static_cast<std::uint8_t>(keymap.lowest + at);
        if (keymap.keys[at].isEmpty() && std::ranges::find(browserKeys, keycode) == browserKeys.end())
            spare.empty.push_back(keycode);
    }
    return spare;
}

SpareKeys KeyBorrower::allSpareKeys() const
{
    SpareKeys spare = emptyKeys();
    for (std::uint8_t keycode = firstRarelyUsed; keycode <= lastRarelyUsed; ++keycode)
        if (std::ranges::find(spare.empty, keycode) == spare.empty.end() && isFree(keycode))
            spare.rarelyUsed.push_back(keycode);
    return spare;
}

/// Desktops wait for some of these keys (touch pad, microphone); pressing one of those would act instead of
/// type.
bool KeyBorrower::isFree(std::uint8_t keycode) const
{
    auto const cookie = xcb_grab_key_checked(connection.raw(), 0, connection.root(), XCB_MOD_MASK_ANY,
                                             keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    XReply<xcb_generic_error_t> const refused(xcb_request_check(connection.raw(), cookie));
    if (!refused)
        xcb_ungrab_key(connection.raw(), keycode, connection.root(), XCB_MOD_MASK_ANY);
    return !refused;
}

bool KeyBorrower::bind(std::vector<KeyBinding> const& bindings)
{
    ServerGrab const grab(connection);
    Keymap keymap = readKeymap();
    std::vector<std::uint8_t> changed = undo(loans, keymap);
    std::vector<KeyLoan> const before = std::exchange(loans, {});
    for (KeyBinding const& binding : bindings) {
        KeySymbols* const key = keymap.find(binding.keycode);
        if (!key || (!key->isEmpty() && !isRarelyUsed(binding.keycode)))
            continue;
        loans.push_back({binding.keycode, KeySymbols::typing(binding.plain, binding.shifted), *key});
        *key = loans.back().bound;
        changed.push_back(binding.keycode);
    }
    // Until the keymap has changed, a kill leaves the loans of before.
    std::vector<KeyLoan> both = before;
    both.insert(both.end(), loans.begin(), loans.end());
    record(both);
    bool const written = writeKeymap(keymap, changed);
    record(loans);
    return written;
}

void KeyBorrower::giveBack()
{
    if (loans.empty())
        return;
    ServerGrab const grab(connection);
    Keymap keymap = readKeymap();
    std::vector<std::uint8_t> const changed = undo(loans, keymap);
    writeKeymap(keymap, changed);
    loans.clear();
    record(loans);
}

std::vector<std::uint8_t> KeyBorrower::undo(std::vector<KeyLoan> const& loans, Keymap& keymap)
{
    std::vector<std::uint8_t> changed;
    for (KeyLoan const& loan : loans) {
        KeySymbols* const key = keymap.find(loan.keycode);
        if (!key || *key != loan.bound)
            continue;
        *key = loan.former;
        changed.push_back(loan.keycode);
    }
    return changed;
}

void KeyBorrower::record(std::vector<KeyLoan> const& lent) const
{
    if (lent.empty())
        connection.deleteRootProperty(loansAtom);
    else
        connection.setRootProperty(loansAtom, writeLoans(lent));
}

KeySymbols* KeyBorrower::Keymap::find(std::uint8_t keycode)
{
    bool const known = keycode >= lowest && static_cast<std::size_t>(keycode - lowest) < keys.size();
    return known ? &keys[keycode - lowest] : nullptr;
}

KeyBorrower::Keymap KeyBorrower::readKeymap() const
{
    auto const cookie = xcb_xkb_get_map(connection.raw(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS,
                                        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    XReply<xcb_xkb_get_map_reply_t> const reply(xcb_xkb_get_map_reply(connection.raw(), cookie, nullptr));
    if (!reply)
        return {};
    // Only symbols were asked for, so they are all that follows the fixed part.
    auto const* first = reinterpret_cast<std::uint8_t const*>(reply.get()) + sizeof(xcb_xkb_get_map_reply_t);
    std::size_t const size =
        32 + 4 * static_cast<std::size_t>(reply->length) - sizeof(xcb_xkb_get_map_reply_t);
    auto keys = readKeySymbols({first, size}, reply->nKeySyms);
    if (!keys)
        return {};
    // A keymap always has its symbols from the lowest keycode on.
    return {.lowest = reply->firstKeySym, .highest = reply->maxKeyCode, .keys = std::move(*keys)};
}

bool KeyBorrower::writeKeymap(Keymap const& keymap, std::vector<std::uint8_t> changed) const
{
    // One request writes one stretch of keycodes. Keys between those that changed are never written: another
    // keyboard may have another layout there, and the change goes to all of them.
    std::ranges::sort(changed);
    std::vector<xcb_void_cookie_t> sent;
    for (std::size_t first = 0; first < changed.size();) {
        std::size_t end = first + 1;
        while (end < changed.size() && changed[end] <= changed[end - 1] + 1)
            ++end;
        std::size_t const offset = changed[first] - keymap.lowest;
        std::size_t const length = changed[end - 1] - changed[first] + 1;
        sent.push_back(sendKeys(connection, keymap.lowest, keymap.highest, changed[first],
                                std::span(keymap.keys).subspan(offset, length)));
        first = end;
    }
    bool written = connection.isAlive();
    for (xcb_void_cookie_t const cookie : sent)
        if (XReply<xcb_generic_error_t> const refused{xcb_request_check(connection.raw(), cookie)})
            written = false;
    return written;
}

} // namespace zelvo
