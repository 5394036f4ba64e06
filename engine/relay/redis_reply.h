#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/status.h"

struct redisReader;

namespace zervane {

// What a Redis has answered.
struct RedisReply {
  enum class Kind : std::uint8_t { kText, kNumber, kNothing, kList, kFailure };

  Kind kind = Kind::kNothing;
  std::string text;  // of a failure as well
  long long number = 0;
  std::vector<std::unique_ptr<RedisReply>> list;

  bool IsFailure() const { return kind == Kind::kFailure; }
  bool IsText() const { return kind == Kind::kText; }
  // The word that a failure begins with, which is all that is ever told of it: servers repeat what
  // they were sent, a password among it. "?" when it is none of those that a Redis is known to say.
  std::string_view FailureCode() const;
};

// Makes replies of what comes from a Redis. What is no reply, or too great for one that anybody
// would wait for here, is refused.
//
// Threads: as a container.
class RedisReplyReader {
 public:
  // Of one reply, as bytes that wait to be one and, in lists, as texts that have been read.
  static constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
  static constexpr std::size_t kMaxParts = 16'384;  // of one reply, in lists

  // How much of a reply has been read.
  struct Extent {
    std::size_t parts = 0;
    std::size_t bytes = 0;  // of texts
  };

  RedisReplyReader();
  ~RedisReplyReader();
  RedisReplyReader(const RedisReplyReader&) = delete;
  RedisReplyReader& operator=(const RedisReplyReader&) = delete;

  Status Feed(std::string_view bytes);
  // The next reply; null when it is not there as a whole. ZR3_ERR_CONNECT_FAILED for what is none;
  // then nothing more is to be read.
  Result<std::unique_ptr<RedisReply>> Next();
  // Whether more has come than the replies that were read.
  bool HasMore() const;

 private:
  redisReader* const reader_;
  Extent extent_;
};

}  // namespace zervane
