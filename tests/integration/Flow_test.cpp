// Files through the sample workflow end to end, as an installation runs
// them: the real watch demon, queue server and worker and module commands
// on a private site, the workflow made by the demo's own script. What is
// checked: each file arrives where the rename scheme, the duplicate and the
// filter send it, a file no scheme fits fails into the error directory, and
// a worker and a demon killed at random moments lose no file and double none.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Await.h"
#include "tests/support/FlowSite.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

TempDir* root = nullptr;
FlowSite* site = nullptr;

class Installation : public ::testing::Environment {
 public:
  void SetUp() override {
    root = new TempDir;
    site = new FlowSite(root->Path());
    ASSERT_TRUE(site->StartWorker(4));
    ASSERT_TRUE(site->StartServer());
    ASSERT_TRUE(site->StartDemon());
  }
  void TearDown() override {
    delete site;
    delete root;
  }
};
const auto* const installation = ::testing::AddGlobalTestEnvironment(new Installation);

// The regular files below `dir` whose names don't begin with a dot (with
// `nested` only those in its subdirectories, else only those in it), by
// name, with how often each name occurs.
std::map<std::string, int> Files(const std::string& dir, bool nested = false) {
  std::map<std::string, int> files;
  if (!fs::is_directory(dir)) return files;
  for (const auto& e : fs::recursive_directory_iterator(dir)) {
    const bool inside = e.path().parent_path() == dir;
    const std::string name = e.path().filename();
    if (e.is_regular_file() && inside != nested && name[0] != '.') ++files[name];
  }
  return files;
}

// A separation "job01_07C.tif" renamed by the sample's scheme: "JOB01-c08.tif".
std::string Renamed(const std::string& name) {
  const std::size_t bar = name.rfind('_');
  std::string job = name.substr(0, bar);
  std::transform(job.begin(), job.end(), job.begin(), [](unsigned char c) { return std::toupper(c); });
  const char ink = static_cast<char>(std::tolower(static_cast<unsigned char>(name[bar + 3])));
  return job + "-" + ink + "08.tif";
}
bool Passes(const std::string& renamed) {
  const char ink = renamed[renamed.rfind('-') + 1];
  return ink == 'c' || ink == 'm';
}

// The sample workflow `name`, installed by the demo's script and started.
struct Sample {
  std::string name, start, outdir, errors, passed, rejected;

  explicit Sample(const std::string& workflow) : name(workflow) {
    const std::string projects = site->Path("projects");
    std::string err;
    EXPECT_EQ(site->Run({"/bin/bash", FLOATDECK_SOURCE_DIR "/scripts/sample-workflow.sh", projects, name}, err), 0)
        << err;
    site->StartFolders();
    start = projects + "/workflow/" + name;
    outdir = start + "/outdir";
    errors = start + "/error";
    // The switch's first out is the sort folder of what the filter passes.
    const std::string sw = FileText(projects + "/autofolder/autoswitch/flow_" + name + "_0/.autoswitchrc");
    const std::size_t at = sw.find("_OUTDIR_=");
    EXPECT_NE(at, std::string::npos) << sw;
    passed = sw.substr(at + 9, sw.find('\n', at) - at - 9);
    for (const char* n : {"_0", "_1"}) {
      const std::string sort = projects + "/autofolder/autosort/flow_" + name + n;
      if (sort != passed) rejected = sort;
    }
  }

