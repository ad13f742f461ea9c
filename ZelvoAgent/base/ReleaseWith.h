#pragma once

namespace zelvo {

/// The deleter of a std::unique_ptr to an object of a C library: `release` takes the pointer.
template <auto release>
struct ReleaseWith {
    template <class T>
    void operator()(T* raw) const noexcept
    {
        release(raw);
    }
};

} // namespace zelvo
