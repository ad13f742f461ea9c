#include "confirm/ShellEnvironment.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <array>
#include <locale>

namespace zelvo::ShellEnvironment {

namespace {

// All in upper case.
constexpr auto names = std::to_array<std::string_view>(
    {// Shells: where their start files are, what they run before a command or a prompt, how they split words.
     "HOME", "ZDOTDIR", "ENV", "SHELL", "SHELLOPTS", "BASHOPTS", "IFS", "STTY", "NULLCMD", "READNULLCMD",
     "PROMPT", "PROMPT2", "PROMPT3", "PROMPT4", "RPROMPT", "PS1", "PS2", "PS3", "PS4", "ARGV0",
     "POSIXLY_CORRECT", "CDPATH", "GLOBIGNORE", "INPUTRC", "TERMCAP", "TERMINFO", "TERMINFO_DIRS", "USER",
     // Programs that tools start.
     "EDITOR", "VISUAL", "FCEDIT", "PAGER", "BROWSER", "LESSOPEN", "LESSCLOSE", "LESSKEY", "MANOPT", "CC",
     "CXX", "CPP", "LD", "AR", "AS", "LESS", "WGETRC", "CURL_HOME", "DOCKER_HOST",
     // Interpreters and builds.
     "CLASSPATH", "PERLLIB", "PHPRC", "R_PROFILE", "MAKEFILES", "MFLAGS", "EXINIT", "VIMINIT", "GVIMINIT",
     "VIM", "VIMRUNTIME", "GS_LIB", "GTK_IM_MODULE", "HOSTALIASES", "GNUPGHOME"});

constexpr auto prefixes = std::to_array<std::string_view>(
    {"LD_",        "DYLD_",    "GLIBC_",   "MALLOC_",  "GCONV_", "BASH_",   "ZSH",   "GIT_", "SSH_",
     "SUDO_",      "PYTHON",   "PERL5",    "RUBY",     "GEM_",   "BUNDLE",  "NODE_", "NPM_", "YARN_",
     "DENO_",      "ELECTRON", "JAVA_",    "_JAVA_",   "JDK_",   "LUA_",    "PHP_",  "R_",   "JULIA_",
     "GUILE_",     "DOTNET_",  "CORECLR_", "COMPLUS_", "MONO_",  "CARGO_",  "RUST",  "GO",   "CMAKE_",
     "PKG_CONFIG", "GCC_",     "XDG_",     "SYSTEMD_", "AWS_",   "CCACHE_", "DBUS_", "QT_",  "QML",
     "GST_",       "GIO_",     "GDK_",     "OPENSSL_"});

constexpr auto endings = std::to_array<std::string_view>(
    {"PATH",   "_PRELOAD", "_OPTS",   "_OPTIONS", "FLAGS",    "_RC",      "_INIT",    "_COMMAND",
     "_CMD",   "EDITOR",   "PAGER",   "_ASKPASS", "_RSH",     "_SSH",     "_WRAPPER", "_SHELL",
     "CONFIG", "_CONF",    "_MODULE", "_MODULES", "_PLUGIN",  "_PLUGINS", "_STARTUP", "_HOME",
     "_DIR",   "_DIRS",    "_PROXY",  "_EXEC",    "_LIBRARY", "_LIB",     "_PROFILE", "_SESSION"});

} // namespace

bool changesWhatRuns(std::string_view name)
{
    std::string const upper = boost::algorithm::to_upper_copy(std::string(name), std::locale::classic());
    return std::ranges::find(names, upper) != names.end() ||
           std::ranges::any_of(prefixes, [&](std::string_view each) { return upper.starts_with(each); }) ||
           std::ranges::any_of(endings, [&](std::string_view each) { return upper.ends_with(each); });
}

Lines lines(std::map<std::string, std::string> const& environment)
{
    Lines found;
    for (auto const& [name, value] : environment)
        (changesWhatRuns(name) ? found.risky : found.others).push_back(name + "=" + value);
    return found;
}

} // namespace zelvo::ShellEnvironment
