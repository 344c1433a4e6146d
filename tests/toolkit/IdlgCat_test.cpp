// Dialog catalogs: a file written byte by byte from the format's field table
// loads into the right definitions, the compiler makes the same bytes of
// the same source, and damaged files leave nothing loaded.
#include "toolkit/IdlgCat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "tests/support/TestFiles.h"

namespace {

const char* const kSource =
    "# a template chain and every kind of value\n"
    "template value Percent [range = (0, 100), default = 50]\n"
    "template widget Box [borderWidth = 2]\n"
    "template widget Framed : Box [frameWidth = 1]\n"
    "context Sample {\n"
    "  value 1 INTEGER buttons\n"
    "  value 7 INTEGER level : Percent\n"
    "  value 8 REAL scale : Percent [default = 1.5]\n"
    "  value 9 STRING title [default = \"\xC3\x84 x\"]\n"
    "  SHELL value 1 element 2 : Framed [title = \"Demo\", supportKeyConfirm = true] {\n"
    "    TEXTFIELD value 7 [columns = 6]\n"
    "    LABEL element 3 : Framed [shortCut = 'o' hDim = (80, 0)]\n"
    "  }\n"
    "}\n";

// The file of kSource, field by field.
class Bytes {
 public:
  Bytes& U32(std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) b.push_back(static_cast<unsigned char>(v >> shift));
    return *this;
  }
  Bytes& Byte(unsigned char v) {
    b.push_back(v);
    return *this;
  }
  Bytes& Str(const std::string& s) {
    U32(static_cast<std::uint32_t>(s.size()));
    b.insert(b.end(), s.begin(), s.end());
    return *this;
  }
  Bytes& Real(double d) {
    unsigned char raw[8];
    std::memcpy(raw, &d, 8);
    b.insert(b.end(), raw, raw + 8);
    return *this;
  }
  // One attribute: type, name, size, value.
  Bytes& Int(std::uint32_t name, std::uint32_t v) { return Byte(1).U32(name).U32(4).U32(v); }
  std::vector<unsigned char> b;
};

// `firstMarker`: where the byte stands that says the first template's
// definition follows.
std::vector<unsigned char> HandWritten(std::size_t* firstMarker = nullptr) {
  enum : std::uint32_t {
    Percent = 1, range, default_, Box, borderWidth, Framed, frameWidth, Sample, INTEGER, buttons, level, REAL,
    scale, STRING, title, SHELL, supportKeyConfirm, TEXTFIELD, columns, LABEL, shortCut, hDim, kPoolSize
  };
  const char* pool[] = {"",        "Percent", "range",   "default", "Box",       "borderWidth", "Framed",
                        "frameWidth", "Sample", "INTEGER", "buttons", "level",    "REAL",        "scale",
                        "STRING",  "title",   "SHELL",   "supportKeyConfirm", "TEXTFIELD", "columns", "LABEL",
                        "shortCut", "hDim"};
  Bytes f;
  f.U32(24291).U32(4).U32(0).U32(0).U32(0).U32(0).U32(0).U32(kPoolSize);
  for (const char* s : pool) f.Str(s);
  f.U32(1).U32(Sample);
  f.U32(4);  // values
  f.U32(INTEGER).U32(buttons).U32(1).U32(0).U32(0);
  f.U32(INTEGER).U32(level).U32(7).U32(Percent);
  if (firstMarker != nullptr) *firstMarker = f.b.size();
  f.Byte(0);  // the template's definition follows
  f.U32(2).Byte(5).U32(range).U32(8).U32(0).U32(100).Int(default_, 50).U32(0);
  f.U32(0);
  f.U32(REAL).U32(scale).U32(8).U32(Percent).Byte(1);  // defined above
  f.U32(1).Byte(3).U32(default_).U32(8).Real(1.5);
  f.U32(STRING).U32(title).U32(9).U32(0).U32(1).Byte(6).U32(default_).U32(5).Str("\xC3\x84 x");
  f.U32(1);  // widgets
  f.U32(SHELL).U32(1).U32(2).U32(Framed).Byte(0).U32(1).Int(frameWidth, 1);
  f.U32(Box).Byte(0).U32(1).Int(borderWidth, 2).U32(0);
  f.U32(2).Byte(6).U32(title).U32(5).Str("Demo").Byte(0).U32(supportKeyConfirm).U32(1).Byte(1);
  f.U32(2);
  f.U32(TEXTFIELD).U32(7).U32(0xFFFFFFFF).U32(0).U32(1).Int(columns, 6).U32(0);
  f.U32(LABEL).U32(0xFFFFFFFF).U32(3).U32(Framed).Byte(1);
  f.U32(2).Int(shortCut, 'o').Byte(5).U32(hDim).U32(8).U32(80).U32(0).U32(0);
  return f.b;
}

std::int32_t IntOf(SAttribs list, const char* name) {
  const SAttribs_Node* n = SAttribs_Find(list, SIdPool_FindId(StrIn::C(name)));
  std::int32_t v = -999;
  if (n != nullptr && n->size >= 4) std::memcpy(&v, n->bytes, 4);
  return v;
}

