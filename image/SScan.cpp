#include "image/SScan.h"

#include <algorithm>
#include <cstring>
#include <memory>

struct SScan_Rec {
  std::uint32_t length = 0;
  std::uint8_t bits = 8;
  bool fork = false;
  std::vector<std::uint8_t*> channels;
  std::vector<std::unique_ptr<std::uint8_t[]>> owned;  // empty for a fork
};

namespace {

std::size_t ChannelBytes(std::uint32_t length, std::uint8_t bits) {
  if (bits == 1) return (std::size_t{length} + 7) / 8;
  return std::size_t{length} * (bits / 8);
}

SScan Make(std::uint32_t length, std::uint32_t channels, std::uint8_t bits) {
  if (length == 0 || channels == 0 || channels > kSScanMaxChannels) return nullptr;
  auto scan = std::make_unique<SScan_Rec>();
  scan->length = length;
  scan->bits = bits;
  for (std::uint32_t c = 0; c < channels; ++c) {
    scan->owned.emplace_back(new std::uint8_t[ChannelBytes(length, bits)]());
    scan->channels.push_back(scan->owned.back().get());
  }
  return scan.release();
}

SScan MakeFork(SScan source, std::uint32_t length) {
  auto fork = std::make_unique<SScan_Rec>();
  fork->length = length;
  fork->bits = source->bits;
  fork->fork = true;
  return fork.release();
}

bool Has(SScan scan, std::uint32_t channel) { return scan != nullptr && channel < scan->channels.size(); }

bool Selected(std::uint64_t mask, std::uint32_t channel) { return channel < 64 && ((mask >> channel) & 1u) != 0; }

// Sample access at any depth, as a 16-bit value for 16-bit scans, an 8-bit
// one for 8-bit scans and 0 or 1 for line work.
unsigned Get(const std::uint8_t* data, std::uint8_t bits, std::size_t index) {
  switch (bits) {
    case 1:
      return (data[index / 8] >> (7 - index % 8)) & 1u;
    case 8:
      return data[index];
    default: {
      std::uint16_t value;
      std::memcpy(&value, data + 2 * index, 2);
      return value;
    }
  }
}

void Put(std::uint8_t* data, std::uint8_t bits, std::size_t index, unsigned value) {
  switch (bits) {
    case 1: {
      const auto bit = static_cast<std::uint8_t>(0x80u >> (index % 8));
      data[index / 8] = static_cast<std::uint8_t>(value != 0 ? data[index / 8] | bit : data[index / 8] & ~bit);
      break;
    }
    case 8:
      data[index] = static_cast<std::uint8_t>(value);
      break;
    default: {
      const auto sample = static_cast<std::uint16_t>(value);
      std::memcpy(data + 2 * index, &sample, 2);
      break;
    }
  }
}

unsigned ChangeDepth(unsigned value, std::uint8_t from, std::uint8_t to) {
  if (from == to) return value;
  if (from == 1) return value != 0 ? (to == 8 ? 255u : 65535u) : 0u;
  if (to == 1) return value >= (from == 8 ? 128u : 32768u) ? 1u : 0u;
  if (from == 8) return value * 257u;
  return (value * 255u + 32767u) / 65535u;
}

// Copies one channel's samples; the bits of a last, partly used byte of line
// work that lie past `length` stay as they are in `out`, since a fork's last
// byte may be shared with samples of its source beyond it.
void CopyChannel(std::uint8_t* out, const std::uint8_t* in, std::uint32_t length, std::uint8_t bits) {
  if (bits != 1 || length % 8 == 0) {
    std::memmove(out, in, ChannelBytes(length, bits));
    return;
  }
  std::memmove(out, in, length / 8);
  const auto keep = static_cast<std::uint8_t>(0xFFu >> (length % 8));
  out[length / 8] = static_cast<std::uint8_t>((out[length / 8] & keep) | (in[length / 8] & ~keep));
}

bool ChannelsPresent(SScan scan, std::uint64_t mask, std::uint32_t first, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (Selected(mask, first + i) && !Has(scan, first + i)) return false;
  }
  return true;
}

}  // namespace

