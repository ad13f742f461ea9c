#pragma once

#include "platform/Accessibility.h"

#include <algorithm>
#include <map>
#include <ranges>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// An element of a fake interface. An absent member cannot be read.
struct FakeElement {
    std::optional<std::string> role = "AXGroup";
    std::optional<std::string> subrole = {};
    std::optional<std::string> title = {};
    std::optional<std::string> description = {};
    std::optional<std::string> value = {};
    std::optional<std::string> help = {};
    std::optional<std::string> identifier = {};
    std::optional<bool> enabled = {};
    std::optional<bool> focused = {};
    std::optional<DesktopPoint> position = DesktopPoint{10, 20};
    std::optional<DesktopSize> size = DesktopSize{100, 50};
    std::vector<std::string> actions = {};
    bool isDefault = false;
    bool isForm = false;
    bool isCurrentItem = false; ///< of an open menu
    std::optional<std::vector<FakeElement>> children = std::vector<FakeElement>{};
    std::optional<std::int32_t> pid = {}; ///< if it differs from its parent's
    bool hidesParent = false;             ///< its parent cannot be read

    bool isFocused() const { return focused == true; }
    bool isDefaultButton() const { return isDefault; }
    bool isItemOfMenu() const { return isCurrentItem; }
};

struct FakeApplication {
    FakeElement itself = {.role = "AXApplication", .position = {}, .size = {}};
    std::optional<std::vector<FakeElement>> windows = std::vector<FakeElement>{};
    std::optional<FakeElement> focusedWindow = {};
    std::optional<FakeElement> menuBar = {};
    std::map<AccessibilityAttribute, bool> flags = {};
    std::map<AccessibilityAttribute, bool> accepts = {}; ///< whether a flag may be set
    bool isSilent = false;
    ElementDeed answer = ElementDeed::done; ///< to whatever is done to an element
};

/// One query to an element.
struct FakeQuestion {
    AccessibilityAttribute attribute{};
    std::string title; ///< of the element; empty if it has none
    bool operator==(FakeQuestion const&) const = default;
};

class FakeAccessibility final : public Accessibility {
public:
    std::map<std::int32_t, FakeApplication> applications;
    std::vector<FakeQuestion> questions;
    std::vector<std::string> written;  ///< "100 manualAccessibility on"
    std::vector<std::string> deeds;    ///< "press OK", "set Name: text", by titles
    bool isRelative = false;           ///< places are, and titles are names
    std::vector<std::int32_t> readers; ///< the process of each reader
    std::vector<Duration> timeouts;    ///< the messaging timeout of each reader
    std::vector<AccessibilityPlan> plans;
    std::vector<DesktopPoint> hits; ///< the points of all hit tests
    std::function<void(FakeQuestion const&)> onQuestion;
    std::function<void(std::size_t)> onReader; ///< called with the number of readers before a new one reads
    std::function<void(std::int32_t)> unreadable;
    int switchedOn = 0;
    int switchedOff = 0;

    std::size_t asked(AccessibilityAttribute attribute, std::string_view title) const
    {
        return static_cast<std::size_t>(
            std::ranges::count(questions, FakeQuestion{attribute, std::string(title)}));
    }

    std::unique_ptr<AccessibilityReader> reader(std::int32_t pid, Duration messagingTimeout) override
    {
        readers.push_back(pid);
        timeouts.push_back(messagingTimeout);
        if (onReader)
            onReader(readers.size());
        return std::make_unique<Reader>(*this, pid);
    }
    void observeUnreadable(std::function<void(std::int32_t)> observer) override
    {
        unreadable = std::move(observer);
    }
    Task<> switchOn() override
    {
        ++switchedOn;
        co_return;
    }
    Task<> switchOff() override
    {
        ++switchedOff;
        co_return;
    }

private:
    using Attribute = AccessibilityAttribute;
    using Element = AccessibilityElement;

