// The queue's events in bytes: every kind read back as written, and events
// of another form dropped.
#include "jobqueue/CCevent.h"

#include <gtest/gtest.h>

#include <string>

#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"

namespace {

struct Event {
  SEvent bytes = SEvent_Create();
  ~Event() { SEvent_Destroy(bytes); }
};

CCevent_Event RoundTrip(const CCevent_Event& e) {
  Event out;
  CCevent_Write(e, out.bytes);
  CCevent_Event back;
  EXPECT_TRUE(CCevent_Read(out.bytes, back));
  return back;
}

}  // namespace

TEST(CCevent, EveryKindReadsBackAsWritten) {
  CCjobBase_Job job = CCjob_Create("cmd");
  CCjobBase_SetId(job, "h-1-2-3");
  CCjobBase_SetStatus(job, CCtypes_Running);
  CCjobBase_SetPriority(job, 9);
  CCjobBase_SetProgressFilename(job, "/p.progress");
  CCevent_Event e;
  CCevent_FromJob(job, CCevent_JobAdded, e);
  e.inFailedQueue = true;
  e.queuePosition = 3;
  Strings_Assign("w1", e.workerName);
  std::string long_(6000, 'd');
  Strings_Assign(long_, e.description);  // cut to what a reader takes
  CCevent_Event back = RoundTrip(e);
  EXPECT_EQ(back.type, CCevent_Job);
  EXPECT_EQ(back.kind, CCevent_JobAdded);
  EXPECT_TRUE(back.inFailedQueue);
  EXPECT_EQ(back.queuePosition, 3);
  EXPECT_STREQ(back.workerName, "w1");
  EXPECT_EQ(back.jobType, CCjobBase_InlineJob);
  EXPECT_STREQ(back.id, "h-1-2-3");
  EXPECT_EQ(back.status, CCtypes_Running);
  EXPECT_EQ(back.priority, 9U);
  EXPECT_STREQ(back.progressFile, "/p.progress");
  EXPECT_EQ(back.executeOn, CCtypes_Local);
  EXPECT_EQ(StrIn(back.description).Length(), kTextCap);
  CCjobBase_SetStatus(job, CCtypes_Waiting);
  CCevent_FromJob(job, CCevent_StatusChanged, e);
  EXPECT_STREQ(e.progressFile, "") << "a waiting job has no progress";

  CCevent_Event queue;
  queue.type = CCevent_Queue;
  queue.kind = CCevent_QueueStatusChanged;
  queue.queueStatus = CCtypes_QueueStopped;
  EXPECT_EQ(RoundTrip(queue).queueStatus, CCtypes_QueueStopped);
  CCevent_Event worker;
  worker.type = CCevent_Cluster;
  worker.kind = CCevent_WorkerStatus;
  Strings_Assign("node7", worker.workerName);
  worker.workerStatus = 2;
  EXPECT_STREQ(RoundTrip(worker).workerName, "node7");
  EXPECT_EQ(RoundTrip(worker).workerStatus, 2);
  CCevent_Event error;
  error.type = CCevent_Error;
  error.errorNumber = -5;
  Strings_Assign("src", error.source);
  Strings_Assign("text", error.text);
  EXPECT_EQ(RoundTrip(error).errorNumber, -5);
  EXPECT_STREQ(RoundTrip(error).text, "text");

  CCjobEvent_Event short_;
  CCjobEvent_FromJob(job, true, short_);
  Event out;
  CCjobEvent_Write(short_, out.bytes);
  CCjobEvent_Event shortBack;
  ASSERT_TRUE(CCjobEvent_Read(out.bytes, shortBack));
  EXPECT_STREQ(shortBack.id, "h-1-2-3");
  EXPECT_TRUE(shortBack.removed);
  EXPECT_EQ(shortBack.status, CCtypes_Waiting);
  CCjobBase_Destroy(job);
}

TEST(CCevent, EventsOfAnotherFormAreDropped) {
  CCevent_Event e;
  e.type = CCevent_Queue;
  Event good;
  CCevent_Write(e, good.bytes);
  const std::string bytes(SEvent_Bytes(good.bytes));
  ::testing::internal::CaptureStderr();
  for (const std::string& bad : {std::string("\0\0\0\2", 4) + bytes.substr(4),  // version 2
                                 bytes.substr(0, bytes.size() - 1),           // no line feed
                                 bytes + "x",                                  // something behind it
                                 std::string("\0\0\0\1\0\0\0\5\n", 9)}) {       // no such type
    Event in;
    SEvent_Load(in.bytes, bad);
    CCevent_Event back;
    EXPECT_FALSE(CCevent_Read(in.bytes, back));
  }
  Event in;
  SEvent_Load(in.bytes, bytes);
  CCjobEvent_Event job;
  EXPECT_FALSE(CCjobEvent_Read(in.bytes, job));
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find("Syntax error in received event"), std::string::npos);
  EXPECT_NE(said.find("Syntax error in received job event"), std::string::npos);
}
