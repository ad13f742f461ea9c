#include "ZelvoGateway/base/DataFolder.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/base/PrivateFiles.h"
#include "base/Identifiers.h"
#include "wire/PrivateMark.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace zelvo::service {

namespace {

constexpr char const* lockName = "lock";

/// Others only look whether the folder is locked, which takes microseconds.
bool locks(int file)
{
    constexpr int attempts = 20;
    for (int i = 0; i < attempts; ++i) {
        if (::flock(file, LOCK_EX | LOCK_NB) == 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

[[noreturn]] void fail(std::string const& what, std::filesystem::path const& path, int error)
{
    throw std::runtime_error("cannot " + what + " " + path.string() + ": " +
                             std::generic_category().message(error));
}

void writeAll(int file, std::string const& text, std::filesystem::path const& path)
{
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t const count = ::write(file, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR)
            fail("write", path, errno);
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    if (::fsync(file) != 0)
        fail("write", path, errno);
}

} // namespace

std::optional<std::string> textOfFile(std::filesystem::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream && errno == ENOENT)
        return std::nullopt;
    if (!stream)
        fail("read", path, errno);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void writePrivateFile(std::filesystem::path const& path, std::string const& text)
{
    std::filesystem::path const draft = path.string() + "." + randomHex(6);
    int const number = ::open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (number < 0)
        fail("write", path, errno);
    try {
        OwnedDescriptor const file(number);
        markPrivate(file.get());
        writeAll(file.get(), text, path);
    } catch (...) {
        ::unlink(draft.c_str());
        throw;
    }
    if (::rename(draft.c_str(), path.c_str()) != 0) {
        int const error = errno;
        ::unlink(draft.c_str());
        fail("write", path, error);
    }
}

DataFolder::DataFolder(std::filesystem::path path) : path(std::move(path))
{
    std::error_code error;
    std::filesystem::path const parent =
        std::filesystem::absolute(this->path).lexically_normal().parent_path();
    std::filesystem::create_directories(parent, error);
    if (::mkdir(this->path.c_str(), 0700) != 0 && errno != EEXIST)
        fail("make the folder", this->path, errno);
    if (::chmod(this->path.c_str(), 0700) != 0)
        fail("protect the folder", this->path, errno);
    if (std::filesystem::exists(file(unfinishedRestore)))
        throw std::runtime_error("a backup was not restored to " + this->path.string() +
                                 " completely; empty the folder and restore it again");
    if (!std::filesystem::exists(file(PrivateMark::fileName)))
        write(PrivateMark::fileName, "Agents on this machine may not read or write here.\n");
}

DataFolder::~DataFolder()
{
    if (lockFile >= 0)
        ::close(lockFile);
}

std::optional<std::string> DataFolder::read(std::string const& name) const
{
    return textOfFile(file(name));
}

void DataFolder::write(std::string const& name, std::string const& text) const
{
    writePrivateFile(file(name), text);
}

void DataFolder::remove(std::string const& name) const
{
    std::error_code ignored;
    std::filesystem::remove(file(name), ignored);
}

void DataFolder::lock()
{
    std::filesystem::path const name = file(lockName);
    lockFile = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFile < 0)
        fail("open", name, errno);
    if (!locks(lockFile))
        throw std::runtime_error("another gateway is running on " + path.string());
}

bool DataFolder::isServed(std::filesystem::path const& folder)
{
    int const number = ::open((folder / lockName).c_str(), O_RDONLY | O_CLOEXEC);
    if (number < 0)
        return false;
    OwnedDescriptor const lock(number);
    return ::flock(number, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace zelvo::service
