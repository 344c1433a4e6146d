// RWconfig: reading and writing the file, under its lock, merged with what
// another editor saved in the meantime.
#include <cstdio>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SDataIO.h"
#include "base/SIdPool.h"
#include "base/SLock.h"
#include "base/SPrintf.h"
#include "distribution/RWconfigRec.h"

namespace {

// messages: RWconfig 1-7
constexpr unsigned kNilConfig = 1;
constexpr unsigned kNotLocked = 2;     // with the lock's name
constexpr unsigned kNotReadable = 3;   // with the file's name
constexpr unsigned kSyntax = 4;        // with the file's name, the line and the reason
constexpr unsigned kNoTemporary = 5;   // with the temporary file's name
constexpr unsigned kNotRenamed = 6;    // with both names
constexpr unsigned kNotRemoved = 7;    // with the file's name

constexpr std::uint32_t kLockTimeoutMs = 1000;
constexpr unsigned kIndent = 2;

const StrIn kProtocols[] = {"ftp"};
const StrIn kTargetKinds[] = {"unknown", "workflow", "webcheck_preprint"};

// The keys, entered once.
struct Keys {
  unsigned proxyHost, proxyPort, timeout, watchInterval, server, hotfolder;
  unsigned name, protocol, noProxy, hostname, username, password, defaultRemoteDirectory;
  unsigned id, serverName, remoteSourceDirectory, localTargetDirectory, fileRegularExpression,
      deleteSourceFiles, targetId, kind;
};
Keys keys{};

bool initialised = false;

// --- Reading -----------------------------------------------------------------------------

void ReadTarget(void* data, void*, unsigned key) {
  auto& target = *static_cast<RWconfig_Target*>(data);
  unsigned kind = 0;
  if (key == keys.kind) {
    if (SDataIO_ReadEnum(kind, kTargetKinds)) target.kind = static_cast<std::uint8_t>(kind);
  } else if (key == keys.name) {
    SDataIO_ReadStr(target.name);
  } else {
    SDataIO_UnknownAttribute(key);
  }
}

void ReadHotfolder(void* data, void* extra, unsigned key) {
  auto& h = *static_cast<RWconfig_Hotfolder*>(data);
  if (key == keys.id) SDataIO_ReadStr(h.id);
  else if (key == keys.serverName) SDataIO_ReadStr(h.serverName);
  else if (key == keys.remoteSourceDirectory) SDataIO_ReadStr(h.remoteSourceDirectory);
  else if (key == keys.localTargetDirectory) SDataIO_ReadStr(h.localTargetDirectory);
  else if (key == keys.fileRegularExpression) SDataIO_ReadStr(h.fileRegularExpression);
  else if (key == keys.deleteSourceFiles) SDataIO_ReadBool(h.deleteSourceFilesAfterCopy);
  else if (key == keys.targetId) SDataIO_ReadSub(&h.target, extra, ReadTarget);
  else SDataIO_UnknownAttribute(key);
}

void ReadServer(void* data, void*, unsigned key) {
  auto& s = *static_cast<RWbase_Server*>(data);
  unsigned protocol = 0;
  if (key == keys.name) SDataIO_ReadStr(s.name);
  else if (key == keys.protocol) {
    if (SDataIO_ReadEnum(protocol, kProtocols)) s.protocol = static_cast<std::uint8_t>(protocol);
  } else if (key == keys.noProxy) SDataIO_ReadBool(s.noProxy);
  else if (key == keys.hostname) SDataIO_ReadStr(s.hostname);
  else if (key == keys.username) SDataIO_ReadStr(s.username);
  else if (key == keys.password) SDataIO_ReadStr(s.password);
  else if (key == keys.defaultRemoteDirectory) SDataIO_ReadStr(s.defaultRemoteDirectory);
  else SDataIO_UnknownAttribute(key);
}

void ReadTop(void* data, void* extra, unsigned key) {
  auto& config = *static_cast<RWconfig_Rec*>(data);
  RWbase_GlobalSettings& settings = config.settings;
  if (key == keys.proxyHost) {
    SDataIO_ReadStr(settings.proxyHost);
  } else if (key == keys.proxyPort) {
    SDataIO_ReadInt(settings.proxyPort);
  } else if (key == keys.timeout) {
    SDataIO_ReadInt(settings.timeout);
  } else if (key == keys.watchInterval) {
    SDataIO_ReadInt(settings.watchInterval);
  } else if (key == keys.server) {
    RWbase_Server server;
    if (SDataIO_ReadSub(&server, extra, ReadServer)) config.servers[StrIn(server.name).Str()] = server;
  } else if (key == keys.hotfolder) {
    RWconfig_Hotfolder hotfolder;
    if (!SDataIO_ReadSub(&hotfolder, extra, ReadHotfolder)) return;
    // A target that names nobody is no target.
    if (hotfolder.target.kind == RWconfig_unknownTarget || StrIn(hotfolder.target.name).Empty()) {
      hotfolder.target = RWconfig_Target{};
    }
    config.hotfolders[RWconfig_Key(hotfolder)] = hotfolder;
  } else {
    SDataIO_UnknownAttribute(key);
  }
}

// Reads `name` into `config`; a missing file leaves it empty.
bool ReadFile(StrIn name, RWconfig config, StrOut error) {
  RWconfig_StatFile(name, config->read);
  if (!config->read.exists) return true;
  std::FILE* file = std::fopen(name.Str().c_str(), "rb");
  if (file == nullptr) {
    RWconfig_Compose(kNotReadable, error, name);
    return false;
  }
  Messages_IgnoreErrors(true);
  SDataIO_StartParse(file);
  SDataIO_ParseFields(config, nullptr, ReadTop);
  const bool parsed = SDataIO_FinishParse();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  std::fclose(file);
  if (parsed) return true;
  TextStr reason;
  SDataIO_GetErrorMessage(reason);
  RWconfig_Compose(kSyntax, error, name, reason);
  SPrintf_Card64(error, SDataIO_FindLineNumber(SDataIO_ErrorPosition()));
  return false;
}

// --- Writing -------------------------------------------------------------------------------

void WriteTarget(void* data) {
  const auto& target = *static_cast<const RWconfig_Target*>(data);
  SDataIO_WriteEnum(keys.kind, target.kind, kTargetKinds);
  SDataIO_WriteStr(keys.name, target.name);
}

void WriteHotfolder(void* data) {
  auto& h = *static_cast<RWconfig_Hotfolder*>(data);
  SDataIO_WriteStr(keys.id, h.id);
  SDataIO_WriteStr(keys.serverName, h.serverName);
  SDataIO_WriteStr(keys.remoteSourceDirectory, h.remoteSourceDirectory);
  SDataIO_WriteStr(keys.localTargetDirectory, h.localTargetDirectory);
  SDataIO_WriteStr(keys.fileRegularExpression, h.fileRegularExpression);
  SDataIO_WriteBool(keys.deleteSourceFiles, h.deleteSourceFilesAfterCopy);
  SDataIO_WriteSub(keys.targetId, &h.target, WriteTarget);
}

void WriteServer(void* data) {
  const auto& s = *static_cast<const RWbase_Server*>(data);
  SDataIO_WriteStr(keys.name, s.name);
  SDataIO_WriteEnum(keys.protocol, s.protocol, kProtocols);
  SDataIO_WriteBool(keys.noProxy, s.noProxy);
  SDataIO_WriteStr(keys.hostname, s.hostname);
  SDataIO_WriteStr(keys.username, s.username);
  SDataIO_WriteStr(keys.password, s.password);
  SDataIO_WriteStr(keys.defaultRemoteDirectory, s.defaultRemoteDirectory);
}

bool WriteContent(std::FILE* file, RWconfig config) {
  SDataIO_StartGenerate(file, kIndent);
  const RWbase_GlobalSettings& settings = config->settings;
  SDataIO_WriteStr(keys.proxyHost, settings.proxyHost);
  SDataIO_WriteInt(keys.proxyPort, settings.proxyPort);
  SDataIO_WriteInt(keys.timeout, settings.timeout);
  SDataIO_WriteInt(keys.watchInterval, settings.watchInterval);
  for (auto& [name, server] : config->servers) SDataIO_WriteSub(keys.server, &server, WriteServer);
  for (auto& [key, hotfolder] : config->hotfolders) {
    SDataIO_WriteSub(keys.hotfolder, &hotfolder, WriteHotfolder);
  }
  return SDataIO_FinishGenerate();
}

// RWconfig_SaveConfig: the file, or no file for an empty configuration.
bool SaveConfig(StrIn name, RWconfig config, StrOut error) {
  if (config->servers.empty() && config->hotfolders.empty() &&
      RWbase_EqualSettings(config->settings, RWbase_GlobalSettings{})) {
    const bool removed =
        Messages_Quietly([&] { return DirAcces_Remove(name) || DirAcces_dirError == 1; });
    if (!removed) RWconfig_Compose(kNotRemoved, error, name);
    return removed;
  }
  PathStr temporary;
  Strings_Concat(name, ".tmp", temporary);
  std::FILE* file = std::fopen(StrIn(temporary).Str().c_str(), "wb");
  bool written = file != nullptr && WriteContent(file, config);
  if (file != nullptr) written = std::fclose(file) == 0 && written;
  if (!written) {
    Messages_Quietly([&] { return DirAcces_Remove(temporary); });
    RWconfig_Compose(kNoTemporary, error, temporary);
    return false;
  }
  if (!Messages_Quietly([&] { return DirAcces_AtomicRename(temporary, name); })) {
    Messages_Quietly([&] { return DirAcces_Remove(temporary); });
    RWconfig_Compose(kNotRenamed, error, temporary, name);
    return false;
  }
  Messages_Quietly([&] { return DirAcces_ChMod(name, 0666); });
  return true;
}

// Clears `error`; a nil configuration is message 1.
bool Present(RWconfig config, StrOut error) {
  error.Clear();
  if (config == nullptr) RWconfig_Compose(kNilConfig, error);
  return config != nullptr;
}

bool SameFile(const RWconfig_FileID& a, const RWconfig_FileID& b) {
  return a.exists == b.exists && a.device == b.device && a.inode == b.inode && a.size == b.size &&
         a.modified == b.modified;
}

}  // namespace

