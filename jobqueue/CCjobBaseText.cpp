// The job text and the words of the job types.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "jobqueue/CCjobBaseRec.h"

namespace {

const char* const kTypeWords[] = {"Unknown", "PelRipX", "Script", "Inline"};

class Writer {
 public:
  // A parameter with an empty value is left out: reading would stop at it.
  void Put(const char* key, std::string_view value) {
    if (value.empty()) return;
    if (!text_.empty()) text_ += ' ';
    text_ += key;
    text_ += '=';
    text_ += CCtypes_Escape(value);
  }
  void Word(const char* key, void (*word)(std::uint8_t, StrOut), std::uint8_t value) {
    char text[kNameCap];
    word(value, StrOut(text));
    Put(key, StrIn(text).View());
  }
  std::string& Text() { return text_; }

 private:
  std::string text_;
};

template <class Number>
void ReadNumber(const std::string& value, Number& field) {
  Number number{};
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error == std::errc() && end == value.data() + value.size()) field = number;
}

void ReadReal(const std::string& value, double& field) {
  char* end = nullptr;
  const double number = std::strtod(value.c_str(), &end);
  if (end == value.c_str() + value.size() && std::isfinite(number)) field = number;
}

// Takes one parameter; the keys of another type are passed over.
void Take(CCjobBase_Job job, const std::string& key, const std::string& value, bool& fileSet) {
  const std::uint8_t type = job->type;
  if (key == "STATUS") job->status = CCtypes_StringToJobStatus(value);
  else if (key == "PRIORITY") ReadNumber(value, job->priority);
  else if (key == "EXECUTE_ON") job->executeOn = CCtypes_StringToNodeType(value);
  else if (key == "CPU_USAGE") job->cpuUsage = CCtypes_StringToCpuUsage(value);
  else if (key == "ID") Strings_Assign(value, job->id);
  else if (key == "EMPLOYER_HOST") job->employerHost = value;
  else if (key == "WORK_DIR") job->workDir = value;
  else if (key == "DESC") job->description = value;
  else if (key == "SUBMITTER_NAME") job->submitterName = value;
  else if (key == "SUBMITTER_ADDONS") job->submitterAddons = value;
  else if (key == "FLOW") job->flow = value;
  else if (key == "STAGE") ReadNumber(value, job->stage);
  else if (key == "ERRORFILENAME") job->errorFilename = value;
  else if (key == "PROGRESSFILENAME") job->progressFilename = value;
  else if (key == "TIMEOUT") ReadReal(value, job->timeout);
  else if (key == "UID") ReadNumber(value, job->uid);
  else if (key == "GID") ReadNumber(value, job->gid);
  else if (key == "PRECONDITION") CCprecond_ParsePrecondition(job->preconditions, value);
  else if (key == "RESTRICTION") CCrestrict_ParseRestriction(job->restrictions, value);
  else if (key == "CLEANUPCMD") CCcleanup_ParseCommand(job->cleanupCommands, value);
  else if ((key == "PDF_FILENAME" && type == CCjobBase_PelRipXJob) ||
           (key == "SCRIPT_FILENAME" && type == CCjobBase_ScriptJob) ||
           (key == "INLINE_CMD" && type == CCjobBase_InlineJob))
    job->file = value, fileSet = true;
  // Older writers name the file only as the source.
  else if (key == "SRC_FILENAME" && (type == CCjobBase_PelRipXJob || type == CCjobBase_ScriptJob) && !fileSet)
    job->file = value, fileSet = true;
  else if (key == "DST_PATH" && type == CCjobBase_PelRipXJob) job->dstPath = value;
  else if (key == "DST_PATH" && type == CCjobBase_ScriptJob && job->workDir.empty()) job->workDir = value;
}

}  // namespace

const char* CCjobBase_TypeWord(std::uint8_t type) { return kTypeWords[type <= CCjobBase_InlineJob ? type : 0]; }

