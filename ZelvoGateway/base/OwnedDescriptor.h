#pragma once

#include <unistd.h>

namespace zelvo::service {

/// A file descriptor; the destructor closes it.
class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int number) : number(number) {}
    OwnedDescriptor(OwnedDescriptor const&) = delete;
    OwnedDescriptor& operator=(OwnedDescriptor const&) = delete;
    ~OwnedDescriptor() { ::close(number); }
    int get() const { return number; }

private:
    int number;
};

} // namespace zelvo::service
