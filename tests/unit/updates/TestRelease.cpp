#include "unit/updates/TestRelease.h"

#include "base/Base64.h"
#include "unit/system/TemporaryFolder.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <openssl/evp.h>

#include <archive.h>
#include <archive_entry.h>

#include <span>
#include <stdexcept>

namespace zelvo {

namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

std::string base64Of(std::vector<unsigned char> const& bytes)
{
    return base64::encode(std::span(bytes));
}

void require(bool holds)
{
    if (!holds)
        throw std::runtime_error("the test's release can't be made");
}

unsigned typeOf(TestEntry::Type type)
{
    switch (type) {
    case TestEntry::Type::folder:
        return AE_IFDIR;
    case TestEntry::Type::link:
        return AE_IFLNK;
    case TestEntry::Type::pipe:
        return AE_IFIFO;
    default:
        return AE_IFREG;
    }
}

void addEntry(archive* writer, TestEntry const& one)
{
    std::unique_ptr<archive_entry, decltype(&archive_entry_free)> const entry(archive_entry_new(),
                                                                              archive_entry_free);
    bool const isFile = one.type == TestEntry::Type::file;
    archive_entry_set_pathname(entry.get(), one.path.c_str());
    archive_entry_set_filetype(entry.get(), typeOf(one.type));
    archive_entry_set_perm(entry.get(), 0600);
    archive_entry_set_size(entry.get(), isFile ? static_cast<la_int64_t>(one.content.size()) : 0);
    if (one.type == TestEntry::Type::link)
        archive_entry_set_symlink(entry.get(), one.content.c_str());
    if (one.type == TestEntry::Type::hardLink)
        archive_entry_set_hardlink(entry.get(), one.content.c_str());
    require(archive_write_header(writer, entry.get()) == ARCHIVE_OK);
    if (isFile)
        require(archive_write_data(writer, one.content.data(), one.content.size()) >= 0);
}

} // namespace

TestSigner::TestSigner() : key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"))
{
    require(key != nullptr);
}

TestSigner::~TestSigner()
{
    EVP_PKEY_free(key);
}

std::string TestSigner::publicKey() const
{
    std::vector<unsigned char> bytes(32);
    std::size_t length = bytes.size();
    require(EVP_PKEY_get_raw_public_key(key, bytes.data(), &length) == 1);
    return base64Of(bytes);
}

std::string TestSigner::sign(std::string const& content) const
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::vector<unsigned char> signature(64);
    std::size_t length = signature.size();
    require(EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key) == 1 &&
            EVP_DigestSign(context.get(), signature.data(), &length,
                           reinterpret_cast<unsigned char const*>(content.data()), content.size()) == 1);
    return base64Of(signature);
}

std::string archiveOf(std::vector<TestEntry> const& entries, TestFilter filter)
{
    archive* const writer = archive_write_new();
    std::size_t room = std::size_t{1} << 16;
    for (TestEntry const& one : entries)
        room += one.content.size() + 4096;
    std::string bytes(room, '\0');
    std::size_t used = 0;
    archive_write_set_format_pax_restricted(writer);
    if (filter == TestFilter::xz)
        archive_write_add_filter_xz(writer);
    if (filter == TestFilter::gzip)
        archive_write_add_filter_gzip(writer);
    if (filter == TestFilter::zstd)
        archive_write_add_filter_zstd(writer);
    require(archive_write_open_memory(writer, bytes.data(), bytes.size(), &used) == ARCHIVE_OK);
    for (TestEntry const& one : entries)
        addEntry(writer, one);
    require(archive_write_close(writer) == ARCHIVE_OK);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

std::string TestVersion::program() const
{
    return "#!/bin/sh\nexit " + std::to_string(startsWith) + "\n# " + version + "\n# " + padding + "\n";
}

std::string TestVersion::information() const
{
    return json::serialize(json::object{{"CFBundleShortVersionString", version}});
}

std::vector<TestEntry> TestVersion::entries() const
{
    return {{.path = "zelvo-agent/", .type = TestEntry::Type::folder},
            {.path = "zelvo-agent/Info.json", .content = information()},
            {.path = "zelvo-agent/LICENSE", .content = "licence of " + version},
            {.path = "zelvo-agent/zelvo-agent", .content = program()}};
}

void TestVersion::writeTo(fs::path const& folder) const
{
    fs::create_directories(folder);
    writeFile(folder / "zelvo-agent", program());
    writeFile(folder / "Info.json", information());
    writeFile(folder / "LICENSE", "licence of " + version);
    fs::permissions(folder / "zelvo-agent", fs::perms::owner_all);
}

bool TestVersion::isIn(fs::path const& folder) const
{
    return contentOf(folder / "zelvo-agent") == program() &&
           contentOf(folder / "Info.json") == information() &&
           contentOf(folder / "LICENSE") == "licence of " + version;
}

std::string TestFeed::text(TestSigner const& signer) const
{
    json::object const entry{{"system", system},
                             {"architecture", architecture},
                             {"address", address},
                             {"length", length.value_or(static_cast<std::int64_t>(archive.size()))},
                             {"signature", signature.value_or(signer.sign(archive))}};
    return json::serialize(
        json::object{{"format", format},
                     {"program", program},
                     {"version", version},
                     {"notes", {{"en", "New in " + version}, {"ru", "Новое в " + version}}},
                     {"archives", json::array{entry}}});
}

std::string TestFeed::signedBy(TestSigner const& signer) const
{
    std::string const content = text(signer);
    return envelope(content, signer.sign(content));
}

std::string envelope(std::string const& text, std::string const& signature)
{
    return json::serialize(json::object{{"feed", text}, {"signature", signature}});
}

} // namespace zelvo
