#include "jobqueue/CCjobClass.h"

#include <array>
#include <cstdio>
#include <map>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SDataIO.h"
#include "base/SIdPool.h"
#include "jobqueue/CCtypes.h"

namespace {

struct Class {
  std::uint8_t current = CCtypes_Local;
  std::uint8_t preset = CCtypes_Local;
};

bool initialised = false;
std::map<std::string, Class, std::less<>> table;
std::int64_t loadedTime = -2;  // of the file last read; -1 when there was none

unsigned kVersion = 0, kJobClass = 0, kName = 0, kExecuteOn = 0;
// EXECUTE_ON words, from node type 1 on.
const std::array<StrIn, 2> kNodeWords = {"local", "cluster"};

void ClassFile(StrOut path) { DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, "CCjobClasses.cfg", path); }

struct ReadClass {
  char name[kNameCap] = "";
  std::uint8_t nodeType = CCtypes_Local;
};

void ClassField(void* data, void*, unsigned key) {
  auto* c = static_cast<ReadClass*>(data);
  unsigned word = 0;
  if (key == kName) SDataIO_ReadStr(c->name);
  else if (key == kExecuteOn && SDataIO_ReadEnum(word, kNodeWords)) c->nodeType = static_cast<std::uint8_t>(word + 1);
  else SDataIO_UnknownAttribute(key);
}

void FileField(void*, void*, unsigned key) {
  if (key == kJobClass) {
    ReadClass c;
    if (SDataIO_ReadSub(&c, nullptr, ClassField) && c.name[0] != '\0') {
      table[StrIn(c.name).Str()].current = c.nodeType;  // a class of the file alone defaults to local
    }
  } else if (key == kVersion) {
    std::int32_t version = 0;
    SDataIO_ReadInt(version);
  } else {
    SDataIO_UnknownAttribute(key);
  }
}

void Read(StrIn path) {
  for (auto& [name, c] : table) c.current = c.preset;
  std::FILE* file = std::fopen(path.Str().c_str(), "r");
  if (file == nullptr) return;
  Messages_Quietly([&] {
    if (SDataIO_StartParse(file)) SDataIO_ParseFields(nullptr, nullptr, FileField);
    return SDataIO_FinishParse();
  });
  std::fclose(file);
}

void WriteClass(void* data) {
  const auto* entry = static_cast<const std::pair<const std::string, Class>*>(data);
  SDataIO_WriteStr(kName, entry->first);
  SDataIO_WriteEnum(kExecuteOn, entry->second.current == CCtypes_Cluster ? 1U : 0U, kNodeWords);
}

// Written beside the file with the process id behind its name, then renamed over it.
bool Save(StrIn path) {
  const std::string temporary = path.Str() + "." + std::to_string(Processe_GetPID());
  std::FILE* file = std::fopen(temporary.c_str(), "w");
  if (file == nullptr) return false;
  SDataIO_StartGenerate(file, 2);
  SDataIO_WriteInt(kVersion, 4);
  for (auto& entry : table) SDataIO_WriteSub(kJobClass, &entry, WriteClass);
  const bool written = SDataIO_FinishGenerate();
  const bool closed = std::fclose(file) == 0;
  return Messages_Quietly([&] {
    if (written && closed && DirAcces_AtomicRename(temporary, path)) return true;
    DirAcces_Remove(temporary);
    return false;
  });
}

// Reads the file again when it changed; makes it from the table where there is none.
void Refresh() {
  char path[kPathCap];
  ClassFile(path);
  const std::int64_t modified = DirAcces_LastModified(path);
  if (modified == loadedTime) return;
  if (modified < 0) {
    for (auto& [name, c] : table) c.current = c.preset;
    loadedTime = Save(path) ? DirAcces_LastModified(path) : -1;
    return;
  }
  Read(path);
  loadedTime = modified;
}

}  // namespace

void CCjobClass_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SDataIO_Init();
  kVersion = SIdPool_EnterId("VERSION");
  kJobClass = SIdPool_EnterId("JOBCLASS");
  kName = SIdPool_EnterId("NAME");
  kExecuteOn = SIdPool_EnterId("EXECUTE_ON");
  for (const char* name : {"WEBCHECK/PREPRINT/SPLIT", "JEXON9000/BITMAP/FORWARD", "JEXON9000/BITMAP/COMBINE",
                           "JEXON9000/BITMAP/SCALE", "JEXON9000/BITMAP/COMPOSE", "JEXON9000/RESOLVER/TD"})
    CCjobClass_AddDefaultClass(StrIn::C(name), CCtypes_Cluster);
  const std::uint8_t fillCache = DirAcces_CheckFlag("CLUSTER_DO_NOT_USE") ? CCtypes_Local : CCtypes_Cluster;
  CCjobClass_AddDefaultClass("JEXON9000/FILLCACHE/BOOKLET", fillCache);
  CCjobClass_AddDefaultClass("JEXON9000/FILLCACHE/ZEMBLA", fillCache);
}

void CCjobClass_AddDefaultClass(StrIn className, std::uint8_t nodeType) {
  CCjobClass_Init();
  if (className.Empty()) return;
  auto [at, made] = table.try_emplace(className.Str());
  if (!made) return;
  at->second = {nodeType, nodeType};
  loadedTime = -2;  // the file is read again over the larger table
}

std::uint8_t CCjobClass_ExecuteOn(StrIn className) {
  CCjobClass_Init();
  // 1. On NFS sites only the fill-cache classes may leave this host.
  if (DirAcces_CheckFlag("NFS_PREFIX_BEHAVIOUR") && className.View().rfind("JEXON9000/FILLCACHE", 0) != 0)
    return CCtypes_Local;
  // 2. The file as it is now; 3. the table's answer.
  Refresh();
  const auto at = table.find(className.View());
  return at == table.end() ? CCtypes_Local : at->second.current;
}
