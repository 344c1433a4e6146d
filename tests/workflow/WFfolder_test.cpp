// Folders: the two kind tables, classes of kinds, modes, outs with their
// labels and rc keys, the iterator, the connection rule, file expressions,
// the demon entry and reading a folder's rc file.
#include "workflow/WFfolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

TempDir* site = nullptr;

std::string Projects() { return site->Path() + "/projects"; }
std::string Components() { return Projects() + "/udef"; }

class Site : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    fs::create_directories(Components());
    ::unsetenv("TEST");
    // One component with an out, one without; the first takes any file.
    PutFile(site->Path() + "/customer/floatdeck.cfg",
            "#Created by Workflow Manager\n"
            "FOLDER=" + Components() + ":SUBDIRS=TRUE:FILES=\\.txt$:CMD=udef.sh:OPTIONS=.udefrc:"
            "SHORTDESC=Stamp:OUTS=1:CPUUSE=low\n"
            "FOLDER=" + Projects() + "/sink:CMD=sink.sh:SHORTDESC=Sink:OUTS=0\n");
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    WFfolder_Init();
  }
  void TearDown() override { delete site; }
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new Site);

// A folder that the test owns, with a fresh rc.
struct Folder {
  explicit Folder(WFfolder_FolderKind kind, const std::string& path = "/p")
      : handle(WFfolder_Create(kind, path, SAutoRcF_Create())) {}
  ~Folder() { WFfolder_Destroy(handle); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  operator WFfolder() const { return handle; }
  WFfolder handle;
};

std::string Opt(WFfolder folder, const char* key) {
  TextStr value;
  return SAutoRcF_GetOpt(WFfolder_RcFile(folder), StrIn::C(key), value) ? std::string(StrIn(value).View()) : "<absent>";
}

std::string Label(WFfolder folder, std::uint32_t index) {
  NameStr label;
  WFfolder_GetOutDescription(folder, index, label);
  return label;
}

std::pair<std::string, std::string> Exprs(WFfolder folder) {
  TextStr files, omit;
  WFfolder_GetFileRegExpr(folder, files, omit);
  return {files, omit};
}

// --- The kind tables, typed from the product's folder kind list ---------------------

struct KindRow {
  int folder, module;
  const char* name;
};
const KindRow kKinds[] = {
    {1, 1, "Start"},          {3, 10, "Rip"},           {4, 11, "Jaws Rip"},
    {5, 12, "PelRipX"},       {6, 13, "PelRipEP"},      {7, 14, "PS2PDF"},
    {8, 15, "CT2PDF"},        {9, 16, "Lumtrap"},       {10, 17, "PS Preflight"},
    {11, 18, "PDF Preflight"}, {12, 19, "PDF Improve"}, {13, 20, "PDF Overlay"},
    {14, 21, "PDF SetBoxes"}, {15, 22, "PDF Rotate"},   {16, 25, "PDF Paste"},
    {17, 23, "PDF Split"},    {18, 24, "PDF Cut"},      {19, 26, "PDF Rewrite"},
    {20, 27, "PDF/X Suite"},  {21, 28, "PDF Callas Preflight"}, {22, 29, "ICopy"},
    {23, 30, "Combine"},      {24, 31, "ImgFork"},      {25, 32, "Join"},
    {26, 39, "Label"},        {27, 33, "SepMerge"},     {28, 34, "Proof"},
    {29, 2, "Rename"},        {30, 35, "Filter"},       {31, 3, "Duplicate"},
    {32, 4, "Switch"},        {33, 40, "Log"},          {34, 36, "ICC"},
    {35, 37, "ColorXchange"}, {36, 38, "ColorXchange-P"}, {37, 5, "Check"},
    {38, 46, "Cut & Frame"},  {39, 42, "JXK Ovw"},      {40, 43, "Bitmap Proof"},
    {41, 41, "WebCheck"},     {43, 6, "End"},           {44, 7, "Sort"},
    {45, 8, "Distribute"},    {46, 9, "Delete"},        {47, 44, "JXK Input"},
    {48, 45, "DLS Preflight"}, {50, 47, "DiffPosition"}, {51, 48, "Remote Copy"},
    {52, 49, "Profile Tagger"}, {53, 50, "CIP 3"},
};

TEST(WFfolderKinds, BothMappingsFollowTheTableAndAreInverse) {
  ASSERT_EQ(std::size(kKinds), 50u);
  std::vector<bool> moduleSeen(51, false);
  for (const KindRow& row : kKinds) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(WFfolder_FolderToModuleKind(row.folder), row.module);
    EXPECT_EQ(WFfolder_ModuleToFolderKind(row.module), row.folder);
    NameStr name;
    WFfolder_GetNameByKind(row.folder, name);
    EXPECT_STREQ(name, row.name);
    moduleSeen[row.module] = true;
  }
  for (int m = 1; m <= 50; ++m) {
    EXPECT_TRUE(moduleSeen[m]) << m;
    EXPECT_EQ(WFfolder_FolderToModuleKind(WFfolder_ModuleToFolderKind(m)), m);
  }
  for (int kind : {0, 2, 42, 49, 54, 255}) EXPECT_EQ(WFfolder_FolderToModuleKind(kind), 0) << kind;
  for (int kind : {0, 51, 255}) EXPECT_EQ(WFfolder_ModuleToFolderKind(kind), 0) << kind;
}

