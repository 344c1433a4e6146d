#include "services/CCserver/CCstore.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "base/DirAcces.h"
#include "base/Processe.h"
#include "jobqueue/CCtypes.h"

namespace {

int journal = -1;
std::string path, directory;
bool durableWanted = false, failed = false, torn = false;
std::size_t records = 0;

// Takes one escaped field off the front of `line`.
std::string Field(std::string_view& line) {
  std::size_t end = 0;
  while (end < line.size() && line[end] != ' ') end += line[end] == '\\' && end + 1 < line.size() ? 2 : 1;
  std::string field = CCtypes_Unescape(line.substr(0, end));
  line.remove_prefix(std::min(end + 1, line.size()));
  return field;
}

template <class Number>
bool ParseNumber(const std::string& text, Number& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

// Applies one record; false for a line of no known form.
bool Apply(std::string_view line, CCstore_State& state) {
  const std::string kind = Field(line);
  if (kind == "O") {
    state.ownerHost = Field(line);
    return ParseNumber(Field(line), state.ownerPid);
  }
  if (kind == "Q") return ParseNumber(Field(line), state.queueStatus);
  if (kind == "X") return state.jobs.erase(Field(line)), true;
  if (kind != "J") return false;
  const std::string id = Field(line);
  CCstore_Job job;
  const bool seq = ParseNumber(Field(line), job.seq);
  const std::string list = Field(line);
  job.worker = Field(line);
  if (job.worker == "-") job.worker.clear();
  job.text = std::string(line);
  if (id.empty() || !seq || (list != "a" && list != "f") || job.text.empty()) return false;
  job.inFailed = list == "f";
  state.jobs[id] = std::move(job);
  return true;
}

void Read(CCstore_State& state) {
  std::string all;
  char buffer[65536];
  for (ssize_t got; (got = ::pread(journal, buffer, sizeof buffer, static_cast<off_t>(all.size()))) > 0;)
    all.append(buffer, static_cast<std::size_t>(got));
  std::size_t from = 0;
  for (std::size_t end; (end = all.find('\n', from)) != std::string::npos; from = end + 1) {
    if (end == from) continue;
    if (!Apply(CCtypes_LineUnescape(std::string_view(all).substr(from, end - from)), state)) ++state.damaged;
  }
  // A record the crash cut short.
  if (from < all.size()) ++state.damaged, torn = true;
}

void Write(const std::string& line) {
  std::string out = torn ? "\n" + line : line;
  torn = false;
  ++records;
  std::string_view rest(out);
  while (!rest.empty()) {
    const ssize_t written = ::write(journal, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      failed = torn = true;  // the next record begins on a line of its own
      return;
    }
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

std::string JobLine(const std::string& id, const CCstore_Job& job) {
  return "J " + CCtypes_Escape(id) + " " + std::to_string(job.seq) + (job.inFailed ? " f " : " a ") +
         CCtypes_Escape(job.worker.empty() ? "-" : job.worker) + " " + CCtypes_LineEscape(job.text) + "\n";
}

std::string OwnerLine() {
  char host[kNameCap];
  DirAcces_GetMachineName(host);
  return "O " + CCtypes_Escape(StrIn(host).View()) + " " + std::to_string(Processe_GetPID()) + "\n";
}

bool SyncDirectory() {
  const int dir = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return false;
  const bool synced = ::fsync(dir) == 0;
  ::close(dir);
  return synced;
}

}  // namespace

bool CCstore_Open(const std::string& dir, CCstore_State& state) {
  directory = dir;
  path = dir + "/queue.journal";
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  const int lock = ::open((dir + "/queue.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (lock < 0 || ::flock(lock, LOCK_EX | LOCK_NB) != 0) {
    if (lock >= 0) ::close(lock);
    return false;
  }
  // The lock stays with the process: it ends with it.
  journal = ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (journal < 0) return false;
  Read(state);
  return true;
}

const std::string& CCstore_Path() { return path; }

void CCstore_PutJob(const std::string& id, const CCstore_Job& job) { Write(JobLine(id, job)); }
void CCstore_RemoveJob(const std::string& id) { Write("X " + CCtypes_Escape(id) + "\n"); }
void CCstore_PutQueueStatus(std::uint8_t status) { Write("Q " + std::to_string(status) + "\n"); }
void CCstore_WantDurable() { durableWanted = true; }

bool CCstore_Commit() {
  if (durableWanted && ::fdatasync(journal) != 0) failed = true;
  durableWanted = false;
  const bool ok = !failed;
  failed = false;
  return ok;
}

std::size_t CCstore_RecordCount() { return records; }

bool CCstore_Rewrite(const CCstore_State& state) {
  const std::string fresh = path + ".new";
  const int file = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file < 0) return false;
  std::string all = OwnerLine() + "Q " + std::to_string(state.queueStatus) + "\n";
  for (const auto& [id, job] : state.jobs) all += JobLine(id, job);
  bool ok = true;
  for (std::string_view rest(all); ok && !rest.empty();) {
    const ssize_t written = ::write(file, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    ok = written > 0;
    if (ok) rest.remove_prefix(static_cast<std::size_t>(written));
  }
  ok = ::fsync(file) == 0 && ok;
  ::close(file);
  if (!ok || ::rename(fresh.c_str(), path.c_str()) != 0) {
    ::unlink(fresh.c_str());
    return false;
  }
  SyncDirectory();
  const int reopened = ::open(path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
  if (reopened < 0) return false;
  ::close(journal);
  journal = reopened;
  records = 0;
  torn = false;
  return true;
}
