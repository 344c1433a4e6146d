#include "tests/toolkit/XvfbServer.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"

bool XvfbServer::Start(int width, int height, int depth) {
  int ready[2];
  if (::pipe(ready) != 0) return false;
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) {
    // The server dies with the test program, whatever ends that one.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent) ::_exit(1);
    ::close(ready[0]);
    const std::string fd = std::to_string(ready[1]);
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x" + std::to_string(depth);
    ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
             "-br", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ready[1]);
  if (pid < 0) {
    ::close(ready[0]);
    return false;
  }
  pid_ = pid;
  // The server writes its display number once it accepts connections.
  std::string number;
  pollfd wait{ready[0], POLLIN, 0};
  while (::poll(&wait, 1, 60000) > 0) {
    char c;
    if (::read(ready[0], &c, 1) != 1 || c == '\n') break;
    number += c;
  }
  ::close(ready[0]);
  if (number.empty()) {
    Stop();
    return false;
  }
  display_ = ":" + number;
  ::setenv("DISPLAY", display_.c_str(), 1);
  return true;
}

void XvfbServer::Stop() {
  if (pid_ < 0) return;
  ::kill(pid_, SIGTERM);
  int status;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
}

namespace {

class XvfbEnvironment : public ::testing::Environment {
 public:
  explicit XvfbEnvironment(int depth) : depth_(depth) {}
  void SetUp() override {
    ASSERT_TRUE(server_.Start(1024, 768, depth_)) << "Xvfb did not start";
    Wt_Initialize();
    ASSERT_TRUE(WtBase_AssertDisplayOpen());
  }
  void TearDown() override {
    W_CloseDisplay();
    server_.Stop();
  }

 private:
  int depth_;
  XvfbServer server_;
};

}  // namespace

bool UseXvfb(int depth) {
  ::testing::AddGlobalTestEnvironment(new XvfbEnvironment(depth));
  return true;
}

// The font configuration library keeps parts of its configuration that it
// never frees; the leak checker of the sanitizer build is told so.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
