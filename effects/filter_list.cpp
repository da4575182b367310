#include "effects/filter_list.h"

#include "platform/debug_log.h"
#include "platform/exception.h"
#include "platform/find_file.h"
#include "platform/lstrcmp.h"

#include <exception>
#include <utility>

namespace {

// The global filter list: pointers to descriptions it owns, sorted (see InsertFilter). Whatever
// is left at process exit is destroyed then.
struct FilterListHolder {
  CPtrArray list;
  ~FilterListHolder() {
    for (int i = 0; i < list.GetSize(); ++i) delete static_cast<CFilterDescription*>(list[i]);
  }
};

CPtrArray& FilterList() {
  static FilterListHolder holder;
  return holder.list;
}

const CFilterDescription* At(int index) {
  return static_cast<const CFilterDescription*>(FilterList().GetAt(index));
}

// The folder part of a pattern, up to and including its last separator; empty when it has none.
CString FolderPart(const CString& pattern) {
  const std::size_t slash = pattern.str().find_last_of("\\/");
  return slash == std::string::npos ? CString() : pattern.Left(static_cast<int>(slash) + 1);
}

// The extension as split from a path: from the last '.' of the file name to the end.
CString Extension(const CString& path) {
  const std::string& s = path.str();
  const std::size_t slash = s.find_last_of("\\/");
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  const std::size_t dot = s.rfind('.');
  return dot == std::string::npos || dot < start ? CString() : path.Mid(static_cast<int>(dot));
}

struct Scan {
  CString path;
  std::vector<std::unique_ptr<CFilterDescription>> found;
};

// The bytes of a found resource, or an empty span when it cannot be loaded.
bool LoadBytes(HMODULE module, LPCSTR name, LPCSTR type, std::span<const BYTE>& bytes) {
  HRSRC resource = FindResource(module, name, type);
  if (!resource) return false;
  HGLOBAL handle = LoadResource(module, resource);
  const auto* data = static_cast<const BYTE*>(LockResource(handle));
  if (!data) return false;
  bytes = std::span<const BYTE>(data, SizeofResource(module, resource));
  return true;
}

BOOL ReadPiPLResource(HMODULE module, LPCSTR, LPSTR name, LONG_PTR param) {
  auto* scan = reinterpret_cast<Scan*>(param);
  std::span<const BYTE> bytes;
  if (!LoadBytes(module, name, "PIPL", bytes)) return TRUE;
  const bool byNumber = IS_INTRESOURCE(name);
  auto description = std::make_unique<CFilterDescription>(
      scan->path, 0, byNumber ? LOWORD(reinterpret_cast<UINT_PTR>(name)) : 0,
      byNumber ? CString() : CString(name));
  description->ReadPiPL(bytes);
  if (description->IsFilter()) scan->found.push_back(std::move(description));
  return TRUE;
}

BOOL ReadPiMIResource(HMODULE module, LPCSTR, LPSTR name, LONG_PTR param) {
  if (!IS_INTRESOURCE(name)) return TRUE;  // old plug-ins name their resources by number only
  auto* scan = reinterpret_cast<Scan*>(param);
  const WORD id = LOWORD(reinterpret_cast<UINT_PTR>(name));
  std::span<const BYTE> bytes;
  if (!LoadBytes(module, name, "PIMI", bytes)) return TRUE;
  auto description = std::make_unique<CFilterDescription>(scan->path, 1, id, CString());
  if (!description->ReadPiMI(bytes)) return TRUE;
  const vardell::PiMIKind kind = vardell::GetPiMIKind(Extension(scan->path));
  if (!LoadBytes(module, MAKEINTRESOURCE(id), kind.type, bytes) ||
      !description->ReadPiMIName(bytes, kind.kind))
    return TRUE;
  if (description->IsFilter()) scan->found.push_back(std::move(description));
  return TRUE;
}

void ScanFile(const CString& path) {
  HMODULE module = LoadLibraryEx(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
  if (!module) {
    vardell::DebugLog("AddFilters: %s does not load (error %u)", static_cast<LPCTSTR>(path),
                      static_cast<unsigned>(GetLastError()));
    return;
  }
  struct Release {
    HMODULE module;
    ~Release() { FreeLibrary(module); }
  } release{module};
  std::vector<std::unique_ptr<CFilterDescription>> found = vardell::ScanFilterModule(module, path);
  vardell::DebugLog("AddFilters: %s gives %zu filter(s)", static_cast<LPCTSTR>(path), found.size());
  for (auto& description : found) vardell::InsertFilter(std::move(description));
}

}  // namespace

namespace vardell {

std::vector<std::unique_ptr<CFilterDescription>> ScanFilterModule(HMODULE module,
                                                                  const CString& path) {
  Scan scan{path, {}};
  EnumResourceNames(module, "PIPL", ReadPiPLResource, reinterpret_cast<LONG_PTR>(&scan));
  if (scan.found.empty())
    EnumResourceNames(module, "PIMI", ReadPiMIResource, reinterpret_cast<LONG_PTR>(&scan));
  return std::move(scan.found);
}

void InsertFilter(std::unique_ptr<CFilterDescription> description) {
  CPtrArray& list = FilterList();
  const CFilterDescription& d = *description;
  int i = 0;
  for (; i < list.GetSize(); ++i) {
    const CFilterDescription& e = *At(i);
    const int category = lstrcmp(e.GetCategory(), d.GetCategory());
    if (category > 0) break;
    if (category < 0) continue;
    const int name = lstrcmp(e.GetName(), d.GetName());
    if (name > 0 || (name == 0 && e.GetPriority() > d.GetPriority())) break;
  }
  list.InsertAt(i, description.get());
  description.release();
}

}  // namespace vardell

int AddFilters(CString pattern) {
  try {
    const CString folder = FolderPart(pattern);
    WIN32_FIND_DATA data;
    HANDLE find = FindFirstFile(pattern, &data);
    if (find == INVALID_HANDLE_VALUE) return 0;
    struct Close {
      HANDLE find;
      ~Close() { FindClose(find); }
    } close{find};
    do {
      if (data.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY)) continue;
      ScanFile(folder + data.cFileName);
    } while (FindNextFile(find, &data));
  } catch (CException* e) {
    e->Delete();
  } catch (const std::exception& e) {
    vardell::DebugLog("AddFilters: %s", e.what());
  }
  return 0;  // the scan's own result, whatever was found: intended
}

int GetFilterList(CStringArray& categories, CStringArray& names) {
  try {
    categories.RemoveAll();
    names.RemoveAll();
    for (int i = 0; i < FilterList().GetSize(); ++i) {
      categories.Add(At(i)->GetCategory());
      names.Add(At(i)->GetName());
    }
    return FilterList().GetSize();
  } catch (CException* e) {
    e->Delete();
  } catch (const std::exception&) {
  }
  categories.RemoveAll();
  names.RemoveAll();
  return 0;
}

int GetFilterCount() { return FilterList().GetSize(); }

const CFilterDescription* GetFilterDescription(int index) {
  return index >= 0 && index < FilterList().GetSize() ? At(index) : nullptr;
}

void FreeFilterList() {
  CPtrArray& list = FilterList();
  for (int i = 0; i < list.GetSize(); ++i) delete At(i);
  list.RemoveAll();
}
