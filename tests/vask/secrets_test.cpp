// What is left of a password once the calls that it was for are over: nothing, in memory, files and
// log. In the process's encoding, whichever that is.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <iconv.h>
#include <string.h>  // explicit_bzero
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/engine/storage/temp_folder.h"
#include "zervane.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;

// ---- secrets that this program itself does not show ----

// Parts of passwords, which stand here with all bits inverted, so that the only places where they
// could be found as they are are those that were made by calls.
class Needle {
 public:
  explicit Needle(std::uint8_t first) {
    for (std::size_t i = 0; i < inverted_.size(); ++i) {
      const auto letter = static_cast<std::uint8_t>('a' + (first + i * 7) % 26);
      inverted_[i] = static_cast<std::uint8_t>(letter ^ mask_);
    }
  }

  // Writes it to where there is room, without a terminator; behind it.
  char* WriteTo(char* at) const {
    for (const std::uint8_t byte : inverted_) *at++ = static_cast<char>(byte ^ mask_);
    return at;
  }

  // Whether it stands in the bytes, in characters of `step` bytes, the first of which counts.
  bool IsIn(std::string_view bytes, std::size_t step) const {
    const std::size_t length = (inverted_.size() - 1) * step + 1;
    const char first = static_cast<char>(inverted_[0] ^ mask_);
    for (std::size_t at = bytes.find(first); at != bytes.npos && at + length <= bytes.size();
         at = bytes.find(first, at + 1)) {
      std::size_t i = 0;
      while (i < inverted_.size() && Inverted(bytes[at + i * step]) == inverted_[i]) ++i;
      if (i == inverted_.size()) return true;
    }
    return false;
  }

 private:
  // Not for the compiler to know, which would turn things round again.
  static inline volatile std::uint8_t mask_ = 0xFF;

  static std::uint8_t Inverted(char c) { return static_cast<std::uint8_t>(~c); }

  std::array<std::uint8_t, 20> inverted_{};
};

// Of texts, and of their code points as iconv has them.
constexpr std::size_t kSteps[] = {1, 2, 4};

bool IsIn(const Needle& needle, std::string_view bytes) {
  return std::ranges::any_of(kSteps, [&](std::size_t step) { return needle.IsIn(bytes, step); });
}

// Sanitizers keep notes of their own in stretches as large as this; nothing is copied to there.
constexpr unsigned long long kShadowBytes = 1ULL << 36;

// In which of the process's pages it stands.
std::vector<std::string> PlacesOf(const Needle& needle) {
  std::vector<std::string> places;
  static std::array<char, std::size_t{1} << 20> piece;
  const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    unsigned long long begin = 0;
    unsigned long long end = 0;
    char access[5] = {};
    if (std::sscanf(line.c_str(), "%llx-%llx %4s", &begin, &end, access) != 3) continue;
    if (access[0] != 'r' || line.find("[v") != std::string::npos) continue;
    if (end - begin >= kShadowBytes) continue;
    constexpr std::size_t kOverlap = 128;
    for (auto at = begin; at < end; at += piece.size() - kOverlap) {
      const auto size = std::min<std::size_t>(piece.size(), end - at);
      const ssize_t got = pread(memory, piece.data(), size, static_cast<off_t>(at));
      const bool is_there = got > 0 && IsIn(needle, {piece.data(), static_cast<std::size_t>(got)});
      explicit_bzero(piece.data(), piece.size());
      if (is_there) {
        places.push_back(line);
        break;
      }
    }
  }
  close(memory);
  return places;
}

std::string AllOf(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all += "\n" + line;
  return all;
}

// ---- texts of the process's encoding ----

// A letter beyond ASCII that the encoding has.
std::string ForeignLetter() {
  const char* named = std::getenv("ZERVANE_ENCODING");
  const std::string encoding = named == nullptr ? "UTF-8" : named;
  for (const char* letter : {"\xE6\x97\xA5", "\xED\x95\x9C", "\xC3\xA9", "\xD0\x96"}) {
    const iconv_t descriptor = iconv_open(encoding.c_str(), "UTF-8");
    EXPECT_NE(descriptor, reinterpret_cast<iconv_t>(-1)) << encoding;
    std::string from = letter;
    char* in = from.data();
    std::size_t in_left = from.size();
    std::array<char, 16> to{};
    char* out = to.data();
    std::size_t out_left = to.size();
    const bool converts = iconv(descriptor, &in, &in_left, &out, &out_left) == 0;
    iconv_close(descriptor);
    if (converts) return {to.data(), out};
  }
  ADD_FAILURE() << encoding << " has none of these letters";
  return {};
}