TEST(WFfolderKinds, ClassesOfKinds) {
  const std::vector<int> ends = {2, 43, 44, 45, 46, 47, 48, 49};
  auto in = [](const std::vector<int>& set, int kind) { return std::find(set.begin(), set.end(), kind) != set.end(); };
  for (int kind = 0; kind <= 53; ++kind) {
    SCOPED_TRACE(kind);
    EXPECT_EQ(WFfolder_EndKind(kind), in(ends, kind));
    EXPECT_EQ(WFfolder_ActiveEndKind(kind), in({44, 45, 47, 48}, kind));
    EXPECT_EQ(WFfolder_StandardEndKind(kind), in({2, 43, 46}, kind));
    // Delete runs its remove command; only the plain directories are passive.
    EXPECT_EQ(WFfolder_PassiveEndKind(kind), in({2, 43}, kind));
    EXPECT_EQ(WFfolder_UserDefKind(kind), in({42, 49}, kind));
    EXPECT_EQ(WFfolder_TwoJobsKind(kind), in({23, 24, 27, 28, 40}, kind));
    EXPECT_EQ(WFfolder_StartableKind(kind), !in({2, 37, 43, 46}, kind));
  }
  EXPECT_TRUE(WFfolder_InsertableKind(42));
  EXPECT_TRUE(WFfolder_InsertableKind(46));  // Delete, by rule
  EXPECT_FALSE(WFfolder_InsertableKind(2));
  Folder check(37);
  EXPECT_FALSE(WFfolder_Startable(check));
  EXPECT_FALSE(WFfolder_End(WFfolder_Nil()));
  EXPECT_EQ(WFfolder_Kind(WFfolder_Nil()), 0);
}

TEST(WFfolderKinds, ByPathAndByName) {
  EXPECT_EQ(WFfolder_KindByPath(Projects() + "/autofolder/autorename/flow_a_1"), 29);
  EXPECT_EQ(WFfolder_KindByPath(Projects() + "/autorip/flow_a_2"), 3);
  EXPECT_EQ(WFfolder_KindByPath(Components() + "/flow_a_3"), 42);
  EXPECT_EQ(WFfolder_KindByPath(Projects() + "/sink"), 49);
  EXPECT_EQ(WFfolder_KindByPath("/elsewhere"), 0);
  WFconfig_Entry component{};
  EXPECT_EQ(WFfolder_KindByName("Jaws Rip", component), 4);
  EXPECT_EQ(WFfolder_KindByName("Stamp", component), 42);
  EXPECT_STREQ(component.cmd, "udef.sh");
  EXPECT_EQ(WFfolder_KindByName("Nothing", component), 0);
}

