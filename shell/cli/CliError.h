#pragma once

#include <stdexcept>
#include <string>

namespace loadcal {

/// The command line's one exception: a usage error the user can fix by
/// changing the arguments (exit status 1). Input and output errors of the
/// lower layers keep their own types and end with status 2.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& message) : std::runtime_error(message) {}
};

/// Exit statuses of the loadcal command line.
enum ExitStatus : int { kExitOk = 0, kExitUsage = 1, kExitIo = 2 };

}  // namespace loadcal