void RWconfig_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SDataIO_Init();
  SLock_Init();
  const auto id = [](const char* text) { return SIdPool_EnterId(StrIn::C(text)); };
  keys = Keys{id("PROXY_HOST"), id("PROXY_PORT"), id("TIMEOUT"), id("WATCH_INTERVAL"),
              id("SERVER"), id("HOTFOLDER"), id("NAME"), id("PROTOCOL"), id("NO_PROXY"),
              id("HOSTNAME"), id("USERNAME"), id("PASSWORD"), id("DEFAULT_REMOTE_DIRECTORY"),
              id("ID"), id("SERVER_NAME"), id("REMOTE_SOURCE_DIRECTORY"),
              id("LOCAL_TARGET_DIRECTORY"), id("FILE_REGULAR_EXPRESSION"),
              id("DELETE_SOURCE_FILES_AFTER_COPY"), id("TARGETID"), id("KIND")};
}

void RWconfig_GetFileName(StrOut name) {
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, RWconfig_fileName, name);
}

void RWconfig_GetLockName(StrOut name) {
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, RWconfig_lockName, name);
}

void RWconfig_StatFile(StrIn name, RWconfig_FileID& id) {
  DirAcces_Stat stat;
  id = RWconfig_FileID{};
  if (!Messages_Quietly([&] { return DirAcces_FileStatN(name, stat); })) return;
  id = RWconfig_FileID{true, stat.device, stat.inode, stat.size, stat.modified};
}

