#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"
#include "platform/portable/streams/ChangeDetector.h"

#include <functional>
#include <memory>

namespace zelvo {

/// What a stream of pictures is made from; all of it outlives the stream.
struct PacedStreamParts {
    Contexts contexts;
    Clock& clock;
    ScreenSource& source;
    /// On the workers. Null when changes can't be noticed.
    std::function<std::unique_ptr<ChangeDetector>()> openChanges;
};

/// A stream of the still pictures of a screen source. Once in every interval it looks whether there is
/// anything new, and only then takes one; while no frames are wanted it does nothing at all and is told
/// nothing.
///
/// A picture that can't be taken is tried again with the next interval, since windows vanish and displays are
/// switched over. The stream ends by itself when that has not worked for two seconds, or the screen system is
/// gone.
class PacedScreenStream final : public ScreenStream {
public:
    /// changes: opened just now.
    PacedScreenStream(PacedStreamParts parts,
                      std::unique_ptr<ChangeDetector> changes,
                      ScreenStreamRequest request,
                      Executor queue,
                      std::weak_ptr<ScreenStreamOutput> output);
    ~PacedScreenStream() override;

    /// Also a picture that is just being taken is not delivered any more.
    Task<> updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded) override;
    void setWanted(bool wanted) override;
    Task<> stop() override;

private:
    class Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
