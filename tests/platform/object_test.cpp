#include "platform/exception.h"
#include "platform/object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class CShapeTest : public CObject {
  DECLARE_SERIAL(CShapeTest)
 public:
  int m_nSides = 4;
};

class CCircleTest : public CShapeTest {
  DECLARE_SERIAL(CCircleTest)
 public:
  CCircleTest() { m_nSides = 0; }
  double m_radius = 1.5;
};

class CDynCreateTest : public CObject {
  DECLARE_DYNCREATE(CDynCreateTest)
};

class CDynamicTest : public CObject {
  DECLARE_DYNAMIC(CDynamicTest)
};

class CThrowingTest : public CObject {
  DECLARE_DYNCREATE(CThrowingTest)
 public:
  CThrowingTest() { AfxThrowMemoryException(); }
};

IMPLEMENT_SERIAL(CShapeTest, CObject, 1)
IMPLEMENT_SERIAL(CCircleTest, CShapeTest, VERSIONABLE_SCHEMA | 2)
IMPLEMENT_DYNCREATE(CDynCreateTest, CObject)
IMPLEMENT_DYNAMIC(CDynamicTest, CObject)
IMPLEMENT_DYNCREATE(CThrowingTest, CObject)

namespace {

TEST(ObjectTest, IsKindOfFollowsTheBaseChain) {
  CCircleTest circle;
  const CObject& object = circle;
  std::string kinds;
  for (const CRuntimeClass* c :
       {RUNTIME_CLASS(CCircleTest), RUNTIME_CLASS(CShapeTest), RUNTIME_CLASS(CObject),
        RUNTIME_CLASS(CDynamicTest), static_cast<CRuntimeClass*>(nullptr)})
    kinds += object.IsKindOf(c) ? '1' : '0';
  EXPECT_EQ(kinds, "11100");
  EXPECT_FALSE(CShapeTest().IsKindOf(RUNTIME_CLASS(CCircleTest)));
  EXPECT_TRUE(CShapeTest().IsSerializable() && !CDynCreateTest().IsSerializable());
  EXPECT_EQ(RUNTIME_CLASS(CCircleTest)->m_wSchema, 0x80000002u);
  EXPECT_EQ(RUNTIME_CLASS(CDynCreateTest)->m_wSchema, 0xFFFFu);
  EXPECT_TRUE(CFileException().IsKindOf(RUNTIME_CLASS(CException)));
}

TEST(ObjectTest, DynamicCreationByNameFindsOnlySerialClasses) {
  std::unique_ptr<CObject> made(CRuntimeClass::CreateObject("CCircleTest"));
  ASSERT_TRUE(made && made->IsKindOf(RUNTIME_CLASS(CCircleTest)));
  const auto* circle = static_cast<CCircleTest*>(made.get());
  EXPECT_TRUE(circle->m_radius == 1.5 && circle->m_nSides == 0);  // constructed, not allocated
  EXPECT_EQ(CRuntimeClass::FromName("CShapeTest"), RUNTIME_CLASS(CShapeTest));
  // Exact and case-sensitive; DYNCREATE classes are not registered by name, as in MFC.
  for (const char* name :
       {"cshapetest", "CShape", static_cast<const char*>(nullptr), "CDynCreateTest"})
    EXPECT_EQ(CRuntimeClass::FromName(name), nullptr) << (name ? name : "null");
  std::unique_ptr<CObject> dyn(RUNTIME_CLASS(CDynCreateTest)->CreateObject());
  EXPECT_EQ(dyn->GetRuntimeClass(), RUNTIME_CLASS(CDynCreateTest));
  EXPECT_EQ(RUNTIME_CLASS(CDynamicTest)->CreateObject(), nullptr);
  EXPECT_EQ(RUNTIME_CLASS(CThrowingTest)->CreateObject(), nullptr);  // its constructor throws
}

TEST(ObjectTest, RegistryServesReadersWhileClassesAreAdded) {
  static CRuntimeClass late[8];
  static char names[8][16];
  std::atomic<bool> missing{false};
  std::thread reader([&] {
    for (int i = 0; i < 2000; ++i)
      if (CRuntimeClass::FromName("CCircleTest") != RUNTIME_CLASS(CCircleTest)) missing = true;
  });
  for (int i = 0; i < 8; ++i) {
    std::snprintf(names[i], sizeof names[i], "CLate%d", i);
    late[i] = CRuntimeClass{names[i], 0, 1, nullptr, RUNTIME_CLASS(CObject)};
    AfxClassInit(&late[i]);
  }
  reader.join();
  EXPECT_FALSE(missing);
  EXPECT_EQ(CRuntimeClass::FromName("CLate7"), &late[7]);
}

}  // namespace
