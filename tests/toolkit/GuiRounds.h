// Driving a program's own loop from a gui test: rounds of events, due tasks
// and replay until a condition holds, and replays of a few log lines.
#pragma once

#include <functional>
#include <string>

// Rounds of the loop until `done`; false when it does not hold within 20 s.
bool GuiRounds_Until(const std::function<bool()>& done);
// Plays `lines` (GUI log lines) from a replay file in `directory`, each
// context given `contextWaitMs` to open; true when all of it ran.
bool GuiRounds_Replay(const std::string& directory, const std::string& lines, int contextWaitMs = 5000);
