// SEvent: the bytes of one event, written and read with fixed primitives.
//
// Cardinals and integers are 4 bytes big-endian, booleans and characters one
// byte, strings a 4-byte length and the bytes. An event travels as one object
// (Socket_WriteObject). Reads walk forward from the start and fail, leaving
// the position where it was, when the bytes do not hold what is asked for.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"
#include "jobqueue/Socket.h"

struct SEvent_Rec;
using SEvent = SEvent_Rec*;

// --- Create and destroy ---------------------------------------------------------
// An empty event; the caller owns it.
SEvent SEvent_Create();
// Accepts nil; sets the handle to nil.
void SEvent_Destroy(SEvent& event);
SEvent SEvent_Nil();

// --- Content ----------------------------------------------------------------------
// Empties the event and rewinds it.
void SEvent_Clear(SEvent event);
// Replaces the bytes and rewinds.
void SEvent_Load(SEvent event, std::string_view bytes);
// All bytes written or loaded; empty for nil.
std::string_view SEvent_Bytes(SEvent event);
// Whether every byte was read.
bool SEvent_AtEnd(SEvent event);

// --- Writing: appends --------------------------------------------------------------
void SEvent_WriteCard(SEvent event, std::uint32_t value);
void SEvent_WriteInt(SEvent event, std::int32_t value);
void SEvent_WriteBoolean(SEvent event, bool value);
void SEvent_WriteChar(SEvent event, char value);
void SEvent_WriteString(SEvent event, std::string_view text);

// --- Reading: false (position kept) when the bytes are missing or wrong ------------
bool SEvent_ReadCard(SEvent event, std::uint32_t& value);
bool SEvent_ReadInt(SEvent event, std::int32_t& value);
bool SEvent_ReadBoolean(SEvent event, bool& value);
bool SEvent_ReadChar(SEvent event, char& value);
// A cardinal no higher than `limit`.
bool SEvent_ReadEnum(SEvent event, std::uint32_t limit, std::uint32_t& value);
// A string that fits `text` whole; a longer one fails rather than being cut.
bool SEvent_ReadString(SEvent event, StrOut text);
// A string of any length (up to what the event holds).
bool SEvent_ReadDynString(SEvent event, std::string& text);

// --- Transport ---------------------------------------------------------------------
// Collects the event as one object on the socket; the caller flushes.
bool SEvent_Send(Socket s, SEvent event);
