#pragma once

#include "base/Clock.h"
#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiApplication.h"
#include "platform/linux/atspi/AtspiEditing.h"
#include "platform/linux/atspi/AtspiNames.h"
#include "platform/linux/atspi/AtspiPlaces.h"
#include "platform/linux/atspi/AtspiReadAhead.h"
#include "platform/linux/atspi/AtspiTexts.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Reads one application over AT-SPI, on separate connections. Answers are kept until the next plan.
class AtspiReader final : public AccessibilityReader {
public:
    /// link       to the bus, connected or connecting; null if there is none: then nothing can be read
    /// knowledge  shared with other readers; must outlive this, as the clock must
    AtspiReader(Clock& clock,
                std::unique_ptr<AtspiLink> link,
                AtspiKnowledgeBox& knowledge,
                AtspiScreen screen,
                std::int32_t pid,
                Duration messagingTimeout);

    /// Whether the application is on the bus. `nullopt` if the bus does not answer.
    std::optional<bool> isOnBus() const;
    /// Changes its elements; null without an application. Valid as long as this reader.
    AtspiEditing* editing() { return edits.get(); }
    /// D-Bus messages sent so far.
    std::uint64_t messagesSent() const { return exchange.messagesSent(); }

    AccessibilityElement application() override { return {0}; }
    void plan(AccessibilityPlan next) override;
    std::optional<std::string> text(AccessibilityElement element, AccessibilityAttribute attribute) override;
    std::optional<bool> flag(AccessibilityElement element, AccessibilityAttribute attribute) override;
    std::optional<AccessibilityElement> element(AccessibilityElement element,
                                                AccessibilityAttribute attribute) override;
    std::optional<std::vector<AccessibilityElement>> elements(AccessibilityElement element,
                                                              AccessibilityAttribute attribute) override;
    std::optional<DesktopPoint> position(AccessibilityElement element) override;
    std::optional<DesktopSize> size(AccessibilityElement element) override;
    std::vector<std::string> actionNames(AccessibilityElement element) override;
    std::optional<AccessibilityElement> elementAt(DesktopPoint point) override;
    std::optional<std::int32_t> processOf(AccessibilityElement element) override;
    bool hasFallenSilent() const override { return inquiry && exchange.isMissingAnswers(); }
    bool isRelative() override { return screen.from == ReportedFrom::corner; }
    std::string nameOf(AccessibilityElement element) override;
    std::optional<AccessibilityElement> find(std::string const& name) override;
    ElementDeed press(AccessibilityElement element) override;
    ElementDeed replaceText(AccessibilityElement element, std::string const& text) override;
    bool setFlag(AccessibilityElement element, AccessibilityAttribute attribute, bool value) override;

private:
    using Index = AtspiNode::Index;

    bool isReadable(AccessibilityElement element) const;
    /// Reads its identity. False if it does not exist.
    bool meet(Index index);
    void follow(Index index);
    std::optional<DesktopRect> frameOf(AccessibilityElement element);
    void beginPlaces();
    std::optional<std::vector<Index>> childrenOf(Index index);
    std::optional<std::vector<Index>> windows();
    std::optional<Index> focusedWindow();
    std::optional<Index> menuBar();
    std::optional<AccessibilityElement> parentOf(Index index) const;
    std::optional<Index> focusedElement();
    std::optional<Index> currentMenuItem();
    std::optional<Index> defaultButton();
    std::optional<Index> hitTest(DesktopPoint point);
    void announce(DesktopPoint point);
    /// Calls `look`, repeatedly if this is a Chromium that has just begun to build its pages' elements.
    std::optional<Index> onceBuilt(std::function<std::optional<Index>()> const& look);
    /// Whether pages may still lack elements because nobody has asked for them before.
    bool mayStillBuild() const;
    /// Whether it is a Chromium that has not been woken, so that its pages have no elements.
    bool sleeps() const;
    /// Whether `look` found nothing of a page's content.
    bool isStillEmpty(std::optional<Index> seen);
    bool waitForMore();
    void noteWoken();
    void remember(std::function<void(AtspiKnowledge::Application&)> const& change);

    Clock& clock;
    AtspiKnowledgeBox& knowledge;
    AtspiScreen screen;
    std::int32_t pid;
    AtspiExchange exchange;
    AtspiNodes nodes;
    AtspiLink* bus = nullptr;
    std::unique_ptr<AtspiInquiry> inquiry;
    std::unique_ptr<AtspiElements> known;
    std::unique_ptr<AtspiTexts> texts;
    std::unique_ptr<AtspiNames> names;
    std::unique_ptr<AtspiPlaces> places;
    std::unique_ptr<AtspiEditing> edits;
    std::unique_ptr<AtspiReadAhead> ahead; // All seven are null without an application.
    AtspiApplication found;
    bool hasLooked = false;
    std::vector<Index> lastWindows;
};

} // namespace zelvo
