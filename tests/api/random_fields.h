#pragma once

#include <cstdint>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "api/message.h"
#include "api/words/tag_columns.h"

namespace zervane {

// Fills in the fields of words and operations at random, from the lists that they have themselves.
class RandomFields {
 public:
  explicit RandomFields(std::uint64_t seed) : random_(seed) {}

  template <message::Integer T>
  void Fill(T& value) {
    if constexpr (std::is_same_v<T, bool>) {
      value = random_() % 2 == 1;
    } else if constexpr (std::is_enum_v<T>) {
      value = static_cast<T>(random_() % 2);
    } else {
      // Great and small ones alike, and of either sign.
      value = static_cast<T>(random_() >> random_() % 64);
    }
  }
  void Fill(float& value) { value = static_cast<float>(random_()) / 3; }
  void Fill(double& value) { value = static_cast<double>(random_()) / 3; }
  void Fill(std::string& value) {
    value.resize(random_() % 20);
    for (char& c : value) c = static_cast<char>(random_());
  }
  void Fill(Secret& value) {
    std::string text;
    Fill(text);
    value = Secret(text);
  }
  template <HasFields T>
  void Fill(T& value) {
    ForEachField(value, [&](const char*, auto& field) { Fill(field); });
  }
  template <typename T>
  void Fill(std::optional<T>& value) {
    value.reset();
    if (random_() % 2 == 0) Fill(value.emplace());
  }
  template <typename T>
  void Fill(std::vector<T>& values) {
    values.resize(random_() % 5);
    for (T& value : values) Fill(value);
  }
  void Fill(Sample& sample) {
    std::string text;
    Fill(text);
    Fill(sample.quality);
    sample.time_ms = static_cast<std::int64_t>(random_() % kMaxTimeMs);
    switch (random_() % 4) {
      case 0:
        sample.type = TagType::kInt16;
        sample.value = static_cast<std::int32_t>(random_());
        break;
      case 1:
        sample.type = TagType::kFloat32;
        sample.value = static_cast<float>(random_()) / 7;
        break;
      case 2:
        sample.type = TagType::kBlob;
        sample.value = text;
        break;
      default:
        sample.type = TagType::kFloat64;
        sample.value = static_cast<double>(random_()) / 7;
    }
  }
  void Fill(SampleColumns& samples) {
    samples.Clear();
    for (std::size_t left = random_() % 5; left > 0; --left) {
      Sample sample;
      Fill(sample);
      samples.Add(sample);
    }
  }
  void Fill(Tag& tag) {
    constexpr std::int32_t kClasses[] = {ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALARM,
                                         ZR3_TAG_CLASS_STATS, ZR3_TAG_CLASS_CALC};
    tag.own = DefaultOwnProperties(kClasses[random_() % std::size(kClasses)]);
    ForEachColumn(tag, [&](const PropertyColumn& column) {
      VisitProperty(column, tag, [&](auto& value) { Fill(value); });
    });
  }

  std::uint64_t operator()() { return random_(); }

 private:
  std::mt19937_64 random_;
};

}  // namespace zervane
