#pragma once

#include <stdexcept>

namespace zelvo::service {

/// The store can't be read or written: a full disk, a lost server. what() is for the person who runs the
/// gateway.
struct StoreError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace zelvo::service
