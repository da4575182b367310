#include "platform/file.h"
#include "platform/mem_file.h"

#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using vardell::test::CauseOf;
using vardell::test::Join;
using vardell::test::ReadBytes;
using vardell::test::TempDir;
using vardell::test::WriteBytes;
using Bytes = std::vector<std::uint8_t>;

TEST(CFileTest, CreateTruncatesUnlessAskedNotTo) {
  TempDir dir;
  const std::string path = dir.File("a.bin");
  WriteBytes(path, {1, 2, 3, 4});
  {
    CFile f(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite);
    EXPECT_EQ(f.SeekToEnd(), 4u);
    f.Write("\x05", 1);
  }
  EXPECT_EQ(ReadBytes(path), (Bytes{1, 2, 3, 4, 5}));
  {
    CFile f(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    EXPECT_EQ(f.GetLength(), 0u);
    f.Write("xy", 2);
    EXPECT_EQ(Join(f.GetFileName(), f.GetFileTitle()), "a.bin|a");
  }
  EXPECT_EQ(ReadBytes(path), (Bytes{'x', 'y'}));
}

TEST(CFileTest, FailedOpensReportTheirCauses) {
  TempDir dir;
  WriteBytes(dir.File("plain"), {0});
  CFile f;
  CFileException error;
  auto open = [&](const std::string& path, UINT mode) {
    return f.Open(path.c_str(), mode, &error) ? -1 : error.m_cause;
  };
  const std::string folder = dir.path().string();
  EXPECT_EQ(
      Join(open(dir.File("missing"), CFile::modeReadWrite),  // not made without modeCreate
           open(folder, CFile::modeRead), open(folder, CFile::modeCreate | CFile::modeWrite),
           open(dir.File("plain/below"), CFile::modeRead), open("", CFile::modeRead),
           open(dir.File("plain"), CFile::modeWrite | CFile::modeReadWrite)),
      Join(CFileException::fileNotFound, CFileException::accessDenied, CFileException::accessDenied,
           CFileException::badPath, CFileException::fileNotFound, CFileException::generic));
  EXPECT_FALSE(f.IsOpen());
  open(folder, CFile::modeRead);
  EXPECT_EQ(error.m_strFileName, folder.c_str());
  EXPECT_EQ(CauseOf([&] { CFile h(dir.File("missing").c_str(), CFile::modeRead); }),
            CFileException::fileNotFound);
}

TEST(CFileTest, ReadsShortAtTheEndAndSeeksWithinLimits) {
  TempDir dir;
  const std::string path = dir.File("data");
  WriteBytes(path, {10, 11, 12, 13, 14});
  CFile f(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
  BYTE buf[8] = {};
  // Braces run the calls in order; seeking beyond the end is allowed.
  EXPECT_EQ((std::vector<ULONGLONG>{f.Seek(3, CFile::begin), f.Read(buf, 8), f.Seek(-2, CFile::end),
                                    f.Seek(-1, CFile::current), f.Seek(100, CFile::begin),
                                    f.Read(buf, 1)}),
            (std::vector<ULONGLONG>{3, 2, 3, 2, 100, 0}));
  EXPECT_TRUE(buf[0] == 13 && buf[1] == 14);
  EXPECT_EQ(CauseOf([&] { f.Seek(-6, CFile::end); }), CFileException::badSeek);
  EXPECT_EQ(f.GetPosition(), 100u);  // a failed seek does not move
}

TEST(CFileTest, WrongDirectionThrowsAccessDenied) {
  TempDir dir;
  const std::string path = dir.File("ro");
  WriteBytes(path, {1, 2});
  CFile reader(path.c_str(), CFile::modeRead);
  EXPECT_EQ(CauseOf([&] { reader.Write("z", 1); }), CFileException::accessDenied);
  EXPECT_EQ(CauseOf([&] { reader.SetLength(0); }), CFileException::accessDenied);
  CFile writer(path.c_str(), CFile::modeWrite);
  BYTE b;
  EXPECT_EQ(CauseOf([&] { writer.Read(&b, 1); }), CFileException::accessDenied);
  writer.Close();
  EXPECT_EQ(CauseOf([&] { writer.Write("z", 1); }), CFileException::invalidFile);
  EXPECT_EQ(ReadBytes(path), (Bytes{1, 2}));
}

TEST(CMemFileTest, ReadsWritesAndSeeksLikeAFile) {
  CMemFile file;
  const BYTE abc[] = {'a', 'b', 'c'};
  file.Write(abc, 3);
  EXPECT_EQ(file.Seek(5, CFile::begin), 5u);  // past the end is allowed
  BYTE out[4] = {9, 9, 9, 9};
  EXPECT_EQ(file.Read(out, 4), 0u);  // and reads nothing there
  file.Write(abc, 1);                // the gap reads as zeros
  ASSERT_EQ(file.bytes(), (Bytes{'a', 'b', 'c', 0, 0, 'a'}));
  file.Seek(-4, CFile::end);
  EXPECT_EQ(file.Read(out, 4), 4u);
  EXPECT_TRUE(out[0] == 'c' && out[3] == 'a');
  EXPECT_EQ(CauseOf([&] { file.Seek(-7, CFile::end); }), CFileException::badSeek);
  file.SetLength(2);
  EXPECT_EQ(file.GetPosition(), 2u);
  EXPECT_EQ(file.Detach(), (Bytes{'a', 'b'}));
  EXPECT_EQ(file.GetLength(), 0u);
}

}  // namespace