    class Reader final : public AccessibilityReader {
    public:
        Reader(FakeAccessibility& system, std::int32_t pid)
            : system(system), pid(pid), its(system.applications[pid])
        {
            handle(its.itself);
        }

        Element application() override { return {0}; }
        void plan(AccessibilityPlan plan) override { system.plans.push_back(std::move(plan)); }

        std::optional<std::string> text(Element element, Attribute attribute) override
        {
            FakeElement const& read = look(element, attribute);
            switch (attribute) {
            case Attribute::role:
                return read.role;
            case Attribute::subrole:
                return read.subrole;
            case Attribute::title:
                return read.title;
            case Attribute::description:
                return read.description;
            case Attribute::value:
                return read.value;
            case Attribute::help:
                return read.help;
            case Attribute::identifier:
                return read.identifier;
            default:
                return std::nullopt;
            }
        }
        std::optional<bool> flag(Element element, Attribute attribute) override
        {
            FakeElement const& read = look(element, attribute);
            if (attribute == Attribute::enabled)
                return read.enabled;
            if (attribute == Attribute::focused)
                return read.focused;
            if (attribute == Attribute::isDefault)
                return read.isDefault;
            if (attribute == Attribute::isForm)
                return read.isForm;
            auto const found = its.flags.find(attribute);
            return found == its.flags.end() ? std::nullopt : std::optional(found->second);
        }
        std::optional<Element> element(Element element, Attribute attribute) override
        {
            FakeElement const& read = look(element, attribute);
            if (attribute == Attribute::parent)
                return read.hidesParent ? std::nullopt : ancestor(read);
            if (attribute == Attribute::focusedUiElement)
                return found(&FakeElement::isFocused);
            if (attribute == Attribute::currentMenuItem)
                return found(&FakeElement::isItemOfMenu);
            if (attribute == Attribute::defaultButton)
                return found(&FakeElement::isDefaultButton);
            auto const& wanted = attribute == Attribute::menuBar ? its.menuBar : its.focusedWindow;
            return wanted ? std::optional(handle(*wanted)) : std::nullopt;
        }
        std::optional<std::vector<Element>> elements(Element element, Attribute attribute) override
        {
            FakeElement const& read = look(element, attribute);
            auto const& wanted = attribute == Attribute::windows ? its.windows : read.children;
            if (!wanted)
                return std::nullopt;
            std::vector<Element> handles;
            for (FakeElement const& each : *wanted)
                handles.push_back(handle(each));
            return handles;
        }
        std::optional<DesktopPoint> position(Element element) override
        {
            return known.at(element.index)->position;
        }
        std::optional<DesktopSize> size(Element element) override { return known.at(element.index)->size; }
        std::vector<std::string> actionNames(Element element) override
        {
            return known.at(element.index)->actions;
        }
        std::optional<Element> elementAt(DesktopPoint point) override
        {
            system.hits.push_back(point);
            for (FakeElement const* root : roots())
                if (FakeElement const* const hit = deepest(*root, point))
                    return handle(*hit);
            return std::nullopt;
        }
        std::optional<std::int32_t> processOf(Element element) override
        {
            for (FakeElement const* read = known.at(element.index); read; read = parentOf(*read))
                if (read->pid)
                    return read->pid;
            return pid;
        }
        bool hasFallenSilent() const override { return its.isSilent; }
        bool isRelative() override { return system.isRelative; }
        std::string nameOf(Element element) override { return titleOf(element); }
        std::optional<Element> find(std::string const& name) override
        {
            for (FakeElement const* root : roots())
                if (FakeElement const* const match = titled(*root, name))
                    return handle(*match);
            return std::nullopt;
        }
        ElementDeed press(Element element) override
        {
            system.deeds.push_back("press " + titleOf(element));
            return its.answer;
        }
        ElementDeed replaceText(Element element, std::string const& text) override
        {
            system.deeds.push_back("set " + titleOf(element) + ": " + text);
            return its.answer;
        }
        bool setFlag(Element, Attribute attribute, bool value) override
        {
            std::string const name =
                attribute == Attribute::manualAccessibility ? "manualAccessibility" : "enhancedUserInterface";
            system.written.push_back(std::to_string(pid) + " " + name + (value ? " on" : " off"));
            if (!its.accepts[attribute])
                return false;
            its.flags[attribute] = value;
            return true;
        }

