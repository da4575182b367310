#include "effects/filter_description.h"

#include "platform/span_reader.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace vardell {

int TranslatePiPLModes(DWORD m) noexcept {
  static constexpr struct {
    DWORD bit;
    int flag;
  } kModes[] = {{0x80, 0x001},  {0x40, 0x002}, {0x20, 0x004}, {0x10, 0x008},
                {0x08, 0x010},  {0x04, 0x020}, {0x02, 0x040}, {0x01, 0x080},
                {0x800, 0x100}, {0x400, 0x200}};  // 0x800/0x400, not 0x8000/0x4000: intended
  int flags = 0;
  for (const auto& mode : kModes)
    if (m & mode.bit) flags |= mode.flag;
  return flags;
}

PiMIKind GetPiMIKind(const CString& extension) noexcept {
  static constexpr struct {
    const char* extension;
    PiMIKind kind;
  } kKinds[] = {
      {"    ", {"_ARPI", FourCC("ARPI")}},  // four blanks, never a split extension: kept as is
      {".8BX", {"_8BXM", FourCC("8BXM")}}, {".8BA", {"_8BAM", FourCC("8BAM")}},
      {".8BE", {"_8BEM", FourCC("8BEM")}}, {".8BF", {"_8BFM", FourCC("8BFM")}},
      {".8BI", {"_8BIF", FourCC("8BIM")}}, {".8BY", {"_8BYM", FourCC("8BYM")}},
      {".8BP", {"", FourCC("8BPI")}},
  };
  for (const auto& row : kKinds)
    if (strcasecmp(extension, row.extension) == 0) return row.kind;
  return {"", FourCC("    ")};
}

}  // namespace vardell

namespace {

using vardell::FourCC;

// A zero-terminated text at the start of bytes, searched only within them; false when no zero
// byte lies there.
bool ReadZeroTerminated(std::span<const BYTE> bytes, CString& text) {
  if (bytes.empty()) return false;
  const void* zero = std::memchr(bytes.data(), 0, bytes.size());
  if (!zero) return false;
  text = CString(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<int>(static_cast<const BYTE*>(zero) - bytes.data()));
  return true;
}

}  // namespace

CFilterDescription::CFilterDescription(const CString& file, int oldStyle, int resourceId,
                                       const CString& resourceName)
    : m_strFile(file),
      m_bOldStyle(oldStyle),
      m_nResourceId(resourceId),
      m_strResourceName(resourceName) {}

CFilterDescription::~CFilterDescription() = default;

BOOL CFilterDescription::IsFilter() const noexcept {
  return m_kind == FourCC("8BFM") && !m_strName.IsEmpty() && !m_strEntryPoint.IsEmpty();
}

// The walk tests each property only against the size left after the 10-byte head, never
// against what earlier properties used up: intended. It also stops where fewer than 16 bytes
// remain, so it never leaves the data; a property is read from its data onwards up to the end
// of the resource, as the original reads it, and a value that would need bytes past that end
// is not taken.
void CFilterDescription::ReadPiPL(std::span<const BYTE> data) {
  const vardell::SpanReader reader(data);
  std::uint64_t left = data.size();
  if (left < 30) return;
  left -= 2;  // a reserved word
  DWORD version = 1;
  if (!reader.Read<DWORD>(2, version) || version != 0) return;
  left -= 8;  // version and property count; the count is not used
  std::uint64_t at = 10;
  while (left >= 16 && reader.Has(at, 16)) {
    DWORD vendor = 0, key = 0, length = 0;
    reader.Read<DWORD>(at, vendor);
    reader.Read<DWORD>(at + 4, key);
    reader.Read<DWORD>(at + 12, length);
    // Unsigned, so a length the original would take as negative (and walk backwards) stops.
    if (left < std::uint64_t{length} + 16) return;
    if (vendor == FourCC("8BIM")) ReadProperty(key, length, data.subspan(at + 16));
    at += 16 + std::uint64_t{length};  // not rounded up to a multiple of 4: intended
  }
}

void CFilterDescription::ReadProperty(DWORD key, std::uint64_t length, std::span<const BYTE> rest) {
  const vardell::SpanReader reader(rest);
  DWORD value = 0;
  if (key == FourCC("kind")) {
    reader.Read<DWORD>(0, m_kind);
  } else if (key == FourCC("vers")) {
    if (reader.Read<DWORD>(0, value)) m_nVersion = static_cast<int>(value);
  } else if (key == FourCC("prty")) {
    std::int16_t priority = 0;
    if (reader.Read<std::int16_t>(0, priority)) m_nPriority = priority;
  } else if (key == FourCC("host")) {
    reader.Read<DWORD>(0, m_host);
  } else if (key == FourCC("catg") || key == FourCC("name")) {
    // A Pascal string: a count byte n, then n characters, all inside the property.
    if (length == 0 || rest.empty()) return;
    const std::uint64_t n = rest[0];
    if (n + 1 > length || !reader.Has(1, n)) return;
    CString text(reinterpret_cast<const char*>(rest.data() + 1), static_cast<int>(n));
    (key == FourCC("catg") ? m_strCategory : m_strName) = text;
  } else if (key == FourCC("wx86")) {
    CString entry;
    if (length > 0 &&
        ReadZeroTerminated(rest.first(std::min<std::uint64_t>(length, rest.size())), entry))
      m_strEntryPoint = entry;
  } else if (key == FourCC("mode")) {
    if (length >= 4 && reader.Read<DWORD>(0, value)) m_nModes = vardell::TranslatePiPLModes(value);
  } else if (key == FourCC("fici")) {
    if (length == kFilterCaseInfoSize && reader.Has(0, kFilterCaseInfoSize))
      std::memcpy(m_filterCaseInfo, rest.data(), kFilterCaseInfoSize);
  }
}

BOOL CFilterDescription::ReadPiMI(std::span<const BYTE> data) {
  const vardell::SpanReader reader(data);
  CString category;
  if (data.size() < 2 || !ReadZeroTerminated(data.subspan(2), category)) return FALSE;
  const std::uint64_t block = 2 + static_cast<std::uint64_t>(category.GetLength()) + 1;
  if (!reader.Has(block, 16)) return FALSE;
  std::int16_t version = 0, priority = 0, modes = 0;
  DWORD host = 0;
  reader.Read<std::int16_t>(0, version);
  reader.Read<std::int16_t>(block + 4, priority);
  reader.Read<std::int16_t>(block + 10, modes);
  reader.Read<DWORD>(block + 12, host);
  m_nVersion = version;
  m_strCategory = category;
  m_nPriority = priority;
  m_nModes = modes;  // the stored word, not translated: intended
  m_host = host;
  m_strEntryPoint.Format("ENTRYPOINT%u", static_cast<unsigned>(m_nResourceId));
  return TRUE;
}

BOOL CFilterDescription::ReadPiMIName(std::span<const BYTE> data, DWORD kind) {
  CString name;
  if (data.size() < 2 || !ReadZeroTerminated(data.subspan(2), name)) return FALSE;
  m_strName = name;
  m_kind = kind;
  return TRUE;
}