// A password in an array of its caller's, wiped with the object.
class Password {
 public:
  explicit Password(const Needle& needle, const std::string& letter = ForeignLetter()) {
    char* at = std::ranges::copy(letter, text_.begin()).out;
    at = needle.WriteTo(at);
    *std::ranges::copy(letter, at).out = '\0';
  }
  Password(const Password&) = delete;
  Password& operator=(const Password&) = delete;
  ~Password() { explicit_bzero(text_.data(), text_.size()); }

  const char* text() const { return text_.data(); }

 private:
  std::array<char, ZR3_LEN_PASSWORD> text_{};
};

class Secrets : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, ("embedded:" + folder_.path().string()).c_str());
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  }
  void TearDown() override { (void)nt3_disconnect(); }

  static int32 Add(const std::string& name, const Needle& needle) {
    ZR3SecUser user{};
    std::strcpy(user.szUserName, name.c_str());
    {
      const Password password(needle);
      std::strcpy(user.szPasswd, password.text());
    }
    const int32 status = sc3_add_user(&user);
    explicit_bzero(&user, sizeof user);
    return status;
  }

  const storage::TempFolder folder_;
};

TEST_F(Secrets, AreFoundWhereTheyAreKept) {
  const Needle needle(1);
  EXPECT_TRUE(PlacesOf(needle).empty());
  const Password password(needle, "");
  EXPECT_EQ(PlacesOf(needle).size(), 1U) << "or the search finds nothing";
}

// What the log told is in a file of this test's.
class LogFile {
 public:
  explicit LogFile(const fs::path& path) : standard_error_(dup(STDERR_FILENO)) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    dup2(file, STDERR_FILENO);
    close(file);
  }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;
  ~LogFile() {
    dup2(standard_error_, STDERR_FILENO);
    close(standard_error_);
  }

 private:
  const int standard_error_;
};

std::string ContentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Secrets, AreNotLeftInMemoryFilesOrLog) {
  const storage::TempFolder elsewhere;
  const fs::path log = elsewhere.path() / "log";
  const Needle first(1);
  const Needle second(2);
  const Needle third(3);
  const Needle wrong(4);
  const std::string name = "u" + ForeignLetter();
  {
    const LogFile to_file(log);
    EXPECT_EQ(Add(name, first), ZR3_OK);
    EXPECT_EQ(Add(name, first), ZR3_ERR_USER_EXISTS);
    EXPECT_EQ(sc3_login(name.c_str(), Password(wrong).text()), ZR3_ERR_LOGIN_FAILED);
    EXPECT_EQ(sc3_login(name.c_str(), Password(first).text()), ZR3_OK);
    EXPECT_EQ(sc3_modify_password(name.c_str(), Password(first).text(), Password(second).text()),
              ZR3_OK);
    EXPECT_EQ(sc3_reset_password(name.c_str(), Password(third).text()), ZR3_ERR_NO_RIGHT);
    EXPECT_EQ(sc3_login("admin", ""), ZR3_OK);
    EXPECT_EQ(sc3_reset_password(name.c_str(), Password(third).text()), ZR3_OK);
    EXPECT_EQ(sc3_login(name.c_str(), Password(third).text()), ZR3_OK);
  }
  for (const Needle& needle : {first, second, third, wrong}) {
    EXPECT_EQ(AllOf(PlacesOf(needle)), "") << "in memory";
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
      if (!entry.is_regular_file()) continue;
      ++files;
      EXPECT_FALSE(IsIn(needle, ContentsOf(entry.path()))) << entry.path();
    }
    EXPECT_GT(files, 1);
    EXPECT_FALSE(IsIn(needle, ContentsOf(log)));
  }
  EXPECT_NE(ContentsOf(log).find("audit: 'admin'"), std::string::npos) << "or nothing was told";
}

// ---- names in this encoding ----

