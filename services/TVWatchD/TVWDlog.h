// TVWDlog: the demon's lines in the logs that are asked for (TVWlog): a
// folder's own log and the log of the demon as a whole, which gets every
// line. Whether a log is asked for is looked up at most every five seconds.
#pragma once

#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "watch/TVWcfg.h"

// A line of `word` and `text` in the log of `folder` ("" none) and in the
// demon's log.
void TVWDlog_Line(const std::string& folder, StrIn word, const std::string& text);
// The demon's log: the rule and the start of a run (process and port), each
// folder of the configuration with its settings, and the end of the run.
void TVWDlog_Start(std::int32_t port);
void TVWDlog_Configuration(TVWcfg_List list);
void TVWDlog_Stop();
