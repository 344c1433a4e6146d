// The request layer end to end: a client against a small service of its own,
// run in a child process on a free loopback port.
#include "jobqueue/SClient.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <errno.h>

#include <chrono>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Utility.h"
#include "jobqueue/SServer.h"
#include "jobqueue/Socket.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite([] {
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
});

std::uint16_t FreePort() {
  Socket probe = Socket_Listen("127.0.0.1", 0, 256);
  const std::uint16_t port = Socket_LocalPort(probe);
  Socket_Close(probe);
  return port;
}

enum { ECHO = SProtocol_ASYNCHRONOUS_REQUESTS + 1, SLOW, COUNT, PUSH, MASK, ECHO2 };

// The service's table has ECHO in version 1 only; the client's knows version 2 too.
SProtocol TestProtocol(const char* name, bool client) {
  SProtocol p = SProtocol_Create(1, 4096, StrIn::C(name));
  SProtocol_SetParameter(p, SProtocol_DefineRequest(p, "ECHO", 1, 1, true), 0, SReqObj_Type::String, "text");
  SProtocol_SetParameter(p, SProtocol_DefineRequest(p, "SLOW", 1, 1, true), 0, SReqObj_Type::Integer, "ms", 5000);
  SProtocol_DefineRequest(p, "COUNT", 1, 0, true);
  SProtocol_DefineRequest(p, "PUSH", 1, 0, false);
  SProtocol_DefineRequest(p, "MASK", 1, 0, true);
  if (client) SProtocol_DefineRequest(p, "ECHO", 2, 1, true);
  return p;
}

SReqObj Of(SReqObj value) {
  SReqObj array = SReqObj_CreateArray();
  SReqObj_Append(array, value);
  return array;
}

void Serve() {
  SProtocol p = TestProtocol("fdtestsvc", false);
  SServer server = SServer_Create(p, "127.0.0.1");
  if (server == nullptr) ::_exit(3);
  std::int32_t seen = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < end) {
    SServer_Request r;
    if (!SServer_Next(server, 200, r)) continue;
    ++seen;
    SReqObj first = SReqObj_Element(r.params, 0);
    if (r.request == ECHO) SServer_Reply(r.conn, Of(SReqObj_Copy(first)));
    if (r.request == SLOW) Utility_Delay(SReqObj_GetInteger(first)), SServer_Reply(r.conn, nullptr);
    if (r.request == COUNT) SServer_Reply(r.conn, Of(SReqObj_CreateInteger(seen)));
    if (r.request == MASK) SServer_Reply(r.conn, Of(SReqObj_Copy(SServer_EventMask(r.conn))));
    if (r.request == PUSH) {
      SEvent event = SEvent_Create();
      SEvent_WriteCard(event, 1);
      SEvent_WriteString(event, "pushed");
      SServer_SendEvent(r.conn, event);
      SEvent_Destroy(event);
    }
    SReqObj_Destroy(r.params);
  }
  ::_exit(0);
}

class Service : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TV_FDTESTSVC_PORT", std::to_string(FreePort()).c_str(), 1);
    protocol_ = TestProtocol("fdtestsvc", true);
    Start();
  }
  void TearDown() override {
    Stop();
    SProtocol_Destroy(protocol_);
  }
  void Start() {
    pid_ = ::fork();
    if (pid_ == 0) Serve();
    for (int i = 0; i < 100; ++i) {
      Socket probe = Socket_Connect("127.0.0.1", SProtocol_Port(protocol_), 256, 100);
      if (probe != nullptr) return Socket_Close(probe);
      Utility_Delay(20);
    }
    FAIL() << "service did not come up";
  }
  void Stop() {
    ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
  }
  std::string Echo(SClient conn, const std::string& text, int request = ECHO) {
    SReqObj results = nullptr;
    if (!SClient_Send(conn, request, Of(SReqObj_CreateString(text)), &results)) return "<failed>";
    std::string back(SReqObj_Bytes(SReqObj_Element(results, 0)));
    SReqObj_Destroy(results);
    return back;
  }
  std::int32_t Count(SClient conn) {
    SReqObj results = nullptr;
    SClient_Send(conn, COUNT, nullptr, &results);
    const std::int32_t n = SReqObj_GetInteger(SReqObj_Element(results, 0));
    SReqObj_Destroy(results);
    return n;
  }
  SProtocol protocol_ = nullptr;
  pid_t pid_ = -1;
};

int yields = 0;
void CountYield() { ++yields; }

