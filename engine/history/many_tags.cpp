#include "engine/history/many_tags.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/history/interpolation.h"
#include "engine/log.h"

namespace zervane {
namespace {

// The places of the request's instants, those of one tag together and in order of time.
std::vector<std::uint32_t> PlacesByTag(const InterpolateTags& request) {
  std::vector<std::uint32_t> places(request.ids.size());
  std::iota(places.begin(), places.end(), 0U);
  std::ranges::sort(places, {}, [&](std::uint32_t at) {
    return std::pair(request.ids[at], request.times_ms[at]);
  });
  return places;
}

Result<Interpolated> InterpolateOne(TagId id, InterpolationMode mode,
                                    std::span<const std::int64_t> times_ms,
                                    const PointsReader& read) {
  const Result<TagPoints> points = read(id);
  if (!points.ok()) return points.status();
  return Interpolate(*points, mode, times_ms);
}

// The instants' tag cannot be read.
void PutCode(std::span<const std::uint32_t> places, const Status& why, Interpolated& reply) {
  for (const std::uint32_t place : places) reply.codes[place] = why.code();
  if (why.code() != ZR3_ERR_TAG_NOT_FOUND) LogWarning("interpolation: {}", why.message());
}

// Where a text of the answers is that of the one before, the reply has its bytes once, too.
bool HasTextOfBefore(const SampleColumns& answers, std::size_t at) {
  return at > 0 && IsText(answers.types()[at]) && answers.values()[at] == answers.values()[at - 1];
}

Status PutAnswers(std::span<const std::uint32_t> places, const Interpolated& answers,
                  Interpolated& reply) {
  SampleColumns no_text;
  no_text.AddText(0, ZR3_QUALITY_GOOD, std::as_const(answers.samples).types()[0], {});
  for (std::size_t at = 0; at < places.size(); ++at) {
    reply.codes[places[at]] = answers.codes[at];
    const bool has_text_of_before = HasTextOfBefore(answers.samples, at);
    reply.samples.ReplaceFrom(places[at], has_text_of_before ? no_text : answers.samples,
                              has_text_of_before ? 0 : at);
    reply.samples.times()[places[at]] = answers.samples.times()[at];
    reply.samples.qualities()[places[at]] = answers.samples.qualities()[at];
    if (has_text_of_before) {
      reply.samples.values()[places[at]] = std::as_const(reply.samples).values()[places[at - 1]];
    }
    if (reply.samples.texts().size() <= kMaxReplyTexts) continue;
    return {ZR3_ERR_OUT_OF_MEMORY, "texts beyond 1 GiB"};
  }
  return {};
}

}  // namespace

Result<Interpolated> InterpolateMany(const InterpolateTags& request, const PointsReader& read) {
  ZERVANE_ASSERT(request.ids.size() == request.times_ms.size());
  Interpolated reply;
  reply.samples.Assign(request.ids.size(), TagType::kFloat64);
  std::ranges::copy(request.times_ms, reply.samples.times().begin());
  std::ranges::fill(reply.samples.values(), 0);
  reply.codes.resize(request.ids.size());
  const std::vector<std::uint32_t> places = PlacesByTag(request);
  std::vector<std::int64_t> times_ms;
  for (auto begin = places.begin(); begin != places.end();) {
    const TagId id = request.ids[*begin];
    const auto end =
        std::find_if(begin, places.end(), [&](std::uint32_t at) { return request.ids[at] != id; });
    times_ms.clear();
    for (auto at = begin; at != end; ++at) times_ms.push_back(request.times_ms[*at]);
    const std::span<const std::uint32_t> of_tag(begin, end);
    const Result<Interpolated> answers = InterpolateOne(id, request.mode, times_ms, read);
    if (answers.code() == ZR3_ERR_NOT_CONNECTED) return answers.status();
    if (answers.ok()) {
      if (Status status = PutAnswers(of_tag, *answers, reply); !status.ok()) return status;
    } else {
      PutCode(of_tag, answers.status(), reply);
    }
    begin = end;
  }
  return reply;
}

}  // namespace zervane
