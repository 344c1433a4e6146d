#include "base/BOutIn.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite(BOutIn_Init);

constexpr std::size_t B = kBFileIOBufferSize;

class BOutInTest : public ::testing::Test {
 protected:
  // A file holding `text`, opened for reading.
  BFileIO_File Holding(const std::string& text) {
    PutFile(path_, text);
    BFileIO_Close(file_);
    file_ = BFileIO_Open(path_, FileIO_readMode);
    return file_;
  }
  std::string Written() {
    BFileIO_Close(file_);
    return FileText(path_);
  }
  void TearDown() override { BFileIO_Close(file_); }

  TempDir dir_;
  std::string path_ = dir_.Path() + "/text";
  BFileIO_File file_ = nullptr;
};

// The lines a reader with room for `room` characters should see: each line of
// `text` cut to that room; a last line without line feed counts.
std::vector<std::string> Expected(const std::string& text, std::size_t room) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line.substr(0, room));
  return lines;
}

template <std::size_t N>
std::vector<std::string> ReadLines(BFileIO_File file, char (&line)[N]) {
  std::vector<std::string> lines;
  while (BOutIn_ReadLine(file, line)) lines.push_back(StrIn(line).Str());
  return lines;
}

}  // namespace

TEST_F(BOutInTest, LinesAcrossBufferBoundariesAreWholeOrCutAtTheBound) {
  // Lengths around the buffer size put line feeds on both sides of each
  // buffer boundary, and lines that span one, two or three buffers.
  std::string text;
  char letter = 'a';
  for (std::size_t length : {std::size_t{0}, std::size_t{1}, B - 3, B - 1, B, B + 1, 2 * B - 1,
                             std::size_t{5}, std::size_t{0}, 3 * B, std::size_t{17}}) {
    text += std::string(length, letter) + "\n";
    letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1);
  }
  text += "last line without a line feed";

  static char wide[4 * B];
  EXPECT_EQ(ReadLines(Holding(text), wide), Expected(text, sizeof wide));
  EXPECT_FALSE(BOutIn_done);
  EXPECT_EQ(BFileIO_ioError, 0);
  EXPECT_STREQ(wide, "");

  // A narrow string gets the head of each line, filled to its last byte
  // without terminator, and the next read starts at the next line.
  char narrow[16];
  EXPECT_EQ(ReadLines(Holding(text), narrow), Expected(text, sizeof narrow));
}

TEST_F(BOutInTest, WordsAndCharactersPassOverBlanks) {
  char word[8];
  Holding(" alpha\tbeta\r\n\n  gamma");
  for (const char* expected : {"alpha", "beta", "gamma"}) {
    EXPECT_TRUE(BOutIn_ReadWord(file_, word));
    EXPECT_EQ(StrIn(word).Str(), expected);
  }
  EXPECT_FALSE(BOutIn_ReadWord(file_, word));
  EXPECT_STREQ(word, "");

  // A word takes the blank after it; a long one is cut and passed over whole.
  char line[64], c = 0;
  Holding("key value rest\nabcdefghijklmnopqrstuvwxyz next\nz");
  BOutIn_ReadWord(file_, word);
  EXPECT_TRUE(BOutIn_ReadLine(file_, line));
  EXPECT_STREQ(line, "value rest");
  BOutIn_ReadWord(file_, word);
  EXPECT_EQ(StrIn(word).Str(), "abcdefgh");
  BOutIn_ReadWord(file_, word);
  EXPECT_STREQ(word, "next");
  EXPECT_TRUE(BOutIn_ReadChar(file_, c));
  EXPECT_EQ(c, 'z');
  EXPECT_FALSE(BOutIn_ReadChar(file_, c));
  EXPECT_FALSE(BOutIn_ReadLine(file_, line));
}

TEST_F(BOutInTest, WritesTextAndNumbers) {
  file_ = BFileIO_Create(path_);
  EXPECT_TRUE(BOutIn_WriteString(file_, "n="));
  EXPECT_TRUE(BOutIn_WriteInt(file_, -42, 5));
  EXPECT_TRUE(BOutIn_WriteChar(file_, ' '));
  EXPECT_TRUE(BOutIn_WriteCard(file_, 18446744073709551615u, 0));
  EXPECT_TRUE(BOutIn_WriteLn(file_));
  EXPECT_TRUE(BOutIn_WriteReal(file_, 2.5, 6, 2));
  EXPECT_TRUE(BOutIn_WriteLine(file_, "end"));
  EXPECT_EQ(Written(), "n=  -42 18446744073709551615\n  2.50end\n");
}

TEST_F(BOutInTest, FailuresReportAboveTheBufferedLayer) {
  char line[16], top[kTextCap];
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(BOutIn_ReadLine(BFileIO_Nil(), line));
  Messages_IgnoreErrors(false);
  EXPECT_EQ(BFileIO_ioError, 1);
  ASSERT_TRUE(Messages_ErrorReason(top));
  Messages_ForgetErrorReasons();
  char expected[kTextCap];
  Messages_GetMsg("BOutIn", 2, expected);
  EXPECT_STREQ(top, expected);

  // A full device refuses what the buffer passes on: a text longer than the
  // buffer shows it at once.
  file_ = BFileIO_Open("/dev/full", FileIO_writeMode);
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(BOutIn_WriteString(file_, std::string(2 * B, 'x')));
  Messages_IgnoreErrors(false);
  EXPECT_EQ(BFileIO_ioError, 6);
  ASSERT_TRUE(Messages_ErrorReason(top));
  Messages_ForgetErrorReasons();
  Messages_GetMsg("BOutIn", 1, expected);
  EXPECT_STREQ(top, expected);
}
