#include "ZelvoGateway/base/Secrets.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(Secrets, areTheSameOnlyWhole)
{
    std::string const secret = newSecret();

    EXPECT_TRUE(sameSecret(secret, std::string(secret)));
    EXPECT_FALSE(sameSecret(secret, ""));
    EXPECT_FALSE(sameSecret("", secret));
    EXPECT_FALSE(sameSecret(secret, secret.substr(1)));
    EXPECT_FALSE(sameSecret(secret, secret + "0"));
    EXPECT_FALSE(sameSecret(secret, secret + std::string(1, '\0')));
    for (std::size_t at = 0; at < secret.size(); ++at) {
        std::string other = secret;
        other[at] = static_cast<char>(other[at] ^ 1);
        EXPECT_FALSE(sameSecret(secret, other)) << at;
    }
}

TEST(Secrets, areNeverTheSameTwice)
{
    EXPECT_NE(newSecret(), newSecret());
    EXPECT_EQ(newSecret().size(), 64u);
}

} // namespace
} // namespace zelvo::service
