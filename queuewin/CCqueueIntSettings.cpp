// The queue window's settings kept between runs: which columns it shows,
// in ".CCqueueIntrc" of HOME. They are read key by key and saved as a
// section of their own, so that a program the window runs in (the manager)
// keeps its own settings apart and never gets them read back over its own.
#include "base/Messages.h"
#include "queuewin/CCqueueInt.h"
#include "queuewin/CCqueueIntRec.h"
#include "rc/SrcFile.h"

namespace {

constexpr char kRcName[] = "CCqueueInt";
constexpr char kRcFile[] = ".CCqueueIntrc";
constexpr char kSection[] = "[CCqueueInt]";
constexpr unsigned kRcHome = 1;
constexpr const char* kKeys[CCqueueInt_kColumnCount] = {"CCqueueInt_columnPriority", "CCqueueInt_columnCPU",
                                                        "CCqueueInt_columnHost", "CCqueueInt_columnPosition",
                                                        "CCqueueInt_columnProgress"};
// The variables the settings store is bound to, for the process.
bool shown[CCqueueInt_kColumnCount] = {true, true, true, true, true};

}  // namespace

void CCqueueInt_GetSettings() {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  for (std::int32_t i = 0; i < CCqueueInt_kColumnCount; ++i) {
    NameStr value;
    // Read anew each time: another window of this user may have changed them.
    if (SrcFile_GetEntryFromLocation(kRcName, kRcHome, std::string(kKeys[i]), value))
      shown[i] = StrIn(value).View() != "FALSE" && StrIn(value).View() != "OFF";
    if (s != nullptr) s->columns[i] = shown[i];
  }
}

void CCqueueInt_SetSettings() {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  if (s == nullptr) return;
  Messages_Quietly([&] {
    for (std::int32_t i = 0; i < CCqueueInt_kColumnCount; ++i) {
      const std::string key = std::string(kSection) + kKeys[i];
      if (!SrcFile_IsDefined(key)) SrcFile_DefineBool(key, shown[i]);
      SrcFile_SetBool(key, s->columns[i]);
    }
    SrcFile_SaveToFile(kRcFile, kRcHome, "CCqueueInt");
  });
}
