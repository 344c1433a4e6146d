// A folder's ".readyFiles": names of every kind survive it, and an empty
// list leaves no file.
#include "watch/TVWhandled.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TestFiles.h"

TEST(TVWhandled, NamesOfAnyKindSurviveTheList) {
  TempDir folder;
  const std::vector<std::string> names = {"plain.tif", "a b.tif", "back\\slash", "new\nline", "\\n as text"};
  StrVector list = StrVector_Create();
  for (const std::string& n : names) StrVector_AddElement(list, n);
  ASSERT_TRUE(TVWhandled_Lock(folder.Path()));
  ASSERT_TRUE(TVWhandled_Save(folder.Path(), list));
  TVWhandled_Unlock(folder.Path());
  StrVector_Destroy(list);
  EXPECT_FALSE(std::filesystem::exists(folder.Path() + "/" + TVWhandled_lockName));
  EXPECT_EQ(FileText(folder.Path() + "/" + TVWhandled_fileName),
            "plain.tif\na\\ b.tif\nback\\\\slash\nnew\\nline\n\\\\n\\ as\\ text\n");

  list = TVWhandled_Load(folder.Path());
  ASSERT_EQ(StrVector_ElementCount(list), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(StrVector_DynElementAt(list, i).Str(), names[i]);
  StrVector_Destroy(list);

  list = StrVector_Create();
  ASSERT_TRUE(TVWhandled_Save(folder.Path(), list));
  EXPECT_FALSE(std::filesystem::exists(folder.Path() + "/" + TVWhandled_fileName));
  StrVector_Destroy(list);
  list = TVWhandled_Load(folder.Path());
  EXPECT_EQ(StrVector_ElementCount(list), 0U);
  StrVector_Destroy(list);
}
