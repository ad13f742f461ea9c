#include "ZelvoGateway/base/ConfigFile.h"
#include "ZelvoGateway/base/FlagTable.h"

#include <cstdint>
#include <cstdlib>

// A configuration file of the gateway.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo::service;
    ConfigReading const reading = ConfigFile::parse({reinterpret_cast<char const*>(data), size}, "f");
    std::string again;
    for (auto const& [name, values] : reading.values) {
        Flag const* const flag = flagOfSetting(name);
        if (!flag || flag->kind == Flag::Kind::argument || (!flag->repeats && values.size() != 1))
            std::abort();
        for (std::string const& value : values) {
            Flags flags;
            flag->apply(flags, value); // What was accepted can be used.
            again += name + " = " + value + "\n";
        }
    }
    ConfigReading const second = ConfigFile::parse(again, "f");
    if (again.size() <= ConfigFile::maxBytes && (second.values != reading.values || !second.problems.empty()))
        std::abort(); // What we accept, we can write and read again.
    return 0;
}
