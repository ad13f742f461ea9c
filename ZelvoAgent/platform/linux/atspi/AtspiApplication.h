#pragma once

#include "base/LockedBox.h"
#include "platform/linux/atspi/AtspiExchange.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Facts about the applications on the accessibility bus, kept for later readers. The bus never reuses a
/// name, so an entry is valid until its application ends. Thread: any.
struct AtspiKnowledge {
    struct Application {
        std::int32_t pid = 0;
        std::optional<std::string> toolkit;
        std::optional<std::string> directAddress; ///< empty: it offers none
        std::string path;                         ///< of its root
        bool isAlone = false; ///< the only one in its process, by the registry; then asked directly
        bool isWoken = false; ///< Chromium builds its web tree
        bool isBuilt = false; ///< and has had the time to
    };
    std::string address;                             ///< of the bus; empty if unknown
    std::map<std::string, Application> applications; ///< by bus name
};
using AtspiKnowledgeBox = LockedBox<AtspiKnowledge>;

/// An application on the accessibility bus that a reader can query.
struct AtspiApplication {
    std::string name;
    std::string path; ///< of its root
    std::string toolkit;
    bool isWoken = false;
    bool isBuilt = false;
    AtspiExchange::PeerId peer = 0;
};

/// Finds the application of a process on the accessibility bus, and connects to the application's own socket
/// if it offers one. Blocks, at most for the patience of the exchange. Thread: one.
class AtspiApplicationSearch {
public:
    AtspiApplicationSearch(AtspiExchange& exchange, AtspiLink& bus, AtspiKnowledgeBox& knowledge);

    std::optional<AtspiApplication> find(std::int32_t pid);
    /// Whether the registry answered, so that an application which was not found does not exist.
    bool hasLooked() const { return looked; }
    AtspiExchange::PeerId daemon() const { return daemonPeer; }

private:
    struct Root {
        std::string name;
        std::string path;
    };

    std::optional<AtspiApplication> findKnown(std::int32_t pid);
    void lookAgainBeside(std::string const& name);
    BusMessagePtr rootsQuestion();
    std::vector<Root> allRoots();
    std::vector<Root> rootsOf(std::int32_t pid, std::vector<Root> const& roots);
    void learnPids(std::vector<Root> const& roots);
    Root firstWithChildren(std::vector<Root> const& roots);
    AtspiApplication begin(Root const& root);
    /// Whether something answers on the application's own socket.
    bool describe(AtspiApplication& found);
    bool connectDirectly(AtspiApplication const& found, std::string const& address);
    std::optional<std::string> askToolkit(AtspiApplication const& found);
    std::optional<std::string> askDirectAddress(AtspiApplication const& found);

    AtspiExchange& exchange;
    AtspiLink& bus;
    AtspiKnowledgeBox& knowledge;
    AtspiExchange::PeerId daemonPeer;
    AtspiExchange::PeerId registry;
    bool looked = false;
};

} // namespace zelvo
