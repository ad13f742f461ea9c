#pragma once

#include "desktop/harness/Painter.h"
#include "desktop/harness/PrivateDesktop.h"

#include <boost/json/object.hpp>

#include <filesystem>
#include <string>

namespace zelvo::test {

/// A Painter in a separate program, so that its windows belong to another process than the test. Thread: one
/// at a time.
class PainterProcess {
public:
    /// executable  path for a copy of the program, so that the process has that name; empty for the original
    explicit PainterProcess(PrivateDesktop& desktop, std::filesystem::path const& executable = {});
    ~PainterProcess();

    pid_t pid() const { return process; }

    std::uint32_t open(PaintedWindow window);
    void move(std::uint32_t window, int x, int y);
    void resize(std::uint32_t window, int width, int height);
    void raise(std::uint32_t window);
    void lower(std::uint32_t window);
    void map(std::uint32_t window);
    void unmap(std::uint32_t window);
    void minimise(std::uint32_t window);
    void close(std::uint32_t window);
    void paint(std::uint32_t window, std::uint32_t color);
    void embed(std::uint32_t window, std::uint32_t into, int x, int y);

private:
    std::uint32_t ask(boost::json::object question);
    void ask(char const* what,
             std::uint32_t window,
             std::uint32_t first = 0,
             std::uint32_t second = 0,
             std::uint32_t third = 0);

    PrivateDesktop& desktop;
    pid_t process = 0;
    int channel = -1;
};

} // namespace zelvo::test
