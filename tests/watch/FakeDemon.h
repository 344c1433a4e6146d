// A stand-in for the watch demon, for the clients' tests: a child process
// whose command line names "TVWatchD" (so that an info file naming it counts
// as a live demon's), a loopback port served by a thread of the test, which
// answers each request line as the test says, and the info file in the
// projects directory. The site's variables must be set before it is made.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class FakeDemon {
 public:
  // The answer line to a request line; "" sends none.
  using Answer = std::function<std::string(const std::string& request)>;

  explicit FakeDemon(Answer answer = nullptr) : answer_(std::move(answer)) {
    const std::string tmp = std::getenv("TMP");
    const std::string name = tmp + "/TVWatchD";
    std::filesystem::remove(name);
    std::filesystem::create_symlink("/bin/sleep", name);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::execl(name.c_str(), name.c_str(), "300", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // Until the child runs the program, its command line is the test's.
    for (int i = 0; i < 3000 && Cmdline().find("TVWatchD") == std::string::npos; ++i) ::usleep(10 * 1000);
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof at;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&at), sizeof at);
    ::listen(listener_, 8);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&at), &length);
    std::ofstream(std::string(std::getenv("TV_PROJECTS")) + "/.tvwatchd.info")
        << pid_ << "\n" << ntohs(at.sin_port) << "\n" << std::getenv("MARLLIB") << "\n" << std::getenv("MARLDAT") << "\n"
        << std::getenv("TV_CUSTOMER") << "\n" << std::getenv("TV_PROJECTS") << "\n\n";
    thread_ = std::thread([this] { Serve(); });
  }
  ~FakeDemon() {
    stop_ = true;
    thread_.join();
    ::close(listener_);
    Reap(SIGKILL);
    std::filesystem::remove(std::string(std::getenv("TV_PROJECTS")) + "/.tvwatchd.info");
  }
  FakeDemon(const FakeDemon&) = delete;
  FakeDemon& operator=(const FakeDemon&) = delete;

  int Pid() const { return pid_; }
  // The request lines received so far.
  std::vector<std::string> Requests() {
    std::lock_guard<std::mutex> hold(mutex_);
    return requests_;
  }
  // Ends the child with `signal` unless it ended already; the signal that
  // ended it (0 when it was not a signal).
  int Reap(int signal) {
    if (pid_ <= 0) return ended_;
    ::kill(pid_, signal);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    ended_ = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return ended_;
  }
  // Waits for the child to end by itself (up to a minute); as Reap.
  int Await() {
    for (int i = 0; i < 600 && pid_ > 0; ++i) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        ended_ = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
      } else {
        ::usleep(100 * 1000);
      }
    }
    return ended_;
  }

 private:
  std::string Cmdline() const {
    std::ifstream in("/proc/" + std::to_string(pid_) + "/cmdline");
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  void Serve() {
    while (!stop_) {
      pollfd p{listener_, POLLIN, 0};
      if (::poll(&p, 1, 50) <= 0) continue;
      const int client = ::accept(listener_, nullptr, nullptr);
      if (client < 0) continue;
      std::string pending;
      while (!stop_) {
        pollfd c{client, POLLIN, 0};
        if (::poll(&c, 1, 50) <= 0) continue;
        char bytes[4096];
        const ssize_t n = ::read(client, bytes, sizeof bytes);
        if (n <= 0) break;
        pending.append(bytes, static_cast<std::size_t>(n));
        for (std::size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1)) {
          const std::string line = pending.substr(0, end);
          {
            std::lock_guard<std::mutex> hold(mutex_);
            requests_.push_back(line);
          }
          const std::string reply = answer_ ? answer_(line) : "";
          if (!reply.empty() && ::write(client, (reply + "\n").data(), reply.size() + 1) < 0) break;
        }
      }
      ::close(client);
    }
  }

  Answer answer_;
  int pid_ = -1, ended_ = 0, listener_ = -1;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};
