#include "platform/file.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using vardell::test::ReadBytes;
using vardell::test::TempDir;
using vardell::test::WriteBytes;

// Runs f and answers the cause of the CFileException* it throws (deleting it), or -1.
template <class F>
int CauseOf(F f) {
  try {
    f();
  } catch (CFileException* e) {
    int cause = e->m_cause;
    e->Delete();
    return cause;
  }
  return -1;
}

TEST(CFileTest, CreateTruncatesUnlessAskedNotTo) {
  TempDir dir;
  std::string path = dir.File("a.bin");
  WriteBytes(path, {1, 2, 3, 4});
  {
    CFile f(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite);
    EXPECT_EQ(f.GetLength(), 4u);
    EXPECT_EQ(f.SeekToEnd(), 4u);
    f.Write("\x05", 1);
  }
  EXPECT_EQ(ReadBytes(path), (std::vector<std::uint8_t>{1, 2, 3, 4, 5}));
  {
    CFile f(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    EXPECT_EQ(f.GetLength(), 0u);
    f.Write("xy", 2);
    EXPECT_EQ(f.GetFileName(), "a.bin");
    EXPECT_EQ(f.GetFileTitle(), "a");
  }
  EXPECT_EQ(ReadBytes(path), (std::vector<std::uint8_t>{'x', 'y'}));

  // Without modeCreate a missing file is not made.
  CFile g;
  CFileException error;
  EXPECT_FALSE(g.Open(dir.File("missing").c_str(), CFile::modeReadWrite, &error));
  EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
  EXPECT_FALSE(g.IsOpen());
  EXPECT_EQ(CauseOf([&] { CFile h(dir.File("missing").c_str(), CFile::modeRead); }),
            CFileException::fileNotFound);
}

TEST(CFileTest, DirectoriesAndBadPathsFailWithTheirCauses) {
  TempDir dir;
  CFile f;
  CFileException error;
  EXPECT_FALSE(f.Open(dir.path().c_str(), CFile::modeRead, &error));
  EXPECT_EQ(error.m_cause, CFileException::accessDenied);
  EXPECT_EQ(error.m_strFileName, dir.path().c_str());
  EXPECT_FALSE(f.Open(dir.path().c_str(), CFile::modeCreate | CFile::modeWrite, &error));
  EXPECT_EQ(error.m_cause, CFileException::accessDenied);
  WriteBytes(dir.File("plain"), {0});
  EXPECT_FALSE(f.Open(dir.File("plain/below").c_str(), CFile::modeRead, &error));
  EXPECT_EQ(error.m_cause, CFileException::badPath);
  EXPECT_FALSE(f.Open("", CFile::modeRead, &error));
  EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
  EXPECT_FALSE(f.Open(dir.File("plain").c_str(), CFile::modeWrite | CFile::modeReadWrite, &error));
  EXPECT_EQ(error.m_cause, CFileException::generic);
}

TEST(CFileTest, ReadsShortAtTheEndAndSeeksWithinLimits) {
  TempDir dir;
  std::string path = dir.File("data");
  WriteBytes(path, {10, 11, 12, 13, 14});
  CFile f(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
  BYTE buf[8] = {};
  EXPECT_EQ(f.Seek(3, CFile::begin), 3u);
  EXPECT_EQ(f.Read(buf, 8), 2u);
  EXPECT_EQ(buf[0], 13);
  EXPECT_EQ(buf[1], 14);
  EXPECT_EQ(f.Read(buf, 8), 0u);
  EXPECT_EQ(f.Seek(-2, CFile::end), 3u);
  EXPECT_EQ(f.Seek(-1, CFile::current), 2u);
  EXPECT_EQ(f.Seek(100, CFile::begin), 100u);  // beyond the end is allowed
  EXPECT_EQ(f.Read(buf, 1), 0u);
  EXPECT_EQ(CauseOf([&] { f.Seek(-1, CFile::begin); }), CFileException::badSeek);
  EXPECT_EQ(CauseOf([&] { f.Seek(-6, CFile::end); }), CFileException::badSeek);
  EXPECT_EQ(f.GetPosition(), 100u);  // a failed seek does not move
}

TEST(CFileTest, WrongDirectionThrowsAccessDenied) {
  TempDir dir;
  std::string path = dir.File("ro");
  WriteBytes(path, {1, 2});
  CFile reader(path.c_str(), CFile::modeRead);
  EXPECT_EQ(CauseOf([&] { reader.Write("z", 1); }), CFileException::accessDenied);
  EXPECT_EQ(CauseOf([&] { reader.SetLength(0); }), CFileException::accessDenied);
  CFile writer(path.c_str(), CFile::modeWrite);
  BYTE b;
  EXPECT_EQ(CauseOf([&] { writer.Read(&b, 1); }), CFileException::accessDenied);
  writer.Close();
  EXPECT_EQ(CauseOf([&] { writer.Write("z", 1); }), CFileException::invalidFile);
  EXPECT_EQ(ReadBytes(path), (std::vector<std::uint8_t>{1, 2}));
}

}  // namespace
