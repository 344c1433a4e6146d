#include "services/CCworker/CCjobDir.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "jobqueue/CCtypes.h"

namespace {

// Files of jobs that went, kept to be renamed into place for the next ones:
// a file system pays more for making and deleting a file (its inode) than
// the job's shell costs, and a flood of jobs does both several times a job.
constexpr std::size_t kSpareCap = 64;
constexpr char kSpareSuffix[] = ".spare";

std::string directory;
// Paths: records of jobs that went, and empty files (the jobs' progress
// files) for progress files to come. Emptying a file frees its blocks, which
// costs as much as deleting it, so a record is written over one of before.
std::vector<std::string> spares, empties;
unsigned spareCount = 0;

std::vector<std::string>& PoolFor(bool empty) { return empty && !empties.empty() ? empties : spares; }

std::string PathOf(const std::string& id, const char* suffix) { return directory + "/" + id + suffix; }

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

// A spare opened and locked, or -1 (and `path` empty) when there is none.
int TakeSpare(std::string& path) {
  for (std::vector<std::string>* pool = &PoolFor(false); !pool->empty(); pool = &PoolFor(false)) {
    path = pool->back();
    pool->pop_back();
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    // One still held (a job's straggler kept its descriptor) is let go.
    if (fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0) return fd;
    if (fd >= 0) ::close(fd);
    ::unlink(path.c_str());
  }
  path.clear();
  return -1;
}

// Written (into a spare, or a new file under a name of its own) and renamed
// or linked into place whole and locked, never over a record that exists:
// a worker killed half-way leaves no record of a job that never began.
int Make(const std::string& path, const std::string& text) {
  std::string spare;
  int fd = TakeSpare(spare);
  if (fd >= 0) {
    // Written over what it held and cut behind, so that the job's lines follow.
    if (WriteAll(fd, text) && ::ftruncate(fd, static_cast<off_t>(text.size())) == 0 &&
        ::renameat2(AT_FDCWD, spare.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
      return fd;
    ::close(fd);
    const bool exists = errno == EEXIST;
    ::unlink(spare.c_str());
    if (exists) return -1;
  }
  const std::string temporary = path.substr(0, path.size() - 4) + ".new";
  fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return -1;
  const bool made = ::flock(fd, LOCK_EX) == 0 && WriteAll(fd, text) && ::link(temporary.c_str(), path.c_str()) == 0;
  ::unlink(temporary.c_str());
  if (made) return fd;
  ::close(fd);
  return -1;
}

}  // namespace

bool CCjobDir_Open(const std::string& dir) {
  directory = dir;
  spares.clear();
  empties.clear();
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  // Records a killed worker had not finished writing; spares are kept.
  for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
    if (entry.path().extension() == ".new") std::filesystem::remove(entry.path(), error);
    if (entry.path().extension() == kSpareSuffix) spares.push_back(entry.path().string());
  }
  return ::access(dir.c_str(), W_OK | X_OK) == 0;
}

int CCjobDir_Create(const CCjobDir_Record& r) {
  return Make(PathOf(r.id, ".job"), CCtypes_Escape(r.employerHost) + " " + std::to_string(r.employerPort) + " " +
                                         CCtypes_Escape(r.workerName) + "\n" + CCtypes_LineEscape(r.jobText) + "\n");
}

bool CCjobDir_PlaceSpare(const std::string& path) {
  std::vector<std::string>& pool = PoolFor(true);
  if (pool.empty()) return false;
  if (::truncate(pool.back().c_str(), 0) != 0 || ::rename(pool.back().c_str(), path.c_str()) != 0) return false;
  pool.pop_back();
  return true;
}

void CCjobDir_Retire(const std::string& path, bool empty) {
  std::vector<std::string>& pool = empty ? empties : spares;
  const std::string spare = directory + "/" + std::to_string(::getpid()) + "-" + std::to_string(++spareCount) + kSpareSuffix;
  if (pool.size() < kSpareCap && ::rename(path.c_str(), spare.c_str()) == 0) pool.push_back(spare);
  else ::unlink(path.c_str());
}

std::vector<std::string> CCjobDir_List() {
  std::vector<std::string> ids;
  DIR* dir = ::opendir(directory.c_str());
  if (dir == nullptr) return ids;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".job") == 0) ids.push_back(name.substr(0, name.size() - 4));
  }
  ::closedir(dir);
  return ids;
}

void CCjobDir_NoteProcess(int jobFile, int pid) { WriteAll(jobFile, "process " + std::to_string(pid) + "\n"); }

bool CCjobDir_Read(const std::string& id, CCjobDir_Record& r) {
  std::ifstream in(PathOf(id, ".job"));
  std::string head, text, line;
  if (!std::getline(in, head) || !std::getline(in, text)) return false;
  const std::vector<std::string> fields = CCtypes_SplitEscaped(head);
  if (fields.size() != 3) return false;
  r.id = id;
  r.employerHost = fields[0];
  r.employerPort = static_cast<std::uint16_t>(std::atoi(fields[1].c_str()));
  r.workerName = fields[2];
  r.jobText = CCtypes_LineUnescape(text);
  r.process = 0;
  while (std::getline(in, line))
    if (line.rfind("process ", 0) == 0) r.process = std::atoi(line.c_str() + 8);
  struct stat st {};
  r.started = ::stat(PathOf(id, ".job").c_str(), &st) == 0 ? st.st_mtime : 0;
  return r.employerPort != 0 && !r.jobText.empty();
}

bool CCjobDir_Held(const std::string& id) {
  const int fd = ::open(PathOf(id, ".job").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool held = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
  ::close(fd);
  return held;
}

CCjobDir_Outcome CCjobDir_ReadOutcome(const std::string& id) {
  CCjobDir_Outcome outcome;
  std::ifstream in(PathOf(id, ".job"));
  std::string line;
  std::getline(in, line), std::getline(in, line);  // the employer and the job text
  while (std::getline(in, line)) {
    if (line.rfind("exit ", 0) != 0) continue;
    outcome.known = true;
    outcome.code = std::atoi(line.c_str() + 5);
  }
  return outcome;
}

void CCjobDir_Remove(const std::string& id) { CCjobDir_Retire(PathOf(id, ".job"), false); }
