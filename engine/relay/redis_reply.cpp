#include "engine/relay/redis_reply.h"

#include <hiredis/hiredis.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace zervane {
namespace {

using Kind = RedisReply::Kind;

// What hiredis calls to have replies made. It is C: nothing may be thrown through it, and null says
// that there is no memory.

// Hands the part to the list that it belongs to, when it is in one; which owns it from then on.
void* Place(const redisReadTask* task, std::unique_ptr<RedisReply> part) {
  auto* const extent = static_cast<RedisReplyReader::Extent*>(task->privdata);
  extent->bytes += part->text.size();
  if (++extent->parts > RedisReplyReader::kMaxParts) return nullptr;
  if (extent->bytes > RedisReplyReader::kMaxBytes) return nullptr;
  RedisReply* const placed = part.get();
  if (task->parent == nullptr) return part.release();
  static_cast<RedisReply*>(task->parent->obj)->list.push_back(std::move(part));
  return placed;
}

template <typename Fill>
void* Make(const redisReadTask* task, Kind kind, const Fill& fill) noexcept {
  try {
    auto part = std::make_unique<RedisReply>();
    part->kind = kind;
    fill(*part);
    return Place(task, std::move(part));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* MakeText(const redisReadTask* task, char* bytes, std::size_t size) {
  const Kind kind = task->type == REDIS_REPLY_ERROR ? Kind::kFailure : Kind::kText;
  return Make(task, kind, [&](RedisReply& reply) { reply.text.assign(bytes, size); });
}
// A list takes memory as its parts come, whatever length it claims to have.
void* MakeList(const redisReadTask* task, int) {
  return Make(task, Kind::kList, [](RedisReply&) {});
}
void* MakeNumber(const redisReadTask* task, long long number) {
  return Make(task, Kind::kNumber, [&](RedisReply& reply) { reply.number = number; });
}
void* MakeNothing(const redisReadTask* task) {
  return Make(task, Kind::kNothing, [](RedisReply&) {});
}
void Free(void* reply) { delete static_cast<RedisReply*>(reply); }

// What a failure may begin with.
constexpr auto kCodes = std::to_array<std::string_view>(
    {"ASK",      "BUSY",        "BUSYGROUP",    "BUSYKEY",   "CLUSTERDOWN", "CROSSSLOT",  "DENIED",
     "ERR",      "EXECABORT",   "IDONTKNOW",    "LOADING",   "MASTERDOWN",  "MISCONF",    "MOVED",
     "NOAUTH",   "NOGOODSLAVE", "NOMASTERLINK", "NOPERM",    "NOPROTO",     "NOREPLICAS", "OOM",
     "READONLY", "TRYAGAIN",    "UNBLOCKED",    "WRONGPASS", "WRONGTYPE"});

redisReplyObjectFunctions kMakers = {MakeText, MakeList, MakeNumber, MakeNothing, Free};

redisReader* MakeReader(RedisReplyReader::Extent* extent) {
  redisReader* const reader = redisReaderCreateWithFunctions(&kMakers);
  if (reader == nullptr) throw std::bad_alloc();
  reader->privdata = extent;
  return reader;
}

}  // namespace

std::string_view RedisReply::FailureCode() const {
  const std::string_view code = std::string_view(text).substr(0, text.find_first_of(" \r\n"));
  const auto* const known = std::ranges::find(kCodes, code);
  return known == kCodes.end() ? "?" : *known;
}

RedisReplyReader::RedisReplyReader() : reader_(MakeReader(&extent_)) {}

RedisReplyReader::~RedisReplyReader() { redisReaderFree(reader_); }

Status RedisReplyReader::Feed(std::string_view bytes) {
  if (redisReaderFeed(reader_, bytes.data(), bytes.size()) == REDIS_OK) return {};
  return {ZR3_ERR_CONNECT_FAILED, "its answer cannot be read"};
}

bool RedisReplyReader::HasMore() const { return reader_->len > reader_->pos; }

Result<std::unique_ptr<RedisReply>> RedisReplyReader::Next() {
  void* read = nullptr;
  if (redisReaderGetReply(reader_, &read) != REDIS_OK) {
    return Status(ZR3_ERR_CONNECT_FAILED, "what it answers is no answer of a Redis");
  }
  if (read == nullptr && reader_->len - reader_->pos > kMaxBytes) {
    return Status(ZR3_ERR_CONNECT_FAILED, "its answer is longer than any should be");
  }
  if (read != nullptr) extent_ = {};
  return std::unique_ptr<RedisReply>(static_cast<RedisReply*>(read));
}

}  // namespace zervane
