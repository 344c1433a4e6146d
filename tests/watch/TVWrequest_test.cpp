// The file status service's line protocol: the tokens as they travel, the
// demon side's reading of requests, and the client against a stand-in demon
// that answers as each test says.
#include "watch/TVWrequest.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/watch/FakeDemon.h"
#include "watch/TVWbase.h"

namespace {

std::string Text(StrIn s) { return s.Str(); }

// The result line of code 0 and `result`, as the demon writes it.
std::string Result(const std::string& result) {
  TVWrequest_Line line = "";
  TVWrequest_AppendInt(line, 0);
  TVWrequest_AppendString(line, result);
  return line;
}

std::string Message(unsigned number) {
  TextStr text;
  Messages_GetMsg("TVWrequest", number, text);
  return text;
}

class TVWrequestClient : public ::testing::Test {
 protected:
  TempDir site;
  void SetUp() override {
    UsePrivateSite(site.Path());
    static const char* const args[] = {"TVWrequest_test"};
    Argument_Init(1, args);
    Messages_Init();
    TVWbase_Reset();
  }
};

}  // namespace

TEST(TVWrequestTokens, TextsSurviveTheLineAndRequestsAreRead) {
  TVWrequest_Line line = "";
  for (const char* text : {"plain", "a b", "q\"uote", "back\\slash", "", "end\\"})
    ASSERT_TRUE(TVWrequest_AppendString(line, StrIn::C(text)));
  ASSERT_TRUE(TVWrequest_AppendInt(line, -42));
  ASSERT_TRUE(TVWrequest_AppendBool(line, true));
  EXPECT_EQ(Text(line), "plain a\\ b q\\\"uote back\\\\slash \"\" end\\\\ -42 true");
  TVWrequest_Line token;
  for (const char* text : {"plain", "a b", "q\"uote", "back\\slash", "", "end\\"}) {
    ASSERT_TRUE(TVWrequest_SplitToken(line, token));
    EXPECT_EQ(Text(token), text);
  }
  std::int32_t number = 0;
  EXPECT_TRUE(TVWrequest_SplitInt(line, number));
  EXPECT_EQ(number, -42);
  EXPECT_FALSE(TVWrequest_SplitInt(line, number)) << "\"true\" is no number";
  EXPECT_FALSE(TVWrequest_SplitToken(line, token));

  // The demon's side: each request with its parameters; a missing one or an
  // empty file name refuses it.
  TVWrequest_Line request = "FILE_STATUS /a\\ b/c 17";
  TVWrequest_Line file;
  std::int32_t modified = 0, pid = 0, count = 0;
  bool begin = false, flag = true;
  EXPECT_EQ(TVWrequest_SplitRequest(request), TVWrequest_reqFileStatus);
  ASSERT_TRUE(TVWrequest_SplitFileStatusRequest(request, file, modified));
  EXPECT_EQ(Text(file), "/a b/c");
  EXPECT_EQ(modified, 17);
  Strings_Assign("IGNORE_FILE 12 /f true yes", request);
  EXPECT_EQ(TVWrequest_SplitRequest(request), TVWrequest_reqIgnoreFile);
  ASSERT_TRUE(TVWrequest_SplitIgnoreFileRequest(request, pid, file, begin, flag));
  EXPECT_TRUE(begin);
  EXPECT_FALSE(flag) << "anything but \"true\" is false";
  Strings_Assign("IGNORE_FILE 12 \"\" true false", request);
  TVWrequest_SplitRequest(request);
  EXPECT_FALSE(TVWrequest_SplitIgnoreFileRequest(request, pid, file, begin, flag));
  Strings_Assign("STATUS_QUERY /d 2 a 1", request);
  EXPECT_EQ(TVWrequest_SplitRequest(request), TVWrequest_reqStatusQuery);
  ASSERT_TRUE(TVWrequest_SplitFileStatusQuery(request, file, count));
  EXPECT_TRUE(TVWrequest_SplitFile(request, token, modified));
  EXPECT_FALSE(TVWrequest_SplitFile(request, token, modified)) << "the second pair is missing";
  Strings_Assign("FILE_READY", request);
  EXPECT_EQ(TVWrequest_SplitRequest(request), TVWrequest_reqFileReady);
  EXPECT_FALSE(TVWrequest_SplitFileReadyInform(request, file));
  Strings_Assign("FILE_STATUSES x", request);
  EXPECT_EQ(TVWrequest_SplitRequest(request), TVWrequest_reqUnknown);
}

