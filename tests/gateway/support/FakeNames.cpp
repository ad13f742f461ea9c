#include "gateway/support/FakeNames.h"

#include <dlfcn.h>
#include <netdb.h>

#include <map>
#include <mutex>
#include <optional>

namespace zelvo::service {

namespace {

struct Names {
    std::mutex lock;
    std::map<std::string, std::string> addresses; // lock
    std::map<std::string, int> lookups;           // lock
};

Names& names()
{
    static Names all;
    return all;
}

std::optional<std::string> addressOfName(std::string const& name)
{
    std::scoped_lock const guard(names().lock);
    auto const found = names().addresses.find(name);
    if (found == names().addresses.end())
        return std::nullopt;
    ++names().lookups[name];
    return found->second;
}

} // namespace

FakeNames::~FakeNames()
{
    std::scoped_lock const guard(names().lock);
    names().addresses.clear();
    names().lookups.clear();
}

void FakeNames::set(std::string const& name, std::string const& address)
{
    std::scoped_lock const guard(names().lock);
    names().addresses[name] = address;
}

int FakeNames::lookups(std::string const& name)
{
    std::scoped_lock const guard(names().lock);
    return names().lookups[name];
}

} // namespace zelvo::service

/// Takes the place of the C library's, because shared libraries call the program's first.
extern "C" int getaddrinfo(char const* node, char const* service, addrinfo const* hints, addrinfo** result)
{
    static auto* const real = reinterpret_cast<decltype(&::getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    auto const fake = node ? zelvo::service::addressOfName(node) : std::nullopt;
    return real(fake ? fake->c_str() : node, service, hints, result);
}
