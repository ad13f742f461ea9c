#include "state/PermissionWording.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo {
namespace {

using Kind = PermissionCause::Kind;

std::vector<PermissionCause> allCauses()
{
    std::vector<PermissionCause> all;
    for (int kind = 0; kind <= static_cast<int>(Kind::noOverlays); ++kind)
        all.push_back({static_cast<Kind>(kind)});
    all[static_cast<std::size_t>(Kind::incompleteServer)].names = {"XTEST", "MIT-SHM"};
    all[static_cast<std::size_t>(Kind::startedTooEarly)].names = {"Files", "Mail"};
    all[static_cast<std::size_t>(Kind::noGrantService)].names = {"org.freedesktop.portal.RemoteDesktop"};
    return all;
}

TEST(PermissionWording, hasACauseAndACureForEach)
{
    for (std::string const& language : texts::languages()) {
        texts::useLanguage(language);
        std::set<std::string> causes;
        std::set<std::string> cures;
        for (PermissionCause const& cause : allCauses()) {
            causes.insert(helpFor(cause).cause);
            cures.insert(helpFor(cause).cure);
        }
        EXPECT_EQ(causes.size(), allCauses().size()) << language;
        EXPECT_EQ(cures.size(), allCauses().size()) << language;
    }
    texts::useLanguage("en");
}

TEST(PermissionWording, hasAButtonForWhatCanBeRequestedAndForNothingElse)
{
    for (PermissionCause const& cause : allCauses())
        EXPECT_NE(helpFor(cause).action.empty(), canBeRequested(cause.kind)) << helpFor(cause).cause;
}

TEST(PermissionWording, namesThePackageTheExtensionsAndTheApplications)
{
    EXPECT_NE(helpFor({Kind::noAccessibilityBus}).cure.find("at-spi2-core"), std::string::npos);
    EXPECT_NE(helpFor({Kind::incompleteServer, {"XTEST", "MIT-SHM"}}).cause.find("XTEST, MIT-SHM"),
              std::string::npos);
    EXPECT_NE(helpFor({Kind::startedTooEarly, {"Files", "Mail"}}).cause.find("Files, Mail"),
              std::string::npos);
}

TEST(PermissionWording, boundsWhatApplicationsCallThemselves)
{
    std::vector<std::string> const names(20, std::string(100'000, 'x') + "\n{0}<b>");

    std::string const cause = helpFor({Kind::startedTooEarly, names}).cause;

    EXPECT_LT(text::characterCount(cause), 800U);
    EXPECT_EQ(cause.find('\n'), std::string::npos);
    EXPECT_TRUE(cause.ends_with("…"));
    EXPECT_NE(helpFor({Kind::startedTooEarly, {"{0} 'x' <b>"}}).cause.find("{0} 'x' <b>"), std::string::npos);
}

} // namespace
} // namespace zelvo
