// A private X server for a test program: Xvfb on a display it picks itself.
// It ends with its test program, also when that one dies: the server gets
// SIGTERM with its parent, and removes its socket and lock file then.
#pragma once

#include <string>

class XvfbServer {
 public:
  XvfbServer() = default;
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;
  ~XvfbServer() { Stop(); }

  // Starts Xvfb with one screen of the size and depth given, waits until it
  // accepts connections and sets DISPLAY to it. False when it did not come up.
  bool Start(int width, int height, int depth);
  // Ends the server and waits for it; nothing when it does not run.
  void Stop();
  const std::string& Display() const { return display_; }

 private:
  int pid_ = -1;
  std::string display_;
};

// Registers the environment of a toolkit test program: before the first test
// a server is started and the toolkit opens it; after the last both close.
// Returns true, for use as a namespace-scope initialiser.
bool UseXvfb(int depth = 24);
