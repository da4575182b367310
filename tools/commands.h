// The tool's commands. Each answers the process exit status: 0 success, 1 failure reported by
// the library, 2 bad command line.
#pragma once

#include <string>
#include <vector>

namespace vardell::tool {

using Args = std::vector<std::string>;

// Error texts to standard error; progress as a bar on standard error when it is a terminal.
void InstallTerminalHandlers();

int Info(const Args& args);
int Convert(const Args& args);
int Demo(const Args& args);
int Plugins(const Args& args);
int Apply(const Args& args);
int Record(const Args& args);
int Replay(const Args& args);
int Paint(const Args& args);

// Parses "NUM/DEN" with positive integers; false when malformed.
bool ParseScale(const std::string& text, int& num, int& den);

}  // namespace vardell::tool
