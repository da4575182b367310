// libFuzzer target of plug-in discovery: the input read as a PiPL resource, as a PiMI resource,
// and as a module loaded as data whose every resource is loaded and read through before the
// discovery scan runs over it. Every description the scan keeps must pass the keep rule.
#include "effects/filter_description.h"
#include "effects/filter_list.h"
#include "platform/pe_module.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace {

// Reads every byte of every resource, so the sanitizers see any read outside the module.
BOOL TouchName(HMODULE module, LPCSTR type, LPSTR name, LONG_PTR sum) {
  HRSRC resource = FindResource(module, name, type);
  const auto* bytes = static_cast<const BYTE*>(LockResource(LoadResource(module, resource)));
  if (bytes)
    for (DWORD i = 0, n = SizeofResource(module, resource); i < n; ++i)
      *reinterpret_cast<unsigned*>(sum) += bytes[i];
  return TRUE;
}

BOOL TouchType(HMODULE module, LPSTR type, LONG_PTR sum) {
  const std::string keep = IS_INTRESOURCE(type) ? std::string() : std::string(type);
  EnumResourceNames(module, IS_INTRESOURCE(type) ? type : keep.c_str(), TouchName, sum);
  return TRUE;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const BYTE> bytes(data, size);
  CFilterDescription pipl("fuzz.8bf", 0, 16000, "");
  pipl.ReadPiPL(bytes);
  CFilterDescription pimi("fuzz.8bf", 1, 16000, "");
  if (pimi.ReadPiMI(bytes)) pimi.ReadPiMIName(bytes, vardell::FourCC("8BFM"));

  HMODULE module = vardell::LoadDataModule(bytes, "fuzz");
  if (!module) return 0;
  unsigned sum = 0;
  EnumResourceTypes(module, TouchType, reinterpret_cast<LONG_PTR>(&sum));
  static const char* const kPaths[] = {"fuzz.8bf", "fuzz.8BE", "fuzz.8bp", "fuzz"};
  const char* path = kPaths[size % 4];
  for (const auto& description : vardell::ScanFilterModule(module, path))
    if (!description->IsFilter() || description->GetFile() != path) __builtin_trap();
  FreeLibrary(module);
  volatile unsigned sink = sum;
  (void)sink;
  return 0;
}