TEST_F(Service, RequestsChecksAndVersions) {
  SClient conn = SClient_Connect("", 2000, 0, protocol_, nullptr);
  ASSERT_TRUE(SClient_IsConnected(conn));
  EXPECT_TRUE(SClient_Send(conn, SProtocol_TEST_SERVICE, nullptr, nullptr));
  EXPECT_EQ(Echo(conn, "hello"), "hello");

  // The service has ECHO in version 1 only: the client finds out and falls back.
  const std::uint32_t versions = SClient_SupportedRequestVersions(conn, "ECHO");
  EXPECT_EQ(versions, 1u << 1);
  EXPECT_EQ(Echo(conn, "v", versions & (1u << 2) ? ECHO2 : ECHO), "v");
  EXPECT_EQ(Echo(conn, "v", ECHO2), "<failed>");
  EXPECT_EQ(SClient_ErrorCode(conn), 1);  // the service's refusal, passed on
  char text[kTextCap];
  SClient_GetError(conn, text);
  EXPECT_NE(std::string(text).find("ECHO"), std::string::npos);

  SReqObj results = nullptr;
  ASSERT_TRUE(SClient_Send(conn, SProtocol_CURRENT_CLIENTS, nullptr, &results));
  const std::string clients(SReqObj_Bytes(SReqObj_Element(SReqObj_Element(results, 0), 0)));
  EXPECT_NE(clients.find("SClient_test " + std::to_string(::getpid())), std::string::npos) << clients;
  SReqObj_Destroy(results);

  // Bad parameters never leave: they are dumped, and the service sees nothing.
  const std::int32_t before = Count(conn);
  EXPECT_FALSE(SClient_Send(conn, ECHO, Of(SReqObj_CreateInteger(1)), nullptr));
  EXPECT_EQ(SClient_ErrorCode(conn), SClient_BadRequest);
  EXPECT_FALSE(SClient_Send(conn, SLOW, Of(SReqObj_CreateInteger(5001)), nullptr));
  EXPECT_NE(FileText("/tmp/.protocol.errors").find("pid " + std::to_string(::getpid()) + " fdtestsvc: Value out of range for parameter ms"),
            std::string::npos);

  // A string one byte over the limit is refused whole; the line stays in step.
  EXPECT_EQ(Echo(conn, std::string(kSReqObjMaxString + 1, 'x')), "<failed>");
  EXPECT_EQ(SClient_ErrorCode(conn), SClient_SendFailed);
  EXPECT_EQ(Echo(conn, std::string(kSReqObjMaxString, 'y')).size(), kSReqObjMaxString);
  EXPECT_EQ(Count(conn), before + 2);
  EXPECT_EQ(SClient_ErrorCode(conn), 0);

  // A nil connection answers empty.
  SClient none = SClient_Nil();
  EXPECT_FALSE(SClient_Send(none, ECHO, Of(SReqObj_CreateString("x")), nullptr));
  EXPECT_EQ(SClient_SupportedRequestVersions(none, "ECHO"), 0u);
  SClient_CloseConn(conn);
  EXPECT_EQ(conn, nullptr);
}

TEST_F(Service, TimeOutAndReconnect) {
  yields = 0;
  SClient conn = SClient_Connect("127.0.0.1", 300, 0, protocol_, CountYield);
  ASSERT_TRUE(SClient_IsConnected(conn));
  SReqObj mask = SReqObj_CreateArray();
  SReqObj_Append(mask, SReqObj_CreateString("pattern"));
  EXPECT_TRUE(SClient_SetEventMask(conn, mask));
  const std::int32_t firstConn = SClient_ConnNo(conn);

  EXPECT_FALSE(SClient_Send(conn, SLOW, Of(SReqObj_CreateInteger(1000)), nullptr));
  EXPECT_EQ(SClient_ErrorCode(conn), SClient_Timeout);
  EXPECT_FALSE(SClient_IsConnected(conn));
  EXPECT_GE(yields, 2);  // waited in slices

  // The service went on; the next request connects again (once it is free).
  SClient_SetTimeout(conn, 3000);
  EXPECT_EQ(Echo(conn, "back"), "back");
  EXPECT_GT(SClient_ConnNo(conn), firstConn);

  // A restarted service is found again, and learns the mask anew.
  Stop();
  Start();
  SReqObj results = nullptr;
  ASSERT_TRUE(SClient_Send(conn, MASK, nullptr, &results));
  EXPECT_EQ(SReqObj_Bytes(SReqObj_Element(SReqObj_Element(results, 0), 0)), "pattern");
  SReqObj_Destroy(results);
  SClient_CloseConn(conn);
}

