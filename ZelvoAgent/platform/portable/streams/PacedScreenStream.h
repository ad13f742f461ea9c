#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"
#include "platform/portable/streams/ChangeDetector.h"

#include <functional>
#include <memory>

namespace zelvo {

/// What a stream uses; all of it outlives the stream.
struct PacedStreamParts {
    Contexts contexts;
    Clock& clock;
    ScreenSource& source;
    /// Called on the workers. Null if changes can't be detected.
    std::function<std::unique_ptr<ChangeDetector>()> openChanges;
};

/// A stream made from a screen source's still pictures. Once per interval it checks for changes, and takes a
/// picture only if there are any. While no frames are wanted it does nothing and has no change detector.
/// A picture that fails is tried again in the next interval, because windows close and displays are
/// reconfigured. The stream ends by itself after two seconds of failures, or if the screen system is gone;
/// while an excluded application keeps all pictures away, it only waits.
class PacedScreenStream final : public ScreenStream {
public:
    /// changes  just opened
    PacedScreenStream(PacedStreamParts parts,
                      std::unique_ptr<ChangeDetector> changes,
                      ScreenStreamRequest request,
                      Executor queue,
                      std::weak_ptr<ScreenStreamOutput> output);
    ~PacedScreenStream() override;

    /// A picture that is being taken at this moment is discarded.
    Task<> updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded) override;
    void setWanted(bool wanted) override;
    Task<> stop() override;

private:
    class Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
