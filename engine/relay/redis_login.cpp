#include "engine/relay/redis_login.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

namespace zervane {
namespace {

struct Place {
  std::string host;
  std::uint16_t port = 0;
};

Status Failure(std::string what) { return {ZR3_ERR_CONNECT_FAILED, std::move(what)}; }

// Of a reply that is not what is asked for; only a failure's has a code.
Status Refusal(std::string_view command, const RedisReply& reply) {
  return Failure(std::string(command) + " is answered with " +
                 std::string(reply.IsFailure() ? reply.FailureCode() : "?"));
}

Result<std::unique_ptr<RedisConnection>> Connect(const Place& place, const RelayConfig& config,
                                                 NameLookup& names, const WakeUp& interrupt) {
  const Deadline deadline = std::chrono::steady_clock::now() + config.max_wait;
  const auto addresses = names.Find(place.host, place.port, deadline, interrupt);
  if (!addresses.ok()) return addresses.status();
  return RedisConnection::Open(*addresses, deadline, config.max_wait, interrupt);
}

// As long as a name may be, and without what can stand in none.
bool IsHost(std::string_view text) {
  constexpr std::size_t kMostBytes = 253;
  return text.size() <= kMostBytes &&
         std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
}

Result<Place> PlaceOf(const RedisReply& reply) {
  const bool is_place = reply.list.size() == 2 && reply.list[0]->IsText() &&
                        reply.list[1]->IsText() && !reply.list[0]->text.empty();
  if (!is_place) return Failure("the Sentinel knows no master of that name");
  Place place{.host = reply.list[0]->text, .port = 0};
  if (!IsHost(place.host)) return Failure("the Sentinel answers a host that is none");
  const std::string& port = reply.list[1]->text;
  const auto [end, fault] = std::from_chars(port.data(), port.data() + port.size(), place.port);
  const bool is_port = fault == std::errc() && end == port.data() + port.size() && place.port > 0;
  if (!is_port) return Failure("the Sentinel answers a port that is none");
  return place;
}

Result<Place> AskSentinel(const RelayConfig& config, NameLookup& names, const WakeUp& interrupt) {
  auto sentinel = Connect({config.host, config.port}, config, names, interrupt);
  if (!sentinel.ok()) return Failure("Sentinel: " + sentinel.status().message());
  const auto reply = (*sentinel)->Ask({"SENTINEL", "get-master-addr-by-name", config.master_name});
  if (!reply.ok()) return Failure("Sentinel: " + reply.status().message());
  if ((*reply)->IsFailure()) return Refusal("SENTINEL", **reply);
  return PlaceOf(**reply);
}

Status Authenticate(const Secret& password, RedisConnection& redis) {
  if (password.empty()) return {};
  const auto reply = redis.Ask({"AUTH", password.view()});
  if (!reply.ok()) return reply.status();
  if ((*reply)->IsText() && (*reply)->text == "OK") return {};
  return Refusal("AUTH", **reply);
}

// It answers, and what it says of itself is what is asked for.
Status CheckRedis(bool must_be_master, RedisConnection& redis) {
  const std::string_view command = must_be_master ? "ROLE" : "PING";
  const auto reply = redis.Ask({command});
  if (!reply.ok()) return reply.status();
  if ((*reply)->IsFailure()) return Refusal(command, **reply);
  if (!must_be_master) {
    // Who answers whatever he is sent, or sends it back, is no Redis.
    const bool is_redis = (*reply)->IsText() && (*reply)->text == "PONG";
    return is_redis ? Status() : Refusal(command, **reply);
  }
  const auto& role = (*reply)->list;
  const bool is_master = !role.empty() && role[0]->IsText() && role[0]->text == "master";
  return is_master ? Status() : Failure("what the Sentinel calls the master is none (yet)");
}

}  // namespace

Result<std::unique_ptr<RedisConnection>> OpenRedis(const RelayConfig& config, NameLookup& names,
                                                   const WakeUp& interrupt) {
  const bool has_sentinel = !config.master_name.empty();
  Place place{config.host, config.port};
  if (has_sentinel) {
    Result<Place> master = AskSentinel(config, names, interrupt);
    if (!master.ok()) return master.status();
    place = *std::move(master);
  }
  auto redis = Connect(place, config, names, interrupt);
  if (!redis.ok()) return redis.status();
  if (Status status = Authenticate(config.password, **redis); !status.ok()) return status;
  if (Status status = CheckRedis(has_sentinel, **redis); !status.ok()) return status;
  return redis;
}

}  // namespace zervane
