#include "base/SLock.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite(SLock_Init);

// A process that takes the lock and, told to, releases it or dies holding it.
class Owner {
 public:
  explicit Owner(const std::string& name) {
    int ready[2];
    EXPECT_EQ(::pipe(ready), 0);
    EXPECT_EQ(::pipe(order_), 0);
    pid_ = ::fork();
    if (pid_ == 0) {
      SLock lock = SLock_Create(name);
      const char taken = SLock_Lock(lock, 0) ? 'L' : '-';
      (void)!::write(ready[1], &taken, 1);
      char order = 0;
      (void)!::read(order_[0], &order, 1);
      if (order == 'u') SLock_Unlock(lock);
      ::_exit(0);  // 'd': dies holding the lock
    }
    char taken = 0;
    EXPECT_EQ(::read(ready[0], &taken, 1), 1);
    EXPECT_EQ(taken, 'L');
    ::close(ready[0]);
    ::close(ready[1]);
  }
  ~Owner() {
    Tell('d');
    ::close(order_[0]);
    ::close(order_[1]);
  }
  int Pid() const { return pid_; }
  // 'u' to release and end, 'd' to end holding the lock; waits for the end
  // only for 'd', so that a waiter can take over meanwhile.
  void Tell(char order) {
    if (pid_ <= 0) return;
    (void)!::write(order_[1], &order, 1);
    if (order == 'd') {
      ::waitpid(pid_, nullptr, 0);  // reaped: the id names no process any more
      pid_ = -1;
    }
  }

 private:
  pid_t pid_ = -1;
  int order_[2];
};

class SLockTest : public ::testing::Test {
 protected:
  void TearDown() override {
    SLock_Destroy(mine_);
    EXPECT_EQ(Messages_IgnoreLevel(), 0u);
  }
  TempDir dir_;
  std::string name_ = dir_.Path() + "/.users.lck";
  SLock mine_ = SLock_Create(name_);
};

}  // namespace

TEST_F(SLockTest, OneHolderAtATimeAndOnlyItsOwnFileIsRemoved) {
  ASSERT_TRUE(SLock_Lock(mine_, 0));
  EXPECT_TRUE(SLock_Lock(mine_, 0));  // held already
  EXPECT_EQ(FileText(name_), std::to_string(::getpid()) + "\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.Path()), {}), 1);  // no private file left

  SLock second = SLock_Create(name_);
  EXPECT_FALSE(SLock_Lock(second, 0));  // our own id, but held by a handle of ours
  EXPECT_EQ(SLock_error, 3);
  SLock_Unlock(mine_);
  EXPECT_FALSE(std::filesystem::exists(name_));
  ASSERT_TRUE(SLock_Lock(second, 0));

  // A file put in the lock's place behind its holder's back survives the release.
  std::filesystem::remove(name_);
  PutFile(name_, "12345\n");
  SLock_Destroy(second);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(FileText(name_), "12345\n");
}

TEST_F(SLockTest, ALockWhoseOwnerDiedIsTakenOverAtTheFirstTry) {
  Owner owner(name_);
  const int pid = owner.Pid();
  owner.Tell('d');
  EXPECT_EQ(FileText(name_), std::to_string(pid) + "\n");
  ASSERT_TRUE(SLock_Lock(mine_, 0));
  EXPECT_EQ(FileText(name_), std::to_string(::getpid()) + "\n");

  // Our own id in a lock that no handle of ours holds was left by an earlier
  // process with the same id.
  SLock_Unlock(mine_);
  PutFile(name_, std::to_string(::getpid()) + "\n");
  EXPECT_TRUE(SLock_Lock(mine_, 0));
}

TEST_F(SLockTest, ALiveOwnerMakesTheWaiterTimeOutOrWaitForTheRelease) {
  Owner owner(name_);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(SLock_Lock(mine_, 250));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(SLock_error, 3);
  EXPECT_GE(waited, std::chrono::milliseconds(250));
  EXPECT_LT(waited, std::chrono::milliseconds(5000));
  EXPECT_EQ(FileText(name_), std::to_string(owner.Pid()) + "\n");

  owner.Tell('u');  // released while we wait
  EXPECT_TRUE(SLock_Lock(mine_, 10000));
}

TEST_F(SLockTest, ALockWithoutAProcessIdIsStaleOnlyAfterTheGracePeriod) {
  PutFile(name_, "garbage");
  EXPECT_FALSE(SLock_Lock(mine_, 0));  // may be a writer filling it in
  EXPECT_EQ(FileText(name_), "garbage");
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(1);
  std::filesystem::last_write_time(name_, old);
  EXPECT_TRUE(SLock_Lock(mine_, 0));
}

TEST_F(SLockTest, ADirectoryWithoutRoomForThePrivateFileFails) {
  const std::string plain = dir_.Path() + "/plain";
  PutFile(plain, "x");
  for (const std::string& name : {plain + "/lock", dir_.Path() + "/missing/lock"}) {
    SLock lock = SLock_Create(name);
    Messages_IgnoreErrors(true);
    EXPECT_FALSE(SLock_Lock(lock, 1000));
    Messages_IgnoreErrors(false);
    Messages_ForgetErrorReasons();
    EXPECT_EQ(SLock_error, 1);
    EXPECT_FALSE(SLock_IsHeld(lock));
    SLock_Destroy(lock);
  }
}
