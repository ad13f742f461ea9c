#pragma once

#include "base/LockedBox.h"
#include "platform/linux/atspi/AtspiExchange.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// What was learnt of the applications on the accessibility bus, for the readers to come. Bus names are never
/// used twice, so nothing of it goes out of date but by the application's end. Thread: any.
struct AtspiKnowledge {
    struct Application {
        std::int32_t pid = 0;
        std::optional<std::string> toolkit;
        std::optional<std::string> directAddress; ///< empty: it offers none
        std::string path;                         ///< of its root
        bool isAlone = false; ///< in its process, as far as the registry has told; then it is asked at once
        bool isWoken = false; ///< Chromium makes its web tree
        bool isBuilt = false; ///< and has had the time to
    };
    std::string address;                             ///< of the bus; empty: not known yet
    std::map<std::string, Application> applications; ///< by bus name
};
using AtspiKnowledgeBox = LockedBox<AtspiKnowledge>;

/// An application on the accessibility bus, ready to be asked.
struct AtspiApplication {
    std::string name;
    std::string path; ///< of its root
    std::string toolkit;
    bool isWoken = false;
    bool isBuilt = false;
    AtspiExchange::PeerId peer = 0;
};

/// Looks for the application of a process on the accessibility bus, and connects to its own socket where it
/// offers one. Blocks, as long as the patience of the exchange allows. Thread: one.
class AtspiApplicationSearch {
public:
    AtspiApplicationSearch(AtspiExchange& exchange, AtspiLink& bus, AtspiKnowledgeBox& knowledge);

    std::optional<AtspiApplication> find(std::int32_t pid);
    /// Did the registry answer, so that an application which was not found is not there?
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
    /// Is somebody there at a socket of its own?
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