  // The error directory's entries of failed files, by the name they failed
  // under (without the stamp), with how often each failed.
  std::map<std::string, int> Failed() const {
    std::map<std::string, int> failed;
    for (const auto& [file, count] : Files(errors))
      if (file.size() < 4 || file.substr(file.size() - 4) != ".err") failed[file.substr(file.find('_') + 1)] += count;
    return failed;
  }
  // What is left of files on their way through the workflow's folders:
  // files in a step's folder, step records and temporary files.
  std::vector<std::string> Leftovers() const {
    std::vector<std::string> left, folders = {start};
    for (const auto& kind : fs::directory_iterator(site->Path("projects/autofolder")))
      for (const auto& folder : fs::directory_iterator(kind.path()))
        if (folder.path().filename().string().rfind("flow_" + name + "_", 0) == 0) folders.push_back(folder.path());
    for (const std::string& folder : folders) {
      for (const auto& e : fs::recursive_directory_iterator(folder)) {
        const std::string file = e.path().filename(), dir = e.path().parent_path();
        const bool settled = dir == outdir || dir == errors || dir.rfind(passed + "/", 0) == 0 || dir.rfind(rejected + "/", 0) == 0;
        // A demon killed while it saved a folder's handled list leaves that
        // list's temporary, which the folder's next save takes over.
        const bool record = file.size() > 7 && file != ".readyFiles.tmp" &&
                            (file.substr(file.size() - 7) == ".fdstep" || file.substr(file.size() - 4) == ".tmp");
        if (e.is_regular_file() && (record || (file[0] != '.' && !settled))) left.push_back(e.path());
      }
    }
    return left;
  }
};

// `count` separations of jobs whose names hold blanks, quotes and "$", four
// inks each, and every fiftieth a note that the rename scheme does not fit.
std::vector<std::string> Samples(int count) {
  static const char* const kJobs[] = {"job", "a b", "it's", "$HOME", "x\"y"};
  std::vector<std::string> names;
  for (int i = 0; static_cast<int>(names.size()) < count; ++i) {
    if (i % 50 == 49) names.push_back("note " + std::to_string(i) + ".txt");
    for (const char* ink : {"C", "M", "Y", "K"})
      names.push_back(std::string(kJobs[i % 5]) + std::to_string(i) + "_07" + ink + ".tif");
  }
  names.resize(static_cast<std::size_t>(count));
  return names;
}

// Where the files are, or should be: the end folder, the filter's two sort
// folders, and the error directory (by the name each failed under).
struct Places {
  std::map<std::string, int> end, passed, rejected, failed;
  bool operator==(const Places&) const = default;
  std::size_t Count() const {
    std::size_t n = 0;
    for (const auto* place : {&end, &passed, &rejected, &failed})
      for (const auto& [name, times] : *place) n += static_cast<std::size_t>(times);
    return n;
  }
};
std::ostream& operator<<(std::ostream& out, const Places& places) {
  const auto list = [&](const char* title, const std::map<std::string, int>& files) {
    out << title << ":";
    for (const auto& [name, times] : files) out << " \"" << name << "\"" << (times > 1 ? " (" + std::to_string(times) + ")" : "");
    out << "\n";
  };
  list("end", places.end);
  list("passed", places.passed);
  list("rejected", places.rejected);
  list("failed", places.failed);
  return out;
}

Places Found(const Sample& wf) { return {Files(wf.outdir), Files(wf.passed, true), Files(wf.rejected, true), wf.Failed()}; }

// Where each of `names` belongs after its way through the sample.
Places Expected(const std::vector<std::string>& names) {
  Places places;
  for (const std::string& name : names) {
    if (name.size() < 4 || name.substr(name.size() - 4) != ".tif") {
      ++places.failed[name];
      continue;
    }
    const std::string renamed = Renamed(name);
    ++places.end[renamed];
    ++(Passes(renamed) ? places.passed : places.rejected)[renamed];
  }
  return places;
}

