#include "platform/linux/system/StartAfterEnd.h"

#include "platform/linux/system/ChildStart.h"
#include "platform/linux/system/XdgFolders.h"

namespace zelvo {

bool startAfterEndOf(pid_t process, std::string const& program)
{
    // The path is $0, so it needs no quoting. The shell's own kill also exists on systems without /bin/kill,
    // but it succeeds for a process that has ended and that its parent ignores; that one has no program.
    // The outputs are pipes whose other ends close with us.
    std::string const pid = std::to_string(process);
    std::string const script = "exec >/dev/null 2>&1; while kill -0 " + pid + " && [ -e /proc/" + pid +
                               "/exe ]; do sleep 0.2; done; exec \"$0\"";
    try {
        startChild({.executable = "/bin/sh", .arguments = {"-c", script, program}, .directory = xdg::home()});
        return true;
    } catch (LaunchFailure const&) {
        return false;
    }
}

} // namespace zelvo
