// Runs commands of the tool inside the benchmark.
#ifndef DCAPKIT_BENCH_TOOL_H
#define DCAPKIT_BENCH_TOOL_H

#include <string>
#include <vector>

/// Runs `dcap ARGUMENTS...` with standard output to a file. Throws std::runtime_error when it
/// fails.
void RunTool(std::vector<std::string> arguments, const std::string& output = "/dev/null");

#endif  // DCAPKIT_BENCH_TOOL_H
