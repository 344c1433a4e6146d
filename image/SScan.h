// SScan: scan buffers, the unit in which images are read and written.
//
// A scan holds `length` samples for each of its channels, one array per
// channel. Samples are 8 bits (continuous tone), 16 bits (deep continuous
// tone, in the machine's byte order) or 1 bit (line work, packed eight to a
// byte with the first sample in the highest bit; 1 is a set pixel). Line work
// also has a run-length form (SScan_Compress).
//
// A fork is a scan whose channels are arrays of another scan: it shares their
// samples, so what is written through one is seen through the other. A fork
// owns nothing; destroy forks before their source.
//
// Channel masks are bit sets over channel numbers: bit c stands for channel c.
// Scans have at most kSScanMaxChannels channels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct SScan_Rec;
using SScan = SScan_Rec*;

inline constexpr std::uint32_t kSScanMaxChannels = 64;

// --- Create and destroy ------------------------------------------------------

// A scan of `length` zero samples in each of `channels` channels (1 to
// kSScanMaxChannels; nil otherwise, and for a length of 0). The caller owns it.
SScan SScan_Create(std::uint32_t length, std::uint32_t channels);
SScan SScan_Create16Bit(std::uint32_t length, std::uint32_t channels);
SScan SScan_Create1Bit(std::uint32_t length, std::uint32_t channels);
// Frees the scan (a fork frees only itself) and sets it to nil; nil is accepted.
void SScan_Destroy(SScan& scan);

// --- Queries ---------------------------------------------------------------------

// 0 for nil.
std::uint32_t SScan_Length(SScan scan);
std::uint32_t SScan_Channels(SScan scan);
// 1, 8 or 16; 0 for nil.
std::uint8_t SScan_Bits(SScan scan);
// The samples of `channel` at 8 bits (also the packed bytes of a 1-bit
// scan); nullptr for nil, a channel out of range or a 16-bit scan.
std::uint8_t* SScan_Samples(SScan scan, std::uint32_t channel);
// The samples of `channel` of a 16-bit scan; nullptr otherwise.
std::uint16_t* SScan_Samples16(SScan scan, std::uint32_t channel);
// The mask of every channel the scan has; 0 for nil.
std::uint64_t SScan_AllChannelMask(SScan scan);

// --- Channels ----------------------------------------------------------------------

// Adds `count` zero channels at the end; false (nothing changed) on a fork,
// for nil, or beyond kSScanMaxChannels.
bool SScan_AddChannels(SScan scan, std::uint32_t count);
// Removes the last `count` channels; false (nothing changed) on a fork, for
// nil, or when fewer than one channel would remain.
bool SScan_RemoveChannels(SScan scan, std::uint32_t count);

// --- Forks -------------------------------------------------------------------------

// A fork of the channels of `first` followed by those of `second`; nil when
// their lengths or depths differ or there would be too many channels.
SScan SScan_Join(SScan first, SScan second);
// A fork of the channels of `source` selected by `mask`, in channel order;
// nil when the mask selects none of them.
SScan SScan_Fork(SScan source, std::uint64_t mask);
// A fork of samples `offset` to offset + length - 1 of every channel; nil when
// that is not inside the source or, for 1 bit, offset is not a multiple of 8.
SScan SScan_SubsectionFork(SScan source, std::uint32_t offset, std::uint32_t length);

// --- Line work ---------------------------------------------------------------------

// The run-length form of a channel of a 1-bit scan: lengths of alternating
// runs of clear and set samples, beginning with a clear run (which may be 0
// long); the runs add up to the scan's length. False for other scans.
bool SScan_Compress(SScan scan, std::uint32_t channel, std::vector<std::uint32_t>& runs);
// Fills a channel of a 1-bit scan from its run-length form; false, with the
// channel unchanged, for other scans or when the runs don't add up to the
// scan's length.
bool SScan_Uncompress(const std::vector<std::uint32_t>& runs, SScan scan, std::uint32_t channel);

// --- Conversion ----------------------------------------------------------------------

// Copies the channels of `from` selected by `mask` into the same channels of
// `to` (both as long), changing depth: 8 to 16 bits multiplies by 257, 16 to
// 8 rounds, 1 bit becomes the lowest or highest value, and a deep sample is
// set from half its range up. False when lengths differ or a selected channel
// is missing in either.
bool SScan_Convert(SScan from, SScan to, std::uint64_t mask);
// Writes pixel-interleaved samples at the scan's depth: sample x of channel
// `first` + i goes to out[x * outChannels + i], for the channels selected by
// `mask`; the others are left as they are. 1-bit samples are packed as one
// run of bits. False when a channel is missing.
bool SScan_ComposeInterleaved(SScan scan, std::uint64_t mask, void* out, std::uint32_t outChannels,
                              std::uint32_t first);
// The reverse: in[x * inChannels + i] becomes sample x of channel `first` + i,
// for the selected channels.
bool SScan_DecomposeInterleaved(SScan scan, std::uint64_t mask, const void* in, std::uint32_t inChannels,
                                std::uint32_t first);
