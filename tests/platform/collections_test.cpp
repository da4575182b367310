#include "platform/collections.h"
#include "platform/exception.h"

#include "platform_fixtures.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace {

using vardell::test::ThrownBy;
using Values = std::vector<long long>;

template <class A>
Values ValuesOf(const A& a) {
  Values v;
  for (int i = 0; i < a.GetSize(); ++i) v.push_back(static_cast<long long>(a[i]));
  return v;
}

TEST(CollectionsTest, AddSetSizeAndGrowthKeepMfcRules) {
  CDWordArray a;
  EXPECT_EQ((Values{a.GetUpperBound(), a.Add(7), a.Add(8)}), (Values{-1, 0, 1}));
  a.SetSize(5);
  a[4] = 9;
  a.SetSize(2);
  a.SetSize(5);  // elements dropped by shrinking come back as zeros
  a.SetAtGrow(7, 3);
  EXPECT_EQ(ValuesOf(a), (Values{7, 8, 0, 0, 0, 0, 0, 3}));
  EXPECT_EQ(a.GetUpperBound(), 7);

  // A first allocation is exact; the default step then grows by max(4, size / 8).
  CByteArray b;
  b.Add(1);
  const BYTE* exact = b.GetData();
  b.Add(2);
  const BYTE* grown = b.GetData();
  EXPECT_NE(grown, exact);
  for (int i = 3; i <= 5; ++i) b.Add(static_cast<BYTE>(i));
  EXPECT_EQ(b.GetData(), grown);  // room for 1 + 4
  b.Add(6);
  EXPECT_NE(b.GetData(), grown);
  b.FreeExtra();
  EXPECT_EQ(ValuesOf(b), (Values{1, 2, 3, 4, 5, 6}));

  CWordArray w;
  w.SetSize(0, 100);
  w.Add(1);
  w.Add(2);
  const WORD* stepped = w.GetData();
  for (int i = 0; i < 99; ++i) w.Add(3);
  EXPECT_EQ(w.GetData(), stepped);  // 1 + 100
  w.RemoveAll();
  EXPECT_TRUE(w.GetSize() == 0 && w.GetData() == nullptr);
}

TEST(CollectionsTest, InsertRemoveAppendCopy) {
  CWordArray a;
  for (WORD v : {1, 2, 3}) a.Add(v);
  a.InsertAt(1, 9, 2);
  a.InsertAt(7, 5);  // past the end: the gap is zero-filled
  EXPECT_EQ(ValuesOf(a), (Values{1, 9, 9, 2, 3, 0, 0, 5}));
  a.RemoveAt(1, 2);
  a.RemoveAt(5);
  a.RemoveAt(3, 2);
  a.InsertAt(0, 4, 0);  // nothing to insert
  EXPECT_EQ(ValuesOf(a), (Values{1, 2, 3}));

  CWordArray b;
  b.Add(7);
  b.Add(8);
  a.InsertAt(1, &b);
  EXPECT_EQ(ValuesOf(a), (Values{1, 7, 8, 2, 3}));
  a.InsertAt(2, &a);  // itself: the values before the insertion
  EXPECT_EQ(ValuesOf(a), (Values{1, 7, 1, 7, 8, 2, 3, 8, 2, 3}));
  EXPECT_EQ(b.Append(b), 2);
  EXPECT_EQ(ValuesOf(b), (Values{7, 8, 7, 8}));
  b.Copy(a);
  b.Copy(b);
  EXPECT_EQ(ValuesOf(b), ValuesOf(a));

  CStringArray s;  // values that alias the array's own elements survive its moves
  s.Add("first");
  for (int i = 0; i < 20; ++i) s.Add(s[0]);
  s.InsertAt(0, s[20], 3);
  EXPECT_EQ(s.GetSize(), 24);
  for (int i = 0; i < s.GetSize(); ++i) EXPECT_EQ(s[i], "first") << i;
  s.SetAtGrow(30, s[1]);
  EXPECT_TRUE(s[30] == "first" && s[29].IsEmpty());
  s.SetSize(1);
  s.SetSize(3);
  EXPECT_TRUE(s[1].IsEmpty());
  s.ElementAt(2) += "x";
  EXPECT_EQ(s.GetAt(2), "x");
}

TEST(CollectionsTest, BadSizesThrowAndLeaveTheArrayAlone) {
  CDWordArray a;
  a.Add(1);
  a.Add(2);
  const CRuntimeClass *invalid = RUNTIME_CLASS(CInvalidArgException),
                      *memory = RUNTIME_CLASS(CMemoryException);
  EXPECT_EQ((std::vector<const CRuntimeClass*>{
                ThrownBy([&] { a.SetSize(-1); }), ThrownBy([&] { a.SetSize(INT_MAX); }),
                ThrownBy([&] { a.SetAtGrow(-1, 5); }), ThrownBy([&] { a.SetAtGrow(INT_MAX, 5); }),
                ThrownBy([&] { a.InsertAt(1, 5, -3); }),
                ThrownBy([&] { a.InsertAt(INT_MAX, 5, INT_MAX); }),
                ThrownBy([&] { a.InsertAt(0, nullptr); }), ThrownBy([&] { a.RemoveAt(1, 2); }),
                ThrownBy([&] { a.RemoveAt(0, INT_MAX); })}),
            (std::vector<const CRuntimeClass*>{invalid, memory, invalid, memory, invalid, memory,
                                               invalid, invalid, invalid}));
  EXPECT_EQ(ValuesOf(a), (Values{1, 2}));

  // The largest byte array the original platform could hold is allowed in principle; one more
  // element is refused without allocating.
  CObArray o;
  EXPECT_EQ(ThrownBy([&] { o.SetSize(0x7FFFFFFF / static_cast<int>(sizeof(void*)) + 1); }), memory);
  EXPECT_EQ(o.GetSize(), 0);
}

TEST(CollectionsTest, RuntimeClassesAreThoseOfMfc) {
  EXPECT_TRUE(CStringArray().IsSerializable() && !CPtrArray().IsSerializable());
  EXPECT_EQ(CRuntimeClass::FromName("CDWordArray"), RUNTIME_CLASS(CDWordArray));
  EXPECT_EQ(CRuntimeClass::FromName("CPtrArray"), nullptr);  // only serialisable classes
  CObject* created = CRuntimeClass::CreateObject("CWordArray");
  ASSERT_NE(created, nullptr);
  EXPECT_TRUE(created->IsKindOf(RUNTIME_CLASS(CWordArray)));
  delete created;
}

}  // namespace
