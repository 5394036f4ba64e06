// st3: statistics and statistics tags.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vask/api.h"
#include "vask/call.h"
#include "vask/class_tag.h"
#include "vask/records.h"
#include "vask/texts.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::CalculateStatistic;
using zervane::Call;
using zervane::Deliver;
using zervane::FilterFailure;
using zervane::ReadTime;
using zervane::Result;
using zervane::SampleSource;
using zervane::Session;
using zervane::StatisticRequest;
using zervane::StatisticType;
using zervane::Status;
using zervane::TimeRegion;

namespace {

constexpr int32 kMaxRegions = 100'000;  // of one statistic

Arguments CheckParam(const ZR3StRelatedParam* param, const float64* value) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(param, value);
  if (!arguments.ok()) return arguments;
  return arguments.Batch(param->nTimeRegionNum, param->pTimeRegions);
}

Status CheckEnumeration(const char* called, int32 number, int32 first, int32 last) {
  if (number >= first && number <= last) return {};
  return {ZR3_ERR_INVALID_ARGUMENT, std::string(called) + " " + std::to_string(number)};
}

Status CheckEnumerations(const ZR3StRelatedParam& param) {
  Status status = CheckEnumeration("statistic", param.nStatsType, ZR3_STATS_TYPE_LIMIT_MIN,
                                   ZR3_STATS_TYPE_LIMIT_MAX);
  if (!status.ok()) return status;
  status = CheckEnumeration("sample type", param.nSampleType, ZR3_STATS_SAMPLE_TYPE_RAW,
                            ZR3_STATS_SAMPLE_TYPE_PREV_INTERP);
  if (!status.ok()) return status;
  return CheckEnumeration("filter failure mode", param.nFilterFailMode,
                          ZR3_STATS_FILTER_FAIL_MODE_FIL, ZR3_STATS_FILTER_FAIL_MODE_NO_FIL);
}

// In UTF-8.
Result<std::string> ReadFilter(const ZR3StRelatedParam& param) {
  const std::optional<std::string_view> filter = zervane::ReadText(
      zervane::TextsOfThisThread(), param.szFilterExpr, sizeof param.szFilterExpr);
  if (filter) return std::string(*filter);
  return Status(ZR3_ERR_INVALID_TEXT,
                "a filter that does not end within its array, or does not convert");
}

Result<std::vector<TimeRegion>> ReadRegions(std::span<const ZR3TimeRegion> regions) {
  std::vector<TimeRegion> read;
  read.reserve(regions.size());
  for (const ZR3TimeRegion& region : regions) {
    const Result<std::int64_t> left_ms = ReadTime(region.left.nSec, region.left.nMsec);
    if (!left_ms.ok()) return left_ms.status();
    const Result<std::int64_t> right_ms = ReadTime(region.right.nSec, region.right.nMsec);
    if (!right_ms.ok()) return right_ms.status();
    read.push_back({.left_ms = *left_ms,
                    .right_ms = *right_ms,
                    .is_left_closed = region.bLeftClosed != 0,
                    .is_right_closed = region.bRightClosed != 0});
  }
  return read;
}

// What the parameters ask for; what the numbers among them mean is for the database to judge.
Result<StatisticRequest> ReadRequest(const ZR3StRelatedParam& param) {
  if (param.nTimeRegionNum < 1 || param.nTimeRegionNum > kMaxRegions) {
    return Status(ZR3_ERR_INVALID_COUNT, std::to_string(param.nTimeRegionNum) + " regions");
  }
  Result<std::string> filter = ReadFilter(param);
  if (!filter.ok()) return filter.status();
  if (Status status = CheckEnumerations(param); !status.ok()) return status;
  const auto region_count = static_cast<std::size_t>(param.nTimeRegionNum);
  Result<std::vector<TimeRegion>> regions = ReadRegions({param.pTimeRegions, region_count});
  if (!regions.ok()) return regions.status();
  return StatisticRequest{.type = static_cast<StatisticType>(param.nStatsType),
                          .regions = *std::move(regions),
                          .least_percent_good = param.fPercentGood,
                          .source = static_cast<SampleSource>(param.nSampleType),
                          .filter = *std::move(filter),
                          .filter_failure = static_cast<FilterFailure>(param.nFilterFailMode),
                          .parameter_1 = param.dExtParam1,
                          .parameter_2 = param.dExtParam2,
                          .offset_s = param.nOffset,
                          .period_s = param.nPeriod,
                          .uses_bad_values = param.bUseBadValue != 0};
}

}  // namespace

int32 st3_tag_stats_calc(uint32 nTagID, const ZR3StRelatedParam* pParam, float64* pValue) {
  return Call(__func__, CheckParam(pParam, pValue), [&](Session& session) -> Status {
    Result<StatisticRequest> request = ReadRequest(*pParam);
    if (!request.ok()) return request.status();
    return Deliver(session.Do(CalculateStatistic{.id = nTagID, .request = *std::move(request)}),
                   pValue);
  });
}

int32 st3_add_tag(const ZR3StatsTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::AddClassTag(__func__, ZR3_TAG_CLASS_STATS, pProp, pMask, pTagID);
}

int32 st3_modify_tag_prop(uint32 nTagID, const ZR3StatsTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::ModifyClassTag(__func__, ZR3_TAG_CLASS_STATS, nTagID, pProp, pMask);
}

int32 st3_query_tag_prop(uint32 nTagID, ZR3StatsTagProp* pProp) {
  return zervane::QueryClassTag(__func__, ZR3_TAG_CLASS_STATS, nTagID, pProp);
}
