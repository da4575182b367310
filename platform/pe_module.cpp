#include "platform/pe_module.h"

#include "platform/span_reader.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <iconv.h>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <vector>

namespace {

constexpr std::uint64_t kMaxFileSize = std::uint64_t{256} << 20;
// A section whose bytes lie partly beyond its file data is copied with zeros after them; such
// copies of one module never take more than this (larger sizes only come from damaged headers).
constexpr std::uint64_t kMaxImageBytes = std::uint64_t{64} << 20;
constexpr DWORD kHighBit = 0x80000000u;

struct Section {
  std::uint32_t virtualAddress;
  std::uint32_t virtualSize;
  std::uint32_t rawSize;
  std::uint32_t rawPointer;
  std::uint64_t Extent() const { return std::max(virtualSize, rawSize); }
};

// A resource type or name as the caller asked for it.
struct Query {
  bool valid = true;
  bool isId = false;
  WORD id = 0;
  std::u16string name;  // upper-cased
};

std::string Iconv(const char* to, const char* from, std::string_view in, std::size_t unit) {
  std::string out;
  iconv_t cd = ::iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return out;
  std::string buffer(in.size() * 2 + 16, '\0');
  char* src = const_cast<char*>(in.data());
  std::size_t srcLeft = in.size();
  while (srcLeft > 0) {
    char* dst = buffer.data();
    std::size_t dstLeft = buffer.size();
    std::size_t r = ::iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    out.append(buffer.data(), buffer.size() - dstLeft);
    if (r == static_cast<std::size_t>(-1) && errno != E2BIG) {
      out += '?';  // a character the other side cannot hold
      std::size_t skip = std::min(unit, srcLeft);
      src += skip;
      srcLeft -= skip;
    }
  }
  ::iconv_close(cd);
  return out;
}

// A stored name (UTF-16) in the library's code page (GBK).
std::string ToAnsi(const std::u16string& name) {
  if (std::all_of(name.begin(), name.end(), [](char16_t c) { return c < 0x80; }))
    return std::string(name.begin(), name.end());
  std::string bytes;
  for (char16_t c : name) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  return Iconv("GBK", "UTF-16LE", bytes, 2);
}

std::u16string ToUtf16(std::string_view ansi) {
  std::u16string out;
  if (std::all_of(ansi.begin(), ansi.end(), [](char c) { return (c & 0x80) == 0; })) {
    out.assign(ansi.begin(), ansi.end());
    return out;
  }
  std::string bytes = Iconv("UTF-16LE", "GBK", ansi, 1);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    out += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                 (static_cast<unsigned char>(bytes[i + 1]) << 8));
  return out;
}

Query MakeQuery(LPCSTR p) {
  Query q;
  if (IS_INTRESOURCE(p)) {
    q.isId = true;
    q.id = static_cast<WORD>(reinterpret_cast<UINT_PTR>(p));
    return q;
  }
  std::string_view s(p);
  if (!s.empty() && s[0] == '#') {
    // "#123" names the integer 123.
    std::uint32_t value = 0;
    q.isId = true;
    q.valid = s.size() > 1;
    for (char c : s.substr(1)) {
      if (c < '0' || c > '9' || value > 0xFFFF) {
        q.valid = false;
        break;
      }
      value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    q.valid = q.valid && value <= 0xFFFF;
    q.id = static_cast<WORD>(value);
    return q;
  }
  q.name = ToUtf16(s);
  for (char16_t& c : q.name)
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - u'a' + u'A');
  return q;
}

}  // namespace

struct HINSTANCE__ {
  std::string path;
  std::vector<std::uint8_t> file;
  std::vector<Section> sections;
  std::uint32_t resourceRva = 0;
  bool hasResources = false;
  // The resource tree: from the resource directory to the end of its section's file data.
  vardell::SpanReader tree;

  std::mutex imagesMutex;
  std::map<std::size_t, std::vector<std::uint8_t>> images;
  std::uint64_t imageBytes = 0;

  bool ParseHeaders();
  // The bytes of [rva, rva + count) of the loaded image, or false.
  bool Map(std::uint64_t rva, std::uint64_t count, std::span<const std::uint8_t>& out);
};

namespace {

std::mutex& ModulesMutex() {
  static std::mutex m;
  return m;
}
std::unordered_set<HINSTANCE__*>& Modules() {
  static std::unordered_set<HINSTANCE__*> modules;
  return modules;
}

HINSTANCE__* Lookup(HMODULE module) {
  if (!module) return nullptr;
  std::lock_guard<std::mutex> lock(ModulesMutex());
  return Modules().count(module) ? module : nullptr;
}

}  // namespace

