#include "ZelvoGateway/base/ConfigFile.h"

#include "ZelvoGateway/base/FlagTable.h"
#include "gateway/support/Gateway.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::string> problemsOf(std::string const& text)
{
    return ConfigFile::parse(text, "f").problems;
}

class ConfigFileTest : public testing::Test {
protected:
    std::string written(std::string const& text)
    {
        std::ofstream(path) << text;
        ::chmod(path.c_str(), 0644);
        return path;
    }
    FlagsReading read(std::vector<std::string> const& arguments)
    {
        std::vector<char const*> all;
        for (std::string const& each : arguments)
            all.push_back(each.c_str());
        return tryFlags(all);
    }

    TemporaryFolder folder;
    std::string const path = folder.path / "zelvo-gateway.conf";
};

TEST_F(ConfigFileTest, saysWhatFlagsSay)
{
    written("# The gateway of Acme.\n\n  data = /d  \r\nport=0\nplatform-name = A = B # c\n"
            "personal = yes\nno-recordings = no\npublic-url = https://x.example/");

    FlagsReading const reading = read({"serve", "--config", path});

    EXPECT_THAT(reading.problems, IsEmpty());
    Settings const& settings = reading.flags.settings;
    EXPECT_EQ(settings.dataFolder, "/d");
    EXPECT_EQ(settings.port, 0);
    EXPECT_EQ(settings.platformName, "A = B # c");
    EXPECT_TRUE(settings.personal);
    EXPECT_TRUE(settings.recordings.taken);
    EXPECT_EQ(settings.publicUrl, "https://x.example");
}

TEST_F(ConfigFileTest, isBeatenByFlags)
{
    written("port = 1\nplatform-name = File\npersonal = no\n");

    Flags const flags = read({"--port=2", "--config", path, "--personal"}).flags;

    EXPECT_EQ(flags.settings.port, 2);
    EXPECT_EQ(flags.settings.platformName, "File");
    EXPECT_TRUE(flags.settings.personal);
    EXPECT_EQ(flags.given.at("port"), std::vector<std::string>{"2"});
    EXPECT_FALSE(flags.commandLine.contains("platform-name"));
}

TEST_F(ConfigFileTest, mayRepeatWhatMayHaveSeveralValues)
{
    written("trusted-proxy = 10.0.0.7\ntrusted-proxy = fd00::/8\n");

    EXPECT_EQ(read({"--config", path}).flags.settings.trustedProxies.size(), 2u);
    EXPECT_EQ(read({"--config", path, "--trusted-proxy", "127.0.0.1"}).flags.given.at("trusted-proxy"),
              std::vector<std::string>{"127.0.0.1"}); // Instead of those of the file.
}

TEST_F(ConfigFileTest, isReadByEveryCommand)
{
    written("data = /d\n");

    for (std::string const command : {"provision", "console-link", "mcp", "serve"})
        EXPECT_EQ(read({command, "--config", path}).flags.settings.dataFolder, "/d") << command;
}

TEST_F(ConfigFileTest, reportsEveryProblemWithItsLine)
{
    EXPECT_THAT(
        problemsOf("prot = 1\nport = 70000\n\n# port = x\nport\ntoken-file = /t\nhelp = yes\n"
                   "personal = true\n--port = 1\nport =\nlisten = 127.0.0.1\nlisten = ::1\n"
                   "data = d\nplatform-name = \"A\"\nplatform-name = a\tb"),
        ElementsAre("f:1: there is no setting \"prot\"", "f:2: port: a number from 0 to 65535 is needed",
                    "f:5: a line like \"port = 8737\" is needed",
                    "f:6: token-file: this belongs on the command line",
                    "f:7: help: this belongs on the command line", "f:8: personal: yes or no is needed",
                    "f:9: --port: names are written without \"--\" here",
                    "f:10: port: it has a value already, in line 2",
                    "f:12: listen: it has a value already, in line 11",
                    "f:13: data: a path that begins with / is needed",
                    "f:14: platform-name: the value must be written without quotes",
                    "f:15: platform-name: it has a value already, in line 14"));
    EXPECT_THAT(problemsOf("port ="), ElementsAre("f:1: port: a value that is not empty is needed: N"));
    EXPECT_THAT(problemsOf("platform-name = a\tb"),
                ElementsAre("f:1: platform-name: the value contains control characters"));
}

