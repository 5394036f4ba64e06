#include "engine/security/passwords.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

namespace zervane {
namespace {

// As little as may be: what a password is kept as says what it took.
constexpr PasswordCost kCheap{.passes = 1, .memory_bytes = 8'192};

TEST(Passwords, AreToldFromOthersByWhatTheyAreKeptAs) {
  Passwords passwords(kCheap);
  const Result<std::string> kept = passwords.Keep(Secret("open sesame"));
  ASSERT_TRUE(kept.ok());
  EXPECT_TRUE(*passwords.Check(*kept, Secret("open sesame")));
  for (const char* other : {"", "open sesam", "open sesame ", "Open sesame"}) {
    EXPECT_FALSE(*passwords.Check(*kept, Secret(other))) << other;
  }
}

TEST(Passwords, AreKeptDifferentlyEachTimeAndWithoutTheirText) {
  Passwords passwords(kCheap);
  const std::string one = *passwords.Keep(Secret("open sesame"));
  EXPECT_NE(one, *passwords.Keep(Secret("open sesame")));
  EXPECT_EQ(one.find("sesame"), std::string::npos);
  EXPECT_TRUE(Passwords::IsKept(one));
}

TEST(Passwords, AreKeptByArgon2idWithTheCostOfPeopleWhoWait) {
  Passwords passwords;
  const std::string kept = *passwords.Keep(Secret("p"));
  EXPECT_TRUE(kept.starts_with("$argon2id$v=19$m=65536,t=2,p=1$")) << kept;
}

TEST(Passwords, AreNobodysWhereNothingWasKept) {
  Passwords passwords(kCheap);
  const std::string rest = "$AAAAAAAAAAAAAAAAAAAAAA$" + std::string(43, 'A');
  const std::string wrong[] = {"",
                               "lost",
                               "$argon2id$nonsense",
                               "$argon2i$v=19$m=8,t=1,p=1" + rest,
                               "$argon2id$v=19$m=8,t=1,p=2" + rest,
                               "$argon2id$v=19$m=-8,t=1,p=1" + rest,
                               "$argon2id$v=19$m=99999999,t=1,p=1" + rest,
                               "$argon2id$v=19$m=8,t=101,p=1" + rest,
                               "$argon2id$v=19$m=8,t=1,p=1" + rest + "A",
                               "$argon2id$v=19$m=8,t=1,p=1$AAAA$BBBB"};
  for (const std::string& kept : wrong) {
    EXPECT_FALSE(Passwords::IsKept(kept)) << kept;
    for (const char* password : {"", "lost", "p"}) {
      const Result<bool> fits = passwords.Check(kept, Secret(password));
      ASSERT_TRUE(fits.ok());
      EXPECT_FALSE(*fits) << kept;
    }
  }
}

TEST(Passwords, AreNotLookedAtOnceItIsClosed) {
  Passwords passwords(kCheap);
  const std::string kept = *passwords.Keep(Secret("p"));
  passwords.Close();
  EXPECT_EQ(passwords.Check(kept, Secret("p")).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(passwords.Keep(Secret("p")).code(), ZR3_ERR_NOT_CONNECTED);
}

// No more address space, for as long as it lives.
class NoMoreMemory {
 public:
  NoMoreMemory() {
    getrlimit(RLIMIT_AS, &before_);
    const rlimit none{.rlim_cur = 1, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_AS, &none);
  }
  ~NoMoreMemory() { setrlimit(RLIMIT_AS, &before_); }
  NoMoreMemory(const NoMoreMemory&) = delete;
  NoMoreMemory& operator=(const NoMoreMemory&) = delete;

 private:
  rlimit before_{};
};

TEST(Passwords, SayWhenMemoryIsShort) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need address space of their own";
#endif
  Passwords passwords;
  const std::string kept = *passwords.Keep(Secret("p"));
  const NoMoreMemory short_of;
  EXPECT_EQ(passwords.Keep(Secret("p")).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(passwords.Check(kept, Secret("p")).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(passwords.Check("", Secret("p")).code(), ZR3_ERR_OUT_OF_MEMORY);
}

}  // namespace
}  // namespace zervane
