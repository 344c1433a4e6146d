#include "jobqueue/SEvent.h"

#include <cstring>

struct SEvent_Rec {
  std::string bytes;
  std::size_t at = 0;
};

namespace {

bool Take(SEvent event, void* to, std::size_t n) {
  if (event == nullptr || n > event->bytes.size() - event->at) return false;
  std::memcpy(to, event->bytes.data() + event->at, n);
  event->at += n;
  return true;
}

}  // namespace

SEvent SEvent_Create() { return new SEvent_Rec; }

void SEvent_Destroy(SEvent& event) {
  delete event;
  event = nullptr;
}

SEvent SEvent_Nil() { return nullptr; }

void SEvent_Clear(SEvent event) { SEvent_Load(event, {}); }

void SEvent_Load(SEvent event, std::string_view bytes) {
  if (event == nullptr) return;
  event->bytes = bytes;
  event->at = 0;
}

std::string_view SEvent_Bytes(SEvent event) { return event == nullptr ? std::string_view{} : event->bytes; }
bool SEvent_AtEnd(SEvent event) { return event == nullptr || event->at == event->bytes.size(); }

void SEvent_WriteCard(SEvent event, std::uint32_t value) {
  if (event == nullptr) return;
  const char b[4] = {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
                     static_cast<char>(value)};
  event->bytes.append(b, 4);
}

void SEvent_WriteInt(SEvent event, std::int32_t value) { SEvent_WriteCard(event, static_cast<std::uint32_t>(value)); }
void SEvent_WriteBoolean(SEvent event, bool value) { SEvent_WriteChar(event, value ? 1 : 0); }

void SEvent_WriteChar(SEvent event, char value) {
  if (event != nullptr) event->bytes.push_back(value);
}

void SEvent_WriteString(SEvent event, std::string_view text) {
  if (event == nullptr) return;
  SEvent_WriteCard(event, static_cast<std::uint32_t>(text.size()));
  event->bytes.append(text);
}

bool SEvent_ReadCard(SEvent event, std::uint32_t& value) {
  std::uint8_t b[4];
  if (!Take(event, b, 4)) return false;
  value = std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3];
  return true;
}

bool SEvent_ReadInt(SEvent event, std::int32_t& value) {
  std::uint32_t card = 0;
  if (!SEvent_ReadCard(event, card)) return false;
  value = static_cast<std::int32_t>(card);
  return true;
}

bool SEvent_ReadBoolean(SEvent event, bool& value) {
  char c = 0;
  if (!Take(event, &c, 1)) return false;
  value = c != 0;
  return true;
}

bool SEvent_ReadChar(SEvent event, char& value) { return Take(event, &value, 1); }

bool SEvent_ReadEnum(SEvent event, std::uint32_t limit, std::uint32_t& value) {
  std::uint32_t card = 0;
  if (!SEvent_ReadCard(event, card)) return false;
  if (card > limit) {
    event->at -= 4;
    return false;
  }
  value = card;
  return true;
}

bool SEvent_ReadDynString(SEvent event, std::string& text) {
  std::uint32_t length = 0;
  if (!SEvent_ReadCard(event, length)) return false;
  if (length > event->bytes.size() - event->at) {
    event->at -= 4;
    return false;
  }
  text.assign(event->bytes, event->at, length);
  event->at += length;
  return true;
}

bool SEvent_ReadString(SEvent event, StrOut text) {
  const std::size_t start = event == nullptr ? 0 : event->at;
  std::string whole;
  if (!SEvent_ReadDynString(event, whole)) return false;
  if (whole.size() > text.Capacity()) {
    event->at = start;
    return false;
  }
  if (whole.empty()) {
    text.Clear();
    return true;
  }
  Strings_Copy(StrIn(whole.data(), whole.size()), 0, whole.size(), text);
  text.Terminate(whole.size());
  return true;
}

bool SEvent_Send(Socket s, SEvent event) {
  if (event == nullptr) return false;
  return Socket_WriteObject(s, event->bytes.data(), event->bytes.size());
}
