#pragma once

#include "desktop/applications/Applications.h"
#include "desktop/atspi/AtspiFixture.h"

#include <boost/json/object.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace zelvo::test {

/// An application, and how it is to be read.
struct Subject {
    std::string name;
    TestApplication application;
    bool isChromium = false;
};

/// An element as the other reader sees it, put into our words.
struct OtherElement {
    std::string role;
    std::string title;
    std::string description;
    std::string value;
    std::vector<std::string> actions;
    std::vector<std::string> states;

    bool has(std::string const& state) const { return std::ranges::find(states, state) != states.end(); }
};

/// A desktop on which one application is read twice: by our reader, and by one that is not ours.
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
    /// Shows it and compares until both readers agree on every element: an application takes a moment to come
    /// to rest.
    void expectSame(Subject const& subject);
    /// Compares what is shown already.
    void expectSameOfShown(Subject const& subject);
};

} // namespace zelvo::test
