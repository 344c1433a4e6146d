// Moving, copying and deleting an operator's files: never half a file at a
// name, never a name replaced, within one file system and across two.
#include "workflow/WFfileOp.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const bool site = UseBuildTreeSite([] { Messages_Init(); });

// Names as operators make them: blanks, quotes, "$" and a line feed.
const std::string kOdd = "a b'c\"$d\ne.tif";

std::string ErrorText() {
  TextStr text;
  WFfileOp_GetErrorText(text);
  return StrIn(text).Str();
}

std::int64_t MTime(const std::string& path) {
  struct stat st{};
  ::stat(path.c_str(), &st);
  return st.st_mtim.tv_sec;
}

// Only what the test made is left in `dir`.
std::vector<std::string> Names(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The same cases within one file system and, where the machine has a
// second one (/dev/shm), across it.
class FileOp : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    from_ = dir_.Path() + "/from";
    fs::create_directories(from_);
    if (!GetParam()) {
      to_ = dir_.Path() + "/to";
      fs::create_directories(to_);
      return;
    }
    struct stat a{}, b{};
    if (::stat("/dev/shm", &b) != 0 || ::stat(dir_.Path().c_str(), &a) != 0 || a.st_dev == b.st_dev)
      GTEST_SKIP() << "no second file system";
    other_ = std::make_unique<TempDir>();
    to_ = "/dev/shm/" + fs::path(other_->Path()).filename().string();
    fs::create_directories(to_);
  }
  void TearDown() override {
    if (GetParam() && !to_.empty()) fs::remove_all(to_);
  }
  TempDir dir_;
  std::unique_ptr<TempDir> other_;
  std::string from_, to_;
};

TEST_P(FileOp, MovesAndCopiesWholeAndNeverReplaces) {
  PutFile(from_ + "/" + kOdd, "image");
  ::chmod((from_ + "/" + kOdd).c_str(), 0640);
  const timespec old[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
  ::utimensat(AT_FDCWD, (from_ + "/" + kOdd).c_str(), old, 0);

  // A copy keeps the source and takes bits and time along.
  ASSERT_TRUE(WFfileOp_Copy(from_ + "/" + kOdd, to_ + "/copy")) << ErrorText();
  EXPECT_EQ(FileText(to_ + "/copy"), "image");
  EXPECT_EQ(fs::status(to_ + "/copy").permissions(), fs::perms(0640));
  EXPECT_EQ(MTime(to_ + "/copy"), 1'000'000'000);
  EXPECT_TRUE(fs::exists(from_ + "/" + kOdd));

  // A taken name is left alone, reported, and the source stays.
  PutFile(to_ + "/" + kOdd, "older");
  EXPECT_FALSE(WFfileOp_MoveInto(from_ + "/" + kOdd, to_));
  EXPECT_EQ(WFfileOp_error, WFfileOp_exists);
  EXPECT_NE(ErrorText().find(to_ + "/" + kOdd), std::string::npos) << ErrorText();
  EXPECT_EQ(FileText(to_ + "/" + kOdd), "older");
  EXPECT_FALSE(WFfileOp_Copy(from_ + "/" + kOdd, to_ + "/copy"));
  EXPECT_EQ(WFfileOp_error, WFfileOp_exists);
  EXPECT_EQ(FileText(from_ + "/" + kOdd), "image");

  // A move takes the file whole to its new name.
  fs::remove(to_ + "/" + kOdd);
  ASSERT_TRUE(WFfileOp_MoveInto(from_ + "/" + kOdd, to_)) << ErrorText();
  EXPECT_EQ(FileText(to_ + "/" + kOdd), "image");
  EXPECT_EQ(MTime(to_ + "/" + kOdd), 1'000'000'000);
  EXPECT_TRUE(Names(from_).empty());
  EXPECT_EQ(Names(to_), (std::vector<std::string>{kOdd, "copy"})) << "no temporary file is left";

  // What is gone is told apart from what failed.
  EXPECT_FALSE(WFfileOp_Move(from_ + "/" + kOdd, to_ + "/x"));
  EXPECT_EQ(WFfileOp_error, WFfileOp_gone);
  PutFile(from_ + "/y", "y");
  EXPECT_FALSE(WFfileOp_Move(from_ + "/y", to_ + "/no such directory/y"));
  EXPECT_EQ(WFfileOp_error, WFfileOp_failed);
  EXPECT_NE(ErrorText().find(from_ + "/y"), std::string::npos) << ErrorText();
  EXPECT_TRUE(fs::exists(from_ + "/y"));
}

INSTANTIATE_TEST_SUITE_P(WFfileOp, FileOp, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "AcrossFileSystems" : "WithinOne"; });

TEST(WFfileOp, DeletesAndTellsAVanishedFile) {
  TempDir dir;
  const std::string file = dir.Path() + "/" + kOdd;
  PutFile(file, "x");
  EXPECT_TRUE(WFfileOp_Delete(file));
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(ErrorText(), "");
  EXPECT_FALSE(WFfileOp_Delete(file));
  EXPECT_EQ(WFfileOp_error, WFfileOp_gone);
  EXPECT_NE(ErrorText().find(file), std::string::npos);
  // A directory is no file to delete.
  fs::create_directories(dir.Path() + "/sub");
  EXPECT_FALSE(WFfileOp_Delete(dir.Path() + "/sub"));
  EXPECT_EQ(WFfileOp_error, WFfileOp_failed);
}

}  // namespace