TEST(WFfolderKinds, NamesOfComponentsAndModules) {
  Folder stamp(42, Components() + "/flow_a_1");
  NameStr name, icon, title;
  PathStr root, path;
  WFfolder_GetName(stamp, name);
  WFfolder_GetIcon(stamp, icon);
  WFfolder_GetIconTitle(stamp, title);
  WFfolder_GetRootDir2(stamp, root);
  WFfolder_GetRcFullName(stamp, path);
  EXPECT_EQ(std::tuple(std::string(name), std::string(icon), std::string(title), std::string(root), std::string(path)),
            std::tuple("Stamp", "AutoUDef.pxm", "UserDef", Components(), Components() + "/flow_a_1/.udefrc"));
  EXPECT_FALSE(WFfolder_HighCPUUsage(stamp));
  Folder orphan(42, "/nowhere");
  EXPECT_TRUE(WFfolder_HighCPUUsage(orphan));  // no component: counted high

  Folder rename(29, "/r");
  WFfolder_GetRcFullName(rename, path);
  WFfolder_GetCmdName(rename, name);
  EXPECT_EQ(std::string(path) + " " + name, "/r/.autorenmrc autorenm.sh");
}

// --- Modes ------------------------------------------------------------------------------

TEST(WFfolderModes, DefaultsOptionsAndTheDeliberateAsymmetry) {
  const std::map<int, std::uint32_t> defaults = {{1, 0},  {3, 0},  {4, 1},  {23, 1}, {32, 1},
                                                 {30, 6}, {40, 0}, {47, 0}, {52, 1}, {22, kWFfolderNoMode},
                                                 {43, kWFfolderNoMode}};
  for (const auto& [kind, mode] : defaults) {
    Folder folder(kind);
    EXPECT_EQ(WFfolder_GetMode(folder), mode) << kind;
  }
  EXPECT_EQ(WFfolder_GetMode(WFfolder_Nil()), kWFfolderNoMode);

  // Written and read back through the kind's own option.
  const std::map<int, const char*> written = {{3, "CMPLXMODE"}, {4, "CTLW"}, {10, "MODE"}, {32, "MODE"}};
  for (const auto& [kind, key] : written) {
    Folder folder(kind);
    WFfolder_SetMode(folder, 5);
    EXPECT_EQ(Opt(folder, key), "5") << kind;
    EXPECT_EQ(WFfolder_GetMode(folder), 5u) << kind;
    EXPECT_TRUE(WFfolder_Modified(folder));
  }
  Folder tagger(52);
  WFfolder_SetMode(tagger, 0);
  EXPECT_EQ(Opt(tagger, "WRITEREPORT"), "_FALSE_");
  EXPECT_EQ(WFfolder_GetMode(tagger), 0u);

  // Read here, set only by their front ends.
  for (int kind : {1, 29, 34, 40, 44}) {
    Folder folder(kind);
    WFfolder_SetMode(folder, 2);
    EXPECT_EQ(WFfolder_GetMode(folder), 0u) << kind;
    EXPECT_FALSE(WFfolder_Modified(folder)) << kind;
  }
  Folder bitmap(40);
  SAutoRcF_SetCardOpt(WFfolder_RcFile(bitmap), "BITMAPMODE", 3);
  EXPECT_EQ(WFfolder_GetMode(bitmap), 3u);
}

TEST(WFfolderModes, ReservedSettersMarkOnlyOnChange) {
  Folder folder(29);
  WFfolder_SetErrorMode(folder, 0);
  WFfolder_SetFinalpageMode(folder, false);
  WFfolder_SetOverwriteMode(folder, 2, false);
  WFfolder_SetSequenceMode(folder, 0, SAutoRcF_Sequence{});
  EXPECT_FALSE(WFfolder_Modified(folder));
  WFfolder_SetJobticketMode(folder, true);
  EXPECT_TRUE(WFfolder_Modified(folder));
  EXPECT_TRUE(WFfolder_JobticketMode(folder));
  WFfolder_SetModified(folder, false);
  WFfolder_SetErrorDir(folder, "/err");
  EXPECT_TRUE(WFfolder_Modified(folder));
  WFfolder_SetModified(folder, false);
  WFfolder_SetErrorDir(folder, "/err");
  EXPECT_FALSE(WFfolder_Modified(folder));
  WFfolder_SetInstallTime(folder, " 1-Jan-2024  10:00:00");
  EXPECT_TRUE(WFfolder_Modified(folder));

  Folder start(1), sorter(44), other(29);
  EXPECT_FALSE(WFfolder_SubdirMode(start));
  WFfolder_SetBoolOpt(start, "SUBDIRS", true);
  EXPECT_TRUE(WFfolder_SubdirMode(start));
  EXPECT_TRUE(WFfolder_SubdirMode(sorter));
  EXPECT_FALSE(WFfolder_SubdirMode(other));
}

