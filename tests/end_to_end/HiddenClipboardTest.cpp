#include "desktop/harness/XQuestions.h"
#include "end_to_end/CommandsFixture.h"

#include <xcb/xcb.h>

#include <csignal>

namespace zelvo::test {
namespace {

/// Programs that own the clipboard, one of them hidden.
class HiddenClipboard : public Commands {
protected:
    static constexpr char const* hidden = "hushhush";

    void SetUp() override { agent.store("dev.zelvo.hiddenApps", json::array{hidden}); }

    /// Starts a program of that name that copies a text.
    pid_t copier(std::string const& name, std::vector<std::string> arguments)
    {
        std::filesystem::path const program = desktop.home() / "bin" / name;
        std::filesystem::create_directories(program.parent_path());
        std::filesystem::copy_file(ZELVO_COPIER, program, std::filesystem::copy_options::skip_existing);
        arguments.insert(arguments.begin(), program.string());
        return desktop.start(std::move(arguments));
    }
    void showEditor()
    {
        desktop.start({"zenity", "--entry", "--title", "Visible", "--text", "Q"});
        auto const editor = desktop.waitForWindow({.className = "zenity"});
        require("the editor in front", [&] { return desktop.activeWindow() == editor; });
    }
    bool hasOwner() const
    {
        XConnection const x = connectTo(desktop.display());
        auto const asked = xcb_get_selection_owner(x.get(), atomOf(x.get(), "CLIPBOARD"));
        XReply<xcb_get_selection_owner_reply_t> const reply(
            xcb_get_selection_owner_reply(x.get(), asked, nullptr));
        return reply && reply->owner != XCB_NONE;
    }
    std::string clipboard()
    {
        Answer const answer = command("clipboard.get");
        return answer.status == 200 ? std::string(answer.body.at("result").at("text").as_string())
                                    : "(" + codeOf(answer) + ")";
    }
    void expectRefusal()
    {
        require("the refusal", [&] { return clipboard() == "(hidden_app_active)"; });
        waitFor([] { return false; }, 700ms); // Longer than the watcher's interval.
        EXPECT_EQ(clipboard(), "(hidden_app_active)");
    }
};

TEST_F(HiddenClipboard, isKeptIfItsApplicationCopiesInTheBackground)
{
    connection = startUnattended();
    showEditor();
    copier("editor", {"text", "--window"});
    require("the text of the other", [&] { return clipboard() == "text"; });

    copier(hidden, {"password"});

    expectRefusal();
}

TEST_F(HiddenClipboard, isKeptIfItWasCopiedBeforeTheStart)
{
    copier(hidden, {"password"});
    require("the owner", [&] { return hasOwner(); });
    connection = startUnattended();

    expectRefusal();
}

TEST_F(HiddenClipboard, isKeptInTheHandsOfAClipboardManager)
{
    connection = startUnattended();
    showEditor();
    auto const manager = copier("manager", {"password", "--later", "--manager"});
    auto const secret = copier(hidden, {"password"});
    expectRefusal();

    desktop.processes().end(secret, SIGTERM);
    ::kill(manager, SIGUSR1); // It keeps the text.
    expectRefusal();
    copier("editor", {"text", "--window"});
    require("the text of the other", [&] { return clipboard() == "text"; });
    ::kill(manager, SIGUSR1); // The person picks an older text.
    expectRefusal();
}

} // namespace
} // namespace zelvo::test