bool RWconfig_Load(RWconfig& config, StrOut error) {
  RWconfig_Init();
  error.Clear();
  config = new RWconfig_Rec;
  PathStr name;
  RWconfig_GetFileName(name);
  if (ReadFile(name, config, error)) {
    config->serverCursor = config->servers.end();
    config->hotfolderCursor = config->hotfolders.end();
    return true;
  }
  RWconfig_Destroy(config);
  return false;
}

bool RWconfig_Reload(RWconfig config, StrOut error) {
  if (!Present(config, error)) return false;
  PathStr name;
  RWconfig_GetFileName(name);
  RWconfig_FileID now;
  RWconfig_StatFile(name, now);
  if (SameFile(now, config->read)) return true;
  RWconfig fresh = nullptr;
  if (!RWconfig_Load(fresh, error)) return false;
  *config = std::move(*fresh);
  config->serverCursor = config->servers.end();
  config->hotfolderCursor = config->hotfolders.end();
  RWconfig_Destroy(fresh);
  return true;
}

bool RWconfig_Save(RWconfig config, StrOut error) {
  if (!Present(config, error)) return false;
  PathStr name, lockName;
  RWconfig_GetFileName(name);
  RWconfig_GetLockName(lockName);
  SLock lock = SLock_Create(lockName);
  if (!Messages_Quietly([&] { return SLock_Lock(lock, kLockTimeoutMs); })) {
    SLock_Destroy(lock);
    RWconfig_Compose(kNotLocked, error, lockName);
    return false;
  }
  // Another editor saved since we read: our changes go onto its file.
  RWconfig_FileID now;
  RWconfig_StatFile(name, now);
  bool ok = true;
  if (!SameFile(now, config->read)) {
    RWconfig newer = nullptr;
    ok = RWconfig_Load(newer, error);
    RWconfig_Merge(config, newer);
    RWconfig_Destroy(newer);
  }
  ok = ok && SaveConfig(name, config, error);
  if (ok) {
    RWconfig_StatFile(name, config->read);
    config->settingsChanged = false;
    config->serverChanges.clear();
    config->hotfolderChanges.clear();
  }
  SLock_Destroy(lock);
  if (ok && !config->servers.empty()) RWbase_StartDaemon();
  return ok;
}

void RWconfig_Destroy(RWconfig& config) {
  delete config;
  config = nullptr;
}
