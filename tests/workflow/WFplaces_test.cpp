// Places of folders: adding offsets, the column's floor, and the file that
// holds them.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/TestFiles.h"
#include "workflow/WFplaces.h"

namespace {

TempDir*& site = UsePrivateSiteForTests(WFplaces_Init);

std::string Place(WFplaces places, const std::string& path) {
  std::int32_t column = 0, row = 0;
  if (!WFplaces_GetPlace(places, path, column, row)) return "none";
  return std::to_string(column) + "," + std::to_string(row);
}

}  // namespace

TEST(WFplaces, OffsetsAddUpAndPlacesOfNothingGo) {
  const std::string file = site->Make("projects/workflow/wf/.wfplaces");
  WFplaces places = WFplaces_Create("wf");
  WFplaces_SetPlace(places, "/p/a b", 0, 0);  // nothing: not even a change
  WFplaces_Save(places);
  EXPECT_FALSE(std::filesystem::exists(file));

  WFplaces_SetPlace(places, "/p/a b", 1, 0);
  WFplaces_SetPlace(places, "/p/a b", 1, 0);
  EXPECT_EQ(Place(places, "/p/a b"), "2,0");
  WFplaces_SetPlace(places, "/p/c", -3, -2);  // the column stops at 0, the row doesn't
  EXPECT_EQ(Place(places, "/p/c"), "0,-2");
  WFplaces_Save(places);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0666));

  WFplaces reread = WFplaces_Open("wf");
  EXPECT_EQ(Place(reread, "/p/a b"), "2,0");
  EXPECT_EQ(Place(reread, "/p/c"), "0,-2");
  WFplaces copy = WFplaces_Copy(reread);
  WFplaces_Close(reread);
  WFplaces_SetPlace(copy, "/p/a b", -2, 0);
  WFplaces_ResetPlace(copy, "/p/c");
  EXPECT_EQ(Place(copy, "/p/a b"), "none");
  WFplaces_Save(copy);
  EXPECT_FALSE(std::filesystem::exists(file));  // the last place went with the file
  WFplaces_Close(copy);
  WFplaces_Close(places);
}

TEST(WFplaces, TheFileIsReadOnlyForItsOwnWorkflow) {
  const std::string file = site->Make("projects/workflow/mine/.wfplaces");
  PutFile(file, "other\n/p/x 1 1\n");
  WFplaces places = WFplaces_Open("mine");
  EXPECT_EQ(Place(places, "/p/x"), "none");
  WFplaces_Close(places);

  PutFile(file, "mine\n/p/x 1 2\n/p/zero 0 0\n/p/bad 1 x\n/p/short 3\n");
  places = WFplaces_Open("mine");
  EXPECT_EQ(Place(places, "/p/x"), "1,2");
  EXPECT_EQ(Place(places, "/p/zero"), "none");
  EXPECT_EQ(Place(places, "/p/bad"), "none");
  EXPECT_EQ(Place(places, "/p/short"), "none");
  WFplaces_Close(places);
}
