#include "base/BFileIO.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <string>

#include "base/Messages.h"
#include "base/Processe.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite([] {
  ::setenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF", "off", 1);
  BFileIO_Init();
});

constexpr std::size_t B = kBFileIOBufferSize;

std::string Read(BFileIO_File file, std::size_t count) {
  std::string text(count, '\0');
  text.resize(BFileIO_Read(file, text.data(), count));
  return text;
}

bool Write(BFileIO_File file, const std::string& text) { return BFileIO_Write(file, text.data(), text.size()); }

// The reasons on the stack, newest first, and the stack emptied.
std::vector<std::string> Reasons() {
  std::vector<std::string> all;
  char text[kTextCap];
  while (Messages_ErrorReason(text)) all.push_back(text);
  return all;
}

std::string Message(const char* section, unsigned number) {
  char text[kTextCap];
  Messages_GetMsg(StrIn::C(section), number, text);
  return text;
}

}  // namespace

TEST(BFileIOTransfer, MixedSizesMatchAPlainCopy) {
  TempDir dir;
  const std::string path = dir.Path() + "/data";
  std::mt19937 random(7);
  std::string reference;
  BFileIO_File file = BFileIO_Create(path);
  ASSERT_NE(file, nullptr);
  for (std::size_t size : {std::size_t{1}, std::size_t{7}, B - 3, B, 2 * B + 5, std::size_t{1}, std::size_t{300}}) {
    std::string chunk(size, '\0');
    for (char& c : chunk) c = static_cast<char>(random());
    ASSERT_TRUE(Write(file, chunk));
    EXPECT_EQ(BFileIO_bytesTransferred, size);
    reference += chunk;
    EXPECT_EQ(BFileIO_GetPos(file), static_cast<std::int64_t>(reference.size()));
    EXPECT_EQ(BFileIO_Length(file), static_cast<std::int64_t>(reference.size()));
  }
  ASSERT_TRUE(BFileIO_Close(file));
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(FileText(path), reference);

  file = BFileIO_Open(path, FileIO_readMode);
  std::string back;
  for (std::size_t size : {std::size_t{3}, B + 1, std::size_t{1}, std::size_t{5000}, 3 * B}) back += Read(file, size);
  EXPECT_EQ(back, reference);
  // The last read ran into the end: fewer bytes, and no error.
  EXPECT_EQ(BFileIO_bytesTransferred, reference.size() - (3 + B + 1 + 1 + 5000));
  EXPECT_EQ(BFileIO_ioError, 0);
  EXPECT_EQ(Read(file, 10), "");
  BFileIO_Close(file);
}

