#include "jobqueue/SReqObj.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <string>
#include <thread>

#include "jobqueue/SProtocol.h"

#include "jobqueue/Socket.h"

namespace {

using namespace std::string_literals;

// A connected pair on the loopback interface.
struct Pair {
  Socket listener = Socket_Listen("127.0.0.1", 0, 4096);
  Socket client = Socket_Connect("127.0.0.1", Socket_LocalPort(listener), 4096, 2000);
  Socket server = nullptr;
  Pair() {
    for (int i = 0; i < 100 && server == nullptr; ++i)
      if (Socket_WaitReadable(listener, 50)) server = Socket_Accept(listener);
    Socket_SetTimeout(server, 2000);
  }
  ~Pair() {
    Socket_Close(client);
    Socket_Close(server);
    Socket_Close(listener);
  }
  // Sends raw bytes and reads one value back on the other side.
  SReqObj Through(const std::string& bytes) {
    Socket_WriteBytes(client, bytes.data(), bytes.size());
    Socket_Flush(client);
    return SReqObj_Receive(server);
  }
};

// Sends `bytes` alone over a fresh line: the receiver's SReqObj_error when it
// refused them within a second (the read would wait three for more), else -1.
int RefusedAtOnce(const std::string& bytes) {
  Pair pair;
  Socket_SetTimeout(pair.server, 3000);
  const auto start = std::chrono::steady_clock::now();
  SReqObj got = pair.Through(bytes);
  const bool atOnce = std::chrono::steady_clock::now() - start < std::chrono::seconds(1);
  if (got != nullptr || !atOnce) {
    SReqObj_Destroy(got);
    return -1;
  }
  return SReqObj_error;
}

// A request "PUT" of version 1 without result whose parameters are one of
// every type, with nested Arrays and an empty one, typed byte by byte: each
// element of an Array is an object, its 4-byte length and then its type
// character and body.
const std::string kPutRequest =
    "A\0\0\0\x0a"s                                   // the request: 10 elements
    "\0\0\0\x08" "S\0\0\0\x03" "PUT"s                // name
    "\0\0\0\x05" "I\0\0\0\x01"s                      // version 1
    "\0\0\0\x02" "B\0"s                              // no result wanted
    "\0\0\0\x01" "V"s                                // Void
    "\0\0\0\x02" "B\x01"s                            // Boolean true
    "\0\0\0\x05" "I\xff\xff\xff\xfe"s                // Integer -2
    "\0\0\0\x09" "R\xbf\xf8\0\0\0\0\0\0"s            // Real -1.5
    "\0\0\0\x09" "S\0\0\0\x04" "name"s               // String "name"
    "\0\0\0\x20" "A\0\0\0\x02"s                      // Array of two Arrays:
    "\0\0\0\x05" "A\0\0\0\0"s                        //   the empty one
    "\0\0\0\x0e" "A\0\0\0\x01" "\0\0\0\x05" "I\0\0\0\x07"s  //   and [I 7]
    "\0\0\0\x08" "D\0\0\0\x03" "\0\x01\x02"s;        // Data of three bytes

SProtocol PutProtocol() {
  SProtocol p = SProtocol_Create(1, 4096, "fdwiretest");
  const int put = SProtocol_DefineRequest(p, "PUT", 1, 7, false);
  const SReqObj_Type types[] = {SReqObj_Type::Void,   SReqObj_Type::Boolean, SReqObj_Type::Integer, SReqObj_Type::Real,
                                SReqObj_Type::String, SReqObj_Type::Array,   SReqObj_Type::Data};
  for (int i = 0; i < 7; ++i) SProtocol_SetParameter(p, put, i, types[i], "p" + std::to_string(i));
  return p;
}

SReqObj PutParams() {
  SReqObj seven = SReqObj_CreateArray();
  SReqObj_Append(seven, SReqObj_CreateInteger(7));
  SReqObj nested = SReqObj_CreateArray();
  SReqObj_Append(nested, SReqObj_CreateArray());
  SReqObj_Append(nested, seven);
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateVoid());
  SReqObj_Append(params, SReqObj_CreateBoolean(true));
  SReqObj_Append(params, SReqObj_CreateInteger(-2));
  SReqObj_Append(params, SReqObj_CreateReal(-1.5));
  SReqObj_Append(params, SReqObj_CreateString("name"));
  SReqObj_Append(params, nested);
  SReqObj_Append(params, SReqObj_CreateData("\0\1\2"s));
  return params;
}

