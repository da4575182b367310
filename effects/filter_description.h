// CFilterDescription: what plug-in discovery knows of one filter, read from a PiPL resource or,
// for old plug-ins, from a PiMI resource and its name resource. Filter invocation reads it
// through the accessors.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/win_types.h"

#include <cstdint>
#include <span>

namespace vardell {

// A four-character code as a 32-bit value: FourCC("8BFM") == '8BFM'.
constexpr DWORD FourCC(const char (&code)[5]) noexcept {
  return (static_cast<DWORD>(static_cast<unsigned char>(code[0])) << 24) |
         (static_cast<DWORD>(static_cast<unsigned char>(code[1])) << 16) |
         (static_cast<DWORD>(static_cast<unsigned char>(code[2])) << 8) |
         static_cast<DWORD>(static_cast<unsigned char>(code[3]));
}

// Host mode flags from a PiPL 'mode' value. The first byte's bits are reversed into flags
// 0x001..0x080; flags 0x100 and 0x200 come from bits 0x800 and 0x400, not from the top bits of
// the second byte: intended.
int TranslatePiPLModes(DWORD m) noexcept;

// Name resource type and kind that an old plug-in's file extension selects (compared without
// regard to case): ".8BF" gives "_8BFM" and '8BFM'. The type is empty for ".8BP" and for
// extensions not in the table.
struct PiMIKind {
  const char* type;
  DWORD kind;
};
PiMIKind GetPiMIKind(const CString& extension) noexcept;

}  // namespace vardell

class VARDELL_API CFilterDescription {
 public:
  static constexpr int kFilterCaseInfoSize = 28;

  // A description of the resource of file named by number (resourceName empty) or by text.
  CFilterDescription(const CString& file, int oldStyle, int resourceId,
                     const CString& resourceName);
  virtual ~CFilterDescription();
  CFilterDescription(const CFilterDescription&) = default;
  CFilterDescription& operator=(const CFilterDescription&) = default;

  const CString& GetFile() const noexcept { return m_strFile; }
  // 0 for a PiPL description, 1 for a PiMI one.
  int IsOldStyle() const noexcept { return m_bOldStyle; }
  int GetResourceId() const noexcept { return m_nResourceId; }
  const CString& GetResourceName() const noexcept { return m_strResourceName; }
  DWORD GetKind() const noexcept { return m_kind; }
  int GetVersion() const noexcept { return m_nVersion; }
  int GetPriority() const noexcept { return m_nPriority; }
  // Host mode flags (TranslatePiPLModes); for a PiMI description the stored word as it is.
  int GetModes() const noexcept { return m_nModes; }
  DWORD GetHost() const noexcept { return m_host; }
  const CString& GetCategory() const noexcept { return m_strCategory; }
  const CString& GetName() const noexcept { return m_strName; }
  // The PiPL 'fici' property, 28 bytes, all zero when absent.
  const BYTE* GetFilterCaseInfo() const noexcept { return m_filterCaseInfo; }
  const CString& GetEntryPoint() const noexcept { return m_strEntryPoint; }

  // Reads the properties of a PiPL resource's bytes into this description. Whatever the bytes,
  // nothing outside them is read; what cannot be read is left as it was.
  void ReadPiPL(std::span<const BYTE> data);
  // Reads a PiMI resource's bytes: version, category, priority, modes and host, and the entry
  // point "ENTRYPOINT<resource id>". FALSE (description unchanged) when the bytes are too short.
  BOOL ReadPiMI(std::span<const BYTE> data);
  // Reads the name resource that goes with a PiMI resource and sets the kind. FALSE (description
  // unchanged) when the bytes hold no name.
  BOOL ReadPiMIName(std::span<const BYTE> data, DWORD kind);
  // A filter is kept when it is of kind '8BFM' and has a name and an entry point.
  BOOL IsFilter() const noexcept;

 private:
  void ReadProperty(DWORD key, std::uint64_t length, std::span<const BYTE> rest);

  CString m_strFile;
  int m_bOldStyle;
  int m_nResourceId;
  CString m_strResourceName;
  DWORD m_kind = 0;
  int m_nVersion = 0;
  int m_nPriority = 0;
  int m_nModes = 0;
  DWORD m_host = 0;
  CString m_strCategory;
  CString m_strName;
  BYTE m_filterCaseInfo[kFilterCaseInfoSize] = {};
  CString m_strEntryPoint;
};
