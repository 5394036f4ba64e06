#include "vask/texts.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include "engine/assert.h"
#include "engine/log.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"
#include "os/os_lang.h"
#include "os/thread_owned.h"

namespace zervane {
namespace {

// Every later one is of the same kind: the log would be full of them.
void TellOnceOfCut(std::size_t bytes, std::size_t room) noexcept {
  static std::atomic<bool> is_told{false};
  if (is_told.exchange(true, std::memory_order_relaxed)) return;
  LogAt(spdlog::level::warn,
        "a text of {} bytes (in UTF-8) is handed out cut to the {} that its caller has room for; "
        "further ones are not told",
        bytes, room);
}

// A StandardText for many threads, one at a time.
class SharedDecoder {
 public:
  explicit SharedDecoder(std::string_view encoding) : texts_(encoding) {}

  std::optional<std::string> Decode(std::string_view text) EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    const std::optional<std::string_view> utf8 = texts_.FromSystem(text);
    return utf8 ? std::optional<std::string>(*utf8) : std::nullopt;
  }

 private:
  Mutex mutex_;
  StandardText texts_ GUARDED_BY(mutex_);
};

}  // namespace

StandardText& TextsOfThisThread() {
  static os::ThreadOwned<StandardText> texts;
  return texts.OfThisThread([] { return std::make_unique<StandardText>(ProcessEncoding()); });
}

std::optional<std::string_view> ReadText(StandardText& texts, const char* array,
                                         std::size_t capacity) {
  ZERVANE_ASSERT(capacity > 0);
  const std::size_t size = strnlen(array, capacity);
  if (size == capacity) return std::nullopt;
  return texts.FromSystem({array, size});
}

std::optional<Secret> ReadSecret(StandardText& texts, const char* array, std::size_t capacity) {
  struct Wiping {
    StandardText& texts;
    ~Wiping() {
      texts.Wipe();
      WipeStack();
    }
  };
  const Wiping wiping{texts};
  const std::optional<std::string_view> utf8 = ReadText(texts, array, capacity);
  return utf8 ? std::optional<Secret>(*utf8) : std::nullopt;
}

void WriteText(StandardText& texts, std::string_view utf8, char* array, std::size_t capacity) {
  ZERVANE_ASSERT(capacity > 0);
  const std::string_view text = CallersText(texts, utf8, capacity - 1);
  std::memcpy(array, text.data(), text.size());
  array[text.size()] = '\0';
}

std::string_view CallersText(StandardText& texts, std::string_view utf8, std::size_t max_bytes) {
  const StandardText::SystemText text = texts.ToSystem(utf8, max_bytes);
  if (!text.is_whole) TellOnceOfCut(utf8.size(), max_bytes);
  ZERVANE_ASSERT(text.bytes.size() <= max_bytes);
  return text.bytes;
}

std::string ProcessEncoding() {
  const char* const encoding = os_lang_encoding();
  if (encoding == nullptr) throw std::bad_alloc();  // no files or memory to find it
  return encoding;
}

std::optional<TextDecoder> TextDecoderOf(std::string_view encoding) {
  if (StandardText::IsUtf8(encoding)) return TextDecoder();
  if (!StandardText::IsKnown(encoding)) return std::nullopt;
  const auto decoder = std::make_shared<SharedDecoder>(encoding);
  return [decoder](std::string_view text) { return decoder->Decode(text); };
}

}  // namespace zervane