// A folder listing goes in as few requests as lines allow; the answers come
// back to the right files.
TEST_F(TVWrequestClient, AQueryGoesInPartsThatEachFitALine) {
  FakeDemon demon([](const std::string& received) {
    TVWrequest_Line line, directory, name;
    Strings_Assign(received, line);
    std::int32_t count = 0, modified = 0;
    if (TVWrequest_SplitRequest(line) != TVWrequest_reqStatusQuery ||
        !TVWrequest_SplitFileStatusQuery(line, directory, count))
      return std::string("1 \"\" refused");
    std::string statuses;
    for (std::int32_t i = 0; i < count && TVWrequest_SplitFile(line, name, modified); ++i)
      statuses += (i == 0 ? "" : " ") + std::to_string(modified % 3);
    return Result(statuses);
  });
  TVWrequest_File* list = nullptr;
  for (int i = 299; i >= 0; --i) {
    TVWrequest_File* f = TVWrequest_CreateFile("a file with blanks, number " + std::to_string(i) + std::string(30, '-'), i);
    f->next = list;
    list = f;
  }
  TVWrequest_Connection conn = TVWrequest_Connect("", 5000);
  ASSERT_NE(conn, nullptr);
  ASSERT_TRUE(TVWrequest_QueryFileStatus(conn, "/hot folder", list));
  int i = 0;
  for (const TVWrequest_File* f = list; f != nullptr; f = f->next, ++i) EXPECT_EQ(f->status, i % 3) << f->name;
  const std::vector<std::string> requests = demon.Requests();
  EXPECT_GT(requests.size(), 2U);
  for (const std::string& r : requests) {
    EXPECT_LE(r.size(), 4095U);
    EXPECT_EQ(r.rfind("STATUS_QUERY /hot\\ folder ", 0), 0U) << r;
  }
  TVWrequest_DestroyFileList(list);
  TVWrequest_CloseConn(conn);
}

TEST_F(TVWrequestClient, FailuresAreKeptInTheConnection) {
  FakeDemon demon([](const std::string& request) -> std::string {
    if (request.rfind("FILE_STATUS", 0) == 0) return "0 2";
    if (request.rfind("STATUS_QUERY", 0) == 0) return "0 1";  // one status for two files
    if (request.rfind("IGNORE_FILE", 0) == 0) return "fine";
    if (request.rfind("TEST_SERVICE", 0) == 0) return "7 \"\" not\\ today";
    return "";  // the demon keeps silent
  });
  TVWrequest_Connection conn = TVWrequest_Connect("", 1000);
  ASSERT_NE(conn, nullptr);
  EXPECT_EQ(TVWrequest_FileStatus(conn, "/d/f", 0), TVWrequest_InHand);
  EXPECT_EQ(TVWrequest_FileStatus(conn, "/d/new\nline", 0), TVWrequest_NotKnown);
  EXPECT_TRUE(TVWrequest_QueryFileStatus(conn, "/d", nullptr));
  EXPECT_EQ(demon.Requests().size(), 1U) << "a name with a line feed or an empty list sends nothing";

  TVWrequest_File* list = TVWrequest_CreateFile("a", 0);
  list->next = TVWrequest_CreateFile("b", 0);
  EXPECT_FALSE(TVWrequest_QueryFileStatus(conn, "/d", list));
  EXPECT_EQ(list->status, 1);
  TVWrequest_DestroyFileList(list);

  TextStr error;
  EXPECT_FALSE(TVWrequest_TestService(conn));
  TVWrequest_GetError(conn, error);
  EXPECT_EQ(Text(error), "not today");
  EXPECT_FALSE(TVWrequest_InformFileReady(conn, "/d/x\ny"));
  EXPECT_TRUE(TVWrequest_InformFileReady(conn, "/d/x"));  // no answer is awaited
  EXPECT_FALSE(TVWrequest_BeginIgnoreFile(conn, "/d/x"));
  TVWrequest_GetError(conn, error);
  EXPECT_EQ(Text(error), Message(3) + ": fine");
  EXPECT_FALSE(TVWrequest_EndIgnoreFile(conn, "/d/x", true));
  EXPECT_EQ(TVWrequest_IdleTime(conn), 0);
  TVWrequest_CloseConn(conn);
}

TEST_F(TVWrequestClient, AQuietDemonTimesOutAndNoDemonConnectsNothing) {
  {
    FakeDemon demon;  // answers nothing
    TVWrequest_Connection conn = TVWrequest_Connect("", 300);
    ASSERT_NE(conn, nullptr);
    TextStr error;
    EXPECT_FALSE(TVWrequest_TestService(conn));
    TVWrequest_GetError(conn, error);
    EXPECT_EQ(Text(error), Message(2));
    EXPECT_EQ(TVWrequest_GetConnStatus(conn), 1) << "a timed-out line is closed";
    TVWrequest_CloseConn(conn);
  }
  TVWbase_Reset();
  std::int32_t port = 0;
  EXPECT_FALSE(TVWrequest_GetServicePort(port));
  EXPECT_EQ(TVWrequest_Connect("", 0), TVWrequest_NoConnection());
  TVWrequest_Connection none = TVWrequest_NoConnection();
  TextStr error = "x";
  EXPECT_FALSE(TVWrequest_TestService(none));
  EXPECT_EQ(TVWrequest_FileStatus(none, "/f", 0), 0);
  EXPECT_EQ(TVWrequest_IdleTime(none), -1);
  EXPECT_EQ(TVWrequest_GetConnStatus(none), 1);
  TVWrequest_GetError(none, error);
  EXPECT_EQ(Text(error), "");
}