// --- Outs ---------------------------------------------------------------------------------

TEST(WFfolderOuts, CountsAndLabelsFollowKindAndMode) {
  Folder rip(3), jaws(4), sw(32), fork(24), tagger(52), web(41), rename(29);
  Folder a(29, "/a"), b(29, "/b"), c(29, "/c"), d(29, "/d"), e(29, "/e");
  const std::vector<WFfolder> targets = {a, b, c, d, e};

  struct Case {
    WFfolder folder;
    std::uint32_t mode;
    std::uint32_t count;
    const char* first;
    const char* second;
  };
  const Case cases[] = {
      {rip, 1, 1, "CT", ""},    {rip, 3, 1, "LW", ""},    {rip, 4, 2, "CT", "LW"},
      {jaws, 4, 1, "CT", ""},   {jaws, 2, 2, "CT", "LW"}, {jaws, 6, 1, "LW", ""},
      {sw, 0, 2, "CT", "LW"},   {sw, 2, 2, "+", "-"},     {fork, 1, 2, "%", "R"},
      {fork, 0, 1, "", ""},     {tagger, 1, 2, "PDF", "REP"}, {tagger, 0, 1, "PDF", ""},
  };
  for (const Case& test : cases) {
    WFfolder_SetMode(test.folder, test.mode);
    WFfolder_SetOutFolder(test.folder, 1, a);
    WFfolder_SetOutFolder(test.folder, 2, b);
    SCOPED_TRACE(std::to_string(WFfolder_Kind(test.folder)) + " mode " + std::to_string(test.mode));
    EXPECT_EQ(WFfolder_OutdirCount(test.folder), test.count);
    EXPECT_EQ(Label(test.folder, 1), test.first);
    EXPECT_EQ(Label(test.folder, 2), test.second);
  }
  WFfolder_SetOutFolderForRebuild(web, 1, a);
  EXPECT_EQ(Label(web, 1), "+");
  EXPECT_EQ(Label(web, 2), "");  // nil out, no label
  EXPECT_EQ(WFfolder_OutdirCount(web), 2u);
  EXPECT_EQ(WFfolder_OutdirCount(rename), 1u);

  // A switch by ink ranges: the count from its option, a label per range.
  WFfolder_SetMode(sw, 3);
  WFfolder_SetCardOpt(sw, "OUTDIRCOUNT", 5);
  WFfolder_SetStringOpt(sw, "INKRANGES", "0,10,25,50,75,100");
  for (std::uint32_t i = 1; i <= 5; ++i) WFfolder_SetOutFolder(sw, i, targets[i - 1]);
  EXPECT_EQ(WFfolder_OutdirCount(sw), 5u);
  EXPECT_EQ(Label(sw, 1), "0-10");
  EXPECT_EQ(Label(sw, 5), "75-100");
  WFfolder_SetCardOpt(sw, "OUTDIRCOUNT", 40);
  EXPECT_EQ(WFfolder_OutdirCount(sw), 8u);
  WFfolder_UnsetOpt(sw, "OUTDIRCOUNT");
  EXPECT_EQ(WFfolder_OutdirCount(sw), 2u);

  Folder stamp(42, Components() + "/flow_x_1"), sink(49, Projects() + "/sink"), end(43), hidden(2);
  EXPECT_EQ(WFfolder_OutdirCount(stamp), 1u);
  EXPECT_EQ(WFfolder_OutdirCount(sink), 0u);
  EXPECT_EQ(WFfolder_OutdirCount(end), 0u);
  EXPECT_EQ(WFfolder_OutdirCount(hidden), 0u);
}

