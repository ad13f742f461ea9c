#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct wl_display; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_global;  // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo::test {

/// A compositor that has outputs and says which one is the main one, and nothing else. It runs on a thread.
class ScriptedCompositor {
public:
    /// path  of its socket
    explicit ScriptedCompositor(std::string const& path);
    ~ScriptedCompositor();
    ScriptedCompositor(ScriptedCompositor const&) = delete;
    ScriptedCompositor& operator=(ScriptedCompositor const&) = delete;

    /// An output of 1000 by 1000 pixels at (x, 0).
    void addOutput(std::string const& name, int x);
    void removeOutput(std::string const& name);
    /// By kde_output_order_v1, to clients that bind it from now on.
    void setOrder(std::vector<std::string> names);
    /// By kde_primary_output_v1.
    void setPrimary(std::string name);

    /// What is sent to a client that binds an output.
    struct Output {
        std::string name;
        int x = 0;
        wl_global* global = nullptr;
    };

private:
    void onThread(std::function<void()> work);

    wl_display* display;
    std::map<std::string, Output> outputs;
    std::vector<std::string> order;
    std::string primary;
    std::mutex lock;
    std::vector<std::function<void()>> waiting; // lock
    bool isEnding = false;                      // lock
    std::thread thread;
};

} // namespace zelvo::test
