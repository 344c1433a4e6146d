// Test helpers: private temporary directories, catalogs written on the fly and
// programs run with a chosen environment.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Services.h"

// A directory of its own below /tmp, removed with everything in it by the
// process that made it (not by forked children that exit, as death tests do).
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return path_; }
  // Path() + "/" + relative, with the directories on the way made.
  std::string Make(const std::string& relative) const;

 private:
  std::string path_;
  int owner_;
};

// The whole content of a file ("" when it can't be read), and a file made
// or replaced with `text`.
std::string FileText(const std::string& path);
void PutFile(const std::string& path, const std::string& text);

// Registers the global environment of a test program that uses the build
// tree's catalogs: no run files, MARLENV at <build>/env, then `init` (the
// module's initialiser) before the first test. Returns true, for use as a
// namespace-scope initialiser.
bool UseBuildTreeSite(void (*init)());

// A private site (UsePrivateSite) for the whole test program, made before
// the first test, after which `init` runs (the initialisers and settings the
// tests need); removed after the last test. The reference is that site from
// then on; for use as a namespace-scope initialiser, once per program.
TempDir*& UsePrivateSiteForTests(void (*init)());

class FlowSite;
// The FlowSite of a test program, for use as a namespace-scope initialiser
// once per program (after UseXvfb where there are windows): made below a
// temporary directory of its own before the first test, then `setUp`
// prepares it and starts what the tests need. After the last test
// `tearDown` (when given) lets go of what setUp took; the site goes with
// its services and every one that programs under test started in it.
FlowSite*& UseFlowSiteForTests(void (*setUp)(), void (*tearDown)() = nullptr);

using CatalogTexts = std::map<std::string, std::map<unsigned, std::string>>;

// Writes `texts` as a catalog file at `path`.
void WriteCatalog(const std::string& path, const CatalogTexts& texts);
// Writes raw bytes, for damaged files.
void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes);
std::vector<unsigned char> EncodeCatalog(const CatalogTexts& texts);

struct RunResult {
  int status = -1;  // exit status, or 128 + signal
  std::string out, err;
};

// Runs `argv` with `env` added to (or, with an empty value, removed from) this
// process's environment, and collects both output streams.
RunResult RunProgram(const std::vector<std::string>& argv,
                     const std::vector<std::pair<std::string, std::string>>& env);
