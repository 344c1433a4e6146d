// TVWsupp: the demon's helpers shared with this system.
#include "watch/TVWsupp.h"

#include "watch/TVWcfg.h"

std::uint8_t TVWsupp_DetermineMode(StrIn cmd, StrIn files, std::int32_t atOnce, bool multipleFiles) {
  return TVWcfg_DetermineMode(cmd, files, atOnce, multipleFiles);
}
