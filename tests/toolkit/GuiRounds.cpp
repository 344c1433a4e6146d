#include "tests/toolkit/GuiRounds.h"

#include <chrono>
#include <thread>

#include "tests/support/TestFiles.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/W.h"
#include "toolkit/WtEvents.h"

bool GuiRounds_Until(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    W_Sync(false);
    for (int i = 0; i < 50 && (WtEvents_Pending() || I_TimeTillNextTask() == 0 || IReplay_Running()); ++i)
      I_SingleEventLoopIteration();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

bool GuiRounds_Replay(const std::string& directory, const std::string& lines, int contextWaitMs) {
  PutFile(directory + "/replay.log", lines);
  return IReplay_Start(directory + "/replay.log", contextWaitMs) && GuiRounds_Until([] { return !IReplay_Running(); });
}