bool HINSTANCE__::ParseHeaders() {
  vardell::SpanReader r(file);
  WORD mz = 0;
  std::int32_t peOffset = 0;
  if (!r.Read<WORD>(0, mz) || mz != 0x5A4D || !r.Read<std::int32_t>(0x3C, peOffset) || peOffset < 0)
    return false;
  const std::uint64_t pe = static_cast<std::uint32_t>(peOffset);
  DWORD signature = 0;
  WORD sectionCount = 0, optionalSize = 0, magic = 0;
  if (!r.Read<DWORD>(pe, signature) || signature != 0x00004550 ||
      !r.Read<WORD>(pe + 6, sectionCount) || !r.Read<WORD>(pe + 20, optionalSize))
    return false;
  const std::uint64_t optional = pe + 24;
  if (!r.Has(optional, optionalSize) || optionalSize < 2 || !r.Read<WORD>(optional, magic))
    return false;
  std::uint64_t countAt = 0, directoryAt = 0;
  if (magic == 0x10B) {
    countAt = 92;
    directoryAt = 112;
  } else if (magic == 0x20B) {
    countAt = 108;
    directoryAt = 128;
  } else {
    return false;
  }
  DWORD directoryCount = 0, resourceSize = 0;
  if (optionalSize >= directoryAt + 8 && r.Read<DWORD>(optional + countAt, directoryCount) &&
      directoryCount > 2 && r.Read<DWORD>(optional + directoryAt, resourceRva) &&
      r.Read<DWORD>(optional + directoryAt + 4, resourceSize))
    hasResources = resourceRva != 0;

  const std::uint64_t table = optional + optionalSize;
  if (!r.Has(table, std::uint64_t{sectionCount} * 40)) return false;
  sections.reserve(sectionCount);
  for (std::uint64_t i = 0; i < sectionCount; ++i) {
    const std::uint64_t at = table + i * 40;
    Section s{};
    r.Read<std::uint32_t>(at + 8, s.virtualSize);
    r.Read<std::uint32_t>(at + 12, s.virtualAddress);
    r.Read<std::uint32_t>(at + 16, s.rawSize);
    r.Read<std::uint32_t>(at + 20, s.rawPointer);
    if (s.rawSize > 0 && !r.Has(s.rawPointer, s.rawSize)) return false;  // truncated file
    sections.push_back(s);
  }

  if (hasResources) {
    hasResources = false;
    for (const Section& s : sections) {
      const std::uint64_t va = s.virtualAddress;
      if (resourceRva < va || resourceRva - va >= s.Extent()) continue;
      const std::uint64_t offset = resourceRva - va;
      std::span<const std::uint8_t> bytes;
      if (offset < s.rawSize && r.Sub(s.rawPointer + offset, s.rawSize - offset, bytes)) {
        tree = vardell::SpanReader(bytes);
        hasResources = true;
      }
      break;
    }
  }
  return true;
}

bool HINSTANCE__::Map(std::uint64_t rva, std::uint64_t count, std::span<const std::uint8_t>& out) {
  static const std::uint8_t kEmpty = 0;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    const Section& s = sections[i];
    const std::uint64_t va = s.virtualAddress;
    if (rva < va || rva - va >= s.Extent()) continue;
    const std::uint64_t offset = rva - va;
    if (count > s.Extent() - offset) return false;
    if (count == 0) {
      out = std::span<const std::uint8_t>(&kEmpty, 0);
      return true;
    }
    if (count <= s.rawSize && offset <= s.rawSize - count) {
      out = std::span<const std::uint8_t>(file).subspan(s.rawPointer + offset, count);
      return true;
    }
    std::lock_guard<std::mutex> lock(imagesMutex);
    auto it = images.find(i);
    if (it == images.end()) {
      if (s.Extent() > kMaxImageBytes - imageBytes) return false;
      imageBytes += s.Extent();
      std::vector<std::uint8_t> image(s.Extent(), 0);
      const std::size_t raw = std::min<std::uint64_t>(s.rawSize, s.Extent());
      std::copy_n(file.begin() + s.rawPointer, raw, image.begin());
      it = images.emplace(i, std::move(image)).first;
    }
    out = std::span<const std::uint8_t>(it->second).subspan(offset, count);
    return true;
  }
  return false;
}

