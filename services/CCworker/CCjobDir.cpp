#include "services/CCworker/CCjobDir.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "jobqueue/CCtypes.h"

namespace {

std::string directory;

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

}  // namespace

bool CCjobDir_Open(const std::string& dir) {
  directory = dir;
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  // Records a killed worker had not finished writing.
  for (const auto& entry : std::filesystem::directory_iterator(dir, error))
    if (entry.path().extension() == ".new") std::filesystem::remove(entry.path(), error);
  return ::access(dir.c_str(), W_OK | X_OK) == 0;
}

// Written under a name of its own and linked into place whole and locked:
// a worker killed half-way leaves no record of a job that never began.
int CCjobDir_Create(const CCjobDir_Record& r) {
  const std::string path = PathOf(r.id, ".job"), temporary = PathOf(r.id, ".new");
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return -1;
  const std::string text = CCtypes_Escape(r.employerHost) + " " + std::to_string(r.employerPort) + " " +
                           CCtypes_Escape(r.workerName) + "\n" + CCtypes_LineEscape(r.jobText) + "\n";
  const bool made = ::flock(fd, LOCK_EX) == 0 && WriteAll(fd, text) && ::link(temporary.c_str(), path.c_str()) == 0;
  ::unlink(temporary.c_str());
  if (made) return fd;
  ::close(fd);
  return -1;
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

void CCjobDir_Remove(const std::string& id) { ::unlink(PathOf(id, ".job").c_str()); }
