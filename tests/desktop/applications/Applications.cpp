#include "desktop/applications/Applications.h"

#include "desktop/harness/Chromium.h"

#include <fstream>

namespace zelvo::test {

namespace {

std::string file(std::string const& name)
{
    return std::string(ZELVO_TEST_APPLICATIONS) + "/" + name;
}

std::vector<std::string> python(std::string const& script)
{
    return {"/usr/bin/python3", file(script)};
}

std::string readElementsBy(PrivateDesktop& desktop, pid_t pid, std::string const& option)
{
    std::vector<std::string> command = python("read_elements.py");
    command.push_back(std::to_string(pid));
    command.push_back(option);
    return desktop.run(command, 60);
}

} // namespace

TestApplication swatches(PrivateDesktop const& desktop, Toolkit toolkit)
{
    auto const title = [toolkit] {
        switch (toolkit) {
        case Toolkit::gtk3:
            return "GTK swatches";
        case Toolkit::gtk4:
            return "GTK 4 swatches";
        case Toolkit::qt:
            return "Qt swatches";
        case Toolkit::chromium:
            break;
        }
        return "Web swatches";
    };
    return {swatchesCommand(desktop.home(), toolkit), {.title = title()}};
}

std::vector<std::string> swatchesCommand(std::filesystem::path const& home, Toolkit toolkit)
{
    switch (toolkit) {
    case Toolkit::gtk3:
        return python("gtk_swatches.py");
    case Toolkit::gtk4:
        return python("gtk4_swatches.py");
    case Toolkit::qt:
        return {ZELVO_QT_SWATCHES};
    case Toolkit::chromium:
        break;
    }
    return chromiumCommand(home / "chromium", {"--window-size=520,520", "file://" + file("swatches.html")});
}

TestApplication form(PrivateDesktop const& desktop, Toolkit toolkit)
{
    switch (toolkit) {
    case Toolkit::gtk3:
        return {python("gtk_form.py"), {.title = "GTK form"}};
    case Toolkit::gtk4:
        return {python("gtk4_form.py"), {.title = "GTK 4 form"}};
    case Toolkit::qt:
        return {{ZELVO_QT_FORM}, {.title = "Qt form"}};
    case Toolkit::chromium:
        return {chromium(desktop, {"file://" + file("form.html")}), {.title = "Web form"}};
    }
    return {};
}

TestApplication letter(PrivateDesktop const& desktop, Toolkit toolkit)
{
    switch (toolkit) {
    case Toolkit::gtk3:
        return {python("gtk_letter.py"), {.title = "GTK letter"}};
    case Toolkit::qt:
        return {{ZELVO_QT_LETTER}, {.title = "Qt letter"}};
    case Toolkit::chromium:
        return {chromium(desktop, {"file://" + file("letter.html")}), {.title = "Web letter"}};
    case Toolkit::gtk4:
        break;
    }
    return {};
}

std::vector<std::string> chromium(PrivateDesktop const& desktop, std::vector<std::string> arguments)
{
    return chromiumCommand(desktop.home() / "chromium", arguments);
}

TestApplication writer(PrivateDesktop const& desktop, std::filesystem::path const& document)
{
    auto const profile = desktop.home() / "office";
    std::filesystem::create_directories(profile / "user");
    std::ofstream(profile / "user" / "registrymodifications.xcu") << R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Common/Misc">
<prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
</oor:items>
)";
    return {{"env", "SAL_USE_VCLPLUGIN=gtk3", "soffice", "-env:UserInstallation=file://" + profile.string(),
             "--writer", "--norestore", "--nologo", "--nofirststartwizard", document.string()},
            {.title = document.filename().string()}};
}

std::string readElements(PrivateDesktop& desktop, pid_t pid, bool wakes)
{
    return readElementsBy(desktop, pid, wakes ? "--wake" : "");
}

std::string readShownElements(PrivateDesktop& desktop, pid_t pid)
{
    return readElementsBy(desktop, pid, "--shown");
}

} // namespace zelvo::test