TEST(SReqObj, ARequestTravelsInTheTypedForm) {
  SProtocol p = PutProtocol();
  SReqObj params = PutParams();
  SReqObj wire = SProtocol_BuildRequest(p, SProtocol_FindRequest(p, "PUT", 1), params);
  std::string bytes;
  ASSERT_TRUE(SReqObj_Encode(wire, bytes));
  EXPECT_EQ(bytes, kPutRequest);
  SReqObj_Destroy(wire);

  // The typed bytes read back into the same request, whatever follows them.
  std::size_t used = 0;
  SReqObj back = SReqObj_Decode(kPutRequest + "\ntail", used);
  EXPECT_EQ(used, kPutRequest.size());
  int request = 0;
  bool wantsResult = true;
  SReqObj got = nullptr;
  ASSERT_TRUE(SProtocol_ParseRequest(p, back, request, wantsResult, got));
  EXPECT_EQ(request, SProtocol_FindRequest(p, "PUT", 1));
  EXPECT_FALSE(wantsResult);
  EXPECT_TRUE(SProtocol_CheckParameterTypes(p, request, got));
  EXPECT_TRUE(SReqObj_GetBoolean(SReqObj_Element(got, 1)));
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(got, 2)), -2);
  EXPECT_EQ(SReqObj_GetReal(SReqObj_Element(got, 3)), -1.5);
  EXPECT_EQ(SReqObj_Bytes(SReqObj_Element(got, 4)), "name");
  SReqObj nested = SReqObj_Element(got, 5);
  EXPECT_EQ(SReqObj_TypeOf(SReqObj_Element(nested, 0)), SReqObj_Type::Array);
  EXPECT_EQ(SReqObj_Count(SReqObj_Element(nested, 0)), 0u);
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(SReqObj_Element(nested, 1), 0)), 7);
  EXPECT_EQ(SReqObj_Bytes(SReqObj_Element(got, 6)), "\0\1\2"s);
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(got, 4)), 0);  // wrong types answer empty
  SReqObj_Destroy(back);
  SReqObj_Destroy(got);
  SProtocol_Destroy(p);

  // Every proper prefix is incomplete, and unknown types are refused.
  for (std::size_t cut = 0; cut < kPutRequest.size(); ++cut)
    EXPECT_EQ(SReqObj_Decode(kPutRequest.substr(0, cut), used), nullptr) << cut;
  EXPECT_EQ(SReqObj_Decode("X", used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
}

TEST(SReqObj, AnElementMustFillExactlyItsLength) {
  std::size_t used = 0;
  // Elements without their lengths, as a writer of another form sends them.
  EXPECT_EQ(SReqObj_Decode("A\0\0\0\x02" "S\0\0\0\x03" "abc" "I\0\0\0\x01"s, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
  // A length longer, or shorter, than the element it frames.
  EXPECT_EQ(SReqObj_Decode("A\0\0\0\x01" "\0\0\0\x06" "I\0\0\0\x01" "V"s, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
  EXPECT_EQ(SReqObj_Decode("A\0\0\0\x01" "\0\0\0\x04" "I\0\0\0\x01"s, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
  // A nested element may not reach past the element around it.
  EXPECT_EQ(SReqObj_Decode("A\0\0\0\x01" "\0\0\0\x0a" "A\0\0\0\x01" "\0\0\0\x09" "S\0\0\0\x04" "name"s, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
  // Nor claim more elements than its bytes can hold.
  EXPECT_EQ(SReqObj_Decode("A\0\0\0\x01" "\0\0\0\x0a" "A\0\0\0\x02" "\0\0\0\x01" "V"s, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);

  // Over a socket the same is refused at once, without waiting for the bytes
  // a wrong length would still ask for.
  EXPECT_EQ(RefusedAtOnce("A\0\0\0\x02" "S\0\0\0\x03" "abc"s), 3);
}

TEST(SReqObj, LimitsHoldBothWays) {
  std::string bytes;
  SReqObj fits = SReqObj_CreateString(std::string(kSReqObjMaxString, 's'));
  EXPECT_TRUE(SReqObj_Encode(fits, bytes));
  EXPECT_EQ(bytes.substr(0, 5), "S\0\x04\0\0"s);
  SReqObj over = SReqObj_CreateString(std::string(kSReqObjMaxString + 1, 's'));
  bytes.clear();
  EXPECT_FALSE(SReqObj_Encode(over, bytes));
  EXPECT_EQ(SReqObj_error, 1);
  EXPECT_TRUE(bytes.empty());

  // 524288 elements go; one more does not, however deep it lies.
  SReqObj wide = SReqObj_CreateArray();
  for (std::size_t i = 0; i < kSReqObjMaxArray; ++i) SReqObj_Append(wide, SReqObj_CreateVoid());
  EXPECT_TRUE(SReqObj_Encode(wide, bytes));
  EXPECT_EQ(bytes.size(), 5 + 5 * kSReqObjMaxArray);
  EXPECT_EQ(bytes.substr(0, 10), "A\0\x08\0\0" "\0\0\0\x01" "V"s);
  SReqObj_Append(wide, SReqObj_CreateVoid());
  SReqObj outer = SReqObj_CreateArray();
  SReqObj_Append(outer, wide);
  bytes.clear();
  EXPECT_FALSE(SReqObj_Encode(outer, bytes));
  EXPECT_EQ(SReqObj_error, 1);
  EXPECT_TRUE(bytes.empty());
  SReqObj_Destroy(outer);
  SReqObj_Destroy(fits);
  SReqObj_Destroy(over);

  // A receiver refuses a declared length over the limit before reading what
  // follows it: here nothing follows, and the read does not wait for it.
  EXPECT_EQ(RefusedAtOnce("A\0\0\0\x01" "\0\x04\0\x06" "S\0\x04\0\x01"s), 1);
  EXPECT_EQ(RefusedAtOnce("A\0\x08\0\x01"s), 1);

  std::size_t used = 0;
  // Nesting deeper than a receiver follows is refused too.
  std::string deep = "V";
  for (std::size_t i = 0; i < kSReqObjMaxDepth + 2; ++i) {
    const std::size_t n = deep.size();
    const char length[4] = {char(n >> 24), char(n >> 16), char(n >> 8), char(n)};
    deep = "A\0\0\0\x01"s + std::string(length, 4) + deep;
  }
  EXPECT_EQ(SReqObj_Decode(deep, used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
}

TEST(SReqObj, OversizedValueLeavesTheLineUntouched) {
  Pair pair;
  ASSERT_NE(pair.server, nullptr);
  SReqObj before = SReqObj_CreateInteger(7);
  SReqObj over = SReqObj_CreateString(std::string(kSReqObjMaxString + 1, 'x'));
  SReqObj after = SReqObj_CreateBoolean(true);
  EXPECT_TRUE(SReqObj_Send(pair.client, before));
  EXPECT_FALSE(SReqObj_Send(pair.client, over));
  EXPECT_TRUE(SReqObj_Send(pair.client, after));
  ASSERT_TRUE(Socket_Flush(pair.client));

  SReqObj first = SReqObj_Receive(pair.server);
  SReqObj second = SReqObj_Receive(pair.server);
  EXPECT_EQ(SReqObj_GetInteger(first), 7);
  EXPECT_EQ(SReqObj_TypeOf(second), SReqObj_Type::Boolean);
  EXPECT_FALSE(Socket_WaitReadable(pair.server, 50));
  for (SReqObj* o : {&before, &over, &after, &first, &second}) SReqObj_Destroy(*o);
}

TEST(Socket, PrimitivesTimeOutAndPeerClose) {
  Pair pair;
  ASSERT_NE(pair.server, nullptr);
  // Larger than the ring, so reads wrap around it.
  const std::string block(10000, 'b');
  EXPECT_TRUE(Socket_WriteInteger(pair.client, 0x01020304));
  EXPECT_TRUE(Socket_WriteReal(pair.client, 2.5));
  EXPECT_TRUE(Socket_WriteObject(pair.client, block.data(), block.size()));
  ASSERT_TRUE(Socket_Flush(pair.client));
  std::uint8_t raw[4];
  ASSERT_TRUE(Socket_ReadBytes(pair.server, raw, 4));
  EXPECT_EQ(raw[0], 1);
  EXPECT_EQ(raw[3], 4);
  double real = 0;
  EXPECT_TRUE(Socket_ReadReal(pair.server, real));
  EXPECT_EQ(real, 2.5);
  std::string got;
  EXPECT_TRUE(Socket_ReadObject(pair.server, got, block.size()));
  EXPECT_EQ(got, block);

  // Nothing more comes: the read gives up after its time-out.
  Socket_SetTimeout(pair.server, 100);
  std::int32_t value = 0;
  EXPECT_FALSE(Socket_ReadInteger(pair.server, value));
  EXPECT_EQ(Socket_error, 3);

  EXPECT_TRUE(Socket_IsAlive(pair.client));
  Socket_Close(pair.server);
  for (int i = 0; i < 50 && Socket_IsAlive(pair.client); ++i) Socket_WaitReadable(pair.client, 20);
  EXPECT_FALSE(Socket_IsAlive(pair.client));
  EXPECT_EQ(Socket_error, 4);
  EXPECT_FALSE(Socket_IsAlive(Socket_Nil()));
}

// A service's socket never waits for a peer that does not read: what the line
// does not take waits, in order, and leaves as the peer reads; past the bound
// the connection breaks.
TEST(Socket, QueuedWritesWaitInOrderForThePeerUpToTheirBound) {
  Pair pair;
  ASSERT_NE(pair.server, nullptr);
  Socket_SetQueued(pair.server, 64 << 20);
  const std::string block(64 * 1024, 'q');
  auto write = [&](std::int32_t n) {
    return Socket_WriteInteger(pair.server, n) && Socket_WriteObject(pair.server, block.data(), block.size()) &&
           Socket_Flush(pair.server);
  };
  std::int32_t sent = 0;
  while (Socket_Pending(pair.server) == 0 && sent < 2000) ASSERT_TRUE(write(sent++));  // the line is full
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(write(sent++));
  EXPECT_GT(Socket_Pending(pair.server), 4 * block.size());
  std::thread pump([&] {
    while (Socket_Pending(pair.server) > 0 && Socket_SendPending(pair.server)) {
      pollfd p{Socket_Descriptor(pair.server), POLLOUT, 0};
      ::poll(&p, 1, 100);
    }
  });
  std::int32_t n = -1;
  std::string got;
  for (std::int32_t i = 0; i < sent; ++i) {
    ASSERT_TRUE(Socket_ReadInteger(pair.client, n) && Socket_ReadObject(pair.client, got, block.size()));
    ASSERT_EQ(n, i);
    ASSERT_EQ(got.size(), block.size());
  }
  pump.join();

  Socket_SetQueued(pair.server, 256 * 1024);
  for (sent = 0; sent < 2000 && write(sent); ++sent) {
  }
  EXPECT_LT(sent, 2000);
  EXPECT_EQ(Socket_error, 7);
  EXPECT_LE(Socket_Pending(pair.server), 256 * 1024 + block.size() + 8);
}

}  // namespace
