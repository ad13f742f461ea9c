#pragma once

#include "app/lifecycle/Updates.h"
#include "platform/InformationDictionary.h"

namespace zelvo {

/// Updates of a program that has no updater. This version has none at all: also a program that is set up for
/// updates cannot check.
class NoUpdates final : public Updates {
public:
    /// information  must outlive this
    explicit NoUpdates(InformationDictionary const& information) : information(information) {}

    /// Whether the packaging gives a key that updates are signed with, "SUPublicEDKey".
    bool isConfigured() const;
    bool canCheck() const override { return false; }
    std::optional<std::string> lastCheckFailed() const override { return std::nullopt; }
    void start() override {}
    void checkNow() override {}

private:
    InformationDictionary const& information;
};

} // namespace zelvo
