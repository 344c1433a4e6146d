// Fuzz target: request objects from arbitrary bytes, as a peer may send them.
// Decoding ends, never trusts a declared length (of a String, an Array, or an
// element of an Array, which must fill its length exactly), and whatever
// decodes encodes to as many bytes as it was read from, in a form that decodes
// to itself (a boolean byte other than 0 and 1 comes back as 1).
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "jobqueue/SReqObj.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::size_t used = 0;
  SReqObj obj = SReqObj_Decode(bytes, used);
  if (obj != nullptr) {
    std::string again;
    if (used > size || !SReqObj_Encode(obj, again) || again.size() != used) std::abort();
    std::size_t usedAgain = 0;
    SReqObj back = SReqObj_Decode(again, usedAgain);
    std::string third;
    if (back == nullptr || usedAgain != used || !SReqObj_Encode(back, third) || third != again) std::abort();
    SReqObj_Destroy(back);
    char text[256];
    SReqObj_ToText(obj, text);
    SReqObj copy = SReqObj_Copy(obj);
    if (SReqObj_Count(copy) != SReqObj_Count(obj)) std::abort();
    SReqObj_Destroy(copy);
  }
  SReqObj_Destroy(obj);
  return 0;
}
