#include <iostream>
#include <string>
#include <vector>

#include "shell/cli/Cli.h"

int main(int argc, char** argv)
{
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> args(argv + 1, argv + argc);
    return loadcal::RunCommandLine(args, std::cin, std::cout, std::cerr);
}
