#pragma once

// Runs a program as a child process for black-box tests.

#include <string>
#include <vector>

namespace loadcal::testsupport {

struct ProcessResult {
    int status = -1;  ///< exit status, or -1 when the child did not exit normally
    std::string out;
    std::string err;
};

/// Runs `program` with `args`, feeding `input` to its standard input, in the
/// working directory `cwd` (empty: the current one), with extra environment
/// entries "NAME=value" (a bare "NAME" removes that variable).
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input = {}, const std::string& cwd = {},
                         const std::vector<std::string>& env = {});

}  // namespace loadcal::testsupport