    private:
        FakeElement const& look(Element element, Attribute attribute)
        {
            FakeElement const& read = *known.at(element.index);
            FakeQuestion const question{attribute, read.title.value_or("")};
            system.questions.push_back(question);
            if (system.onQuestion)
                system.onQuestion(question);
            return read;
        }
        /// The same for the same element, however it was reached.
        Element handle(FakeElement const& element)
        {
            auto const [at, isNew] = indices.try_emplace(&element, static_cast<std::uint32_t>(known.size()));
            if (isNew)
                known.push_back(&element);
            return {at->second};
        }

        std::string titleOf(Element element) const { return known.at(element.index)->title.value_or(""); }
        static FakeElement const* titled(FakeElement const& element, std::string const& title)
        {
            if (element.title == title)
                return &element;
            for (FakeElement const& child : below(element))
                if (FakeElement const* const match = titled(child, title))
                    return match;
            return nullptr;
        }
        std::vector<FakeElement const*> roots() const
        {
            std::vector<FakeElement const*> all;
            for (auto const* one : {&its.focusedWindow, &its.menuBar})
                if (*one)
                    all.push_back(&**one);
            if (its.windows)
                for (FakeElement const& window : *its.windows)
                    all.push_back(&window);
            return all;
        }
        static std::span<FakeElement const> below(FakeElement const& element)
        {
            return element.children ? std::span(*element.children) : std::span<FakeElement const>();
        }
        FakeElement const* parentOf(FakeElement const& wanted) const
        {
            for (FakeElement const* root : roots())
                if (FakeElement const* const found = holder(*root, wanted))
                    return found;
            return nullptr;
        }
        static FakeElement const* holder(FakeElement const& from, FakeElement const& wanted)
        {
            for (FakeElement const& child : below(from)) {
                if (&child == &wanted)
                    return &from;
                if (FakeElement const* const found = holder(child, wanted))
                    return found;
            }
            return nullptr;
        }
        std::optional<Element> ancestor(FakeElement const& of)
        {
            if (FakeElement const* const parent = parentOf(of))
                return handle(*parent);
            return &of == &its.itself ? std::nullopt : std::optional(application());
        }
        using Test = bool (FakeElement::*)() const;
        std::optional<Element> found(Test test)
        {
            for (FakeElement const* root : roots())
                if (FakeElement const* const match = firstIn(*root, test))
                    return handle(*match);
            return std::nullopt;
        }
        static FakeElement const* firstIn(FakeElement const& element, Test test)
        {
            if ((element.*test)())
                return &element;
            for (FakeElement const& child : below(element))
                if (FakeElement const* const match = firstIn(child, test))
                    return match;
            return nullptr;
        }
        /// The child drawn last is on top.
        static FakeElement const* deepest(FakeElement const& element, DesktopPoint point)
        {
            for (FakeElement const& child : std::views::reverse(below(element)))
                if (FakeElement const* const hit = deepest(child, point))
                    return hit;
            bool const holds = element.position && element.size &&
                               DesktopRect{element.position->x, element.position->y, element.size->width,
                                           element.size->height}
                                   .contains(point);
            return holds ? &element : nullptr;
        }

        FakeAccessibility& system;
        std::int32_t pid;
        FakeApplication& its;
        std::map<FakeElement const*, std::uint32_t> indices; ///< in `known`
        std::vector<FakeElement const*> known;
    };
};

} // namespace zelvo
