#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// Bounds the memory of all large bodies and messages together, and of each caller alone. Each body holds its
/// share as a lease.
/// Thread: one.
class MemoryBudget {
    struct Account {
        std::size_t left;
        std::shared_ptr<Account> whole =
            {};               ///< what is taken from this one is taken from it, too; may be null
        bool wasLent = false; ///< since it was last asked
    };

public:
    class Lease {
    public:
        Lease() = default;
        Lease(Lease&& other) noexcept;
        Lease& operator=(Lease&& other) noexcept;
        ~Lease() { release(); }
        void release();
        std::size_t size() const { return bytes; }

    private:
        friend class MemoryBudget;
        std::shared_ptr<Account> account;
        std::size_t bytes = 0;
    };

    /// ofCaller   what one caller may have of it
    explicit MemoryBudget(std::size_t bytes, std::size_t ofCaller = static_cast<std::size_t>(-1));

    /// The part of one caller. The same for the same name, while somebody has it or a lease of it.
    MemoryBudget partOf(std::string const& caller);

    /// Grows a lease to `bytes`; an empty lease is a new one. False, without any change, if the budget has
    /// not enough left.
    bool grow(Lease& lease, std::size_t bytes);
    std::size_t available() const { return account->left; }
    /// Whether something was lent since the last call, and nothing is lent now.
    bool hasRested();

private:
    MemoryBudget(std::size_t bytes, std::shared_ptr<Account> account)
        : size(bytes), account(std::move(account))
    {
    }

    std::size_t size = 0;
    std::size_t ofCaller = 0;
    std::shared_ptr<Account> account;
    std::map<std::string, std::weak_ptr<Account>> parts;
};

} // namespace zelvo::service
