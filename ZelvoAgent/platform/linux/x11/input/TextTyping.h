#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/x11/input/DeliveryBarrier.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/KeyBorrower.h"
#include "platform/linux/x11/input/Keyboard.h"

#include <string>
#include <string_view>

namespace zelvo {

/// Types text of any script with real keys: a character that the layout has by its own key, any other by a
/// spare key that is bound to it for the time being. Thread: one caller at a time; what blocks runs on the
/// workers.
class TextTyping {
public:
    TextTyping(Contexts contexts, Clock& clock, InputConnection& connection, Keyboard& keyboard);

    /// Binds keys for as much of the text as there is room for.
    Task<> begin(std::string text);
    /// Waits a while for the person to let go of Control, Alt and Super. Then binds keys for a piece of the
    /// text where they still lack, once the application has read what came before.
    Task<> ready(std::string text);
    /// Types a piece of it. False when it could not be typed: the connection is lost, or somebody holds
    /// Control, Alt or Super, with which letters would be commands.
    Task<bool> type(std::string text);
    /// Waits until the text has been read by the application, then gives the bound keys back.
    Task<> end();

    /// Waits until the window with the focus has handled what was sent. False if it may not have.
    Task<bool> delivered() { return barrier.waitForAll(); }

    KeyBorrower& borrower() { return keys; }

private:
    enum class Outcome { done, needsKey, refused };

    /// Types characters of upcoming text from `next` up to `stop`, or to the first one that has no key.
    Outcome typeUpTo(std::size_t stop);
    void press(KeyStroke const& stroke);
    void holdModifiers(std::vector<std::uint8_t> const& wanted);
    void fakeKey(std::uint8_t keycode, bool down) const;
    /// Binds keys for the upcoming text. False when the next character still has none.
    bool bindUpcoming();
    bool onLayout(char32_t character) const;
    Task<> waitForModifiers();
    /// Whether one of the next `count` characters has no key.
    bool lacksKey(std::size_t count);
    /// Makes `characters` the upcoming text unless they are what comes next in it.
    void continueWith(std::u32string const& characters);
    void expect(std::u32string characters);

    Contexts contexts;
    Clock& clock;
    InputConnection& connection;
    Keyboard& keyboard;
    KeyBorrower keys;
    DeliveryBarrier barrier;
    std::u32string upcoming; ///< the text that was told of
    std::size_t next = 0;    ///< how much of it is typed
    std::vector<std::uint8_t> modifiersDown;
};

} // namespace zelvo
