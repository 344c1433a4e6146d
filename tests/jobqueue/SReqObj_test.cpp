#include "jobqueue/SReqObj.h"

#include <gtest/gtest.h>

#include <string>

#include "jobqueue/Socket.h"

namespace {

SReqObj Sample() {
  SReqObj inner = SReqObj_CreateArray();
  SReqObj_Append(inner, SReqObj_CreateVoid());
  SReqObj_Append(inner, SReqObj_CreateData(std::string("\0\1\2", 3)));
  SReqObj all = SReqObj_CreateArray();
  SReqObj_Append(all, SReqObj_CreateBoolean(true));
  SReqObj_Append(all, SReqObj_CreateInteger(-2));
  SReqObj_Append(all, SReqObj_CreateReal(-1.5));
  SReqObj_Append(all, SReqObj_CreateString("name"));
  SReqObj_Append(all, inner);
  return all;
}

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
};

TEST(SReqObj, WireFormIsTypedAndBigEndian) {
  SReqObj all = Sample();
  std::string bytes;
  ASSERT_TRUE(SReqObj_Encode(all, bytes));
  const std::string expected = std::string("A\0\0\0\5" "B\1" "I\xff\xff\xff\xfe" "R\xbf\xf8\0\0\0\0\0\0"
                                           "S\0\0\0\4name" "A\0\0\0\2" "V" "D\0\0\0\3\0\1\2", 44);
  EXPECT_EQ(bytes, expected);

  std::size_t used = 0;
  SReqObj back = SReqObj_Decode(bytes + "tail", used);
  EXPECT_EQ(used, bytes.size());
  std::string again;
  ASSERT_TRUE(SReqObj_Encode(back, again));
  EXPECT_EQ(again, bytes);
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(back, 1)), -2);
  EXPECT_EQ(SReqObj_GetReal(SReqObj_Element(back, 2)), -1.5);
  char text[8];
  SReqObj_GetString(SReqObj_Element(back, 3), text);
  EXPECT_STREQ(text, "name");
  // Wrong types answer empty rather than reinterpret.
  EXPECT_EQ(SReqObj_GetInteger(SReqObj_Element(back, 3)), 0);
  EXPECT_EQ(SReqObj_Element(back, 9), nullptr);
  SReqObj_Destroy(all);
  SReqObj_Destroy(back);

  // Every proper prefix is incomplete, and unknown types are refused.
  for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
    SReqObj part = SReqObj_Decode(bytes.substr(0, cut), used);
    EXPECT_EQ(part, nullptr) << cut;
  }
  EXPECT_EQ(SReqObj_Decode("X", used), nullptr);
  EXPECT_EQ(SReqObj_error, 3);
}

TEST(SReqObj, LimitsHoldBothWays) {
  std::string bytes;
  SReqObj fits = SReqObj_CreateString(std::string(kSReqObjMaxString, 's'));
  EXPECT_TRUE(SReqObj_Encode(fits, bytes));
  SReqObj over = SReqObj_CreateString(std::string(kSReqObjMaxString + 1, 's'));
  bytes.clear();
  EXPECT_FALSE(SReqObj_Encode(over, bytes));
  EXPECT_EQ(SReqObj_error, 1);
  EXPECT_TRUE(bytes.empty());

  SReqObj wide = SReqObj_CreateArray();
  for (std::size_t i = 0; i <= kSReqObjMaxArray; ++i) SReqObj_Append(wide, SReqObj_CreateVoid());
  EXPECT_FALSE(SReqObj_Encode(wide, bytes));
  SReqObj_Destroy(wide);
  SReqObj_Destroy(fits);
  SReqObj_Destroy(over);

  // A receiver refuses a declared length over the limit before reading it.
  std::size_t used = 0;
  EXPECT_EQ(SReqObj_Decode(std::string("S\0\4\0\1", 5) + std::string(kSReqObjMaxString + 1, 'x'), used), nullptr);
  EXPECT_EQ(SReqObj_error, 1);
  EXPECT_EQ(SReqObj_Decode(std::string("A\0\x08\0\1", 5), used), nullptr);
  std::string deep(kSReqObjMaxDepth + 2, 'A');
  for (std::size_t i = 0; i < kSReqObjMaxDepth + 2; ++i) deep.insert(1 + 5 * i, std::string("\0\0\0\1", 4));
  EXPECT_EQ(SReqObj_Decode(deep, used), nullptr);
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

}  // namespace