TEST(IdlgCat, AFileWrittenFromTheFieldTableLoadsWithItsTemplates) {
  // Identifiers of this process differ from the file's numbers.
  SIdPool_EnterId("hDim");
  SIdPool_EnterId("LABEL");
  TempDir dir;
  const std::string path = dir.Path() + "/sample.drf";
  WriteBytes(path, HandWritten());
  IdlgCat_Contexts contexts;
  IdlgCat_Templates aobjTemplates, robjTemplates;
  ASSERT_TRUE(IdlgCat_LoadContextCatOpt(path, contexts, aobjTemplates, robjTemplates));
  ASSERT_EQ(contexts.size(), 1u);
  EXPECT_EQ(aobjTemplates.size(), 1u);
  EXPECT_EQ(robjTemplates.size(), 2u);
  const IdlgCat_ContextDef& c = *contexts[0];
  EXPECT_EQ(SIdPool_IdText(c.name).Str(), "Sample");
  ASSERT_EQ(c.aobjs.size(), 4u);
  EXPECT_EQ(SIdPool_IdText(c.aobjs[1].type).Str(), "INTEGER");
  EXPECT_EQ(SIdPool_IdText(c.aobjs[1].name).Str(), "level");
  EXPECT_EQ(c.aobjs[1].tmpl, c.aobjs[2].tmpl);  // the second use found the first by name

  SAttribs level = IdlgCat_ResolveAttrs(c.aobjs[1].attrs, c.aobjs[1].tmpl);
  EXPECT_EQ(IntOf(level, "default"), 50);
  SAttribs scale = IdlgCat_ResolveAttrs(c.aobjs[2].attrs, c.aobjs[2].tmpl);
  const SAttribs_Node* own = SAttribs_Find(scale, SIdPool_FindId("default"));
  ASSERT_EQ(own->size, 8u);  // its own default wins over the template's
  double d;
  std::memcpy(&d, own->bytes, 8);
  EXPECT_EQ(d, 1.5);
  const SAttribs_Node* text = SAttribs_Find(c.aobjs[3].attrs.list, SIdPool_FindId("default"));
  EXPECT_STREQ(reinterpret_cast<const char*>(text->bytes), "\xC3\x84 x");

  ASSERT_EQ(c.robjs.size(), 1u);
  const IdlgCat_RObjDef& shell = c.robjs[0];
  EXPECT_EQ(SIdPool_IdText(shell.keyword).Str(), "SHELL");
  EXPECT_EQ(shell.aobj, 1);
  EXPECT_EQ(shell.element, 2);
  ASSERT_EQ(shell.children.size(), 2u);
  EXPECT_EQ(shell.children[0].aobj, 7);
  EXPECT_EQ(shell.children[0].element, -1);
  SAttribs label = IdlgCat_ResolveAttrs(shell.children[1].attrs, shell.children[1].tmpl);
  EXPECT_EQ(IntOf(label, "shortCut"), 'o');
  EXPECT_EQ(IntOf(label, "frameWidth"), 1);
  EXPECT_EQ(IntOf(label, "borderWidth"), 2);  // from the template's parent
  for (SAttribs* l : {&level, &scale, &label}) SAttribs_Destroy(*l);
}

TEST(IdlgCat, TheCompilerWritesTheSameBytes) {
  TempDir dir;
  PutFile(dir.Path() + "/sample.dlg", kSource);
  const RunResult run = RunProgram({FLOATDECK_BINARY_DIR "/buildtools/drfc", "-o", dir.Path() + "/sample.drf",
                                    dir.Path() + "/sample.dlg"},
                                   {});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string compiled = FileText(dir.Path() + "/sample.drf");
  const std::vector<unsigned char> hand = HandWritten();
  EXPECT_EQ(std::vector<unsigned char>(compiled.begin(), compiled.end()), hand);
}

TEST(IdlgCat, EveryTruncationIsDamageAndLeavesTheTablesAsTheyWere) {
  const std::vector<unsigned char> whole = HandWritten();
  IdlgCat_Catalog before;
  ASSERT_TRUE(IdlgCat_Decode(whole.data(), whole.size(), "whole", before));
  Messages_IgnoreErrors(true);
  for (std::size_t size = 8; size < whole.size(); ++size) {
    IdlgCat_Catalog catalog;
    catalog.contexts.push_back(std::make_unique<IdlgCat_ContextDef>());
    EXPECT_FALSE(IdlgCat_Decode(whole.data(), size, "cut", catalog)) << size;
    EXPECT_EQ(IdlgCat_catError, 6) << size;
    EXPECT_EQ(catalog.contexts.size(), 1u);
    EXPECT_TRUE(catalog.aobjTemplates.empty() && catalog.robjTemplates.empty());
  }
  std::vector<unsigned char> wrong = whole;
  wrong[0] ^= 1;
  IdlgCat_Catalog catalog;
  EXPECT_FALSE(IdlgCat_Decode(wrong.data(), wrong.size(), "magic", catalog));
  EXPECT_EQ(IdlgCat_catError, 1);
  wrong = whole;
  wrong[4] = 3;
  EXPECT_FALSE(IdlgCat_Decode(wrong.data(), wrong.size(), "version", catalog));
  EXPECT_EQ(IdlgCat_catError, 2);
  // A template said to be defined before that never was is damage too.
  std::size_t marker = 0;
  wrong = HandWritten(&marker);
  wrong[marker] = 1;
  EXPECT_FALSE(IdlgCat_Decode(wrong.data(), wrong.size(), "template", catalog));
  EXPECT_EQ(IdlgCat_catError, 6);
  TempDir dir;
  EXPECT_FALSE(IdlgCat_LoadContextCatOpt(dir.Path() + "/none.drf", catalog.contexts, catalog.aobjTemplates,
                                         catalog.robjTemplates));
  EXPECT_EQ(IdlgCat_catError, 3);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_TRUE(catalog.contexts.empty());
}

const bool site = UseBuildTreeSite(IdlgCat_Init);

}  // namespace