std::uint8_t CCjobBase_TypeOfWord(std::string_view word) {
  for (std::uint8_t type = CCjobBase_PelRipXJob; type <= CCjobBase_InlineJob; ++type)
    if (word == kTypeWords[type]) return type;
  return CCjobBase_UnknownJob;
}

std::string CCjobBase_JobToString(CCjobBase_Job job) {
  if (job == nullptr) return "";
  Writer w;
  w.Put("TYPE", CCjobBase_TypeWord(job->type));
  w.Word("STATUS", CCtypes_JobStatusToString, job->status);
  w.Put("PRIORITY", std::to_string(job->priority));
  w.Word("EXECUTE_ON", CCtypes_NodeTypeToString, job->executeOn);
  w.Word("CPU_USAGE", CCtypes_CpuUsageToString, job->cpuUsage);
  w.Put("ID", StrIn(job->id).View());
  w.Put("EMPLOYER_HOST", job->employerHost);
  w.Put("WORK_DIR", job->workDir);
  w.Put("DESC", job->description);
  w.Put("SUBMITTER_NAME", job->submitterName);
  w.Put("SUBMITTER_ADDONS", job->submitterAddons);
  // Only where set: readers before them pass unknown keys over.
  if (!job->flow.empty()) w.Put("FLOW", job->flow);
  if (job->stage != 0) w.Put("STAGE", std::to_string(job->stage));
  w.Put("ERRORFILENAME", job->errorFilename);
  w.Put("PROGRESSFILENAME", job->progressFilename);
  if (std::fabs(job->timeout) >= 1e-8) {
    char timeout[64];
    std::snprintf(timeout, sizeof timeout, "%.8f", job->timeout);
    w.Put("TIMEOUT", timeout);
  }
  if (job->uid >= 0 && job->gid >= 0) {
    w.Put("UID", std::to_string(job->uid));
    w.Put("GID", std::to_string(job->gid));
  }
  CCprecond_Entry entry = nullptr;
  for (bool first = true; CCprecond_IteratePreconditions(job->preconditions, first, entry); first = false)
    w.Put("PRECONDITION", CCprecond_PreconditionToString(entry));
  for (std::size_t i = 0; i < CCrestrict_Count(job->restrictions); ++i)
    w.Put("RESTRICTION", CCrestrict_RestrictionToString(job->restrictions, i));
  for (std::size_t i = 0; i < CCcleanup_Count(job->cleanupCommands); ++i)
    w.Put("CLEANUPCMD", CCcleanup_CommandToString(job->cleanupCommands, i));
  switch (job->type) {
    case CCjobBase_PelRipXJob:
      w.Put("PDF_FILENAME", job->file);
      w.Put("DST_PATH", job->dstPath);
      w.Put("SRC_FILENAME", job->file);
      break;
    case CCjobBase_ScriptJob:
      w.Put("SCRIPT_FILENAME", job->file);
      w.Put("SRC_FILENAME", job->file);
      w.Put("DST_PATH", job->workDir);
      break;
    case CCjobBase_InlineJob: w.Put("INLINE_CMD", job->file); break;
    default: break;
  }
  return std::move(w.Text());
}

CCjobBase_Job CCjobBase_CreateFromString(std::string_view text) {
  const std::vector<std::string> tokens = CCtypes_SplitEscaped(text);
  if (tokens[0].rfind("TYPE=", 0) != 0) return nullptr;
  CCjobBase_Job job = CCjobBase_Create(CCjobBase_TypeOfWord(std::string_view(tokens[0]).substr(5)));
  bool fileSet = false;
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    const std::size_t equals = tokens[i].find('=');
    // Every parameter has a key and a value; one without ends the text.
    if (equals == std::string::npos || equals == 0 || equals + 1 == tokens[i].size()) break;
    Take(job, tokens[i].substr(0, equals), tokens[i].substr(equals + 1), fileSet);
  }
  return job;
}
