// Classes and attributes: how a class is put together from its ancestors,
// how attribute values are cut, and the failures of the registry.
#include "toolkit/Classes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "tests/support/TestFiles.h"
#include "toolkit/CAttribs.h"
#include "toolkit/CObject.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"

namespace {

std::vector<std::string> log;

// A widget class of the test's own: a number, an 8-byte tag and a text.
struct Foo : CWCore_Rec {
  std::int32_t count;
  char tag[8];
  CAttribs_String note;
};

Classes_ClassPtr fooClass = nullptr;

void FooInitClass(Classes_ClassPtr cls, void* prototype) {
  auto* p = static_cast<Foo*>(prototype);
  CAttribs_DefAttr(cls, "count", 3, &p->count);
  CAttribs_DefAttr(cls, "tag", 7, &p->tag);
  CAttribs_DefStrAttr(cls, "note", 15, &p->note);
  p->count = 42;
}

void MakeFooClass() {
  if (fooClass != nullptr) return;
  fooClass = new CWCore_ClassRec;
  Classes_MakeClass(
      fooClass, CWCore_class, "TFoo", sizeof(Foo), FooInitClass,
      [](void* i) {
        // CWCore's initialisation ran first: the unset geometry is resolved.
        log.push_back(static_cast<Foo*>(i)->geometry.hDim.stretch == Dim_Unbounded ? "init:after-core" : "init:first");
      },
      [](void*) { log.push_back("destruct"); }, "TFOO");
}

class ClassesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Wt_Initialize();
    MakeFooClass();
    log.clear();
  }
};

TEST_F(ClassesTest, AClassIsBuiltFromItsAncestorsAndInstancesFromThePrototype) {
  EXPECT_EQ(Classes_GetClassByKeyword("TFOO"), fooClass);
  SAttribs attrs = nullptr;
  SAttribs_AddString(attrs, "note", "a note");
  SAttribs_AddInt(attrs, "borderWidth", 3);
  SAttribs_AddInt(attrs, "noSuchAttribute", 1);  // skipped without a word
  void* foo = Classes_CreateAndInit(fooClass, attrs);
  SAttribs_Destroy(attrs);
  ASSERT_NE(foo, nullptr);
  auto* f = static_cast<Foo*>(foo);
  EXPECT_EQ(f->count, 42);
  EXPECT_EQ(f->borderWidth, 3u);
  EXPECT_EQ(CAttribs_Text(f->note).Str(), "a note");
  // The default of the inherited min is twice the border.
  EXPECT_EQ(f->geometry.hDim.min, 6);
  Classes_DeleteInstance(foo);
  EXPECT_EQ(foo, nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"init:after-core", "destruct"}));
  // The ancestors' InitClass filled the new record: it has their operations.
  EXPECT_EQ(static_cast<CWCore_ClassRec*>(fooClass)->SetAttr, CWCore_MySetAttr);
  EXPECT_EQ(static_cast<CWCore_ClassRec*>(fooClass)->QueryGeometry, CWCore_MyQueryGeometry);
}

TEST_F(ClassesTest, ValuesAreCutAtTheAttributeSize) {
  void* foo = Classes_CreateAndInit(fooClass, nullptr);
  auto* f = static_cast<Foo*>(foo);
  bool ok = false;
  CObject_SetAttrByName(foo, "tag", "abcdefghijkl", 12, ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(std::string(f->tag, 8), "abcdefgh");  // full: no terminator
  CObject_SetAttrByName(foo, "tag", "xyzuvwq", 7, ok);
  EXPECT_EQ(std::string(f->tag), "xyzuvwq");  // one byte shorter: terminated
  CObject_SetAttrByName(foo, "note", "a rather long text for sixteen", 31, ok);
  EXPECT_EQ(CAttribs_Text(f->note).Str(), "a rather long te");

  char read[40];
  std::memset(read, 'x', sizeof read);
  CObject_GetAttrByName(foo, "note", read, sizeof read, ok);
  EXPECT_TRUE(ok);
  EXPECT_STREQ(read, "a rather long te");
  std::int32_t count = -1;
  CObject_GetAttrByName(foo, "count", &count, 4, ok);
  EXPECT_EQ(count, 42);

  // An unknown attribute leaves the target alone.
  count = 7;
  CObject_GetAttrByName(foo, "unknown", &count, 4, ok);
  EXPECT_FALSE(ok);
  EXPECT_EQ(count, 7);
  Classes_DeleteInstance(foo);
}

TEST_F(ClassesTest, RegistryFailuresKeepTheFirstEntry) {
  Classes_ClassRec twin;
  Strings_Assign("TFoo", twin.name);
  Messages_IgnoreErrors(true);
  Classes_AnnounceClass(&twin, "TFOO");
  EXPECT_EQ(Classes_clError, 2);  // the keyword fails last
  EXPECT_EQ(Classes_GetClassByName("TFoo"), fooClass);
  EXPECT_EQ(Classes_GetClassByKeyword("TFOO"), fooClass);
  EXPECT_EQ(Classes_GetClassByName("NoSuch"), nullptr);
  EXPECT_EQ(Classes_clError, 3);
  EXPECT_EQ(Classes_GetClassByKeyword("NOSUCH"), nullptr);
  EXPECT_EQ(Classes_clError, 4);
  Classes_ClassRec abstract;
  EXPECT_EQ(Classes_CreateAndInit(&abstract, nullptr), nullptr);
  EXPECT_EQ(Classes_clError, 5);
  Widget group = Wt_CreateWidget(nullptr, CWGroup_class, nullptr);
  CWGroup_GeometryManager(group, nullptr);
  EXPECT_EQ(Classes_clError, 6);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  Wt_DestroyWidget(group);
}

TEST_F(ClassesTest, TheFamilyOfWidgetClasses) {
  EXPECT_FALSE(Classes_IsSubClass(nullptr, CWCore_class));
  EXPECT_TRUE(Classes_IsSubClass(CWCore_class, CWCore_class));
  EXPECT_TRUE(Classes_IsSubClass(CWShell_class, CWHVBox_vboxClass));
  EXPECT_TRUE(Classes_IsSubClass(CWHVBox_vboxClass, CWHVBox_class));
  EXPECT_FALSE(Classes_IsSubClass(CWHVBox_class, CWHVBox_vboxClass));
  for (const char* keyword : {"CORE", "GROUP", "GLUE", "GENERIC", "HBOX", "VBOX", "SHELL", "LABEL", "PUSH",
                              "TOGGLE", "TEXTIO", "TEXTFIELD", "FRAME"})
    EXPECT_NE(Classes_GetClassByKeyword(StrIn::C(keyword)), nullptr) << keyword;
  // Groups are gadgets, shells are not and are not mapped with their parent.
  Widget box = Wt_CreateWidget(nullptr, CWHVBox_vboxClass, nullptr);
  Widget shell = Wt_CreateWidget(nullptr, CWShell_class, nullptr);
  EXPECT_TRUE(box->gadget);
  EXPECT_FALSE(shell->gadget);
  EXPECT_FALSE(shell->mapWhenRealized);
  Wt_DestroyWidget(box);
  Wt_DestroyWidget(shell);
}

TEST(WtTypes, ARedeclarationKeepsTheFirstSize) {
  WtTypes_Init();
  const std::uint32_t t = WtTypes_DeclareType("TestRecord", 24);
  Messages_IgnoreErrors(true);
  WtTypes_DeclareType("TestRecord", 32);
  EXPECT_EQ(WtTypes_TSize(SIdPool_EnterId("NoSuchType")), 0u);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(WtTypes_TSize(t), 24u);
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
