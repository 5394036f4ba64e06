#include "engine/relay/redis_reply.h"

#include <gtest/gtest.h>

#include <string>

namespace zervane {
namespace {

// The reply that the bytes are, fed one by one.
std::unique_ptr<RedisReply> Read(std::string_view bytes) {
  RedisReplyReader reader;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    EXPECT_TRUE(reader.Feed(bytes.substr(i, 1)).ok());
    auto reply = reader.Next();
    if (!reply.ok()) return nullptr;
    EXPECT_EQ(*reply != nullptr, i + 1 == bytes.size()) << i;
    if (*reply != nullptr) return *std::move(reply);
  }
  return nullptr;
}

TEST(RedisReplyReaderTest, ReadsEveryKindHoweverItIsCut) {
  const auto status = Read("+OK\r\n");
  ASSERT_NE(status, nullptr);
  EXPECT_TRUE(status->IsText());
  EXPECT_EQ(status->text, "OK");
  EXPECT_EQ(Read("$4\r\na\r\nb\r\n")->text, "a\r\nb");
  EXPECT_EQ(Read(":-12\r\n")->number, -12);
  EXPECT_EQ(Read("$-1\r\n")->kind, RedisReply::Kind::kNothing);
  EXPECT_EQ(Read("*-1\r\n")->kind, RedisReply::Kind::kNothing);
  const auto list = Read("*3\r\n$1\r\na\r\n*1\r\n:7\r\n+z\r\n");
  ASSERT_EQ(list->list.size(), 3U);
  EXPECT_EQ(list->list[0]->text, "a");
  EXPECT_EQ(list->list[1]->list[0]->number, 7);
  EXPECT_EQ(list->list[2]->text, "z");
}

TEST(RedisReplyReaderTest, TellsNoMoreOfAFailureThanItsCode) {
  EXPECT_EQ(Read("-NOAUTH Authentication required.\r\n")->FailureCode(), "NOAUTH");
  EXPECT_EQ(Read("-ERR\r\n")->FailureCode(), "ERR");
  EXPECT_EQ(Read("-sesame\r\n")->FailureCode(), "?");
  EXPECT_EQ(Read("-ERR\tsesame\r\n")->FailureCode(), "?");
  EXPECT_EQ(Read("-ABCDEFGHIJKLMNOPQ rest\r\n")->FailureCode(), "?");
  EXPECT_EQ(Read("-SESAME\r\n")->FailureCode(), "?") << "a password may look like a code";
}

TEST(RedisReplyReaderTest, RefusesWhatIsNoReply) {
  for (const char* bytes : {"HTTP/1.1 400 Bad Request\r\n", "\r\n", "$x\r\n", "$-2\r\n",
                            "$99999999999999999999\r\n", "*-2\r\n", "*99999999999\r\n",
                            "*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n:1\r\n"}) {
    RedisReplyReader reader;
    ASSERT_TRUE(reader.Feed(bytes).ok());
    EXPECT_EQ(reader.Next().code(), ZR3_ERR_CONNECT_FAILED) << bytes;
  }
}

TEST(RedisReplyReaderTest, RefusesAReplyThatNobodyWouldWaitFor) {
  RedisReplyReader reader;
  ASSERT_TRUE(reader.Feed("$536870912\r\n").ok());
  const std::string piece(65'536, 'x');
  ZR3_STATUS code = ZR3_OK;
  std::size_t fed = 0;
  for (; code == ZR3_OK && fed <= 2 * RedisReplyReader::kMaxBytes; fed += piece.size()) {
    ASSERT_TRUE(reader.Feed(piece).ok());
    code = reader.Next().code();
  }
  EXPECT_EQ(code, ZR3_ERR_CONNECT_FAILED);
  EXPECT_LE(fed, RedisReplyReader::kMaxBytes + 2 * piece.size());
}

TEST(RedisReplyReaderTest, TakesNoMemoryForATextsLength) {
  for (const char* size : {"2147483648", "9223372036854775807"}) {
    RedisReplyReader reader;
    ASSERT_TRUE(reader.Feed("$" + std::string(size) + "\r\nx").ok());
    const auto reply = reader.Next();
    ASSERT_TRUE(reply.ok()) << size;
    EXPECT_EQ(*reply, nullptr) << size;
  }
}

TEST(RedisReplyReaderTest, RefusesAListWhosePartsAreTooMuchTogether) {
  constexpr std::size_t kPart = 65'536;
  const std::string part = "$" + std::to_string(kPart) + "\r\n" + std::string(kPart, 'x') + "\r\n";
  for (const char* lists : {"*1000\r\n", "*1\r\n*1\r\n*1000\r\n"}) {
    RedisReplyReader reader;
    ASSERT_TRUE(reader.Feed(lists).ok());
    ZR3_STATUS code = reader.Next().code();
    std::size_t fed = 0;
    for (; code == ZR3_OK && fed <= 4 * RedisReplyReader::kMaxBytes; fed += kPart) {
      ASSERT_TRUE(reader.Feed(part).ok());
      code = reader.Next().code();
    }
    EXPECT_EQ(code, ZR3_ERR_CONNECT_FAILED);
    EXPECT_LE(fed, RedisReplyReader::kMaxBytes + kPart);
  }
}

TEST(RedisReplyReaderTest, ReadsAnyNumberOfRepliesThatAreSmall) {
  RedisReplyReader reader;
  const std::string text = "$65536\r\n" + std::string(65'536, 'x') + "\r\n";
  for (std::size_t read = 0; read <= 2 * RedisReplyReader::kMaxBytes; read += 65'536) {
    ASSERT_TRUE(reader.Feed(text).ok());
    const auto reply = reader.Next();
    ASSERT_TRUE(reply.ok()) << read;
    ASSERT_NE(*reply, nullptr);
  }
}

TEST(RedisReplyReaderTest, TakesNoMemoryForAListsLengthAndRefusesItsParts) {
  RedisReplyReader reader;
  ASSERT_TRUE(reader.Feed("*2147483647\r\n").ok());
  ZR3_STATUS code = reader.Next().code();
  EXPECT_EQ(code, ZR3_OK);
  std::size_t parts = 0;
  for (; code == ZR3_OK && parts <= 2 * RedisReplyReader::kMaxParts; ++parts) {
    ASSERT_TRUE(reader.Feed(":1\r\n").ok());
    code = reader.Next().code();
  }
  EXPECT_EQ(code, ZR3_ERR_CONNECT_FAILED);
  EXPECT_EQ(parts, RedisReplyReader::kMaxParts);
}

}  // namespace
}  // namespace zervane