// Drops `names` into the sample and waits until every file has come to rest.
Places Pass(const Sample& wf, const std::vector<std::string>& names, const std::function<void()>& meanwhile) {
  for (const std::string& name : names) site->Drop(wf.start, name, name);
  meanwhile();
  const Places expected = Expected(names);
  Places found;
  Await([&] { return (found = Found(wf)).Count() >= expected.Count() && wf.Leftovers().empty(); }, 600);
  EXPECT_EQ(wf.Leftovers(), std::vector<std::string>{});
  return found;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;  // every step is a slow sanitised program here
#else
constexpr bool kSanitized = false;
#endif

// The seed of a test's random moments: FLOATDECK_FLOW_SEED, else a new one;
// told, so that a failure can be run again.
unsigned Seed() {
  const char* given = std::getenv("FLOATDECK_FLOW_SEED");
  const unsigned seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
  std::cout << "FLOATDECK_FLOW_SEED=" << seed << std::endl;
  return seed;
}

}  // namespace

TEST(Flow, TheSampleWorkflowSendsEveryFileWhereItsFoldersSay) {
  const Sample wf("sample");
  std::vector<std::string> names = Samples(200);
  names.push_back("notes.txt");
  EXPECT_EQ(Pass(wf, names, [] {}), Expected(names));
  EXPECT_EQ(FileText(wf.outdir + "/" + Renamed(names[7])), names[7]);
  // Each failed file has its ".err" beside it, which names the file.
  for (const auto& [file, count] : Files(wf.errors)) {
    if (file.size() > 4 && file.substr(file.size() - 4) == ".err") continue;
    EXPECT_NE(FileText(wf.errors + "/" + file + ".err").find(file.substr(file.find('_') + 1)), std::string::npos) << file;
  }
}

TEST(Flow, NoFileIsLostOrDoubledWhenTheWorkerAndTheDemonAreKilled) {
  const Sample wf("killed");
  const std::vector<std::string> names = Samples(kSanitized ? 250 : 1000);
  const unsigned seed = Seed();
  std::mt19937 random(seed);
  // Kills at random moments of the run, each followed by a restart.
  const Places found = Pass(wf, names, [&] {
    for (int kill = 0; kill < 6; ++kill) {
      std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<int>(200, 2500)(random)));
      const int which = std::uniform_int_distribution<int>(0, 2)(random);
      if (which != 1) site->StopWorker(SIGKILL);
      if (which != 0) site->StopDemon(SIGKILL);
      if (which != 1) {
        ASSERT_TRUE(site->StartWorker(4));
      }
      if (which != 0) {
        ASSERT_TRUE(site->StartDemon());
      }
    }
  });
  EXPECT_EQ(found, Expected(names)) << "seed " << seed;
}

TEST(Flow, FilesTheSortFoldersFiledAreLeftAlone) {
  const Sample wf("filed");
  const std::vector<std::string> names = Samples(12);
  EXPECT_EQ(Pass(wf, names, [] {}), Expected(names));
  // The demon watched no directory a sort folder files into: no job ran for
  // a filed file, so none was listed as handled there.
  for (const std::string& sort : {wf.passed, wf.rejected})
    for (const auto& e : fs::recursive_directory_iterator(sort))
      EXPECT_NE(e.path().filename(), ".readyFiles") << e.path();
}

TEST(Flow, NoFileIsLostOrDoubledWhenTheServicesAreKilledDuringBatches) {
  const Sample wf("batches");
  const std::vector<std::string> names = Samples(kSanitized ? 200 : 600);
  const unsigned seed = Seed();
  std::mt19937 random(seed);
  // Files dropped at once go to the steps in batches; the worker, the demon
  // and the queue server are each killed twice while they run, and started again.
  const Places found = Pass(wf, names, [&] {
    for (int kill = 0; kill < 6; ++kill) {
      std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<int>(200, 2000)(random)));
      switch (kill % 3) {
        case 0:
          site->StopServer(SIGKILL);
          ASSERT_TRUE(site->StartServer());
          break;
        case 1:
          site->StopWorker(SIGKILL);
          ASSERT_TRUE(site->StartWorker(4));
          break;
        default:
          site->StopDemon(SIGKILL);
          ASSERT_TRUE(site->StartDemon());
      }
    }
  });
  EXPECT_EQ(found, Expected(names)) << "seed " << seed;
}
