#pragma once

#include "desktop/applications/Applications.h"
#include "desktop/atspi/AtspiFixture.h"

#include <boost/json/object.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace zelvo::test {

/// An application and how to read it.
struct Subject {
    std::string name;
    TestApplication application;
    bool isChromium = false;
};

/// An element from the other reader, in the wire's terms.
struct OtherElement {
    std::string role;
    std::string title;
    std::string description;
    std::string value;
    std::vector<std::string> actions;
    std::vector<std::string> states;

    bool has(std::string const& state) const { return std::ranges::find(states, state) != states.end(); }
};

/// A desktop on which two readers read one application: ours and an independent one.
class TreeComparison : public testing::Test {
protected:
    AtspiFixture fixture{{.accessibility = true}, AtspiFixture::Screen::known};
    PrivateDesktop& desktop = fixture.desktop;
    pid_t pid = 0;

    /// Starts it and waits for its window.
    void show(Subject const& subject);
    std::vector<WalkedElement> ours(bool isChromium) const;
    struct OtherTree {
        std::vector<OtherElement> elements;
        std::string toolkit; ///< as the application calls it
    };
    OtherTree theirs(Subject const& subject);
    /// Shows the application and compares until both readers agree on every element; an application needs a
    /// moment to settle.
    void expectSame(Subject const& subject);
    /// Compares the application as it is shown now.
    void expectSameOfShown(Subject const& subject);
};

} // namespace zelvo::test
