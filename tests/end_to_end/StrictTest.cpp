#include "end_to_end/StrictFixture.h"

namespace zelvo::test {
namespace {

/// A window with a button that is shown under the pointer alone, a field that hands the focus on to a button
/// when it is full, one that keeps its application busy for three seconds, and a menu.
constexpr char const* shifting = R"py(
import time
import gi
gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk

def say(words):
    print(words, flush=True)

def button(label):
    made = Gtk.Button(label=label)
    made.connect("clicked", lambda pressed: say("pressed " + pressed.get_label()))
    return made

def field(name, changed):
    made = Gtk.Entry()
    made.get_accessible().set_name(name)
    made.connect("changed", changed)
    return made

edit, items = Gtk.MenuItem.new_with_mnemonic("_Edit"), Gtk.Menu()
for label in ("_Copy", "_Delete"):
    item = Gtk.MenuItem.new_with_mnemonic(label)
    item.connect("activate", lambda chosen: say("pressed " + chosen.get_label()))
    items.append(item)
edit.set_submenu(items)
bar = Gtk.MenuBar()
bar.append(edit)
order = button("Order")
code = field("Code", lambda entry: len(entry.get_text()) >= 5 and order.grab_focus())
slow = field("Slow", lambda entry: time.sleep(3))
row, shown = Gtk.EventBox(), button("Delete")
row.set_size_request(-1, 60)
row.get_accessible().set_name("Row")
row.add(shown)
shown.set_no_show_all(True)
row.add_events(Gdk.EventMask.ENTER_NOTIFY_MASK | Gdk.EventMask.LEAVE_NOTIFY_MASK)
row.connect("enter-notify-event", lambda *_: shown.show())
row.connect("leave-notify-event", lambda _, event: event.detail != Gdk.NotifyType.INFERIOR and shown.hide())
column = Gtk.VBox()
for part in (bar, code, order, slow, button("Pay"), row):
    column.pack_start(part, False, False, 6)
window = Gtk.Window(title="Shifting")
window.set_default_size(500, 400)
window.add(column)
window.connect("destroy", Gtk.main_quit)
window.show_all()
code.grab_focus()
Gtk.main()
)py";

TEST_F(Strict, judgesWhatIsThereWhenTheInputArrivesInGtk)
{
    connection = linkByReturn({"screen", "input"});
    auto const script = desktop.home() / "shifting.py";
    std::ofstream(script) << shifting;
    application = desktop.start({"/usr/bin/python3", script.string()});
    letterWindow = desktop.waitForWindow({.title = "Shifting"}, 60s);
    require("the window in front", [&] { return desktop.activeWindow() == letterWindow; }, 20s);
    setStrict(true);
    json::value const code = clickOn("AXTextField", "Code");
    json::value const slow = clickOn("AXTextField", "Slow");
    json::value const pay = clickOn("AXButton", "Pay");
    json::value row = pay;
    row.at("y") = pay.at("y").to_number<double>() + 60;
    json::value const away{{"type", "move"}, {"x", 900}, {"y", 700}};
    auto const pressed = [&] { return said().find("pressed") != std::string::npos; };
    auto const chosen = [&](std::initializer_list<char const*> last) {
        return json::array{key({"escape"}), key({"escape"}), key({"f10"}),
                           key({"down"}),   key({"down"}),   key(last)};
    };

    expectHeld({{"click on what is shown under the pointer", {away, row}},
                {"press and release there", {away, down(row), up(row)}},
                {"blank after a full field", {code, type("a bcd ")}},
                {"item of a menu by Return", chosen({"return"})},
                {"item of a menu by Space", chosen({"space"})},
                {"click in a busy application", {slow, type("y"), pay}},
                {"known element in a busy application", {slow, type("y"), elementClick("AXButton", "Pay")}}},
               pressed);

    EXPECT_EQ(said(), "");
}

TEST_F(Strict, leavesNoWayToPressAButtonOfGtkWithoutAQuestion)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    setStrict(true);
    json::value const send = clickOn("AXButton", "Send");
    json::value const print = clickOn("AXButton", "Print");
    json::value const letter = clickOn("AXTextField", "Letter");
    auto const pressed = [&] { return said().find("pressed Send") != std::string::npos; };

    expectHeld({{"press and release", {down(send), up(send)}},
                {"end of a drag", {drag(print, send)}},
                {"drag on the button itself", {drag(send, send)}},
                {"middle click", {with(send, "middle")}},
                {"release by another question", {down(send), key({"cmd", "s"})}},
                {"blank", {letter, key({"tab"}), type(" ")}},
                {"blank after a tab in one text", {letter, type("x\t ")}},
                {"line end", {letter, type("x\t\n")}},
                {"Return with Shift", {letter, key({"tab"}), key({"shift", "return"})}},
                {"Space with Control", {letter, key({"tab"}), key({"ctrl", "space"})}},
                {"Return in a field", {letter, key({"return"})}},
                {"Return with Alt in a field", {letter, key({"alt", "return"})}},
                {"line end in a field", {letter, type("dear\n")}},
                {"value with a line end", {setValue("AXTextField", "Letter", "dear\n")}}},
               pressed);
    EXPECT_EQ(codeOf(perform({setValue("AXButton", "Send", " ")})), "invalid_request");
    EXPECT_FALSE(pressed());
    EXPECT_EQ(said().find("saved"), std::string::npos) << said();

