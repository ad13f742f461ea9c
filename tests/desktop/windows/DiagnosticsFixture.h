#pragma once

#include "app/widgets/Button.h"
#include "app/widgets/Picker.h"
#include "desktop/windows/WindowsFixture.h"

#include <set>
#include <string>

namespace zelvo::test {

/// The diagnostics window over a machine on which Mail, "books" and Chrome run.
class DiagnosticsFixture : public WindowsFixture {
protected:
    static constexpr std::int32_t mail = 12;
    static constexpr std::int32_t books = 13;
    static constexpr std::int32_t chrome = 15;

    void SetUp() override;

    ContentWindow& shown() { return *ui->openWindows().shown(AppWindow::diagnostics); }
    std::string said() { return words(shown()); }
    bool says(std::string const& text) { return said().find(text) != std::string::npos; }
    Button* button(std::string const& key) { return named<Button>(shown(), localized(key)); }
    void press(std::string const& key);
    Picker& picker(std::string const& key) { return *named<Picker>(shown(), localized(key)); }
    /// Picks an application by keyboard, from the top of the list.
    void pick(std::string const& key, std::string const& name);
    /// The text of the tree check; empty if it shows none.
    std::string report();
    std::set<std::string> hidden() { return run(platform->io, parts->hiddenApps.bundleIds()); }
    /// Turns the desktop dark, which makes the window build its content anew.
    void changeLook();
    /// An application whose reading takes as long as the clock stands still.
    void pickSlowApplication() { pick("diag.tree.app", "Chrome"); }
    bool isReading() { return report() == localized("diag.tree.capturing"); }

private:
    void addApplication(std::int32_t pid, std::string identifier, std::string name);
};

} // namespace zelvo::test
