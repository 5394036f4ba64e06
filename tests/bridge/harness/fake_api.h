// The client API, faked: each of its 87 functions logs its name and arguments, keeps copies of the
// records it was given, and answers as the test scripted it; 0 and no output when it did not.
#ifndef ZERVANE_TESTS_BRIDGE_FAKE_API_H
#define ZERVANE_TESTS_BRIDGE_FAKE_API_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zervane.h"

namespace zervane::bridge_test {

// What a scripted failure answers when a test does not care which.
inline constexpr int32 kSomeError = 110100;

template <auto kFunction>
struct HookOf;

template <typename... Parameters, int32 (*kFunction)(Parameters...)>
struct HookOf<kFunction> {
  using Type = std::function<int32(Parameters...)>;
};

class FakeApi {
 public:
  // Scripts a function: called with its arguments, after they were logged.
  template <auto kFunction>
  void On(typename HookOf<kFunction>::Type hook) {
    Hook<kFunction>() = std::move(hook);
  }

  // Makes a function answer that status without any output.
  void Answer(const std::string& function, int32 status) { answers_[function] = status; }

  std::optional<int32> AnswerOf(const std::string& function) const {
    const auto found = answers_.find(function);
    return found == answers_.end() ? std::nullopt : std::optional<int32>(found->second);
  }

  // The records of that type in the last call that was given any.
  template <typename Record>
  std::vector<Record>& Sent() {
    static const bool kResettable = Resettable([this] { Sent<Record>().clear(); });
    static std::vector<Record> records;
    (void)kResettable;
    return records;
  }

  template <auto kFunction>
  typename HookOf<kFunction>::Type& Hook() {
    static const bool kResettable = Resettable([this] { Hook<kFunction>() = nullptr; });
    static typename HookOf<kFunction>::Type hook;
    (void)kResettable;
    return hook;
  }

  // Forgets every script and every copy.
  void Reset();

 private:
  bool Resettable(std::function<void()> reset);

  std::map<std::string, int32> answers_;
  std::vector<std::function<void()>> resets_;
};

FakeApi& Api();

// A type that Java's and the API's look-ups agree on: makes pt3_query_tag_type answer it.
void TagsHaveType(ZR3_TAG_TYPE type);

// The same, tag by tag; a tag that is not listed is unknown (kSomeError).
void TagsHaveTypes(const std::map<uint32, ZR3_TAG_TYPE>& types);

}  // namespace zervane::bridge_test

#endif