// What the rc says after an out is set is what a rebuild reads back, in
// every mode of the kinds whose front ends keep out directories their way.
TEST(WFfolderOuts, OutDirectoriesRoundTripThroughTheRc) {
  Folder x(29, "/flow/x"), y(29, "/flow/y");
  const std::map<int, std::vector<std::uint32_t>> modes = {
      {3, {0, 1, 2, 3, 4, 5}}, {4, {1, 2, 3, 4, 5, 6}}, {7, {0}}, {32, {0, 1}}, {10, {0, 1}}};
  for (const auto& [kind, list] : modes) {
    for (std::uint32_t mode : list) {
      Folder folder(kind);
      WFfolder_SetMode(folder, mode);
      const std::uint32_t count = WFfolder_OutdirCount(folder);
      for (std::uint32_t index = 1; index <= count; ++index) {
        WFfolder_SetOutFolder(folder, index, index == 1 ? x : y);
      }
      for (std::uint32_t index = 1; index <= count; ++index) {
        PathStr path;
        EXPECT_TRUE(WFfolder_GetOutdir(WFfolder_RcFile(folder), kind, index, path)) << kind << "/" << mode;
        EXPECT_STREQ(path, index == 1 ? "/flow/x" : "/flow/y") << kind << "/" << mode << "/" << index;
      }
    }
  }
  // The keys themselves, as the modules read them.
  Folder rip(3), jaws(4), distiller(7);
  WFfolder_SetOutFolder(rip, 1, x);
  WFfolder_SetMode(rip, 4);
  WFfolder_SetOutFolder(rip, 2, y);
  EXPECT_EQ(Opt(rip, "OUTDIR_CT"), "/flow/x");
  EXPECT_EQ(Opt(rip, "OUTDIR_LW"), "/flow/y");
  EXPECT_EQ(Opt(rip, "_OUTDIR_"), "<absent>");
  WFfolder_SetMode(jaws, 5);
  WFfolder_SetOutFolder(jaws, 1, x);
  EXPECT_EQ(Opt(jaws, "OutputPathLW"), "/flow/x");
  EXPECT_EQ(Opt(jaws, "OutputPathCT"), "<absent>");
  WFfolder_SetOutFolder(distiller, 1, y);
  EXPECT_EQ(Opt(distiller, "_OUTDIR_"), "/flow/y");

  // A rebuild only links.
  Folder rebuilt(29);
  WFfolder_SetOutFolderForRebuild(rebuilt, 1, x);
  EXPECT_EQ(WFfolder_OutFolder(rebuilt, 1), x.handle);
  EXPECT_EQ(Opt(rebuilt, "_OUTDIR_"), "<absent>");
  EXPECT_FALSE(WFfolder_Modified(rebuilt));
  PathStr path;
  EXPECT_TRUE(WFfolder_GetOutPath(rebuilt, 1, path));
  EXPECT_STREQ(path, "/flow/x");
  EXPECT_FALSE(WFfolder_GetOutPath(rebuilt, 2, path));
}

TEST(WFfolderOuts, IteratorStopsAtTheFirstGap) {
  Folder sw(32), a(29, "/a"), b(29, "/b");
  WFfolder_SetOutFolder(sw, 1, a);
  WFfolder_SetOutFolder(sw, 3, b);
  auto walk = [](WFfolder_OutIterator iterator) {
    std::vector<std::uint32_t> seen;
    std::uint32_t index = 0;
    WFfolder out = nullptr;
    while (WFfolder_IterateOuts(iterator, index, out)) seen.push_back(index);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(out, WFfolder_Nil());
    return seen;
  };
  WFfolder_OutIterator iterator = WFfolder_CreateOutIterator(sw);
  EXPECT_EQ(walk(iterator), std::vector<std::uint32_t>{1});
  EXPECT_EQ(walk(iterator), std::vector<std::uint32_t>{});
  WFfolder_SetOutFolder(sw, 2, a);
  WFfolder_ResetOutIterator(iterator);
  EXPECT_EQ(walk(iterator), (std::vector<std::uint32_t>{1, 2, 3}));
  WFfolder_DestroyOutIterator(iterator);
  EXPECT_EQ(iterator, nullptr);
  EXPECT_EQ(WFfolder_CreateOutIterator(WFfolder_Nil()), nullptr);
}

