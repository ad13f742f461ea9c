#include "confirm/ShellEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ShellEnvironment, namesWhatMakesAShellRunOtherCode)
{
    for (char const* const name : {"ZDOTDIR",
                                   "HOME",
                                   "BASH_ENV",
                                   "ENV",
                                   "LD_PRELOAD",
                                   "LD_LIBRARY_PATH",
                                   "LD_AUDIT",
                                   "LD_DEBUG",
                                   "PATH",
                                   "FPATH",
                                   "MODULE_PATH",
                                   "SHELLOPTS",
                                   "BASHOPTS",
                                   "PS4",
                                   "PROMPT_COMMAND",
                                   "IFS",
                                   "STTY",
                                   "ARGV0",
                                   "BASH_FUNC_ls%%",
                                   "GLIBC_TUNABLES",
                                   "PYTHONSTARTUP",
                                   "PYTHONPATH",
                                   "PYTHONINSPECT",
                                   "PERL5OPT",
                                   "PERL5LIB",
                                   "RUBYOPT",
                                   "RUBYLIB",
                                   "NODE_OPTIONS",
                                   "NODE_PATH",
                                   "npm_config_script_shell",
                                   "JAVA_TOOL_OPTIONS",
                                   "_JAVA_OPTIONS",
                                   "CLASSPATH",
                                   "LUA_INIT",
                                   "GIT_SSH_COMMAND",
                                   "GIT_CONFIG_COUNT",
                                   "GIT_EXEC_PATH",
                                   "GIT_EDITOR",
                                   "SSH_ASKPASS",
                                   "SUDO_ASKPASS",
                                   "RSYNC_RSH",
                                   "EDITOR",
                                   "VISUAL",
                                   "PAGER",
                                   "MANPAGER",
                                   "LESSOPEN",
                                   "BROWSER",
                                   "MAKEFLAGS",
                                   "CC",
                                   "RUSTC_WRAPPER",
                                   "GOFLAGS",
                                   "CMAKE_TOOLCHAIN_FILE",
                                   "GCONV_PATH",
                                   "TERMINFO",
                                   "OPENSSL_CONF",
                                   "XDG_CONFIG_HOME",
                                   "GTK_MODULES",
                                   "QT_PLUGIN_PATH",
                                   "VIMINIT",
                                   "TAR_OPTIONS",
                                   "https_proxy",
                                   "DBUS_SESSION_BUS_ADDRESS",
                                   "DOCKER_HOST",
                                   "KUBECONFIG",
                                   "CCACHE_COMPILER",
                                   "AWS_CONFIG_FILE"})
        EXPECT_TRUE(ShellEnvironment::changesWhatRuns(name)) << name;
}

TEST(ShellEnvironment, namesOrdinaryVariablesWithTheOthers)
{
    for (char const* const name : {"LC_ALL", "LANG", "TZ", "COLUMNS", "DEBUG", "CI", "FORCE_COLOR", "", "A"})
        EXPECT_FALSE(ShellEnvironment::changesWhatRuns(name)) << name;
}

TEST(ShellEnvironment, listsBothKindsByName)
{
    auto const lines = ShellEnvironment::lines({{"A", "1"}, {"ZDOTDIR", "/tmp"}, {"B", ""}, {"PATH", "."}});

    EXPECT_THAT(lines.risky, ElementsAre("PATH=.", "ZDOTDIR=/tmp"));
    EXPECT_THAT(lines.others, ElementsAre("A=1", "B="));
    EXPECT_THAT(ShellEnvironment::lines({}).risky, IsEmpty());
}

} // namespace
} // namespace zelvo
