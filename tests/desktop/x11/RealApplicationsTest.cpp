#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/x11/windows/X11WindowList.h"
#include "platform/linux/x11/windows/X11Workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

class RealApplications : public testing::Test {
protected:
    PrivateDesktop desktop;
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<X11Workspace> workspace;

    void SetUp() override
    {
        desktop.adoptEnvironment();
        connection = X11Connection::open();
        entries = std::make_unique<DesktopEntries>();
        workspace = std::make_unique<X11Workspace>(connection, *entries);
    }

    RunningApplication frontAfter(std::vector<std::string> command, WindowWanted wanted)
    {
        pid_t const pid = desktop.start(std::move(command));
        desktop.waitForWindow(wanted);
        std::optional<RunningApplication> front;
        waitFor([&] { return (front = workspace->frontmostApplication()) && front->pid == pid; });
        EXPECT_TRUE(front && front->pid == pid);
        return front.value_or(RunningApplication{});
    }
    static std::string contentOf(std::filesystem::path const& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(RealApplications, areKnownByTheirEntries)
{
    RunningApplication const editor = frontAfter({"mousepad", "--disable-server"}, {.className = "Mousepad"});
    EXPECT_EQ(editor.names.identifier(), "org.xfce.mousepad");
    EXPECT_EQ(editor.localizedName, "Mousepad");

    RunningApplication const terminal = frontAfter({"xterm"}, {.className = "XTerm"});
    EXPECT_EQ(terminal.names.identifier(), "debian-xterm");
    EXPECT_THAT(terminal.names.names, IsSupersetOf({"debian-xterm", "XTerm", "xterm"}));

    RunningApplication const dialog =
        frontAfter({"zenity", "--question", "--text", "Q"}, {.className = "zenity"});
    EXPECT_THAT(dialog.names.names, Contains("zenity"));
}

/// A handler of URLs of the scheme "tested" that records its arguments.
class UrlTaker : public RealApplications {
protected:
    std::filesystem::path record() const { return desktop.home() / "record"; }

    void SetUp() override
    {
        auto const program = desktop.home() / "taker";
        std::ofstream(program)
            << "#!/bin/sh\n{ echo \"url=$1\"; echo \"startup=$DESKTOP_STARTUP_ID\"; echo \"self=$$\"\n"
               "echo \"parent=$(cut -d' ' -f4 /proc/$$/stat)\"; ls -l /proc/$$/fd\n"
               "grep -E 'SigBlk|SigIgn' /proc/self/status; echo end; } > "
            << record() << ".part 2>&1\nmv " << record() << ".part " << record() << "\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        std::filesystem::create_directories(desktop.dataHome() / "applications");
        std::ofstream(desktop.dataHome() / "applications" / "taker.desktop")
            << "[Desktop Entry]\nType=Application\nName=Taker\nExec=" << program.string()
            << " %u\nMimeType=x-scheme-handler/tested;\n";
        std::ofstream(desktop.configHome() / "mimeapps.list")
            << "[Default Applications]\nx-scheme-handler/tested=taker.desktop\n";
        RealApplications::SetUp();
    }
};

TEST_F(UrlTaker, getsTheUrlAndNothingOfOurs)
{
    std::ofstream open(desktop.home() / "held open");
    sigset_t blocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    ::signal(SIGPIPE, SIG_IGN);

    EXPECT_TRUE(workspace->openUrl("tested://place/a%20b?c=d&e='f'"));

    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(record()); }));
    std::string const said = contentOf(record());
    EXPECT_THAT(said, HasSubstr("url=tested://place/a%20b?c=d&e='f'\n"));
    EXPECT_THAT(said, HasSubstr("startup=zelvo-"));
    EXPECT_THAT(said, HasSubstr("_TIME"));
    EXPECT_THAT(said, Not(HasSubstr("held open")));
    EXPECT_THAT(said, Not(HasSubstr("socket:")));
    EXPECT_THAT(said, HasSubstr("SigBlk:\t0000000000000000"));
    EXPECT_THAT(said, HasSubstr("SigIgn:\t0000000000000000"));
}

TEST_F(UrlTaker, isNotAskedForOtherSchemes)
{
    EXPECT_FALSE(workspace->openUrl("nobody-takes-this://x"));
    EXPECT_FALSE(workspace->openUrl("no url at all"));
    EXPECT_FALSE(workspace->openUrl(""));
    EXPECT_FALSE(std::filesystem::exists(record()));
}

TEST_F(UrlTaker, isNotAskedForTextsThatAreNoUrls)
{
    using namespace std::string_literals;
    for (std::string const& text : {"-tested://place"s, "--tested:x"s, " tested://place"s, "tested://a b"s,
                                    "tested://a\0b"s, "\0tested://a"s, "tested://a\n-b"s, R"(tested:"; ls")"s,
                                    "tested://a|b"s, "tested"s, "/etc/hosts"s, "file"s, "-"s, "//place"s})
        EXPECT_FALSE(workspace->openUrl(text)) << text;
    EXPECT_FALSE(std::filesystem::exists(record()));
}

} // namespace
} // namespace zelvo::test
