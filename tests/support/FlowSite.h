// A private installation where files flow through workflows, for the
// end-to-end tests and the flow benchmarks: the build tree's queue server,
// queue worker and watch demon on free loopback ports, and the module
// commands on PATH (and nothing else of the suite, so no client starts a
// service of its own).
#pragma once

#include <string>
#include <vector>

class FlowSite {
 public:
  // Makes the installation below `root` (an existing directory) and points
  // this process's environment at it (UsePrivateSite); starts nothing.
  explicit FlowSite(const std::string& root);
  // Stops whatever of the services still runs.
  ~FlowSite();
  FlowSite(const FlowSite&) = delete;
  FlowSite& operator=(const FlowSite&) = delete;

  // root + "/" + relative.
  std::string Path(const std::string& relative) const;
  const std::string& Root() const { return root_; }

  // Each starts its service and waits until it serves; false when it did not
  // come up. The worker runs `slots` jobs of high CPU usage at once.
  bool StartWorker(int slots = 2);
  bool StartServer();
  bool StartDemon();
  // Ends the service with `signal` and waits for it.
  void StopWorker(int signal = 15) { Stop(worker_, signal); }
  void StopServer(int signal = 15) { Stop(server_, signal); }
  void StopDemon(int signal = 15) { Stop(demon_, signal); }

  // The demon's process id (-1 when not running), for benchmarks that weigh it.
  int DemonPid() const { return demon_; }

  // Runs `argv` (a program of the build tree, or a script through bash) to
  // its end; its status, and its standard error in `err`.
  int Run(const std::vector<std::string>& argv, std::string& err) const;
  // Installs the description file `description` as workflow `name` with
  // wfinstall; the standard error of a failure in `err`.
  bool Install(const std::string& description, const std::string& name, std::string& err) const;
  // Starts every folder of the projects directory: takes away their stop marks.
  void StartFolders() const;
  // Ready for the manager's windows: HOME at `home` inside the site (for the
  // program's preferences) and the build's icons in the site's lib.
  void PrepareWindows(const std::string& home = "home") const;
  // Puts `name` into `folder` whole (written aside, then renamed into it), as
  // an operator's copy or the step before delivers it.
  void Drop(const std::string& folder, const std::string& name, const std::string& text = "x") const;

 private:
  static void Stop(int& pid, int signal);
  std::string root_;
  int worker_ = -1, server_ = -1, demon_ = -1;
};
