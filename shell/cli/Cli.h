#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace loadcal {

/// The loadcal command line: parses the arguments, runs one subcommand and
/// returns the exit status (0 success, 1 usage error, 2 input or output
/// error). Errors are one line on `err` naming the file and the problem.
/// `in` answers the questions a subcommand asks (the drawing's base point).
int RunCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err);

/// The bundled example document (JSON), compiled into the program.
const char* BundledExample();
std::size_t BundledExampleSize();

}  // namespace loadcal