TEST(WFfolderOuts, UsedOutsAndConnections) {
  Folder sw(32, "/sw"), a(29, "/a"), hidden(2, "/outdir"), loop(30, "/loop");
  WFfolder_SetOutFolder(sw, 2, a);
  WFfolder_SetOutFolder(sw, 3, a);
  WFfolder_SetOutFolder(sw, 5, hidden);
  std::uint32_t mask = 0;
  EXPECT_EQ(WFfolder_CountUsedOuts(sw, false, mask), 1u);
  EXPECT_EQ(mask, 1u << 2);
  EXPECT_EQ(WFfolder_CountUsedOuts(sw, true, mask), 2u);
  EXPECT_EQ(mask, (1u << 2) | (1u << 5));
  WFfolder_SetModified(sw, false);
  WFfolder_SetUsedOutsOpts(sw);
  EXPECT_EQ(Opt(sw, "_USED_OUTS_COUNT"), "1");
  EXPECT_EQ(Opt(sw, "_USED_OUTS_MASK"), "2");
  EXPECT_FALSE(WFfolder_Modified(sw));
  WFfolder_UnsetUsedOutsOpts(sw);
  EXPECT_EQ(Opt(sw, "_USED_OUTS_COUNT"), "<absent>");

  // sw -> a -> loop -> a: the walk ends although the graph has a cycle.
  WFfolder_SetOutFolder(a, 1, loop);
  WFfolder_SetOutFolder(loop, 1, a);
  EXPECT_TRUE(WFfolder_ConnectionExists(sw, loop));
  EXPECT_TRUE(WFfolder_ConnectionExists(sw, sw));
  EXPECT_FALSE(WFfolder_ConnectionExists(loop, sw));
  EXPECT_FALSE(WFfolder_ConnectionExists(sw, WFfolder_Nil()));
  EXPECT_FALSE(WFfolder_ConnectionExists(WFfolder_Nil(), WFfolder_Nil()));
}

// --- Files and the demon --------------------------------------------------------------------

TEST(WFfolderDemon, StartFolderFilesByFileMode) {
  const std::string ps = "\\.(ps|PS|eps|EPS|pdf|PDF)$";
  const std::map<int, std::pair<std::string, std::string>> expected = {
      {0, {"<images>", ""}},
      {1, {"<images+Finalpage>", ""}},
      {2, {"^[^\\.]", ""}},
      {3, {ps, ""}},
      {4, {"\\.tif$", ""}},
      {5, {"<images>|<jobtickets>", "\\.jxk$"}},
      {6, {"<images+Finalpage>|<jobtickets>", "\\.jxk$"}},
      {7, {"<jobtickets>", "\\.jxk$"}},
      {8, {"<JXK-Bitmaps>", ""}},
      {9, {"\\.jxk$", ""}},
      {10, {ps + "|(\\.jtp|\\.jtpd)$", ""}},
      {11, {"^[^\\.]", ""}},
  };
  for (const auto& [mode, exprs] : expected) {
    Folder start(1);
    WFfolder_SetIntOpt(start, "FILEMODE", mode);
    WFfolder_SetStringOpt(start, "FILESREGEXP", "\\.tif$");
    EXPECT_EQ(Exprs(start), exprs) << mode;
    EXPECT_EQ(WFfolder_WorksOnFiles(start), mode == 2) << mode;
  }
  Folder plain(1);
  EXPECT_EQ(Exprs(plain).first, "^[^\\.]");  // absent FILEMODE counts as 2
  Folder start(1);
  WFfolder_SetIntOpt(start, "FILEMODE", 4);
  EXPECT_EQ(Exprs(start).first, "^[^\\.]");  // mode 4 without its expression
  EXPECT_EQ(Exprs(WFfolder_Nil()), std::make_pair(std::string(), std::string()));
}

