#include "tools/SrfWriter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

bool Parse(const std::string& text, SrfCatalog& catalog, std::string& error) {
  std::istringstream source(text);
  return Srf_ParseSource(source, "src", catalog, error);
}

unsigned U16(const std::vector<unsigned char>& bytes, std::size_t at) {
  return bytes[at] | (bytes[at + 1] << 8);
}

}  // namespace

TEST(SrfWriter, SourceTextsWithEscapesAndComments) {
  SrfCatalog catalog;
  std::string error;
  ASSERT_TRUE(Parse("# comment\n\n[Beta]\n  7 \"a \\\"b\\\" \\\\ c\\n\\x41\"\n[Alpha]\n2 \"  lead\"\n[Beta]\n3 \"\"\n",
                    catalog, error))
      << error;
  EXPECT_EQ(catalog.sections["Beta"][7], "a \"b\" \\ c\nA");
  EXPECT_EQ(catalog.sections["Beta"][3], "");
  EXPECT_EQ(catalog.sections["Alpha"][2], "  lead");  // blanks inside quotes stay
}

TEST(SrfWriter, BadSourceLinesNameTheirLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"1 \"before any section\"\n", "src:1: message before the first section"},
      {"[S]\n1 \"a\"\n1 \"b\"\n", "src:3: message 1 stands twice"},
      {"[Seventeen_chars_x]\n", "src:1: a section name is [Name] with 1 to 16 bytes"},
      {"[S]\n1 \"open\n", "src:2: missing closing quote"},
      {"[S]\n1 \"a\" tail\n", "src:2: text after the closing quote"},
      {"[S]\n70000 \"a\"\n", "src:2: message number above 65535"},
      {"[S]\n1 \"\\x00\"\n", "src:2: bad \\x escape"},
      {"[S]\nword\n", "src:2: expected [Section], a numbered text or a # comment"},
  };
  for (const auto& [text, expected] : cases) {
    SrfCatalog catalog;
    std::string error;
    EXPECT_FALSE(Parse(text, catalog, error)) << text;
    EXPECT_EQ(error, expected) << text;
  }
}

TEST(SrfWriter, EncodesSortedLittleEndianSections) {
  SrfCatalog catalog;
  catalog.sections["b"] = {{300, "x"}, {2, "yz"}};
  catalog.sections["a"] = {{1, ""}};
  std::vector<unsigned char> bytes;
  std::string error;
  ASSERT_TRUE(Srf_Encode(catalog, bytes, error));
  // Section "a": name, count 1, text size 1, entry (1, 0), text "\0".
  ASSERT_EQ(bytes.size(), (16 + 4 + 4 + 1) + (16 + 4 + 8 + 5));
  EXPECT_EQ(bytes[0], 'a');
  EXPECT_EQ(bytes[1], 0);
  EXPECT_EQ(U16(bytes, 16), 1u);
  EXPECT_EQ(U16(bytes, 18), 1u);
  EXPECT_EQ(U16(bytes, 20), 1u);
  // Section "b": numbers ascending, offsets into its own text block.
  const std::size_t b = 25;
  EXPECT_EQ(bytes[b], 'b');
  EXPECT_EQ(U16(bytes, b + 16), 2u);
  EXPECT_EQ(U16(bytes, b + 18), 5u);  // "yz\0x\0"
  EXPECT_EQ(U16(bytes, b + 20), 2u);
  EXPECT_EQ(U16(bytes, b + 22), 0u);
  EXPECT_EQ(U16(bytes, b + 24), 300u);
  EXPECT_EQ(U16(bytes, b + 26), 3u);
  EXPECT_EQ(bytes[b + 28 + 3], 'x');
}

TEST(SrfWriter, RefusesSectionsBeyondTheFormatsLimits) {
  SrfCatalog tooMany, tooLong;
  for (unsigned n = 0; n <= 15000; ++n) tooMany.sections["s"][n] = "";
  tooLong.sections["s"][1] = std::string(70000, 'x');
  std::vector<unsigned char> bytes;
  std::string error;
  EXPECT_FALSE(Srf_Encode(tooMany, bytes, error));
  EXPECT_FALSE(Srf_Encode(tooLong, bytes, error));
  tooMany.sections["s"].erase(15000);
  EXPECT_TRUE(Srf_Encode(tooMany, bytes, error)) << error;
}
