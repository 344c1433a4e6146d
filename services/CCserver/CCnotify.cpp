#include "services/CCserver/CCnotify.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"

namespace {

char section[16] = "CCserver";

struct Listener {
  SServer_Conn conn = nullptr;
  std::uint8_t type = 0;
  std::string maskText;                // the mask the pattern was made for
  CCjobBase_Job pattern = nullptr;     // owned
};

// Results to answer with, a failure to answer with (its number and text), or
// the bytes of an event.
struct Held {
  enum Kind { Results, Failure, Event } kind = Results;
  SServer_Conn conn = nullptr;
  SReqObj results = nullptr;
  std::int32_t number = 0;
  std::string bytes;
};

std::vector<Listener> listeners;
std::vector<Held> held;
SEvent scratch = SEvent_Create();

std::string Bytes(void (*write)(const void*, SEvent), const void* event) {
  SEvent_Clear(scratch);
  write(event, scratch);
  return std::string(SEvent_Bytes(scratch));
}

void WriteEvent(const void* e, SEvent out) { CCevent_Write(*static_cast<const CCevent_Event*>(e), out); }
void WriteJobEvent(const void* e, SEvent out) { CCjobEvent_Write(*static_cast<const CCjobEvent_Event*>(e), out); }

// The pattern job of a listener's mask: ids and submitter to select.
CCjobBase_Job Pattern(Listener& l) {
  SReqObj mask = SServer_EventMask(l.conn);
  char text[kTextCap];
  SReqObj_ToText(mask, text);
  if (l.pattern != nullptr && l.maskText == StrIn(text).View()) return l.pattern;
  l.maskText = StrIn(text).Str();
  CCjobBase_Destroy(l.pattern);
  l.pattern = CCjobBase_Create(0);
  CCjobBase_SetId(l.pattern, std::string(SReqObj_Bytes(SReqObj_Element(mask, 0))));
  CCjobBase_SetSubmitterName(l.pattern, SReqObj_Bytes(SReqObj_Element(mask, 1)));
  return l.pattern;
}

bool AnyOfType(std::uint8_t type) {
  return std::any_of(listeners.begin(), listeners.end(), [type](const Listener& l) { return l.type == type; });
}

}  // namespace

bool CCnotify_Identified(SServer_Conn conn) {
  const std::uint8_t type = SServer_Client(conn).clientType;
  if (type != 1 && type != 2) return false;
  listeners.push_back({conn, type, "", nullptr});
  return type == 1;
}

void CCnotify_Gone(SServer_Conn conn) {
  for (auto& l : listeners)
    if (l.conn == conn) CCjobBase_Destroy(l.pattern);
  listeners.erase(std::remove_if(listeners.begin(), listeners.end(), [conn](const Listener& l) { return l.conn == conn; }),
                  listeners.end());
  for (auto& h : held) {
    if (h.conn != conn) continue;
    SReqObj_Destroy(h.results);
    h.conn = nullptr;
  }
}

void CCnotify_Reply(SServer_Conn conn, SReqObj results) {
  if (results == nullptr) results = SReqObj_CreateArray();
  held.push_back({Held::Results, conn, results, 0, ""});
}

void CCnotify_ReplyError(SServer_Conn conn, unsigned number, StrIn info) {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: CCserver 2-4
  SPrintf_String(text, info);
  held.push_back({Held::Failure, conn, nullptr, static_cast<std::int32_t>(number), StrIn(text).Str()});
}

void CCnotify_Event(const CCevent_Event& event) {
  if (!AnyOfType(1)) return;
  const std::string bytes = Bytes(WriteEvent, &event);
  for (const Listener& l : listeners)
    if (l.type == 1) held.push_back({Held::Event, l.conn, nullptr, 0, bytes});
}

void CCnotify_EventTo(SServer_Conn conn, const CCevent_Event& event) {
  held.push_back({Held::Event, conn, nullptr, 0, Bytes(WriteEvent, &event)});
}

void CCnotify_JobChange(CCjobBase_Job job, std::uint32_t kind, bool inFailed, std::int32_t position,
                        StrIn worker) {
  if (!AnyOfType(1)) return;
  CCevent_Event event;
  CCevent_FromJob(job, kind, event);
  event.inFailedQueue = inFailed;
  event.queuePosition = position;
  Strings_Assign(worker, event.workerName);
  CCnotify_Event(event);
}

void CCnotify_JobStatus(CCjobBase_Job job, bool removed) {
  if (!AnyOfType(2)) return;
  CCjobEvent_Event event;
  CCjobEvent_FromJob(job, removed, event);
  std::string bytes;
  for (Listener& l : listeners) {
    if (l.type != 2 || !CCjobBase_Match(Pattern(l), job)) continue;
    if (bytes.empty()) bytes = Bytes(WriteJobEvent, &event);
    held.push_back({Held::Event, l.conn, nullptr, 0, bytes});
  }
}

void CCnotify_Flush() {
  for (Held& h : held) {
    if (h.conn == nullptr) continue;  // its connection went: nothing is left to free
    switch (h.kind) {
      case Held::Results: SServer_Reply(h.conn, h.results); break;
      case Held::Failure: SServer_ReplyError(h.conn, h.number, section, h.bytes); break;
      case Held::Event:
        SEvent_Load(scratch, h.bytes);
        SServer_SendEvent(h.conn, scratch);
        break;
    }
  }
  held.clear();
}
