#pragma once

#include <mutex>

namespace zelvo {

/// A one-shot flag: when several parties race to resume one waiting caller, claim() returns true for exactly
/// one of them. Thread: any.
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
