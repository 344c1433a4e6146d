// SReqObj: the typed values of the request layer.
//
// On the wire a value is one type character of "VBIRSAD" and its body: none,
// 1 byte, 4 bytes signed, 8 bytes IEEE (most significant first), a 4-byte
// length and bytes (String, Data), or a 4-byte count and the elements
// (Array). Each element travels as an object: a 4-byte length, then that many
// bytes, which are the element's type character and body. All numbers are
// big-endian. A String may hold 262144 bytes, an Array 524288 elements; a
// value beyond either is never sent and never accepted, and an element whose
// length disagrees with its body is refused as bad bytes.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Strings.h"
#include "jobqueue/Socket.h"

enum class SReqObj_Type : std::uint8_t { Void = 0, Boolean = 1, Integer = 2, Real = 3, String = 4, Array = 5, Data = 6 };

inline constexpr std::size_t kSReqObjMaxString = 0x40000;
inline constexpr std::size_t kSReqObjMaxArray = 0x80000;
// Bounds that only a receiver applies: Data has no wire limit of its own, and
// nesting has none either, but a peer must not make us allocate or recurse
// without end.
inline constexpr std::size_t kSReqObjMaxData = 0x1000000;
inline constexpr std::size_t kSReqObjMaxDepth = 64;
// The largest object (an element with its type character) a 4-byte length
// can tell without looking negative to a peer that reads it signed.
inline constexpr std::size_t kSReqObjMaxObject = 0x7fffffff;

struct SReqObj_Rec;
using SReqObj = SReqObj_Rec*;

// Last failure: 0 none, 1 a String or Array over its limit, 2 the socket
// failed or the bytes ended, 3 bad bytes (unknown type, negative length, too
// deep, an element whose length disagrees with its body), 4 wrong type.
extern std::uint8_t SReqObj_error;

// --- Create and destroy: the caller owns what a Create returns ----------------
SReqObj SReqObj_Nil();
SReqObj SReqObj_CreateVoid();
SReqObj SReqObj_CreateBoolean(bool value);
SReqObj SReqObj_CreateInteger(std::int32_t value);
SReqObj SReqObj_CreateReal(double value);
// Strings and Data keep their bytes as given, zero bytes included.
SReqObj SReqObj_CreateString(std::string_view bytes);
SReqObj SReqObj_CreateData(std::string_view bytes);
SReqObj SReqObj_CreateArray();
// A deep copy; nil for nil.
SReqObj SReqObj_Copy(SReqObj obj);
// Frees the value and everything in it; accepts nil; sets the handle to nil.
void SReqObj_Destroy(SReqObj& obj);

// --- Arrays -------------------------------------------------------------------
// Appends `element`, which the array owns from now on; a nil element or a
// non-array destroys the element and returns false.
bool SReqObj_Append(SReqObj array, SReqObj element);
// Number of elements; 0 for anything but an array.
std::size_t SReqObj_Count(SReqObj array);
// Element `index` as a link the array still owns; nil when out of range.
SReqObj SReqObj_Element(SReqObj array, std::size_t index);
// Takes element `index` out; the caller owns it. Nil when out of range.
SReqObj SReqObj_Remove(SReqObj array, std::size_t index);

// --- Query: wrong types answer false, 0 or empty (SReqObj_error 4) ------------
SReqObj_Type SReqObj_TypeOf(SReqObj obj);  // Void for nil
bool SReqObj_GetBoolean(SReqObj obj);
std::int32_t SReqObj_GetInteger(SReqObj obj);
double SReqObj_GetReal(SReqObj obj);
// The bytes of a String or Data; valid while the value lives.
std::string_view SReqObj_Bytes(SReqObj obj);
// A String (or Data) into a bounded text, cut at its bound.
void SReqObj_GetString(SReqObj obj, StrOut text);
// A readable form for logs and dumps: "[I 1, S \"x\"]", cut at the bound.
void SReqObj_ToText(SReqObj obj, StrOut text);

// --- Wire -----------------------------------------------------------------------
// Appends the wire form to `bytes`; false (SReqObj_error 1, `bytes` unchanged)
// when a String or Array is over its limit.
bool SReqObj_Encode(SReqObj obj, std::string& bytes);
// Decodes one value from the front of `bytes`; `used` tells how many bytes it
// took. Nil on bad or incomplete bytes.
SReqObj SReqObj_Decode(std::string_view bytes, std::size_t& used);
// Collects the wire form on the socket; a value over its limit fails before a
// single byte of it is written. The caller flushes.
bool SReqObj_Send(Socket s, SReqObj obj);
// Reads one value with the socket's time-out; nil on failure.
SReqObj SReqObj_Receive(Socket s);
