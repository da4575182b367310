// Plug-in discovery: the global list of filters found in plug-in files, sorted for menus.
//
// AddFilters(pattern) looks at every file matching a path pattern ("plugins/*.8BF"; the
// wildcards match without regard to case, see platform/find_file.h), skips directories and
// temporary files, opens each file as a data module (no plug-in code runs), and reads its PiPL
// resources, or its PiMI resources when no PiPL resource gave a filter. Each filter found goes
// into the list, sorted by category, then name (the platform's lstrcmp), then priority, lower
// first; equal entries keep their order of discovery and nothing is removed, so scanning the
// same folder twice lists every filter twice. Every problem skips the file or the resource
// silently; AddFilters answers 0 whatever it found.
//
// The list lives until FreeFilterList, which the library's shut-down calls. It is not guarded
// by a lock: scan and read it from one thread, as the host's user-interface thread does.
#pragma once

#include "effects/filter_description.h"
#include "platform/collections.h"
#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/pe_module.h"

#include <memory>
#include <vector>

VARDELL_API int AddFilters(CString pattern);
// Empties both arrays, then appends the category and the name of every filter in list order;
// answers the number of filters. On a failed allocation both arrays are left empty and 0 is
// answered.
VARDELL_API int GetFilterList(CStringArray& categories, CStringArray& names);

// The filters in list order, for filter invocation and tools: index 0..GetFilterCount()-1, or
// null outside that range. The list keeps ownership.
VARDELL_API int GetFilterCount();
VARDELL_API const CFilterDescription* GetFilterDescription(int index);

// Destroys every description and empties the list. Library shut-down (ExitQuintara) calls it;
// AddFilters may be called again afterwards.
VARDELL_API void FreeFilterList();

namespace vardell {

// The filters of one module loaded as data from path, in order of discovery: those of its PiPL
// resources, or when none of those is a filter, those of its PiMI resources. Only descriptions
// that pass the keep rule are returned.
std::vector<std::unique_ptr<CFilterDescription>> ScanFilterModule(HMODULE module,
                                                                  const CString& path);

// Inserts a description at its sorted place in the global list, which takes ownership.
void InsertFilter(std::unique_ptr<CFilterDescription> description);

}  // namespace vardell
