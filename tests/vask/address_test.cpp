#include "vask/address.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

using Kind = Target::Kind;

const Environment kHome = {.zervane_home = {}, .xdg_data_home = {}, .home = "/home/ann"};
const Environment kDataHome = {.zervane_home = {}, .xdg_data_home = "/data", .home = "/home/ann"};
const Environment kZervaneHome = {
    .zervane_home = "/plant", .xdg_data_home = "/data", .home = "/home/ann"};

struct AddressCase {
  const char* name;
  const char* address;
  Environment environment;
  Target target;
};

class Address : public testing::TestWithParam<AddressCase> {};

TEST_P(Address, NamesItsTarget) {
  const auto& [name, address, environment, expected] = GetParam();
  const Result<Target> target = ParseAddress(address, 5000, environment);
  ASSERT_TRUE(target.ok()) << target.status().message();
  EXPECT_EQ(target->kind, expected.kind);
  EXPECT_EQ(target->folder, expected.folder);
  EXPECT_EQ(target->host, expected.host);
  EXPECT_EQ(target->port, expected.port);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Address,
    testing::Values(
        AddressCase{"EmptyIsZervaneHome", "", kZervaneHome, {Kind::kFolder, "/plant"}},
        AddressCase{"EmptyIsDataHome", "", kDataHome, {Kind::kFolder, "/data/zervane"}},
        AddressCase{"EmptyIsHome", "", kHome, {Kind::kFolder, "/home/ann/.local/share/zervane"}},
        AddressCase{"EmbeddedFolder", "embedded:/a/b", kHome, {Kind::kFolder, "/a/b"}},
        AddressCase{"EmbeddedRelativeFolder", "embedded:b c", kHome, {Kind::kFolder, "b c"}},
        AddressCase{"EmbeddedFolderWithColon", "embedded:/a:b", kHome, {Kind::kFolder, "/a:b"}},
        AddressCase{"Volatile", "memory:", kHome, {Kind::kMemory}},
        AddressCase{"HostName", "scada1", kHome, {Kind::kServer, {}, "scada1", 5000}},
        AddressCase{
            "HostInCapitals", "SCADA1.Example", kHome, {Kind::kServer, {}, "scada1.example", 5000}},
        AddressCase{"IpAddress", "192.0.2.7", kHome, {Kind::kServer, {}, "192.0.2.7", 5000}},
        AddressCase{"Ip6Address", "2001:DB8::7", kHome, {Kind::kServer, {}, "2001:db8::7", 5000}},
        AddressCase{
            "HostBeyondAscii", "w\xC3\x84rk", kHome, {Kind::kServer, {}, "w\xC3\x84rk", 5000}},
        AddressCase{"HostNamedEmbedded", "embedded", kHome, {Kind::kServer, {}, "embedded", 5000}},
        AddressCase{"HostNamedMemory", "memory", kHome, {Kind::kServer, {}, "memory", 5000}}),
    CaseName());

struct InvalidAddressCase {
  const char* name;
  const char* address;
};

class InvalidAddress : public testing::TestWithParam<InvalidAddressCase> {};

TEST_P(InvalidAddress, IsRefused) {
  EXPECT_EQ(ParseAddress(GetParam().address, 5000, Environment()).code(), ZR3_ERR_INVALID_ADDRESS);
}

INSTANTIATE_TEST_SUITE_P(Forms, InvalidAddress,
                         testing::Values(InvalidAddressCase{"EmptyWithoutEnvironment", ""},
                                         InvalidAddressCase{"EmbeddedWithoutFolder", "embedded:"},
                                         InvalidAddressCase{"VolatileWithName", "memory:x"},
                                         InvalidAddressCase{"BareFolder", "/var/lib/zervane"},
                                         InvalidAddressCase{"Blank", "host name"},
                                         InvalidAddressCase{"LeadingBlank", " host"},
                                         InvalidAddressCase{"LineFeed", "host\n"},
                                         InvalidAddressCase{"Delete", "host\x7F"}),
                         CaseName());

TEST(Servers, HaveNoStandbyWhenItsAddressIsEmpty) {
  const Result<Servers> servers = ParseServers("one", 1, "", 2, kHome);
  ASSERT_TRUE(servers.ok());
  EXPECT_FALSE(servers->standby.has_value());
}

TEST(Servers, HaveTheStandbyBesideAServer) {
  const Result<Servers> servers = ParseServers("one", 1, "embedded:/a", 2, kHome);
  ASSERT_TRUE(servers.ok());
  ASSERT_TRUE(servers->standby.has_value());
  EXPECT_EQ(servers->standby->kind, Kind::kFolder);
}

TEST(Servers, NeedNoStandbyBesideAnEmbeddedDatabase) {
  const Result<Servers> servers = ParseServers("embedded:/a", 1, "two", 2, kHome);
  ASSERT_TRUE(servers.ok());
  EXPECT_EQ(*servers, *ParseServers("embedded:/a", 7, "three", 8, kHome));
}

TEST(Servers, AreRefusedWhenEitherAddressIs) {
  EXPECT_EQ(ParseServers("a b", 1, "two", 2, kHome).code(), ZR3_ERR_INVALID_ADDRESS);
  EXPECT_EQ(ParseServers("one", 1, "a b", 2, kHome).code(), ZR3_ERR_INVALID_ADDRESS);
  EXPECT_EQ(ParseServers("memory:", 1, "a b", 2, kHome).code(), ZR3_ERR_INVALID_ADDRESS);
}

TEST(Servers, DifferByAddressPortAndStandby) {
  const Servers one = *ParseServers("one", 1, "two", 2, kHome);
  EXPECT_EQ(one, *ParseServers("ONE", 1, "Two", 2, kHome));
  EXPECT_NE(one, *ParseServers("one", 9, "two", 2, kHome));
  EXPECT_NE(one, *ParseServers("one", 1, "two", 9, kHome));
  EXPECT_NE(one, *ParseServers("one", 1, "", 2, kHome));
  EXPECT_NE(one, *ParseServers("other", 1, "two", 2, kHome));
}

class ResolvedFolder : public testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/zervane-address-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    root = std::filesystem::canonical(pattern);
    std::filesystem::create_directory(root / "real");
    std::filesystem::create_directory_symlink(root / "real", root / "link");
  }

  void TearDown() override { std::filesystem::remove_all(root); }

  static std::filesystem::path Resolve(const std::filesystem::path& folder) {
    return Resolved({.kind = Kind::kFolder, .folder = folder}).folder;
  }

  std::filesystem::path root;
};

TEST_F(ResolvedFolder, IsOneForAllItsNames) {
  const std::filesystem::path folder = root / "real";
  EXPECT_EQ(Resolve(folder), folder);
  EXPECT_EQ(Resolve(root / "link"), folder);
  EXPECT_EQ(Resolve(root / "real/"), folder);
  EXPECT_EQ(Resolve(root / "other/../real/."), folder);
  EXPECT_EQ(Resolve(std::filesystem::relative(folder)), folder);
}

TEST_F(ResolvedFolder, NeedNotExist) { EXPECT_EQ(Resolve(root / "link/new/"), root / "real/new"); }

TEST_F(ResolvedFolder, LeavesOtherTargetsAlone) {
  const Target server{.kind = Kind::kServer, .folder = {}, .host = "one", .port = 1};
  EXPECT_EQ(Resolved(server), server);
}

}  // namespace
}  // namespace zervane
