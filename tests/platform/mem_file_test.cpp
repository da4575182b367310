#include "platform/mem_file.h"

#include <gtest/gtest.h>

namespace {

TEST(CMemFileTest, ReadsWritesAndSeeksLikeAFile) {
  CMemFile file;
  const BYTE abc[] = {'a', 'b', 'c'};
  file.Write(abc, 3);
  EXPECT_EQ(file.GetLength(), 3u);
  EXPECT_EQ(file.Seek(5, CFile::begin), 5u);  // past the end is allowed
  BYTE out[4] = {9, 9, 9, 9};
  EXPECT_EQ(file.Read(out, 4), 0u);  // and reads nothing there
  file.Write(abc, 1);                // the gap reads as zeros
  ASSERT_EQ(file.bytes(), (std::vector<BYTE>{'a', 'b', 'c', 0, 0, 'a'}));
  file.Seek(-4, CFile::end);
  EXPECT_EQ(file.Read(out, 4), 4u);
  EXPECT_EQ(out[0], 'c');
  EXPECT_EQ(out[3], 'a');
  try {
    file.Seek(-7, CFile::end);
    ADD_FAILURE() << "a seek before the start must throw";
  } catch (CFileException* e) {
    EXPECT_EQ(e->m_cause, CFileException::badSeek);
    e->Delete();
  }
  file.SetLength(2);
  EXPECT_EQ(file.GetPosition(), 2u);
  EXPECT_EQ(file.Detach(), (std::vector<BYTE>{'a', 'b'}));
  EXPECT_EQ(file.GetLength(), 0u);
}

}  // namespace