TEST(WFfolderDemon, OtherKindsFilesAndWorksOnFiles) {
  Folder copy(22), rename(29), color(35), stamp(42, Components() + "/flow_q_1"), orphan(49, "/none");
  EXPECT_EQ(Exprs(copy).first, "<images>");
  WFfolder_SetStringOpt(copy, "INREGEXPR", "\\.pdf$");
  EXPECT_EQ(Exprs(copy).first, "\\.pdf$");
  EXPECT_EQ(Exprs(color), std::make_pair(std::string("<images>"), std::string("^\\.deviceLink.*")));

  EXPECT_FALSE(WFfolder_WorksOnFiles(rename));
  EXPECT_EQ(Exprs(rename).first, "<images>");
  WFfolder_SetFinalpageMode(rename, true);
  EXPECT_EQ(Exprs(rename).first, "<images+Finalpage>");
  WFfolder_SetJobticketMode(rename, true);
  EXPECT_EQ(Exprs(rename).first, "<jobtickets>");
  WFfolder_SetCardOpt(rename, "MODE", 1);
  EXPECT_TRUE(WFfolder_WorksOnFiles(rename));
  EXPECT_EQ(Exprs(rename).first, "^[^\\.]");
  WFfolder_SetBoolOpt(rename, "IMAGEMODE", true);  // rules over MODE
  EXPECT_FALSE(WFfolder_WorksOnFiles(rename));

  EXPECT_EQ(Exprs(stamp), std::make_pair(std::string("\\.txt$"), std::string()));
  EXPECT_TRUE(WFfolder_WorksOnFiles(stamp));
  EXPECT_EQ(Exprs(orphan).first, "<images>");
  EXPECT_FALSE(WFfolder_WorksOnFiles(orphan));
}

TEST(WFfolderDemon, EntryOfAFolder) {
  // A start folder: its own directory, sub-folders without the workflow's
  // own end and error directories, its files and its sequence mode.
  const std::string startPath = Projects() + "/workflow/press";
  Folder start(1, startPath);
  WFfolder_SetBoolOpt(start, "SUBDIRS", true);
  WFfolder_SetIntOpt(start, "FILEMODE", 3);
  SAutoRcF_Sequence sequence;
  WFfolder_SetSequenceMode(start, 2, sequence);
  TVWcfg_Entry* entry = WFfolder_CreateDemonConfigEntry(start);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(std::tuple(std::string(entry->folder), entry->subdirs, std::string(entry->omit), std::string(entry->files),
                       std::string(entry->cmd), entry->sequenceMode),
            std::tuple(startPath, true, std::string("outdir,error,") + TVWcfg_toOmit, TVWcfg_psFiles, "autostart.sh", 2));
  TVWcfg_DestroyEntry(entry);

  // A rename folder is watched on its own, without sub-folders.
  Folder rename(29, Projects() + "/autofolder/autorename/flow_press_1");
  entry = WFfolder_CreateDemonConfigEntry(rename);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(std::tuple(std::string(entry->folder), entry->subdirs, entry->sequenceMode),
            std::tuple(Projects() + "/autofolder/autorename/flow_press_1", false, 0));
  TVWcfg_DestroyEntry(entry);

  // A filter is served by the entry of its whole root.
  Folder filter(30, Projects() + "/autofolder/autofilter/flow_press_2");
  entry = WFfolder_CreateDemonConfigEntry(filter);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(std::tuple(std::string(entry->folder), entry->subdirs), std::tuple(Projects() + "/autofolder/autofilter", true));
  TVWcfg_DestroyEntry(entry);

  Folder stamp(42, Components() + "/flow_press_3");
  entry = WFfolder_CreateDemonConfigEntry(stamp);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(std::tuple(std::string(entry->folder), std::string(entry->cmd), std::string(entry->files)),
            std::tuple(Components(), "udef.sh", "\\.txt$"));
  TVWcfg_DestroyEntry(entry);

  Folder unknown(0), orphan(42, "/none");
  EXPECT_EQ(WFfolder_CreateDemonConfigEntry(unknown), nullptr);
  EXPECT_EQ(WFfolder_CreateDemonConfigEntry(orphan), nullptr);
  EXPECT_EQ(WFfolder_CreateDemonConfigEntry(WFfolder_Nil()), nullptr);
}

std::uint8_t ClusterForRips(StrIn jobClass) { return jobClass.View() == "WORKFLOW-MODULE/RIP" ? 2 : 1; }

