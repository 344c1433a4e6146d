// The dialog source compiler: literals become the bytes the widgets read,
// and every fault names its line.
#include "tools/DrfSource.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "base/SIdPool.h"

namespace {

bool Parse(const std::string& text, IdlgCat_Catalog& catalog, std::string& error) {
  std::istringstream source(text);
  return Drf_ParseSource(source, "src", catalog, error);
}

TEST(DrfSource, LiteralsTakeTheFormOfTheirType) {
  IdlgCat_Catalog catalog;
  std::string error;
  ASSERT_TRUE(Parse("context C { LABEL [a = -5, b = 2.5e1 c = (1, 2.5) d = (3 4) e = 'x' f = false "
                    "g = \"q\\\"\\n\" h = 4294967295] }",
                    catalog, error))
      << error;
  const SAttribs list = catalog.contexts[0]->robjs[0].attrs.list;
  auto node = [&](const char* name) { return SAttribs_Find(list, SIdPool_FindId(StrIn::C(name))); };
  std::int32_t i;
  std::memcpy(&i, node("a")->bytes, 4);
  EXPECT_EQ(i, -5);
  double d[2];
  ASSERT_EQ(node("b")->size, 8u);
  std::memcpy(d, node("b")->bytes, 8);
  EXPECT_EQ(d[0], 25.0);
  ASSERT_EQ(node("c")->size, 16u);  // one real makes every item a double
  std::memcpy(d, node("c")->bytes, 16);
  EXPECT_EQ(d[0], 1.0);
  EXPECT_EQ(d[1], 2.5);
  EXPECT_EQ(node("d")->size, 8u);
  std::memcpy(&i, node("e")->bytes, 4);
  EXPECT_EQ(i, 'x');
  EXPECT_EQ(node("f")->size, 1u);
  EXPECT_STREQ(reinterpret_cast<const char*>(node("g")->bytes), "q\"\n");
  EXPECT_EQ(catalog.contexts[0]->robjs[0].attrs.types,
            (std::vector<std::uint8_t>{1, 3, 5, 5, 1, 0, 6, 1}));
}

TEST(DrfSource, FaultsNameTheirLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"context A {\n  LABEL : Missing\n}", "src:2: unknown template Missing"},
      {"context A {\n value 1 INTEGER x\n value 1 INTEGER y\n}", "src:3: value 1 declared twice"},
      {"context A {\n\n  PUSH value 4\n}", "src:3: no value 4 in this context"},
      {"context A { VBOX {\n LABEL element 3\n LABEL element 3\n} }", "src:3: element 3 used twice"},
      {"context A {\n VBOX\n HBOX\n}", "src:3: a dialog has one widget at the top"},
      {"context A {}\ncontext A {}", "src:2: context A declared twice"},
      {"template widget T\ntemplate widget T", "src:2: template T declared twice"},
      {"context A {\n LABEL [x = 1,\n x = 2] }", "src:3: attribute x given twice"},
      {"context A {\n LABEL [x = 99999999999] }", "src:2: number out of range"},
      {"context A {\n LABEL [x = \"open\n] }", "src:2: text without its closing quote"},
      {"context A {\n LABEL {\n", "src:3: '}' expected"},
      {"dialog A", "src:1: template or context expected"},
      {"context A123456789012345678901234567890123 {}",
       "src:1: name longer than 32 bytes: A123456789012345678901234567890123"},
      {"context A {\n LABEL [x = @] }", "src:2: unexpected character '@'"},
  };
  for (const auto& [text, expected] : cases) {
    IdlgCat_Catalog catalog;
    std::string error;
    EXPECT_FALSE(Parse(text, catalog, error)) << text;
    EXPECT_EQ(error, expected) << text;
  }
}

}  // namespace
