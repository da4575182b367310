// vardell plugins PATTERN: scans the plug-in files matching PATTERN (for example
// "plugins/*.8bf"; the wildcards match without regard to case) and prints one line a filter
// found, in list order: category, name, priority, modes (host flags, in hex) and entry point,
// separated by tabs, texts converted to UTF-8. The number of filters goes to standard error.
#include "tools/commands.h"

#include "effects/filter_list.h"
#include "platform/cstring.h"

#include <cstdio>

namespace vardell::tool {

int Plugins(const Args& args) {
  if (args.size() != 1) return 2;
  AddFilters(args[0].c_str());
  const int count = GetFilterCount();
  for (int i = 0; i < count; ++i) {
    const CFilterDescription* d = GetFilterDescription(i);
    std::printf("%s\t%s\t%d\t0x%03X\t%s\n", GbkToUtf8(d->GetCategory().view()).c_str(),
                GbkToUtf8(d->GetName().view()).c_str(), d->GetPriority(),
                static_cast<unsigned>(d->GetModes()), GbkToUtf8(d->GetEntryPoint().view()).c_str());
  }
  std::fprintf(stderr, "%d filter%s\n", count, count == 1 ? "" : "s");
  FreeFilterList();
  return 0;
}

}  // namespace vardell::tool