TEST_F(Secrets, NamesOfUsersAndGroupsAreTheirCallersInHisEncoding) {
  const std::string letter = ForeignLetter();
  const std::string name = "U" + letter;
  ASSERT_EQ(Add(name, Needle(1)), ZR3_OK);
  EXPECT_EQ(Add("u" + letter, Needle(1)), ZR3_ERR_USER_EXISTS) << "ASCII case alone";
  ZR3SecGroup group{};
  std::strcpy(group.szGroupName, letter.c_str());
  std::strcpy(group.szGroupDesc, (letter + letter).c_str());
  ASSERT_EQ(sc3_add_group(&group), ZR3_OK);
  ASSERT_EQ(sc3_add_user_to_group(name.c_str(), letter.c_str()), ZR3_OK);
  ZR3HANDLE handle = nullptr;
  ASSERT_EQ(sc3_query_members_of_group(letter.c_str(), &handle), ZR3_OK);
  ZR3SecUser user{};
  ASSERT_EQ(ut3_get_item_step(handle, &user), ZR3_OK);
  EXPECT_EQ(user.szUserName, name);
  ASSERT_EQ(sc3_query_groups_of_user(name.c_str(), &handle), ZR3_OK);
  ZR3SecGroup listed{};
  ASSERT_EQ(ut3_get_item_step(handle, &listed), ZR3_OK);
  EXPECT_STREQ(listed.szGroupName, group.szGroupName);
  EXPECT_STREQ(listed.szGroupDesc, group.szGroupDesc);
  ASSERT_EQ(sc3_login(name.c_str(), Password(Needle(1)).text()), ZR3_OK);
  char current[ZR3_LEN_NAME] = {};
  ASSERT_EQ(sc3_query_current_user_name(static_cast<int32>(name.size()) + 1, current), ZR3_OK);
  EXPECT_EQ(current, name);
  EXPECT_EQ(sc3_query_current_user_name(static_cast<int32>(name.size()), current),
            ZR3_ERR_BUFFER_TOO_SMALL);
}

TEST_F(Secrets, NamesHaveUpTo63BytesInTheCallersEncoding) {
  const std::string letter = ForeignLetter();
  std::string name;
  while (name.size() + letter.size() < ZR3_LEN_NAME) name += letter;
  name.append(ZR3_LEN_NAME - 1 - name.size(), 'n');
  ASSERT_EQ(name.size(), 63U);
  ASSERT_EQ(Add(name, Needle(1)), ZR3_OK);
  ASSERT_EQ(sc3_login(name.c_str(), Password(Needle(1)).text()), ZR3_OK);
  char current[ZR3_LEN_NAME] = {};
  ASSERT_EQ(sc3_query_current_user_name(sizeof current, current), ZR3_OK);
  EXPECT_EQ(current, name);
}

TEST_F(Secrets, ExpressionsNameTagsInTheirCallersEncoding) {
  const std::string name = ForeignLetter() + "'" + ForeignLetter();
  ZR3PtTagProp point{};
  std::strcpy(point.szTagName, name.c_str());
  point.nTagType = ZR3_TAG_TYPE_FLOAT64;
  const ZR3Mask type{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
  uint32 id = 0;
  ASSERT_EQ(pt3_add_tag(&point, &type, nullptr, &id), ZR3_OK);
  const std::string expression =
      "'" + ForeignLetter() + "''" + ForeignLetter() + "' + 1" + std::string(400, ' ');
  ZR3CalcTagProp calculation{};
  std::strcpy(calculation.szTagName, "c");
  std::strcpy(calculation.szCalcExpr, expression.c_str());
  calculation.nCalcMode = ZR3_CALC_MODE_NOTIFY;
  const ZR3Mask own{.nCommMask = 0, .nExtMask = -1};
  uint32 computed = 0;
  ASSERT_EQ(ca3_add_tag(&calculation, &own, nullptr, &computed), ZR3_OK);
  ZR3CalcTagProp stored{};
  ASSERT_EQ(ca3_query_tag_prop(computed, &stored), ZR3_OK);
  EXPECT_EQ(stored.szCalcExpr, expression);
  std::strcpy(calculation.szTagName, "d");
  std::strcpy(calculation.szCalcExpr, ("1 + " + ForeignLetter()).c_str());
  EXPECT_EQ(ca3_add_tag(&calculation, &own, nullptr, &computed), ZR3_ERR_INVALID_EXPRESSION);
  std::strcpy(calculation.szCalcExpr, ("'" + ForeignLetter() + "'").c_str());
  EXPECT_EQ(ca3_add_tag(&calculation, &own, nullptr, &computed), ZR3_ERR_NAME_NOT_FOUND);
}

}  // namespace
}  // namespace zervane
