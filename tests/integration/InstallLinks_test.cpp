// A program started through symbolic links finds its installation: the
// catalogs beside its real file, not beside the link. An administrator links
// the program into a directory on PATH, or the installation's bin/ into a
// place of the site's own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "tests/support/TestFiles.h"

namespace {

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin";

// The first usage line as the English catalog has it, so that a text the
// program falls back on without its catalog never passes.
std::string UsageLine() {
  std::ifstream catalog(FLOATDECK_SOURCE_DIR "/catalogs/eng/FLOATDECKmsg.txt");
  std::string line;
  while (std::getline(catalog, line))
    if (line.rfind("50 \"", 0) == 0) return line.substr(4, line.size() - 5);
  return "(message 50 of Floatdeck not in the catalog)";
}

class InstallLinks : public ::testing::Test {
 protected:
  TempDir site;

  // "-?" of `program` with nothing of the installation in the environment
  // but what the program computes itself; the usage ends with status 1.
  RunResult Usage(const std::vector<std::string>& argv, std::vector<std::pair<std::string, std::string>> env = {}) {
    std::vector<std::pair<std::string, std::string>> base{
        {"MARLLIB", ""}, {"MARLENV", ""}, {"TAVRIN_DISTRIBUTION", ""}, {"TV_CUSTOMER", site.Path()},
        {"MARLDAT", site.Path()}, {"LANGUAGE", ""}, {"LANG", "C"}, {"DEBUG", ""}};
    base.insert(base.end(), env.begin(), env.end());
    return RunProgram(argv, base);
  }
  std::string Link(const std::string& target, const std::string& name) {
    const std::string link = site.Make(name);
    EXPECT_EQ(::symlink(target.c_str(), link.c_str()), 0) << link;
    return link;
  }
};

TEST_F(InstallLinks, LinksToTheProgramOrToItsBinDirectoryFindTheCatalogs) {
  const std::string usage = UsageLine() + "\n";
  const std::string binLink = Link(kBin, "site-bin");
  const std::string programLink = Link(kBin + "/Floatdeck", "links/Floatdeck");
  // A link to a link to the bin directory.
  const std::string chained = Link(binLink, "chained/bin");

  for (const std::string& program : {binLink + "/Floatdeck", programLink, chained + "/Floatdeck"}) {
    const RunResult r = Usage({program, "-?"});
    EXPECT_EQ(r.status, 1) << program;
    EXPECT_EQ(r.err.substr(0, usage.size()), usage) << program << ":\n" << r.err;
  }
  // Found along PATH, by its bare name: the link on PATH leads to the rest.
  const RunResult r = Usage({"/bin/sh", "-c", "Floatdeck -?"}, {{"PATH", site.Path() + "/links:/usr/bin:/bin"}});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.substr(0, usage.size()), usage) << r.err;
}

TEST_F(InstallLinks, ASetMarllibIsTakenAsItStands) {
  const std::string usage = UsageLine() + "\n";
  const std::string programLink = Link(kBin + "/Floatdeck", "links/Floatdeck");
  // Named by the variable, the installation is found through any link.
  RunResult r = Usage({programLink, "-?"}, {{"MARLLIB", FLOATDECK_BINARY_DIR}});
  EXPECT_EQ(r.err.substr(0, usage.size()), usage) << r.err;
  // An empty installation named by it is believed: without its catalogs the
  // program fails as an internal error, with no usage text.
  r = Usage({kBin + "/Floatdeck", "-?"}, {{"MARLLIB", site.Make("empty")}});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err.find(UsageLine()), std::string::npos) << r.err;
}

}  // namespace
