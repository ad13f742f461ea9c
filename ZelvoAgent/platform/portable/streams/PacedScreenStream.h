#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenStream.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Tells whether pictures of the screen would differ from before, without reading any. Thread: one at a time;
/// blocks for a moment. Made by: X11ChangeDetector, and by tests.
class ChangeDetector {
public:
    virtual ~ChangeDetector() = default;
    /// Whether anything has changed since the last call, or since this object was made. What happens after
    /// this has returned is told by the next call.
    virtual bool take() = 0;
    /// False when the screen system is gone.
    virtual bool isAlive() const = 0;
};

/// What a stream of pictures is made from; all of it outlives the stream.
struct PacedStreamParts {
    Contexts contexts;
    Clock& clock;
    ScreenSource& source;
    /// On the workers. Null when changes can't be told.
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
