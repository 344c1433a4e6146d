// CCjobDir: the worker's record of the jobs it started, so that a worker
// that was killed and started again knows what became of them.
//
// "<id>.job" in the worker's directory is made whole (and exclusively, so
// that no job starts twice) before the job starts. It holds the employer ("<host>
// <port> <worker name>", escaped) and the job text; then "process <pid>"
// once the job runs, and "exit <code>" when it ended, in either order. The
// job's shell holds a lock on the file for as long as it lives. The file
// goes when the employer has heard of the job's end.
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
  int process = 0;  // the job's shell and its process group; 0 when not noted
  std::int64_t started = 0;  // seconds since the epoch
};

// How a command ended, as its shell wrote it.
struct CCjobDir_Outcome {
  bool known = false;  // the shell wrote it (a killed shell writes nothing)
  int code = 0;
};

// Makes the directory (clearing half-written records); false when it can't be had.
bool CCjobDir_Open(const std::string& dir);
// Makes "<id>.job" with the employer and the job text, locked; the open
// descriptor (for the job's shell), or -1 when it exists already or can't be made.
int CCjobDir_Create(const CCjobDir_Record& record);
// Notes the job's process in its file, through the descriptor of Create.
void CCjobDir_NoteProcess(int jobFile, int pid);
// The ids of every job file there is.
std::vector<std::string> CCjobDir_List();
// Reads "<id>.job"; false when it is missing or of another form.
bool CCjobDir_Read(const std::string& id, CCjobDir_Record& record);
// Whether the job's shell still holds the job's file.
bool CCjobDir_Held(const std::string& id);
// How the job ended, as far as its file tells.
CCjobDir_Outcome CCjobDir_ReadOutcome(const std::string& id);
// Forgets the job: its file goes.
void CCjobDir_Remove(const std::string& id);

// --- Spares ---------------------------------------------------------------------------
// The files of jobs that went are kept as spares ("*.spare", a few dozen at
// most) and renamed into place for the next job's record and progress file,
// which spares the file system making and deleting a file several times a job.
// Renames a spare, emptied, to `path`; false when there is none or it can't go there.
bool CCjobDir_PlaceSpare(const std::string& path);
// The file at `path` goes: kept as a spare when there is room (and it can be
// renamed into the directory), deleted otherwise. `empty` (a progress file
// mostly is) keeps it for PlaceSpare.
void CCjobDir_Retire(const std::string& path, bool empty);
