#pragma once

#include <mutex>

namespace zelvo {

/// A one-shot claim: of several parties that race to resume one waiting caller, exactly one finds claim()
/// true. Thread: any.
class ResumeOnce {
public:
    bool claim()
    {
        std::scoped_lock guard(lock);
        if (claimed)
            return false;
        claimed = true;
        return true;
    }

private:
    std::mutex lock;
    bool claimed = false; // lock
};

} // namespace zelvo
