// The connection, through the exported functions, to embedded databases of its own.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "os/os_lang.h"
#include "tests/support/case_name.h"
#include "zervane.h"

namespace zervane {
namespace {

ZR3Connection Connection(const std::string& address, const std::string& standby = "") {
  ZR3Connection connection{};
  std::strncpy(connection.szAddress, address.c_str(), sizeof connection.szAddress - 1);
  std::strncpy(connection.szBakAddress, standby.c_str(), sizeof connection.szBakAddress - 1);
  connection.nPort = connection.nBakPort = 5000;
  connection.nTimeout = 3;
  return connection;
}

int32 Connect(const std::string& address, const std::string& standby = "") {
  const ZR3Connection connection = Connection(address, standby);
  return nt3_connect(&connection);
}

int32 AddTag(const char* name) {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, name);
  const ZR3Mask mask{.nCommMask = 1, .nExtMask = 0};
  uint32 id = 0;
  return pt3_add_tag(&tag, &mask, nullptr, &id);
}

int32 FindTag(const char* name) {
  uint32 id = 0;
  return tag3_query_id_by_name(name, &id);
}

class Connecting : public testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/zervane-nt3-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder = pattern;
    for (const char* variable : {"ZERVANE_HOME", "XDG_DATA_HOME", "HOME"}) unsetenv(variable);
  }

  void TearDown() override {
    (void)nt3_disconnect();
    std::filesystem::remove_all(folder);
  }

  std::string Embedded(const std::string& name) const {
    return "embedded:" + (folder / name).string();
  }

  std::filesystem::path folder;
};

TEST_F(Connecting, MakesTheFolderAndFindsItsTagsAgain) {
  const std::string address = Embedded("new/plant");
  ASSERT_EQ(Connect(address), ZR3_OK);
  EXPECT_TRUE(std::filesystem::is_directory(folder / "new/plant"));
  ASSERT_EQ(AddTag("FIC101.PV"), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  EXPECT_EQ(FindTag("FIC101.PV"), ZR3_ERR_NOT_CONNECTED);
  ASSERT_EQ(Connect(address), ZR3_OK);
  EXPECT_EQ(FindTag("fic101.pv"), ZR3_OK);
}

TEST_F(Connecting, ForgetsAVolatileDatabase) {
  ASSERT_EQ(Connect("memory:"), ZR3_OK);
  ASSERT_EQ(AddTag("FIC101.PV"), ZR3_OK);
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  ASSERT_EQ(Connect("memory:"), ZR3_OK);
  EXPECT_EQ(FindTag("FIC101.PV"), ZR3_ERR_NAME_NOT_FOUND);
}

struct HomeCase {
  const char* name;
  const char* variable;
  const char* folder;  // beneath the one the variable names
};

class DefaultFolder : public Connecting, public testing::WithParamInterface<HomeCase> {};

TEST_P(DefaultFolder, ComesFromTheEnvironment) {
  setenv(GetParam().variable, folder.c_str(), 1);
  ASSERT_EQ(Connect(""), ZR3_OK);
  EXPECT_FALSE(std::filesystem::is_empty(folder / GetParam().folder));
}

INSTANTIATE_TEST_SUITE_P(Variables, DefaultFolder,
                         testing::Values(HomeCase{"ZervaneHome", "ZERVANE_HOME", "."},
                                         HomeCase{"DataHome", "XDG_DATA_HOME", "zervane"},
                                         HomeCase{"Home", "HOME", ".local/share/zervane"}),
                         CaseName());

TEST_F(Connecting, NeedsAnEnvironmentForTheDefaultFolder) {
  EXPECT_EQ(Connect(""), ZR3_ERR_INVALID_ADDRESS);
}

TEST_F(Connecting, AgainToTheSameFolderChangesNothing) {
  ASSERT_EQ(Connect(Embedded("a")), ZR3_OK);
  ASSERT_EQ(AddTag("A"), ZR3_OK);
  std::filesystem::create_directory_symlink(folder / "a", folder / "link");
  for (const char* name : {"a", "a/", "./b/../a", "link"}) {
    EXPECT_EQ(Connect(Embedded(name), "some standby that is none"), ZR3_ERR_INVALID_ADDRESS);
    EXPECT_EQ(Connect(Embedded(name), "standby"), ZR3_OK) << name;
  }
  setenv("ZERVANE_HOME", (folder / "a").c_str(), 1);
  EXPECT_EQ(Connect(""), ZR3_OK);
  EXPECT_EQ(FindTag("A"), ZR3_OK);
}

TEST_F(Connecting, ToAnotherDatabaseNeedsADisconnect) {
  ASSERT_EQ(Connect(Embedded("a")), ZR3_OK);
  for (const std::string& other : {Embedded("b"), std::string("memory:"), std::string("scada1")}) {
    EXPECT_EQ(Connect(other), ZR3_ERR_ALREADY_CONNECTED) << other;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "b"));
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  EXPECT_EQ(Connect(Embedded("b")), ZR3_OK);
}

