#include "desktop/atspi/ScriptedApplication.h"

#include <boost/json/parse.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>

/// Serves the tree in a file until the accessibility bus is gone: scripted_program SCRIPT RECORD
int main(int count, char** arguments)
{
    using namespace zelvo::test;
    if (count != 3)
        return 1;
    std::ifstream file(arguments[1]);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    boost::json::value const script = boost::json::parse(text, {}, {.max_depth = 10'000});
    ScriptedApplication application(scriptedTree(script.at("tree")), scriptedManners(script), arguments[2]);
    std::printf("ready %s\n", application.busName().c_str());
    std::fflush(stdout);
    application.run();
    return 0;
}
