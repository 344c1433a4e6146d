// TVWsupp: the demon's helpers that this system shares with it: how the
// demon hands the files of a folder to jobs (its mode).
#pragma once

#include <cstdint>

#include "base/Strings.h"

// The mode of a folder whose command word is `cmd`: the partner modes of
// the combining commands (1 to 6, 9, 11), 7 for all files of the folder in
// one job (`multipleFiles`), 8 for `atOnce` files a job, else 0, one file a
// job. The table is TVWcfg_DetermineMode's.
std::uint8_t TVWsupp_DetermineMode(StrIn cmd, StrIn files, std::int32_t atOnce, bool multipleFiles);