TEST_F(Connecting, FailsForServersWhileThereIsNoNetworkClient) {
  EXPECT_EQ(Connect("scada1"), ZR3_ERR_CONNECT_FAILED);
  EXPECT_EQ(Connect("scada1", "scada2"), ZR3_ERR_CONNECT_FAILED);
  EXPECT_EQ(FindTag("A"), ZR3_ERR_NOT_CONNECTED);
}

TEST_F(Connecting, TakesAStandbyThatCanBeReached) {
  ASSERT_EQ(Connect("scada1", Embedded("standby")), ZR3_OK);
  EXPECT_TRUE(std::filesystem::is_directory(folder / "standby"));
  EXPECT_EQ(Connect("SCADA1", Embedded("standby")), ZR3_OK) << "the same servers";
}

TEST_F(Connecting, TellsWhatIsWrongWithAFolder) {
  std::ofstream(folder / "file") << "not a folder";
  std::filesystem::create_directory(folder / "foreign");
  std::ofstream(folder / "foreign/zervane.db") << std::string(8192, 'x');
  EXPECT_EQ(Connect(Embedded("file")), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Connect(Embedded("file/below")), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Connect(Embedded("foreign")), ZR3_ERR_NOT_A_DATABASE);
  EXPECT_EQ(Connect(Embedded("good")), ZR3_OK) << "a failure leaves no session behind";
}

TEST_F(Connecting, RefusesAddressesThatDoNotEnd) {
  ZR3Connection connection = Connection("memory:");
  std::memset(connection.szBakAddress, 'x', sizeof connection.szBakAddress);
  EXPECT_EQ(nt3_connect(&connection), ZR3_ERR_INVALID_TEXT);
  connection = Connection("memory:");
  std::memset(connection.szAddress, 'x', sizeof connection.szAddress);
  EXPECT_EQ(nt3_connect(&connection), ZR3_ERR_INVALID_TEXT);
}

// As the bridge hands over an address that it could not convert: empty, like the one of the default
// database.
TEST_F(Connecting, NeverTakesAnAddressThatDidNotConvertForTheDefaultOne) {
  setenv("ZERVANE_HOME", (folder / "default").c_str(), 1);
  ZR3Connection connection = Connection("");
  const auto convert = [](const char* address, char(&converted)[ZR3_LEN_ADDRESS]) {
    return os_lang_conv_utf8_to_sys(address, converted, sizeof converted);
  };
  ASSERT_NE(convert("embedded:/\xFF", connection.szAddress), 0);
  EXPECT_EQ(nt3_connect(&connection), ZR3_ERR_INVALID_ADDRESS);
  ASSERT_EQ(convert("memory:", connection.szAddress), 0);
  ASSERT_NE(convert("\xFF", connection.szBakAddress), 0);
  EXPECT_EQ(nt3_connect(&connection), ZR3_ERR_INVALID_ADDRESS);
  EXPECT_EQ(FindTag("A"), ZR3_ERR_NOT_CONNECTED);
  EXPECT_FALSE(std::filesystem::exists(folder / "default"));

  EXPECT_EQ(Connect(""), ZR3_OK) << "nothing is left of the failures";
  EXPECT_TRUE(std::filesystem::exists(folder / "default"));
}

TEST_F(Connecting, RefusesANullConnection) {
  EXPECT_EQ(nt3_connect(nullptr), ZR3_ERR_NULL_ARGUMENT);
}

TEST_F(Connecting, RefusesAddressesThatMeanNothing) {
  EXPECT_EQ(Connect("embedded:"), ZR3_ERR_INVALID_ADDRESS);
  EXPECT_EQ(Connect("/a/folder"), ZR3_ERR_INVALID_ADDRESS);
}

TEST_F(Connecting, TakesAnyTimeout) {
  ZR3Connection connection = Connection("memory:");
  for (const int32 timeout : {0, -1, INT32_MIN, INT32_MAX}) {
    connection.nTimeout = timeout;
    EXPECT_EQ(nt3_connect(&connection), ZR3_OK);
    EXPECT_EQ(nt3_disconnect(), ZR3_OK);
  }
}

TEST_F(Connecting, EndsOnce) {
  ASSERT_EQ(Connect("memory:"), ZR3_OK);
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
  EXPECT_EQ(nt3_disconnect(), ZR3_ERR_NOT_CONNECTED);
}

TEST_F(Connecting, StoresWhatWasQueued) {
  ASSERT_EQ(Connect(Embedded("a")), ZR3_OK);
  ASSERT_EQ(AddTag("A"), ZR3_OK);
  constexpr int32 kRecords = 500;
  const uint32 id = 1;
  for (int32 i = 1; i <= kRecords; ++i) {
    ZR3Record record{};
    record.nSec = i;
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    ASSERT_EQ(sn3_save_snapshots_nowait(1, &id, &record, nullptr), ZR3_OK);
  }
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  ASSERT_EQ(Connect(Embedded("a")), ZR3_OK);
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  int32 number = 0;
  ASSERT_EQ(ar3_query_raw_records_number(id, &all, &number), ZR3_OK);
  EXPECT_EQ(number, kRecords);
}

}  // namespace
}  // namespace zervane
