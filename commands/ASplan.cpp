#include "commands/ASplan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/DirAcces.h"
#include "commands/ASfile.h"

namespace {

constexpr char kHeader[] = "FDSTEP 1";
const char* const kHows[] = {"move", "copy", "link", "text"};

std::string Escape(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\') out += "\\\\";
    else if (c == '\t') out += "\\t";
    else if (c == '\n') out += "\\n";
    else out += c;
  }
  return out;
}

std::string Unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const char c = text[++i];
    out += c == 't' ? '\t' : c == 'n' ? '\n' : c;
  }
  return out;
}

std::string Line(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) line += (line.empty() ? "" : "\t") + Escape(field);
  return line + "\n";
}

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = line.find('\t', start);
    fields.push_back(Unescape(line.substr(start, tab == std::string::npos ? std::string::npos : tab - start)));
    if (tab == std::string::npos) return fields;
    start = tab + 1;
  }
}

bool ReadTarget(const std::vector<std::string>& f, ASplan_Target& t) {
  if (f.size() != 7) return false;
  for (std::size_t how = 0; how < std::size(kHows); ++how)
    if (f[1] == kHows[how]) {
      t.how = static_cast<ASplan_How>(how);
      t.overwrite = f[2] == "1";
      t.dir = f[3];
      t.name = f[4];
      t.tmp = f[5];
      t.text = f[6];
      return true;
    }
  return false;
}

bool Append(const ASplan_Plan& plan, const char* mark) {
  const std::string text = std::string(mark) + "\n";
  const int fd = ::open(ASplan_RecordPath(plan.source).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (fd < 0) return false;
  const bool written = ASfile_WriteAll(fd, text) && ::fdatasync(fd) == 0;
  return ::close(fd) == 0 && written;
}

}  // namespace

bool ASplan_GetIdentity(const std::string& path, ASplan_Identity& identity) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return false;
  identity.device = info.st_dev;
  identity.inode = info.st_ino;
  identity.size = static_cast<std::uint64_t>(info.st_size);
  identity.mtimeNs = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
  return true;
}

std::string ASplan_RecordPath(const std::string& source) {
  const std::size_t slash = source.rfind('/');
  const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
  return source.substr(0, name) + "." + source.substr(name) + ".fdstep";
}

std::string ASplan_TmpName(const std::string& name) {
  static unsigned count = 0;
  static std::string host;
  if (host.empty()) {
    NameStr machine;
    DirAcces_GetMachineName(machine);
    host = StrIn(machine).Str();
  }
  return "." + name + "." + host + "-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".tmp";
}

std::string ASplan_FinalPath(const ASplan_Target& t) { return t.dir + "/" + t.name; }
std::string ASplan_TmpPath(const ASplan_Target& t) { return t.dir + "/" + t.tmp; }

bool ASplan_Save(const ASplan_Plan& plan) {
  const ASplan_Identity& id = plan.identity;
  std::string text = std::string(kHeader) + "\n";
  text += Line({"source", plan.source});
  text += Line({"identity", std::to_string(id.device), std::to_string(id.inode), std::to_string(id.size),
                std::to_string(id.mtimeNs)});
  text += Line({"keep", plan.keep ? "1" : "0"});
  if (plan.failure) text += "failure\n";
  for (const std::string& path : plan.cleanup) text += Line({"cleanup", path});
  for (const ASplan_Target& t : plan.targets)
    text += Line({"target", kHows[static_cast<int>(t.how)], t.overwrite ? "1" : "0", t.dir, t.name, t.tmp, t.text});
  if (plan.committed) text += "committed\n";
  if (plan.done) text += "done\n";
  const std::string path = ASplan_RecordPath(plan.source);
  return ASfile_WriteWhole(path, ASplan_TmpName(path.substr(path.rfind('/') + 1)), text, false);
}

bool ASplan_Load(const std::string& source, ASplan_Plan& plan) {
  std::string text;
  if (!ASfile_ReadAll(ASplan_RecordPath(source), text) || text.rfind(std::string(kHeader) + "\n", 0) != 0) return false;
  plan = ASplan_Plan();
  bool identified = false;
  std::size_t start = sizeof kHeader;
  while (start < text.size()) {
    const std::size_t end = text.find('\n', start);
    if (end == std::string::npos) break;  // a line cut by a crash is not read
    const std::vector<std::string> f = Fields(text.substr(start, end - start));
    start = end + 1;
    if (f[0] == "source" && f.size() == 2) {
      plan.source = f[1];
    } else if (f[0] == "identity" && f.size() == 5) {
      try {
        plan.identity = {std::stoull(f[1]), std::stoull(f[2]), std::stoull(f[3]), std::stoll(f[4])};
        identified = true;
      } catch (const std::exception&) {
        return false;
      }
    } else if (f[0] == "keep" && f.size() == 2) {
      plan.keep = f[1] == "1";
    } else if (f[0] == "cleanup" && f.size() == 2) {
      plan.cleanup.push_back(f[1]);
    } else if (f[0] == "target") {
      ASplan_Target t;
      if (!ReadTarget(f, t)) return false;
      plan.targets.push_back(t);
    } else if (f[0] == "failure") {
      plan.failure = true;
    } else if (f[0] == "committed") {
      plan.committed = true;
    } else if (f[0] == "done") {
      plan.done = true;
    } else {
      return false;
    }
  }
  plan.source = source;  // the path it was found by
  return identified && !plan.targets.empty();
}

bool ASplan_MarkCommitted(const ASplan_Plan& plan) { return Append(plan, "committed"); }
bool ASplan_MarkDone(const ASplan_Plan& plan) { return Append(plan, "done"); }

void ASplan_Remove(const std::string& source) { ::unlink(ASplan_RecordPath(source).c_str()); }