namespace {

// A resource directory of the tree: its entries lie at offset + 16, eight bytes each.
struct Directory {
  std::uint64_t offset = 0;
  std::uint32_t count = 0;
};

bool ReadDirectory(const vardell::SpanReader& tree, std::uint64_t offset, Directory& dir) {
  WORD named = 0, ids = 0;
  if (!tree.Read<WORD>(offset + 12, named) || !tree.Read<WORD>(offset + 14, ids)) return false;
  dir.offset = offset;
  dir.count = std::uint32_t{named} + ids;
  return tree.Has(offset + 16, std::uint64_t{dir.count} * 8);
}

void ReadEntry(const vardell::SpanReader& tree, const Directory& dir, std::uint32_t i, DWORD& name,
               DWORD& data) {
  tree.Read<DWORD>(dir.offset + 16 + std::uint64_t{i} * 8, name);
  tree.Read<DWORD>(dir.offset + 20 + std::uint64_t{i} * 8, data);
}

bool ReadName(const vardell::SpanReader& tree, DWORD name, std::u16string& out) {
  const std::uint64_t offset = name & ~kHighBit;
  WORD length = 0;
  if (!tree.Read<WORD>(offset, length) || !tree.Has(offset + 2, std::uint64_t{length} * 2))
    return false;
  out.resize(length);
  for (WORD i = 0; i < length; ++i) {
    WORD unit = 0;
    tree.Read<WORD>(offset + 2 + std::uint64_t{i} * 2, unit);
    out[i] = static_cast<char16_t>(unit);
  }
  return true;
}

bool Matches(const vardell::SpanReader& tree, DWORD name, const Query& q) {
  if (q.isId) return (name & kHighBit) == 0 && (name & 0xFFFF) == q.id;
  std::u16string stored;
  return (name & kHighBit) != 0 && ReadName(tree, name, stored) && stored == q.name;
}

// Finds the subdirectory of dir named q; ancestors are refused, so a looping tree ends.
bool FindSubdirectory(const vardell::SpanReader& tree, const Directory& dir, const Query& q,
                      std::initializer_list<std::uint64_t> ancestors, Directory& sub) {
  if (!q.valid) return false;
  for (std::uint32_t i = 0; i < dir.count; ++i) {
    DWORD name = 0, data = 0;
    ReadEntry(tree, dir, i, name, data);
    if (!Matches(tree, name, q)) continue;
    const std::uint64_t offset = data & ~kHighBit;
    if ((data & kHighBit) == 0 ||
        std::find(ancestors.begin(), ancestors.end(), offset) != ancestors.end())
      return false;
    return ReadDirectory(tree, offset, sub);
  }
  return false;
}

bool FindType(HINSTANCE__* m, LPCSTR type, Directory& dir) {
  Directory root;
  if (!m->hasResources || !ReadDirectory(m->tree, 0, root)) {
    SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return false;
  }
  if (!type || !FindSubdirectory(m->tree, root, MakeQuery(type), {0}, dir)) {
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return false;
  }
  return true;
}

// Calls visit(entry name, text name or null) for each entry of dir; stops when visit answers
// FALSE and answers that.
template <class Visit>
BOOL ForEachEntry(HINSTANCE__* m, const Directory& dir, Visit visit) {
  for (std::uint32_t i = 0; i < dir.count; ++i) {
    DWORD name = 0, data = 0;
    ReadEntry(m->tree, dir, i, name, data);
    if (name & kHighBit) {
      std::u16string text;
      if (!ReadName(m->tree, name, text)) continue;  // a name outside the tree is not listed
      std::string ansi = ToAnsi(text);
      if (!visit(ansi.data())) return FALSE;
    } else if (!visit(MAKEINTRESOURCE(static_cast<WORD>(name & 0xFFFF)))) {
      return FALSE;
    }
  }
  return TRUE;
}

HRSRC EncodeResource(std::uint64_t dataEntry) {
  return reinterpret_cast<HRSRC>(static_cast<UINT_PTR>(dataEntry + 1));
}
std::uint64_t DecodeResource(HRSRC r) { return reinterpret_cast<UINT_PTR>(r) - 1; }

DWORD ErrorFromErrno(int error) {
  switch (error) {
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR: return ERROR_ACCESS_DENIED;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    default: return ERROR_READ_FAULT;
  }
}

bool ReadAll(int fd, std::uint8_t* buffer, std::size_t count, std::uint64_t offset) {
  while (count > 0) {
    ssize_t got = ::pread(fd, buffer, count, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    buffer += got;
    count -= static_cast<std::size_t>(got);
    offset += static_cast<std::uint64_t>(got);
  }
  return true;
}

HMODULE Register(std::unique_ptr<HINSTANCE__> module) {
  if (!module->ParseHeaders()) {
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(ModulesMutex());
  Modules().insert(module.get());
  SetLastError(ERROR_SUCCESS);
  return module.release();
}

}  // namespace

namespace vardell {

HMODULE LoadDataModule(std::span<const std::uint8_t> bytes, const std::string& path) {
  try {
    auto module = std::make_unique<HINSTANCE__>();
    module->path = path;
    module->file.assign(bytes.begin(), bytes.end());
    return Register(std::move(module));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

}  // namespace vardell

HMODULE LoadLibraryEx(LPCSTR fileName, HANDLE hFile, DWORD flags) {
  if (!fileName || hFile) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  // Only the data-file modes: no code of a module is ever run.
  if ((flags & (LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE |
                LOAD_LIBRARY_AS_IMAGE_RESOURCE)) == 0) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  // Non-blocking, so that a named pipe matching a pattern cannot stall the open.
  int fd = ::open(fileName, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    SetLastError(ErrorFromErrno(errno));
    return nullptr;
  }
  struct FdCloser {
    int fd;
    ~FdCloser() { ::close(fd); }
  } closer{fd};
  struct stat st {};
  if (::fstat(fd, &st) != 0) {
    SetLastError(ErrorFromErrno(errno));
    return nullptr;
  }
  if (!S_ISREG(st.st_mode)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  }
  const auto size = static_cast<std::uint64_t>(st.st_size);
  if (size > kMaxFileSize) {
    SetLastError(ERROR_FILE_TOO_LARGE);
    return nullptr;
  }
  // Only a file that starts like a module is read whole.
  std::uint8_t mz[2] = {};
  if (size < 2 || !ReadAll(fd, mz, 2, 0) || mz[0] != 'M' || mz[1] != 'Z') {
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return nullptr;
  }
  try {
    auto module = std::make_unique<HINSTANCE__>();
    module->path = fileName;
    module->file.resize(size);
    if (!ReadAll(fd, module->file.data(), module->file.size(), 0)) {
      SetLastError(ERROR_READ_FAULT);
      return nullptr;
    }
    return Register(std::move(module));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

BOOL FreeLibrary(HMODULE module) {
  {
    std::lock_guard<std::mutex> lock(ModulesMutex());
    if (!module || Modules().erase(module) == 0) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
  }
  delete module;
  return TRUE;
}

BOOL EnumResourceTypes(HMODULE module, ENUMRESTYPEPROC proc, LONG_PTR param) {
  HINSTANCE__* m = Lookup(module);
  if (!m || !proc) {
    SetLastError(m ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
    return FALSE;
  }
  Directory root;
  if (!m->hasResources || !ReadDirectory(m->tree, 0, root)) {
    SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return FALSE;
  }
  return ForEachEntry(m, root, [&](LPSTR type) { return proc(module, type, param); });
}

BOOL EnumResourceNames(HMODULE module, LPCSTR type, ENUMRESNAMEPROC proc, LONG_PTR param) {
  HINSTANCE__* m = Lookup(module);
  if (!m || !proc) {
    SetLastError(m ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
    return FALSE;
  }
  Directory names;
  if (!FindType(m, type, names)) return FALSE;
  return ForEachEntry(m, names, [&](LPSTR name) { return proc(module, type, name, param); });
}

HRSRC FindResource(HMODULE module, LPCSTR name, LPCSTR type) {
  HINSTANCE__* m = Lookup(module);
  if (!m) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  Directory names, languages;
  if (!FindType(m, type, names)) return nullptr;
  if (!name || !FindSubdirectory(m->tree, names, MakeQuery(name), {0, names.offset}, languages) ||
      languages.count == 0) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
  }
  DWORD language = 0, data = 0;
  ReadEntry(m->tree, languages, 0, language, data);
  if ((data & kHighBit) != 0 || !m->tree.Has(data, 16)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
  }
  return EncodeResource(data);
}

HGLOBAL LoadResource(HMODULE module, HRSRC resource) {
  HINSTANCE__* m = Lookup(module);
  DWORD rva = 0, size = 0;
  std::span<const std::uint8_t> bytes;
  if (!m || !resource) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  const std::uint64_t entry = DecodeResource(resource);
  try {
    if (m->tree.Read<DWORD>(entry, rva) && m->tree.Read<DWORD>(entry + 4, size) &&
        m->Map(rva, size, bytes))
      return const_cast<std::uint8_t*>(bytes.data());
  } catch (const std::bad_alloc&) {
  }
  SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
  return nullptr;
}

DWORD SizeofResource(HMODULE module, HRSRC resource) {
  HINSTANCE__* m = Lookup(module);
  DWORD size = 0;
  if (!m || !resource) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  if (!m->tree.Read<DWORD>(DecodeResource(resource) + 4, size))
    SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
  return size;
}
