// Sets "count" and "list" to increasing numbers, and prints each number once it is on disk. Never ends.
#include "platform/portable/settings/FileUserDefaults.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>

#include <unistd.h>

#include <cstdint>
#include <string>

namespace {

zelvo::Task<> writeForever(zelvo::FileUserDefaults* defaults, std::int64_t number)
{
    for (;; ++number) {
        defaults->setInteger("count", number);
        // Long enough that a partial write would be visible.
        defaults->setTextArray("list", std::vector<std::string>(2000, std::to_string(number)));
        co_await defaults->written();
        std::string const line = std::to_string(number) + "\n";
        if (::write(1, line.data(), line.size()) < 0)
            co_return;
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    boost::asio::thread_pool pool(2);
    zelvo::FileUserDefaults defaults(pool.get_executor(), argv[1]);
    auto body = writeForever(&defaults, std::stoll(argv[2]));
    boost::asio::co_spawn(pool, std::move(body), boost::asio::use_future).get();
    return 0;
}
