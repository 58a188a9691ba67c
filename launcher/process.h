#pragma once
#include <chrono>
#include <string>
#include <vector>

namespace launcher {

/// A program of the instrument that runs as our child.
struct Process {
    std::string name;
    std::string log;   ///< file that takes its standard error, and its standard output when that isn't read
    int pid = -1;
    int handle = -1;   ///< becomes readable when it has ended
    int output = -1;   ///< its standard output when that is read, or -1
    std::string text;  ///< read of the output so far
};

enum class Output { to_log, to_read };

/// Starts a program, with further settings (NAME=VALUE) of its environment. It dies with us, even when we are killed.
/// Throws std::runtime_error with one line.
Process Start(const std::string& program, const std::vector<std::string>& arguments,
              const std::vector<std::string>& environment, const std::string& log, Output output);

/// Reads what has come of the output without waiting; keeps at most its first 4 KiB.
void Read_Output(Process& process);

/// Takes an ended process off the books and returns its status as of waitpid().
int Reap(Process& process);

/// Ends a running process: asks, waits for at most the limit, kills.
void Stop(Process& process, std::chrono::milliseconds limit);

/// "status 3" or "signal 11 (Segmentation fault)".
std::string Describe_Status(int status);

/// The last line of a log that isn't empty.
std::string Last_Line(const std::string& log);

}  // namespace launcher