TEST_F(ConfigFileTest, reportsProblemsOfTheCommandLineToo)
{
    written("port = x\n");

    EXPECT_EQ(read({"--config", path, "--listen", "nowhere"}).problems.size(), 2u);
    EXPECT_THAT(read({"--config", "/nowhere"}).problems, ElementsAre("/nowhere: No such file or directory"));
}

TEST_F(ConfigFileTest, keepsSecretsOutOfProblems)
{
    for (std::string const text :
         {"secret\n", "tls-key-text = secret\n", "public-url = https://a:secret@b\n", "secret1=\n",
          "zk_secret = 1\n", "-----BEGIN secret== =\n", "Secret secret = x\n", "port = secret\n",
          "listen = secret\n", "trusted-proxy = secret\n", "public-url = secret\n", "install-url = secret\n",
          "recording-days = secret\n", "personal = secret\n", "data = secret\n"}) {
        EXPECT_FALSE(problemsOf(text).empty()) << text;
        for (std::string const& problem : problemsOf(text))
            EXPECT_EQ(problem.find("ecret"), std::string::npos) << problem;
    }
    EXPECT_THAT(problemsOf(std::string(41, 'a') + " = 1"),
                ElementsAre("f:1: what is left of \"=\" is no setting"));
    EXPECT_THAT(problemsOf("= 1"), ElementsAre("f:1: what is left of \"=\" is no setting"));
}

TEST_F(ConfigFileTest, listsOnlyTheFirstOfManyProblems)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "x\n";

    auto const problems = problemsOf(text);

    ASSERT_EQ(problems.size(), ConfigFile::maxProblems + 1);
    EXPECT_EQ(problems.back(), "f: 980 more problems");
}

TEST_F(ConfigFileTest, mustBeText)
{
    EXPECT_THAT(problemsOf(std::string("port = 1\0", 9)), ElementsAre("f: it contains zero bytes"));
    EXPECT_THAT(problemsOf("port = \xff"), ElementsAre("f: it is not UTF-8"));
    EXPECT_THAT(problemsOf(std::string(ConfigFile::maxBytes + 1, '\n')),
                ElementsAre("f: it is larger than 256 KiB"));
    EXPECT_THAT(problemsOf("\xef\xbb\xbfport = 1"), IsEmpty());
    EXPECT_THAT(ConfigFile::parse("", "f").values, IsEmpty());
}

TEST_F(ConfigFileTest, mustBeOutOfOthersReach)
{
    written("port = 1\n");
    for (mode_t const mode : {0666, 0664, 0646}) {
        ::chmod(path.c_str(), mode);
        EXPECT_THAT(ConfigFile::read(path).problems,
                    ElementsAre(path + ": others may write it; chmod go-w takes that away"));
    }
    ::chmod(path.c_str(), 0640);
    EXPECT_THAT(ConfigFile::read(path).values, ElementsAre(Pair("port", ElementsAre("1"))));
    if (::geteuid() != 0)
        return;
    ASSERT_EQ(::chown(path.c_str(), 12345, 0), 0);
    EXPECT_THAT(ConfigFile::read(path).problems,
                ElementsAre(path + ": it belongs to another user, who could change it"));
}

TEST_F(ConfigFileTest, mustBeAFile)
{
    std::string const pipe = folder.path / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

    EXPECT_THAT(ConfigFile::read(pipe).problems, ElementsAre(pipe + ": this is no file"));
    EXPECT_THAT(ConfigFile::read(folder.path).problems,
                ElementsAre(folder.path.string() + ": this is no file"));
}

TEST_F(ConfigFileTest, takesNoArgumentsOfOneCall)
{
    for (Flag const& flag : allFlags()) {
        std::string const line = std::string(flag.settingName()) + " = " + (flag.isSwitch() ? "no" : "1");
        bool const isRefused =
            testing::Matches(testing::Contains(testing::HasSubstr("command line")))(problemsOf(line));
        EXPECT_EQ(isRefused, flag.kind == Flag::Kind::argument) << flag.name;
    }
}

} // namespace
} // namespace zelvo::service