TEST(BFileIOTransfer, ReadsAndWritesMeetAtOnePosition) {
  TempDir dir;
  const std::string path = dir.Path() + "/data";
  WriteBytes(path, {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'});
  BFileIO_File file = BFileIO_Open(path, FileIO_readWriteMode);
  EXPECT_EQ(Read(file, 3), "012");  // the rest is read ahead now
  ASSERT_TRUE(Write(file, "abc"));  // ... and must not push this to the end
  EXPECT_EQ(BFileIO_GetPos(file), 6);
  EXPECT_EQ(Read(file, 2), "67");   // the write went out before the read
  ASSERT_TRUE(BFileIO_SetPos(file, 0));
  ASSERT_TRUE(Write(file, "AB"));
  EXPECT_EQ(Read(file, 3), "2ab");
  BFileIO_Close(file);
  EXPECT_EQ(FileText(path), "AB2abc6789");
}

TEST(BFileIOTransfer, ShortReadsFromAPipeAreGathered) {
  TempDir dir;
  const std::string fifo = dir.Path() + "/fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::string sent;
  for (std::size_t i = 0; i < 2 * B + 10; ++i) sent += static_cast<char>('a' + i % 26);
  const pid_t writer = ::fork();
  if (writer == 0) {
    FileIO_File out = FileIO_Open(fifo, FileIO_writeMode);
    for (std::size_t at = 0; at < sent.size(); at += 1000) {
      FileIO_Write(out, sent.data() + at, std::min<std::size_t>(1000, sent.size() - at));
      ::usleep(2000);  // each piece arrives on its own
    }
    ::_exit(0);
  }
  BFileIO_File file = BFileIO_Open(fifo, FileIO_readMode);
  std::string got = Read(file, 5);
  got += Read(file, sent.size() - 5);  // large: read past the buffer
  EXPECT_EQ(got, sent);
  EXPECT_EQ(Read(file, 1), "");
  EXPECT_EQ(BFileIO_ioError, 0);
  BFileIO_Close(file);
  ::waitpid(writer, nullptr, 0);
}

TEST(BFileIOFailures, ReportsStandAboveTheRawLayer) {
  TempDir dir;
  const std::string missing = dir.Path() + "/missing";
  Messages_IgnoreErrors(true);
  EXPECT_EQ(BFileIO_Open(missing, FileIO_readMode), nullptr);
  Messages_IgnoreErrors(false);
  EXPECT_EQ(BFileIO_ioError, 3);
  const std::vector<std::string> reasons = Reasons();
  ASSERT_EQ(reasons.size(), 3u);
  EXPECT_EQ(reasons[0], Message("BFileIO", 1));
  EXPECT_EQ(reasons[1], Message("FileIO", 3));
  EXPECT_NE(reasons[2].find(missing), std::string::npos);

  const std::string plain = dir.Path() + "/plain";
  WriteBytes(plain, {'x'});
  BFileIO_File file = BFileIO_Open(plain, FileIO_readMode);
  Messages_IgnoreErrors(true);
  EXPECT_EQ(BFileIO_Create(plain + "/below-a-file"), nullptr);
  EXPECT_EQ(BFileIO_ioError, 4);
  EXPECT_FALSE(Write(file, "y"));  // a handle for reading takes no bytes
  EXPECT_EQ(BFileIO_ioError, 1);
  EXPECT_EQ(Read(BFileIO_Nil(), 1), "");
  EXPECT_EQ(BFileIO_ioError, 1);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  BFileIO_Close(file);
  EXPECT_EQ(FileText(plain), "x");

  // A full device takes the bytes into the buffer and refuses them on the way out.
  file = BFileIO_Open("/dev/full", FileIO_writeMode);
  EXPECT_TRUE(Write(file, "x"));
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(BFileIO_Flush(file));
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(BFileIO_ioError, 6);
  EXPECT_TRUE(BFileIO_Close(file));  // the refused bytes were dropped
}

TEST(BFileIOLocks, LockingDropsReadAheadAndUnlockingPassesWritesOn) {
  TempDir dir;
  const std::string path = dir.Path() + "/shared";
  WriteBytes(path, {'a', 'a', 'a', 'a'});
  BFileIO_File file = BFileIO_Open(path, FileIO_readWriteMode);
  EXPECT_EQ(Read(file, 1), "a");
  // Another writer changes the file while our read-ahead holds the old bytes.
  FileIO_File other = FileIO_Open(path, FileIO_readWriteMode);
  FileIO_Write(other, "bbbb", 4);
  ASSERT_TRUE(BFileIO_TestAndLock(file));
  EXPECT_EQ(Read(file, 1), "b");
  ASSERT_TRUE(Write(file, "XY"));
  ASSERT_TRUE(BFileIO_UnLock(file));
  EXPECT_EQ(FileText(path), "bbXY");
  FileIO_Close(other);
  BFileIO_Close(file);
}

TEST(BFileIOExitDeathTest, PendingBytesGoOutWhenTheProcessEnds) {
  TempDir dir;
  const std::string path = dir.Path() + "/left-open";
  EXPECT_EXIT(
      {
        BFileIO_File file = BFileIO_Create(path);
        Write(file, "kept");
        Processe_SetExitStatus(0);
        Processe_Exit();
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_EQ(FileText(path), "kept");
  // Lines on the error channel go out at once: even an exit that runs no
  // clean-up at all doesn't lose them.
  EXPECT_EXIT(
      {
        Write(BFileIO_stderr, "a line for the operator\n");
        ::_exit(0);
      },
      ::testing::ExitedWithCode(0), "a line for the operator");
}
