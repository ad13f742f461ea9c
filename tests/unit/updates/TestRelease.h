#pragma once

#include <openssl/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A publisher's key pair.
class TestSigner {
public:
    TestSigner();
    ~TestSigner();
    TestSigner(TestSigner const&) = delete;
    TestSigner& operator=(TestSigner const&) = delete;

    std::string publicKey() const;                      ///< base64
    std::string sign(std::string const& content) const; ///< base64

private:
    EVP_PKEY* key;
};

/// One entry of an archive.
struct TestEntry {
    enum class Type { file, folder, link, hardLink, pipe };
    std::string path;
    std::string content = {}; ///< or the target of a link
    Type type = Type::file;
};

enum class TestFilter { xz, gzip, zstd, none };

/// A tar archive with these entries, in this order.
std::string archiveOf(std::vector<TestEntry> const& entries, TestFilter filter = TestFilter::gzip);

/// A version of the program: a script that ends as the real one does without a display.
struct TestVersion {
    std::string version;
    std::string padding = "padding"; ///< distinguishes programs, and makes them long
    int startsWith = 1;              ///< the exit status

    std::string program() const;
    std::string information() const;
    std::vector<TestEntry> entries() const;
    std::string archive() const { return archiveOf(entries()); }
    /// Writes it unpacked.
    void writeTo(std::filesystem::path const& folder) const;
    /// Whether a folder holds exactly this version.
    bool isIn(std::filesystem::path const& folder) const;
};

/// The text of a feed, before it is signed.
struct TestFeed {
    std::string version;
    std::string archive;
    std::string program = "dev.zelvo.agent";
    std::string address = "https://updates.example/zelvo-agent.tar.xz";
    std::string system = "linux";
    std::string architecture = "x86_64";
    std::int64_t format = 1;
    std::optional<std::int64_t> length;
    std::optional<std::string> signature;

    std::string text(TestSigner const& signer) const;
    std::string signedBy(TestSigner const& signer) const;
};

/// {"feed": TEXT, "signature": ...}.
std::string envelope(std::string const& text, std::string const& signature);

} // namespace zelvo