SScan SScan_Create(std::uint32_t length, std::uint32_t channels) { return Make(length, channels, 8); }
SScan SScan_Create16Bit(std::uint32_t length, std::uint32_t channels) { return Make(length, channels, 16); }
SScan SScan_Create1Bit(std::uint32_t length, std::uint32_t channels) { return Make(length, channels, 1); }

void SScan_Destroy(SScan& scan) {
  delete scan;
  scan = nullptr;
}

std::uint32_t SScan_Length(SScan scan) { return scan != nullptr ? scan->length : 0; }
std::uint32_t SScan_Channels(SScan scan) {
  return scan != nullptr ? static_cast<std::uint32_t>(scan->channels.size()) : 0;
}
std::uint8_t SScan_Bits(SScan scan) { return scan != nullptr ? scan->bits : 0; }

std::uint8_t* SScan_Samples(SScan scan, std::uint32_t channel) {
  return Has(scan, channel) && scan->bits != 16 ? scan->channels[channel] : nullptr;
}

std::uint16_t* SScan_Samples16(SScan scan, std::uint32_t channel) {
  return Has(scan, channel) && scan->bits == 16 ? reinterpret_cast<std::uint16_t*>(scan->channels[channel])
                                                 : nullptr;
}

std::uint64_t SScan_AllChannelMask(SScan scan) {
  const std::uint32_t n = SScan_Channels(scan);
  return n >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << n) - 1;
}

bool SScan_AddChannels(SScan scan, std::uint32_t count) {
  if (scan == nullptr || scan->fork || count > kSScanMaxChannels - scan->channels.size()) return false;
  for (std::uint32_t c = 0; c < count; ++c) {
    scan->owned.emplace_back(new std::uint8_t[ChannelBytes(scan->length, scan->bits)]());
    scan->channels.push_back(scan->owned.back().get());
  }
  return true;
}

bool SScan_RemoveChannels(SScan scan, std::uint32_t count) {
  if (scan == nullptr || scan->fork || count >= scan->channels.size()) return false;
  scan->channels.resize(scan->channels.size() - count);
  scan->owned.resize(scan->channels.size());
  return true;
}

SScan SScan_Join(SScan first, SScan second) {
  if (first == nullptr || second == nullptr || first->length != second->length || first->bits != second->bits ||
      first->channels.size() + second->channels.size() > kSScanMaxChannels) {
    return nullptr;
  }
  SScan fork = MakeFork(first, first->length);
  fork->channels = first->channels;
  fork->channels.insert(fork->channels.end(), second->channels.begin(), second->channels.end());
  return fork;
}

SScan SScan_Fork(SScan source, std::uint64_t mask) {
  if (source == nullptr || (mask & SScan_AllChannelMask(source)) == 0) return nullptr;
  SScan fork = MakeFork(source, source->length);
  for (std::uint32_t c = 0; c < source->channels.size(); ++c) {
    if (Selected(mask, c)) fork->channels.push_back(source->channels[c]);
  }
  return fork;
}

SScan SScan_SubsectionFork(SScan source, std::uint32_t offset, std::uint32_t length) {
  if (source == nullptr || length == 0 || offset > source->length || length > source->length - offset) {
    return nullptr;
  }
  if (source->bits == 1 && offset % 8 != 0) return nullptr;
  SScan fork = MakeFork(source, length);
  const std::size_t skip = source->bits == 1 ? offset / 8 : std::size_t{offset} * (source->bits / 8);
  for (std::uint8_t* data : source->channels) fork->channels.push_back(data + skip);
  return fork;
}

