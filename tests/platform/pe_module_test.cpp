#include "platform/pe_module.h"

#include "platform/pe_test_writer.h"
#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

namespace vardell::test {
namespace {

std::vector<std::uint8_t> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

const std::vector<PeResource> kResources = {
    {"PIPL", "#16000", Bytes("first")}, {"PIPL", "ZED", Bytes("zed")},
    {"PIPL", "ALPHA", Bytes("alpha!")}, {"PIPL", "#2", Bytes("")},
    {"PIMI", "#16000", Bytes("pimi")},  {"#10", "#1", Bytes("rcdata")},
};

struct ModuleCloser {
  void operator()(HINSTANCE__* m) const { FreeLibrary(m); }
};
using Module = std::unique_ptr<HINSTANCE__, ModuleCloser>;

Module Load(const std::vector<std::uint8_t>& bytes) { return Module(LoadDataModule(bytes, "x")); }

std::string Label(LPCSTR p) {
  return IS_INTRESOURCE(p) ? "#" + std::to_string(reinterpret_cast<UINT_PTR>(p)) : p;
}

// Every resource as "TYPE NAME SIZE" lines, in directory order, through the platform calls.
std::string ListResources(HMODULE m) {
  struct Walk {
    HMODULE m;
    std::string out;
    std::string type;
  } walk{m, "", ""};
  EnumResourceTypes(
      m,
      [](HMODULE m, LPSTR type, LONG_PTR param) -> BOOL {
        auto* w = reinterpret_cast<Walk*>(param);
        w->type = Label(type);
        std::string keep = IS_INTRESOURCE(type) ? w->type : type;
        EnumResourceNames(
            m, IS_INTRESOURCE(type) ? type : keep.c_str(),
            [](HMODULE m, LPCSTR type, LPSTR name, LONG_PTR param) -> BOOL {
              auto* w = reinterpret_cast<Walk*>(param);
              HRSRC r = FindResource(m, name, type);
              w->out += w->type + "\t" + Label(name) + "\t" +
                        (r ? std::to_string(SizeofResource(m, r)) : "?") + "\n";
              return TRUE;
            },
            param);
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&walk));
  return walk.out;
}

std::string Data(HMODULE m, LPCSTR name, LPCSTR type) {
  HRSRC r = FindResource(m, name, type);
  if (!r) return "<none>";
  auto* p = static_cast<const char*>(LockResource(LoadResource(m, r)));
  return p ? std::string(p, SizeofResource(m, r)) : "<unloadable>";
}

TEST(PeModule, ListsAndFindsResourcesInBothFormats) {
  for (bool pe32plus : {false, true}) {
    SCOPED_TRACE(pe32plus ? "PE32+" : "PE32");
    std::vector<PeResource> resources = kResources;
    resources.push_back({"PIMI", "\u6EE4\u955C", Bytes("gbk")});  // UTF-16 in the file, GBK here
    Module m = Load(WritePe(resources, pe32plus).bytes);
    ASSERT_TRUE(m);
    // Text names first, then integers ascending: the directory's order.
    EXPECT_EQ(ListResources(m.get()),
              "PIMI\t\xC2\xCB\xBE\xB5\t3\nPIMI\t#16000\t4\nPIPL\tALPHA\t6\nPIPL\tZED\t3\n"
              "PIPL\t#2\t0\nPIPL\t#16000\t5\n"
              "#10\t#1\t6\n");
    // Names and types by number or "#number", text in any case; "16000" is text, not a number.
    EXPECT_EQ(Join(Data(m.get(), MAKEINTRESOURCE(16000), "PIPL"), Data(m.get(), "#16000", "pipl"),
                   Data(m.get(), "alpha", "PiPL"), Data(m.get(), MAKEINTRESOURCE(1), RT_RCDATA),
                   Data(m.get(), "#1", "#10"), Data(m.get(), MAKEINTRESOURCE(2), "PIPL"),
                   Data(m.get(), "\xC2\xCB\xBE\xB5", "PIMI"), Data(m.get(), "16000", "PIPL")),
              "first|first|alpha!|rcdata|rcdata||gbk|<none>");
    EXPECT_EQ(Data(m.get(), "#99999", "PIPL"), "<none>");
    EXPECT_EQ(GetLastError(), ERROR_RESOURCE_NAME_NOT_FOUND);
  }
  // Enumeration stops when the procedure says so, and fails for a missing type.
  Module m = Load(WritePe(kResources).bytes);
  int calls = 0;
  auto once = [](HMODULE, LPCSTR, LPSTR, LONG_PTR p) -> BOOL { return !++*(int*)p; };
  EXPECT_FALSE(EnumResourceNames(m.get(), "PIPL", once, reinterpret_cast<LONG_PTR>(&calls)));
  EXPECT_FALSE(EnumResourceNames(m.get(), "_8BFM", once, reinterpret_cast<LONG_PTR>(&calls)));
  EXPECT_EQ(GetLastError(), ERROR_RESOURCE_TYPE_NOT_FOUND);
  EXPECT_EQ(calls, 1);
}

TEST(PeModule, LoadLibraryExReadsFilesAsDataOnly) {
  TempDir dir;
  WriteBytes(dir.File("p.8bf"), WritePe(kResources).bytes);
  WriteBytes(dir.File("text.8bf"), Bytes("MZ but nothing more"));
  auto error = [](const std::string& path, DWORD flags = LOAD_LIBRARY_AS_DATAFILE) {
    return LoadLibraryEx(path.c_str(), nullptr, flags) ? ERROR_SUCCESS : GetLastError();
  };
  EXPECT_EQ((std::vector<DWORD>{error(dir.File("p.8bf"), 0), error(dir.File("none.8bf")),
                                error(dir.path().string()), error(dir.File("text.8bf"))}),
            (std::vector<DWORD>{ERROR_NOT_SUPPORTED, ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED,
                                ERROR_BAD_EXE_FORMAT}));
  HMODULE m = LoadLibraryEx(dir.File("p.8bf").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(Data(m, "ZED", "PIPL"), "zed");
  EXPECT_TRUE(FreeLibrary(m));
  EXPECT_FALSE(FreeLibrary(m));  // a freed handle is refused, not freed twice
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(FindResource(m, "ZED", "PIPL"), nullptr);
}

TEST(PeModule, DamagedFilesAreRefusedWithoutReadingOutside) {
  const PeFile pe = WritePe(kResources);
  // Every truncation: headers or section data cut off.
  for (std::size_t cut = 0; cut < pe.bytes.size(); cut += 7)
    EXPECT_EQ(Load({pe.bytes.begin(), pe.bytes.begin() + cut}), nullptr) << "cut at " << cut;
  auto poked = [&](std::size_t at, std::uint32_t v) {
    std::vector<std::uint8_t> f = pe.bytes;
    Poke32(f, at, v);
    return Load(f);
  };
  // Root's first entry (type PIMI) turned into a loop back to the root.
  Module loop = poked(pe.tree + 20, 0x80000000u);
  ASSERT_TRUE(loop);
  EXPECT_EQ(Join(Data(loop.get(), "#16000", "PIMI"), Data(loop.get(), "ZED", "PIPL")),
            "<none>|zed");
  // The root's count of numbered entries running past the section: nothing is found.
  Module count = poked(pe.tree + 12, 0xFFFF0002u);
  EXPECT_EQ(ListResources(count.get()), "");
  // A type name string far outside the tree: that entry is neither listed nor found.
  Module name = poked(pe.tree + 16, 0x8FFFFFF0u);
  EXPECT_EQ(ListResources(name.get()).find("PIMI"), std::string::npos);
  // PIMI's name directory pointing back at itself, the type name outside the tree, PIMI #16000's
  // data outside every section, and its size running past the section.
  const std::uint32_t pimiDir = 16 + 3 * 8;
  const std::size_t dataEntry = pe.tree + pimiDir + 16 + 8 + 24;
  EXPECT_EQ(Join(Data(poked(pe.tree + pimiDir + 20, 0x80000000u | pimiDir).get(), "#16000", "PIMI"),
                 Data(name.get(), "#16000", "PIMI"),
                 Data(poked(dataEntry, 0x7FFFFFF0u).get(), "#16000", "PIMI"),
                 Data(poked(dataEntry + 4, 0xFFFFFFFFu).get(), "#16000", "PIMI")),
            "<none>|<none>|<unloadable>|<unloadable>");
  // No resource directory at all.
  Module none = poked(pe.optional + 112, 0);
  ASSERT_TRUE(none);
  EXPECT_EQ(FindResource(none.get(), "ZED", "PIPL"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_RESOURCE_DATA_NOT_FOUND);
}

TEST(PeModule, BytesPastTheFileDataOfASectionReadAsZero) {
  const PeFile pe = WritePe(kResources);
  std::vector<std::uint8_t> f = pe.bytes;
  const std::uint32_t rawSize = static_cast<std::uint32_t>(f.size() - pe.tree);
  Poke32(f, pe.sectionTable + 8, rawSize + 0x100);  // VirtualSize beyond the file data
  const std::size_t dataEntry = pe.tree + 16 + 3 * 8 + 16 + 8 + 24;
  Poke32(f, dataEntry, pe.treeRva + rawSize - 2);
  Module m = Load(f);
  ASSERT_TRUE(m);
  EXPECT_EQ(Data(m.get(), "#16000", "PIMI"), std::string("\0\0\0\0", 4));
}

// The committed plug-ins read the same through an independent reader (python3-pefile).
TEST(PeModule, FixturesAgreeWithPefile) {
  const std::string folder = std::string(VARDELL_TEST_DATA_DIR) + "/plugins";
  std::vector<std::string> files;
  for (const auto& e : std::filesystem::directory_iterator(folder)) {
    const std::string ext = e.path().extension().string();
    if (ext == ".8bf" || ext == ".8BF" || ext == ".8be" || ext == ".dll")
      files.push_back(e.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  ASSERT_GE(files.size(), 7u);
  std::string ours;
  for (const std::string& file : files) {
    HMODULE m = LoadLibraryEx((folder + "/" + file).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(m, nullptr) << file;
    std::istringstream lines(ListResources(m));
    for (std::string line; std::getline(lines, line);) ours += file + "\t" + line + "\n";
    FreeLibrary(m);
  }
  if (std::system("/usr/bin/python3 -c 'import pefile' 2>/dev/null") != 0)
    GTEST_SKIP() << "python3-pefile is not installed";
  std::string command = "/usr/bin/python3 " + folder + "/list_resources.py";
  for (const std::string& file : files) command += " '" + folder + "/" + file + "'";
  std::string theirs;
  FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    theirs.append(buffer, n);
  EXPECT_EQ(::pclose(pipe), 0);
  EXPECT_EQ(ours, theirs);
}

}  // namespace
}  // namespace vardell::test
