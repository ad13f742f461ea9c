#pragma once

#include "desktop/harness/PrivateDesktop.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

enum class Toolkit { gtk3, gtk4, qt, chromium };

/// A program of ours for tests, and how its window is found.
struct TestApplication {
    std::vector<std::string> command;
    WindowWanted window;
};

/// A window of plain colours: each element that is called "swatch RRGGBB" is drawn in that colour alone; some
/// are scrolled out of view, some are in what the element "Swatches" opens.
TestApplication swatches(PrivateDesktop const& desktop, Toolkit toolkit);
/// A window with an element of each interactive role.
TestApplication form(PrivateDesktop const& desktop, Toolkit toolkit);
/// What commits something when it is pressed: GTK 3 has a form with "Send" and more, Qt a dialog with
/// "Delete", Chromium a page that is all one button "Pay". The first two say on their output what they were
/// made to do, the page in its title. There is none for GTK 4.
TestApplication letter(PrivateDesktop const& desktop, Toolkit toolkit);

/// Chromium with a page, its profile in the desktop's home.
std::vector<std::string> chromium(PrivateDesktop const& desktop, std::vector<std::string> arguments);

/// LibreOffice Writer with a document, its profile in the desktop's home, without what it shows at a first
/// start. The window belongs to another process than the one that is started.
TestApplication writer(PrivateDesktop const& desktop, std::filesystem::path const& document);

/// What another reader than ours reads of an application, an element a line, see read_elements.py.
/// wakes: makes Chromium build the elements of its pages first
std::string readElements(PrivateDesktop& desktop, pid_t pid, bool wakes = false);
/// The same of those that are showing, which is faster by the length of all closed menus.
std::string readShownElements(PrivateDesktop& desktop, pid_t pid);

} // namespace zelvo::test
