#pragma once

#include <stdexcept>

// Thrown where the program ends the whole process (a refused start, a failed
// report, an unexpected failure during validation). main() catches it and
// returns its exit status, so the end of the process stays testable and
// everything already written is flushed and closed on the way out.
class RunAborted : public std::runtime_error {
public:
    explicit RunAborted(int exitStatus, const char* why = "run aborted")
        : std::runtime_error(why)
        , exitStatus_(exitStatus)
    {
    }
    int exitStatus() const { return exitStatus_; }

private:
    int exitStatus_;
};

// Exit statuses of the process.
namespace ExitStatus {
constexpr int Clean = 0; // finished, no error entry written
constexpr int ErrorsFound = 1; // finished, at least one error entry
constexpr int Refused = 2; // refused or ended by a failure
} // namespace ExitStatus