bool SScan_Compress(SScan scan, std::uint32_t channel, std::vector<std::uint32_t>& runs) {
  runs.clear();
  if (!Has(scan, channel) || scan->bits != 1) return false;
  const std::uint8_t* data = scan->channels[channel];
  unsigned colour = 0;
  std::uint32_t run = 0;
  for (std::uint32_t x = 0; x < scan->length; ++x) {
    if (Get(data, 1, x) != colour) {
      runs.push_back(run);
      colour ^= 1u;
      run = 0;
    }
    ++run;
  }
  runs.push_back(run);
  return true;
}

bool SScan_Uncompress(const std::vector<std::uint32_t>& runs, SScan scan, std::uint32_t channel) {
  if (!Has(scan, channel) || scan->bits != 1) return false;
  std::uint64_t total = 0;
  for (std::uint32_t run : runs) total += run;
  if (total != scan->length) return false;
  std::uint8_t* data = scan->channels[channel];
  std::size_t x = 0;
  unsigned colour = 0;
  for (std::uint32_t run : runs) {
    for (std::uint32_t i = 0; i < run; ++i) Put(data, 1, x++, colour);
    colour ^= 1u;
  }
  return true;
}

bool SScan_Convert(SScan from, SScan to, std::uint64_t mask) {
  if (from == nullptr || to == nullptr || from->length != to->length) return false;
  const auto count = static_cast<std::uint32_t>(std::max(from->channels.size(), to->channels.size()));
  if (!ChannelsPresent(from, mask, 0, count) || !ChannelsPresent(to, mask, 0, count)) return false;
  for (std::uint32_t c = 0; c < count; ++c) {
    if (!Selected(mask, c)) continue;
    const std::uint8_t* in = from->channels[c];
    std::uint8_t* out = to->channels[c];
    if (from->bits == to->bits) {
      CopyChannel(out, in, from->length, from->bits);
      continue;
    }
    for (std::size_t x = 0; x < from->length; ++x) {
      Put(out, to->bits, x, ChangeDepth(Get(in, from->bits, x), from->bits, to->bits));
    }
  }
  return true;
}

bool SScan_ComposeInterleaved(SScan scan, std::uint64_t mask, void* out, std::uint32_t outChannels,
                              std::uint32_t first) {
  if (scan == nullptr || !ChannelsPresent(scan, mask, first, outChannels)) return false;
  auto* bytes = static_cast<std::uint8_t*>(out);
  for (std::uint32_t i = 0; i < outChannels; ++i) {
    if (!Selected(mask, first + i)) continue;
    const std::uint8_t* in = scan->channels[first + i];
    if (outChannels == 1) {
      CopyChannel(bytes, in, scan->length, scan->bits);
    } else if (scan->bits == 8) {
      for (std::size_t x = 0; x < scan->length; ++x) bytes[x * outChannels + i] = in[x];
    } else {
      for (std::size_t x = 0; x < scan->length; ++x) Put(bytes, scan->bits, x * outChannels + i, Get(in, scan->bits, x));
    }
  }
  return true;
}

bool SScan_DecomposeInterleaved(SScan scan, std::uint64_t mask, const void* in, std::uint32_t inChannels,
                                std::uint32_t first) {
  if (scan == nullptr || !ChannelsPresent(scan, mask, first, inChannels)) return false;
  const auto* bytes = static_cast<const std::uint8_t*>(in);
  for (std::uint32_t i = 0; i < inChannels; ++i) {
    if (!Selected(mask, first + i)) continue;
    std::uint8_t* out = scan->channels[first + i];
    if (inChannels == 1) {
      CopyChannel(out, bytes, scan->length, scan->bits);
    } else if (scan->bits == 8) {
      for (std::size_t x = 0; x < scan->length; ++x) out[x] = bytes[x * inChannels + i];
    } else {
      for (std::size_t x = 0; x < scan->length; ++x) Put(out, scan->bits, x, Get(bytes, scan->bits, x * inChannels + i));
    }
  }
  return true;
}