TEST_F(Service, ListenersGetEventsButAskNothing) {
  SClient listener = SClient_Connect("", 2000, 1, protocol_, nullptr);
  EXPECT_EQ(Echo(listener, "x"), "<failed>");
  EXPECT_EQ(SClient_ErrorCode(listener), SClient_ListenerRequest);

  SEvent event = SEvent_Create();
  EXPECT_FALSE(SClient_ReceiveEvent(listener, event));  // nothing waits, and nothing blocks
  ASSERT_TRUE(SClient_Send(listener, PUSH, nullptr, nullptr));
  bool got = false;
  for (int i = 0; i < 100 && !got; ++i) got = SClient_ReceiveEvent(listener, event) || (Utility_Delay(20), false);
  ASSERT_TRUE(got);
  std::uint32_t kind = 0;
  EXPECT_FALSE(SEvent_ReadEnum(event, 0, kind));  // out of range: the position stays
  EXPECT_TRUE(SEvent_ReadEnum(event, 1, kind));
  char small[4], text[16];
  EXPECT_FALSE(SEvent_ReadString(event, small));  // too long to fit: refused, not cut
  EXPECT_TRUE(SEvent_ReadString(event, text));
  EXPECT_STREQ(text, "pushed");
  EXPECT_TRUE(SEvent_AtEnd(event));
  SEvent_Destroy(event);
  SClient_CloseAllConnections();
}

TEST_F(Service, APeerOfAnotherWireFormIsToldAndClosed) {
  // "TEST_SERVICE" with elements that lack their lengths.
  const std::string old = std::string("A\0\0\0\x03" "S\0\0\0\x0c" "TEST_SERVICE" "I\0\0\0\x01" "B\x01" "\n", 30);
  Socket s = Socket_Connect("127.0.0.1", SProtocol_Port(protocol_), 4096, 2000);
  ASSERT_NE(s, nullptr);
  Socket_SetTimeout(s, 3000);
  ASSERT_TRUE(Socket_WriteBytes(s, old.data(), old.size()) && Socket_Flush(s));
  SReqObj answer = SReqObj_Receive(s);
  std::uint8_t lineFeed = 0;
  EXPECT_TRUE(Socket_ReadByte(s, lineFeed));
  EXPECT_EQ(lineFeed, '\n');
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(answer, 0)), 40);
  const std::string text(SReqObj_Bytes(SReqObj_Element(SReqObj_Element(answer, 1), 2)));
  EXPECT_NE(text.find("4-byte"), std::string::npos) << text;
  SReqObj_Destroy(answer);
  // And then the line is closed: nothing more comes.
  EXPECT_FALSE(Socket_ReadByte(s, lineFeed));
  EXPECT_EQ(Socket_error, 4);
  Socket_Close(s);

  // A client that gets an answer of that form says so, and does not wait.
  Socket peer = Socket_Listen("127.0.0.1", 0, 4096);
  SProtocol p = TestProtocol("fdtestold", true);
  SProtocol_SetPort(p, Socket_LocalPort(peer));
  SClient conn = SClient_Connect("127.0.0.1", 2000, 0, p, nullptr);
  Socket accepted = nullptr;
  for (int i = 0; i < 100 && accepted == nullptr; ++i)
    if (Socket_WaitReadable(peer, 20)) accepted = Socket_Accept(peer);
  ASSERT_NE(accepted, nullptr);
  const std::string success = std::string("A\0\0\0\x02" "I\0\0\0\0" "S\0\0\0\x02" "ok" "\n", 18);
  ASSERT_TRUE(Socket_WriteBytes(accepted, success.data(), success.size()) && Socket_Flush(accepted));
  EXPECT_EQ(Echo(conn, "ok"), "<failed>");
  EXPECT_EQ(SClient_ErrorCode(conn), SClient_BadResult);
  SClient_CloseConn(conn);
  Socket_Close(accepted);
  Socket_Close(peer);
  SProtocol_Destroy(p);
}

TEST(SClientStart, LocalServiceIsStartedOncePerReconnect) {
  TempDir dir;
  const std::string log = dir.Path() + "/starts";
  PutFile(dir.Path() + "/fdtest_autostart", "#!/bin/sh\necho started >> " + log + "\n");
  ::chmod((dir.Path() + "/fdtest_autostart").c_str(), 0755);
  const std::string path = ::getenv("PATH");
  ::setenv("PATH", (dir.Path() + ":" + path).c_str(), 1);
  ::setenv("TV_FDTEST_AUTOSTART_PORT", std::to_string(FreePort()).c_str(), 1);
  SProtocol p = SProtocol_Create(1, 1024, "fdtest_autostart");

  SClient conn = SClient_Connect("", 1000, 0, p, nullptr);
  EXPECT_FALSE(SClient_IsConnected(conn));
  EXPECT_EQ(SClient_ErrorCode(conn), SClient_CannotConnect);
  char text[kTextCap];
  SClient_GetError(conn, text);
  EXPECT_NE(std::string(text).find("fdtest_autostart"), std::string::npos) << text;
  EXPECT_FALSE(SClient_Reconnect(conn));
  ::setenv("PATH", path.c_str(), 1);

  // The script runs in the background: give it a moment to write.
  std::string lines;
  for (int i = 0; i < 50 && lines.size() < 16; ++i, Utility_Delay(20)) lines = FileText(log);
  EXPECT_EQ(lines, "started\nstarted\n");
  SClient_CloseConn(conn);
  SProtocol_Destroy(p);
}

}  // namespace
