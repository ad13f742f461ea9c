#pragma once

#include "desktop/harness/PrivateDesktop.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

enum class Toolkit { gtk3, gtk4, qt, chromium };

/// A test program, and how to find its window.
struct TestApplication {
    std::vector<std::string> command;
    WindowWanted window;
};

/// A window of plain colours: each element named "swatch RRGGBB" is drawn in that colour alone; some are
/// scrolled out of view, some are in the popup of the element "Swatches".
TestApplication swatches(PrivateDesktop const& desktop, Toolkit toolkit);
/// The same program on any desktop.
/// home  of the desktop
std::vector<std::string> swatchesCommand(std::filesystem::path const& home, Toolkit toolkit);
/// A window with an element of each interactive role.
TestApplication form(PrivateDesktop const& desktop, Toolkit toolkit);
/// An application with a committing action: GTK 3 has a form with "Send" and more, Qt a dialog with "Delete",
/// Chromium a page that is one button "Pay". The first two print what was done, the page shows it in its
/// title. There is none for GTK 4.
TestApplication letter(PrivateDesktop const& desktop, Toolkit toolkit);

/// Chromium with a page and its profile in the desktop's home.
std::vector<std::string> chromium(PrivateDesktop const& desktop, std::vector<std::string> arguments);

/// LibreOffice Writer with a document, its profile in the desktop's home, without first-start dialogs. Its
/// window belongs to another process than the started one.
TestApplication writer(PrivateDesktop const& desktop, std::filesystem::path const& document);

/// The elements of an application as an independent reader sees them, one per line; see read_elements.py.
/// wakes  first makes Chromium build the elements of its pages
std::string readElements(PrivateDesktop& desktop, pid_t pid, bool wakes = false);
/// The same for showing elements only, which skips all closed menus.
std::string readShownElements(PrivateDesktop& desktop, pid_t pid);

} // namespace zelvo::test