    EXPECT_EQ(askedAnd("Return", {down(send), up(send)}), "ok");
    EXPECT_TRUE(says("pressed Send")) << said();
    EXPECT_EQ(codeOf(perform({down(print), up(print), drag(send, print)})), "ok");
    EXPECT_EQ(codeOf(perform({letter, type("two words")})), "ok");
    EXPECT_EQ(codeOf(perform({setValue("AXTextField", "Letter", "two words")})), "ok");
}

TEST_F(Strict, leavesNoWayToPressAButtonOfQtWithoutAQuestion)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::qt);
    setStrict(true);
    json::value const erase = clickOn("AXButton", "Delete");
    json::value const cancel = clickOn("AXButton", "Cancel");
    auto const pressed = [&] { return said().find("pressed Delete") != std::string::npos; };

    expectHeld({{"press and release", {down(erase), up(erase)}},
                {"end of a drag", {drag(cancel, erase)}},
                {"drag on the button itself", {drag(erase, erase)}},
                {"middle click", {with(erase, "middle")}},
                {"blank", {type(" ")}},
                {"line end", {type("\n")}},
                {"Return with Shift", {key({"shift", "return"})}},
                {"Space with Control", {key({"ctrl", "space"})}}},
               pressed);
    EXPECT_EQ(codeOf(perform({setValue("AXButton", "Delete", " ")})), "invalid_request");
    EXPECT_EQ(said(), "");

    EXPECT_EQ(askedAnd("Return", {down(erase), up(erase)}), "ok");
    EXPECT_TRUE(says("pressed Delete")) << said();
}

TEST_F(Strict, isOffUntilItIsSwitchedOn)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    json::value const send = clickOn("AXButton", "Send");

    EXPECT_EQ(codeOf(perform({down(send), up(send)})), "ok");
    EXPECT_TRUE(says("pressed Send")) << said();
    EXPECT_EQ(codeOf(perform({clickOn("AXTextField", "Letter"), type("x\t ")})), "ok");
    EXPECT_TRUE(says("pressed Send\npressed Send")) << said();
}

/// On dvorak the key named "semicolon" gives S.
TEST_F(Strict, everyLayoutIsAskedToSave)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    desktop.run({"setxkbmap", "-layout", "us", "-variant", "dvorak"});

    EXPECT_EQ(askedAnd("Escape", {key({"ctrl", "semicolon"})}), "denied_by_user");
    EXPECT_EQ(said().find("saved"), std::string::npos) << said();
    EXPECT_EQ(askedAnd("Return", {key({"ctrl", "semicolon"})}), "ok");
    EXPECT_TRUE(says("saved")) << said();

    desktop.run({"setxkbmap", "-layout", "us,us", "-variant", ",dvorak"});
    EXPECT_EQ(askedAnd("Escape", {key({"ctrl", "semicolon"})}), "denied_by_user");
}

/// The person turns to a hidden application while a long text is typed.
TEST_F(Strict, aLongTextDoesNotGoOnInAHiddenApplication)
{
    constexpr std::size_t length = 100'000;
    constexpr std::size_t maxLate = 40; // What is on its way when the window comes to the front.
    auto const typedThere = desktop.home() / "typed";
    connection = linkByReturn({"screen", "input"});
    desktop.start(
        {"xterm", "-title", "Secret", "-e", "sh", "-c", "stty raw -echo; cat > " + typedThere.string()});
    auto const secret = desktop.waitForWindow({.title = "Secret"});
    require("the hidden application", [&] { return std::filesystem::exists(typedThere); });
    openLetter(Toolkit::gtk3);
    hide({"xterm"});
    ASSERT_EQ(codeOf(perform({clickOn("AXTextField", "Letter")})), "ok");
    auto answer = performing({type(std::string(length, 'x').c_str())});
    require("the beginning of the text", [&] { return lettersTyped() > 100; });

    desktop.run({"xdotool", "windowactivate", "--sync", std::to_string(secret)});

    ASSERT_EQ(answer.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(codeOf(answer.get()), "ok");
    EXPECT_LT(lettersTyped(), length);
    EXPECT_LE(std::filesystem::file_size(typedThere), maxLate);
    EXPECT_EQ(codeOf(perform({type("y")})), "hidden_app_active");
}

} // namespace
} // namespace zelvo::test
