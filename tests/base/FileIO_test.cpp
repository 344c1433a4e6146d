#include "base/FileIO.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite(FileIO_Init);

// Runs `call` with errors ignored and forgotten; the error it left.
template <class Call>
std::uint8_t ErrorOf(Call call) {
  Messages_IgnoreErrors(true);
  call();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return FileIO_ioError;
}

std::string ReadAll(FileIO_File file) {
  std::string all;
  char buffer[64];
  while (std::size_t n = FileIO_Read(file, buffer, sizeof buffer)) all.append(buffer, n);
  return all;
}

}  // namespace

TEST(FileIOFiles, TransfersKeepTheirPlace) {
  TempDir dir;
  FileIO_File file = FileIO_Create(dir.Path() + "/data");
  ASSERT_NE(file, FileIO_nil);
  ASSERT_TRUE(FileIO_Write(file, "hello world", 11));
  EXPECT_EQ(FileIO_Length(file), 11);
  EXPECT_EQ(FileIO_GetPos(file), 11);
  ASSERT_TRUE(FileIO_SetPos(file, 6));
  EXPECT_EQ(ReadAll(file), "world");
  EXPECT_EQ(FileIO_ioError, 0);  // the end is no error
  EXPECT_TRUE(FileIO_Close(file));
  EXPECT_EQ(file, FileIO_nil);

  file = FileIO_Open(dir.Path() + "/data", FileIO_readMode);
  EXPECT_EQ(ReadAll(file), "hello world");
  EXPECT_EQ(ErrorOf([&] { FileIO_Write(file, "x", 1); }), 1);  // not open for writing
  const FileIO_File stale = file;
  FileIO_Close(file);
  EXPECT_EQ(ErrorOf([&] { FileIO_Read(stale, nullptr, 1); }), 1);
  EXPECT_EQ(ErrorOf([&] { FileIO_Length(FileIO_nil); }), 1);
  EXPECT_TRUE(FileIO_Close(file));  // nil is no failure
}

TEST(FileIOFiles, FailuresTellTheirCause) {
  TempDir dir;
  const std::string plain = dir.Path() + "/plain";
  WriteBytes(plain, {'x'});
  FileIO_File file = FileIO_nil;
  EXPECT_EQ(ErrorOf([&] { file = FileIO_Open(dir.Path() + "/missing", FileIO_readMode); }), 3);
  EXPECT_EQ(file, FileIO_nil);
  EXPECT_EQ(ErrorOf([&] { FileIO_Create(dir.Path() + "/no/such/dir/file"); }), 3);
  EXPECT_EQ(ErrorOf([&] { FileIO_Create(plain + "/below-a-file"); }), 4);
  EXPECT_EQ(ErrorOf([&] { FileIO_Open(dir.Path(), FileIO_writeMode); }), 4);
  EXPECT_EQ(ErrorOf([&] { FileIO_Open(plain, 3); }), 1);

  // A full device: the write must not pass as done.
  file = FileIO_Open("/dev/full", FileIO_writeMode);
  ASSERT_NE(file, FileIO_nil);
  EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(FileIO_Write(file, "x", 1)); }), 6);
  FileIO_Close(file);
}

TEST(FileIOFiles, ThePoolHandsOutNoDescriptorBeyondItsSize) {
  // Let the process open more than the pool holds when it may, so that the
  // pool's own bound is what stops it.
  rlimit saved;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &saved), 0);
  rlimit wider = saved;
  wider.rlim_cur = std::min<rlim_t>(saved.rlim_max, 2 * kFileIOPoolSize);
  ::setrlimit(RLIMIT_NOFILE, &wider);

  std::vector<FileIO_File> files;
  std::uint8_t error = 0;
  for (std::size_t i = 0; i <= 2 * kFileIOPoolSize && error == 0; ++i) {
    FileIO_File file = FileIO_nil;
    error = ErrorOf([&] { file = FileIO_Open("/dev/null", FileIO_readMode); });
    if (file != FileIO_nil) files.push_back(file);
  }
  EXPECT_EQ(error, 5);
  for (FileIO_File file : files) {
    EXPECT_LT(static_cast<std::size_t>(file), kFileIOPoolSize);
    FileIO_Close(file);
  }
  ::setrlimit(RLIMIT_NOFILE, &saved);
}

// --- Locks between processes --------------------------------------------------

namespace {

// A process that holds the lock on `path`, taken with the flag set to
// `mechanism`, until the holder is dropped.
class Holder {
 public:
  Holder(const std::string& path, const char* mechanism) {
    int ready[2];
    EXPECT_EQ(::pipe(ready), 0);
    EXPECT_EQ(::pipe(release_), 0);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::setenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF", mechanism, 1);
      FileIO_File file = FileIO_Open(path, FileIO_readWriteMode);
      const char taken = FileIO_Lock(file) ? 'L' : '-';
      (void)!::write(ready[1], &taken, 1);
      char done;
      (void)!::read(release_[0], &done, 1);
      ::_exit(0);  // without unlocking: the end of the process frees the lock
    }
    char taken = 0;
    EXPECT_EQ(::read(ready[0], &taken, 1), 1);
    EXPECT_EQ(taken, 'L');
    ::close(ready[0]);
    ::close(ready[1]);
  }
  ~Holder() {
    (void)!::write(release_[1], "x", 1);
    ::waitpid(pid_, nullptr, 0);
    ::close(release_[0]);
    ::close(release_[1]);
  }

 private:
  pid_t pid_ = -1;
  int release_[2];
};

class FileIOLocks : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    ::setenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF", GetParam(), 1);
    path_ = dir_.Path() + "/locked";
    WriteBytes(path_, {'d', 'a', 't', 'a'});
  }
  void TearDown() override { ::unsetenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF"); }

  TempDir dir_;
  std::string path_;
};

}  // namespace

TEST_P(FileIOLocks, AnotherProcessSeesTheLockHeld) {
  FileIO_File file = FileIO_Open(path_, FileIO_readWriteMode);
  ASSERT_TRUE(FileIO_SetPos(file, 3));
  {
    Holder holder(path_, GetParam());
    EXPECT_TRUE(FileIO_IsLocked(file));
    EXPECT_FALSE(FileIO_TestAndLock(file));
    EXPECT_EQ(FileIO_ioError, 0);  // held by another is no error
  }
  ASSERT_TRUE(FileIO_TestAndLock(file));
  EXPECT_EQ(FileIO_GetPos(file), 3);  // locking the whole file keeps the place
  EXPECT_FALSE(FileIO_IsLocked(file));  // our own lock does not count
  EXPECT_TRUE(FileIO_UnLock(file));
  EXPECT_TRUE(FileIO_Lock(file));
  FileIO_Close(file);
}

INSTANTIATE_TEST_SUITE_P(Mechanisms, FileIOLocks, ::testing::Values("off", "on"));

TEST(FileIOLockFlag, TheFlagChoosesTheMechanism) {
  // flock and lockf locks don't see each other on a local file system: a
  // lock taken under one setting is visible only under the same setting.
  TempDir dir;
  const std::string path = dir.Path() + "/locked";
  WriteBytes(path, {'x'});
  FileIO_File file = FileIO_Open(path, FileIO_readWriteMode);
  Holder holder(path, "on");
  ::setenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF", "yes", 1);
  EXPECT_TRUE(FileIO_IsLocked(file));
  ::setenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF", "Off", 1);
  EXPECT_FALSE(FileIO_IsLocked(file));
  EXPECT_TRUE(FileIO_TestAndLock(file));
  ::unsetenv("TV_USE_FLOCK_INSTEAD_OF_LOCKF");
  FileIO_Close(file);
}