TEST(WFfolderDemon, ExecuteOnAskesTheRegisteredQueue) {
  Folder rip(3), rename(29), stamp(42, Components() + "/flow_a_1");
  EXPECT_EQ(WFfolder_ExecuteOn(rip), 1);
  WFfolder_RegisterExecuteOnProc(ClusterForRips);
  EXPECT_EQ(WFfolder_ExecuteOn(rip), 2);
  EXPECT_EQ(WFfolder_ExecuteOn(rename), 1);
  EXPECT_EQ(WFfolder_ExecuteOn(stamp), 1);
  WFfolder_RegisterExecuteOnProc(nullptr);
}

// --- The rc file -------------------------------------------------------------------------------

class RcFile : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(dir); }
  std::string dir = site->Path() + "/folders/" + ::testing::UnitTest::GetInstance()->current_test_info()->name();
  // The message as a user reads it, the file's name in its place.
  static std::string Expected(unsigned number, const std::string& file) {
    TextStr text;
    Messages_GetMsg("WFfolder", number, text);
    std::string message(StrIn(text).View());
    message.replace(message.find("%s"), 2, file);
    return message;
  }
};

TEST_F(RcFile, LoadsSavesAndReportsEachFailure) {
  TextStr message;
  // Found: the object is the caller's; a save writes it back in place.
  PutFile(dir + "/.autorenmrc", "autorenm.sh\n: MODE=1\n");
  SAutoRcF rc = WFfolder_LoadRcFile(dir, 29, message);
  ASSERT_NE(rc, nullptr);
  EXPECT_STREQ(message, "");
  Folder folder(29, dir);
  WFfolder_SetRcFile(folder, rc);
  WFfolder_SetStringOpt(folder, "NOTE", "kept");
  EXPECT_TRUE(WFfolder_SaveOptions(folder));
  EXPECT_EQ(FileText(dir + "/.autorenmrc"), "autorenm.sh\n: NOTE=kept\n: MODE=1\n");
  EXPECT_FALSE(fs::exists(dir + "/.autorenmrc.new"));

  // A kind without rc file has nothing to read, and that is no failure.
  EXPECT_EQ(WFfolder_LoadRcFile(dir, 43, message), nullptr);
  EXPECT_STREQ(message, "");

  // Not found, syntax, unreadable (a directory where the file should be).
  const std::string missing = dir + "/.autofilterrc";
  EXPECT_EQ(WFfolder_LoadRcFile(dir, 30, message), nullptr);
  EXPECT_EQ(std::string(message), Expected(1, missing));
  PutFile(dir + "/.autoduplrc", ": NOVALUE\n");
  EXPECT_EQ(WFfolder_LoadRcFile(dir, 31, message), nullptr);
  EXPECT_EQ(std::string(message), Expected(2, dir + "/.autoduplrc"));
  fs::create_directories(dir + "/.autoswitchrc");
  EXPECT_EQ(WFfolder_LoadRcFile(dir, 32, message), nullptr);
  EXPECT_NE(std::string(message).find(dir + "/.autoswitchrc"), std::string::npos);
  EXPECT_EQ(Messages_ErrorCount(false), 0u);

  // A save that cannot be written keeps nothing half made.
  Folder lost(29, dir + "/no/such/dir");
  EXPECT_FALSE(WFfolder_SaveOptions(lost));
  EXPECT_FALSE(WFfolder_SaveOptions(WFfolder_Nil()));
}

TEST_F(RcFile, ComponentsReadTheirOwnRcFile) {
  const std::string path = Components() + "/flow_rc_1";
  fs::create_directories(path);
  PutFile(path + "/.udefrc", "udef.sh\n: PARTNERSCHEME=/schemes/a.trs\n");
  TextStr message;
  SAutoRcF rc = WFfolder_LoadRcFile(path, 42, message);
  ASSERT_NE(rc, nullptr);
  Folder stamp(42, path);
  WFfolder_SetRcFile(stamp, rc);
  WFmodule_FileList list = WFmodule_CreateFileList();
  WFfolder_AddReferencedFiles(list, stamp);
  PathStr file;
  bool flag = true;
  EXPECT_TRUE(WFmodule_IterateFiles(list, true, file, flag));
  EXPECT_STREQ(file, "/schemes/a.trs");
  EXPECT_FALSE(WFmodule_IterateFiles(list, false, file, flag));
  WFmodule_DestroyFileList(list);
}

}  // namespace
