#include "tests/support/TestFiles.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/support/FlowSite.h"
#include "tools/SrfWriter.h"

TempDir::TempDir() {
  char pattern[] = "/tmp/floatdeck-test-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
  owner_ = ::getpid();
}

TempDir::~TempDir() {
  if (::getpid() != owner_) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Make(const std::string& relative) const {
  const std::string full = path_ + "/" + relative;
  std::filesystem::create_directories(std::filesystem::path(full).parent_path());
  return full;
}

std::vector<unsigned char> EncodeCatalog(const CatalogTexts& texts) {
  SrfCatalog catalog;
  catalog.sections = texts;
  std::vector<unsigned char> bytes;
  std::string error;
  if (!Srf_Encode(catalog, bytes, error)) throw std::runtime_error(error);
  return bytes;
}

void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void WriteCatalog(const std::string& path, const CatalogTexts& texts) {
  WriteBytes(path, EncodeCatalog(texts));
}

RunResult RunProgram(const std::vector<std::string>& argv,
                     const std::vector<std::pair<std::string, std::string>>& env) {
  int out[2], err[2];
  // Only the program's own 1 and 2 lead into the pipes: a service it starts
  // and leaves running must not keep them open.
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(out[1], 1);
    ::dup2(err[1], 2);
    ::close(out[0]);
    ::close(err[0]);
    for (const auto& [name, value] : env) {
      if (value.empty()) ::unsetenv(name.c_str());
      else ::setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    ::execv(args[0], args.data());
    ::_exit(127);
  }
  ::close(out[1]);
  ::close(err[1]);
  RunResult result;
  pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
  std::string* sinks[2] = {&result.out, &result.err};
  int open = 2;
  while (open > 0 && ::poll(fds, 2, -1) > 0) {
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      char buffer[4096];
      const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
      if (n > 0) {
        sinks[i]->append(buffer, static_cast<std::size_t>(n));
      } else {
        ::close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

void PutFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

namespace {

class BuildTreeSite : public ::testing::Environment {
 public:
  explicit BuildTreeSite(void (*init)()) : init_(init) {}
  void SetUp() override {
    ::setenv("TV_NO_RUN_FILE", "1", 1);
    ::setenv("MARLENV", FLOATDECK_BINARY_DIR "/env", 1);
    init_();
  }

 private:
  void (*init_)();
};

}  // namespace

bool UseBuildTreeSite(void (*init)()) {
  ::testing::AddGlobalTestEnvironment(new BuildTreeSite(init));
  return true;
}


namespace {

class PrivateSiteForTests : public ::testing::Environment {
 public:
  PrivateSiteForTests(TempDir*& site, void (*init)()) : site_(site), init_(init) {}
  void SetUp() override {
    site_ = new TempDir;
    UsePrivateSite(site_->Path());
    init_();
  }
  void TearDown() override {
    delete site_;
    site_ = nullptr;
  }

 private:
  TempDir*& site_;
  void (*init_)();
};

}  // namespace

TempDir*& UsePrivateSiteForTests(void (*init)()) {
  static TempDir* site = nullptr;
  ::testing::AddGlobalTestEnvironment(new PrivateSiteForTests(site, init));
  return site;
}

namespace {

class FlowSiteForTests : public ::testing::Environment {
 public:
  FlowSiteForTests(FlowSite*& site, void (*setUp)(), void (*tearDown)())
      : site_(site), setUp_(setUp), tearDown_(tearDown) {}
  void SetUp() override {
    root_ = new TempDir;
    site_ = new FlowSite(root_->Path());
    setUp_();
  }
  void TearDown() override {
    if (tearDown_ != nullptr) tearDown_();
    delete site_;
    site_ = nullptr;
    StopSiteServices(root_->Path() + "/dat");
    delete root_;
  }

 private:
  FlowSite*& site_;
  void (*setUp_)();
  void (*tearDown_)();
  TempDir* root_ = nullptr;
};

}  // namespace

FlowSite*& UseFlowSiteForTests(void (*setUp)(), void (*tearDown)()) {
  static FlowSite* site = nullptr;
  ::testing::AddGlobalTestEnvironment(new FlowSiteForTests(site, setUp, tearDown));
  return site;
}
