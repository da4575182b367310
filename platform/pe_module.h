// Loading a module as data: LoadLibraryEx with LOAD_LIBRARY_AS_DATAFILE reads a PE file (32-bit
// PE32 or 64-bit PE32+) into memory and answers a module handle whose resources can be listed,
// found, loaded and locked. Nothing of the module is ever run: other LoadLibraryEx modes fail
// with ERROR_NOT_SUPPORTED.
//
// Contract, as on the platform:
// - Resource types and names are integers (MAKEINTRESOURCE, IS_INTRESOURCE) or strings. A string
//   is converted to upper case (ASCII letters) before it is compared with the names stored in the
//   file, which resource compilers store in upper case: "pipl" finds "PIPL". "#123" means the
//   integer 123.
// - EnumResourceNames calls the procedure once per name, in the file's directory order (string
//   names first, then ascending integers); a string name is a temporary copy in the library's
//   code page, valid only during the call. The procedure returning FALSE stops the enumeration,
//   and EnumResourceNames then answers FALSE. A missing type fails with
//   ERROR_RESOURCE_TYPE_NOT_FOUND.
// - FindResource takes the first language of the name. LoadResource answers a pointer to the
//   resource's bytes, which LockResource hands back; it stays valid until FreeLibrary.
//   SizeofResource answers the stored size. FreeResource does nothing and answers FALSE.
//
// Reading rules for files that do not hold to the format (nothing is read outside the file):
// - The headers and every section's file data must lie inside the file, or the module does not
//   load (ERROR_BAD_EXE_FORMAT). Files above 256 MiB are not loaded (ERROR_FILE_TOO_LARGE).
// - Addresses (RVAs) map through the section table; a section spans max(VirtualSize,
//   SizeOfRawData) bytes and reads as zero beyond its file data (such zero-filled copies take
//   at most 64 MiB a module; beyond that the range is not found). An address in no section, or
//   a range running past its section's end, is not found.
// - The resource tree is read three levels deep (type, name, language). A directory whose
//   entries run past the resource section, a name string outside it, or a subdirectory that is
//   one of its own ancestors is treated as absent.
// - Last errors: ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED (also for a
//   directory), ERROR_BAD_EXE_FORMAT, ERROR_RESOURCE_DATA_NOT_FOUND (no resources),
//   ERROR_RESOURCE_TYPE_NOT_FOUND, ERROR_RESOURCE_NAME_NOT_FOUND, ERROR_INVALID_HANDLE.
#pragma once

#include "platform/export.h"
#include "platform/last_error.h"
#include "platform/win_types.h"

#include <cstdint>
#include <span>
#include <string>

struct HINSTANCE__;  // a module loaded as data
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
struct HRSRC__;
using HRSRC = HRSRC__*;
using HGLOBAL = HANDLE;
using LONG_PTR = std::intptr_t;

inline constexpr DWORD DONT_RESOLVE_DLL_REFERENCES = 0x1;
inline constexpr DWORD LOAD_LIBRARY_AS_DATAFILE = 0x2;
inline constexpr DWORD LOAD_LIBRARY_AS_IMAGE_RESOURCE = 0x20;
inline constexpr DWORD LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE = 0x40;

// An integer resource name or type in a string slot, as on the platform.
inline LPSTR MAKEINTRESOURCE(WORD id) noexcept {
  return reinterpret_cast<LPSTR>(static_cast<UINT_PTR>(id));
}
inline bool IS_INTRESOURCE(LPCSTR p) noexcept { return (reinterpret_cast<UINT_PTR>(p) >> 16) == 0; }
#define RT_RCDATA MAKEINTRESOURCE(10)

using ENUMRESNAMEPROC = BOOL (*)(HMODULE module, LPCSTR type, LPSTR name, LONG_PTR param);
using ENUMRESTYPEPROC = BOOL (*)(HMODULE module, LPSTR type, LONG_PTR param);

// Reads fileName as a data module. hFile must be null; flags must ask for a data file.
VARDELL_API HMODULE LoadLibraryEx(LPCSTR fileName, HANDLE hFile, DWORD flags);
VARDELL_API BOOL FreeLibrary(HMODULE module);

VARDELL_API BOOL EnumResourceTypes(HMODULE module, ENUMRESTYPEPROC proc, LONG_PTR param);
VARDELL_API BOOL EnumResourceNames(HMODULE module, LPCSTR type, ENUMRESNAMEPROC proc,
                                   LONG_PTR param);
VARDELL_API HRSRC FindResource(HMODULE module, LPCSTR name, LPCSTR type);
VARDELL_API HGLOBAL LoadResource(HMODULE module, HRSRC resource);
VARDELL_API DWORD SizeofResource(HMODULE module, HRSRC resource);
inline LPVOID LockResource(HGLOBAL data) noexcept { return data; }
inline BOOL FreeResource(HGLOBAL) noexcept { return FALSE; }

inline HMODULE LoadLibraryExA(LPCSTR fileName, HANDLE hFile, DWORD flags) {
  return LoadLibraryEx(fileName, hFile, flags);
}
inline BOOL EnumResourceNamesA(HMODULE module, LPCSTR type, ENUMRESNAMEPROC proc, LONG_PTR param) {
  return EnumResourceNames(module, type, proc, param);
}
inline HRSRC FindResourceA(HMODULE module, LPCSTR name, LPCSTR type) {
  return FindResource(module, name, type);
}

namespace vardell {

// The same as LoadLibraryEx(path, nullptr, LOAD_LIBRARY_AS_DATAFILE) over bytes already in
// memory (copied); path is only remembered. Used by the fuzz targets.
VARDELL_API HMODULE LoadDataModule(std::span<const std::uint8_t> bytes, const std::string& path);

}  // namespace vardell
