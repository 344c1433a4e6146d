// CCjobDir: the worker's record of the jobs it started, so that a worker
// that was killed and started again knows what became of them.
//
// "<id>.job" in the worker's directory is made (exclusively, so that no job
// starts twice) before the job starts. It holds the employer ("<host>
// <port> <worker name>", escaped), the job text, and, once the job's
// guardian runs, "guardian <pid>". The guardian holds a lock on the file for
// as long as it lives. "<id>.exit" is the guardian's account of how the
// command ended: "exit <code>" or "signal <number>". Both go when the
// employer has heard of the job's end.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct CCjobDir_Record {
  std::string id;
  std::string employerHost;
  std::uint16_t employerPort = 0;
  std::string workerName;
  std::string jobText;
  int guardian = 0;  // 0 before the guardian wrote its line
  std::int64_t started = 0;  // seconds since the epoch
};

// How a command ended, as its guardian tells it.
struct CCjobDir_Outcome {
  bool known = false;     // the guardian wrote it
  bool signaled = false;  // killed by signal `code`
  int code = 0;
};

// Makes the directory; false when it can't be had.
bool CCjobDir_Open(const std::string& dir);
// Makes "<id>.job" with the employer and the job text, locked; the open
// descriptor (for the guardian), or -1 when it exists already or can't be made.
int CCjobDir_Create(const CCjobDir_Record& record);
// The ids of every job file there is.
std::vector<std::string> CCjobDir_List();
// Reads "<id>.job"; false when it is missing or of another form.
bool CCjobDir_Read(const std::string& id, CCjobDir_Record& record);
// Whether a guardian still holds the job's file.
bool CCjobDir_Held(const std::string& id);
// The guardian's account of the job's end.
CCjobDir_Outcome CCjobDir_ReadOutcome(const std::string& id);
// The path of "<id>.exit", for the guardian to write.
std::string CCjobDir_ExitPath(const std::string& id);
// Writes "<id>.exit" by a temporary name and a rename, so that a reader
// finds all of it or nothing.
void CCjobDir_WriteOutcome(const std::string& path, const CCjobDir_Outcome& outcome);
// Forgets the job: both files go.
void CCjobDir_Remove(const std::string& id);
