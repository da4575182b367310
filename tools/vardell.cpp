// vardell: the library's command-line tool.
//   vardell info FILE
//   vardell convert IN OUT [--jpeg] [--quality Q] [--progressive] [--scale NUM/DEN]
//   vardell demo [--out DIR] [--samples DIR]
//   vardell plugins PATTERN
//   vardell apply IN OUT --effect NAME[:ARGS] ... [--mask M]
//   vardell record DOC --effect NAME[:ARGS] ... [--mask M]
//   vardell replay DOC IN OUT
//   vardell paint IN OUT --pen KIND --style MASK --stroke FILE [options]
// Errors print the library's own texts on standard error and give a non-zero exit status.
#include "tools/commands.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

void Usage() {
  std::fputs(
      "usage: vardell info FILE\n"
      "       vardell convert IN OUT [--jpeg] [--quality Q] [--progressive] [--scale NUM/DEN]\n"
      "       vardell demo [--out DIR] [--samples DIR]\n"
      "       vardell plugins PATTERN\n"
      "       vardell apply IN OUT --effect NAME[:ARGS] ... [--mask M]\n"
      "       vardell record DOC --effect NAME[:ARGS] ... [--mask M]\n"
      "       vardell replay DOC IN OUT\n"
      "       vardell paint IN OUT --pen KIND --style MASK --stroke FILE [options]\n",
      stderr);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    Usage();
    return args.empty() ? 2 : 0;
  }
  vardell::tool::InstallTerminalHandlers();
  const std::string command = args[0];
  args.erase(args.begin());
  int status = 2;
  if (command == "info")
    status = vardell::tool::Info(args);
  else if (command == "convert")
    status = vardell::tool::Convert(args);
  else if (command == "demo")
    status = vardell::tool::Demo(args);
  else if (command == "plugins")
    status = vardell::tool::Plugins(args);
  else if (command == "apply")
    status = vardell::tool::Apply(args);
  else if (command == "record")
    status = vardell::tool::Record(args);
  else if (command == "replay")
    status = vardell::tool::Replay(args);
  else if (command == "paint")
    status = vardell::tool::Paint(args);
  if (status == 2) Usage();
  return status;
}
