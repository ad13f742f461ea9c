#pragma once

#include <string>

namespace zelvo::service {

/// Names that lead where a test wants, for everything in the test's process that looks names up; other names
/// are looked up as always. Thread: any.
class FakeNames {
public:
    FakeNames() = default;
    FakeNames(FakeNames const&) = delete;
    FakeNames& operator=(FakeNames const&) = delete;
    /// Forgets them all.
    ~FakeNames();

    /// From now on `name` leads to `address`.
    static void set(std::string const& name, std::string const& address);
    /// How often a name was looked up.
    static int lookups(std::string const& name);
};

} // namespace zelvo::service
