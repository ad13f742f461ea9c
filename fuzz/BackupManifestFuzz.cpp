#include "ZelvoGateway/base/BackupManifest.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

// The manifest of a backup.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo::service;
    try {
        BackupManifest const manifest = BackupManifest::parse({reinterpret_cast<char const*>(data), size});
        for (BackupFile const& file : manifest.files)
            if (file.name.starts_with('/') || file.name.find("..") != std::string::npos)
                std::abort(); // It names no place outside of its folder.
        if (BackupManifest::parse(manifest.text()) != manifest)
            std::abort(); // What we accept, we can write and read again.
    } catch (std::runtime_error const&) {
    }
    return 0;
}
