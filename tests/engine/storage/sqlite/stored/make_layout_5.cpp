// How layout_5.db was made: by this program, with the libzrVaskAPI of the release that wrote layout
// 5. It is not built any more; stored_files_test.cpp knows what the file holds.
//
//   make_layout_5 FOLDER && sqlite3 FOLDER/zervane.db 'PRAGMA journal_mode = DELETE'
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zervane.h"

namespace {

void Check(int32 status, const char* what) {
  if (status == 0) return;
  std::fprintf(stderr, "%s: %d\n", what, status);
  std::exit(1);
}

template <std::size_t kSize>
void Put(const std::string& text, char (&field)[kSize]) {
  std::memcpy(field, text.c_str(), text.size() + 1);
}

template <typename Prop>
Prop TagNamed(const std::string& name, ZR3_TAG_TYPE type, ZR3_TAG_CLASS tag_class) {
  Prop prop{};
  Put(name, prop.szTagName);
  prop.nTagType = type;
  prop.nTagClass = tag_class;
  prop.bArchiving = 1;
  return prop;
}

constexpr ZR3Mask kAll = {-1, -1};

void AddPoint(const std::string& name, ZR3_TAG_TYPE type) {
  const auto prop = TagNamed<ZR3PtTagProp>(name, type, ZR3_TAG_CLASS_BASIC);
  uint32 id = 0;
  Check(pt3_add_tag(&prop, &kAll, nullptr, &id), name.c_str());
}

void AddAlarm(const std::string& name, const std::string& test, uint32 group) {
  auto prop = TagNamed<ZR3AlarmTagProp>(name, ZR3_TAG_TYPE_FLOAT64, ZR3_TAG_CLASS_ALARM);
  Put(test, prop.szTest1);
  Put("SET 'target' 7", prop.szAction1);
  Put("\u6e29\u5ea6.1", prop.szSourceTagName);
  prop.nAlarmGroupID = group;
  uint32 id = 0;
  Check(am3_add_tag(&prop, &kAll, nullptr, &id), name.c_str());
}

uint32 AddGroup(const std::string& name, uint32 parent) {
  ZR3AlarmGroup group{};
  Put(name, group.szName);
  Put(name + " of the plant", group.szDesc);
  group.nParentID = parent;
  uint32 id = 0;
  Check(am3_add_group(&group, &id), name.c_str());
  return id;
}

ZR3Record At(int32 seconds, ZR3_TAG_TYPE type) {
  ZR3Record record{};
  record.nSec = seconds;
  record.nQuality = 192;
  record.nTagType = type;
  return record;
}

// Records of tags 1 and 2. Of the alarms over tag 1, that of tag 4 ends, that of tag 5 stands.
void WriteRecords(int32 first_second, int32 last_second) {
  for (int32 i = first_second; i <= last_second; ++i) {
    ZR3Record number = At(i, ZR3_TAG_TYPE_FLOAT64);
    number.value.fFloat64 = 0.5 * i;
    Check(sn3_save_snapshot(1, &number), "number");
    ZR3Record text = At(i, ZR3_TAG_TYPE_STRING);
    std::string bytes = "\u6e29" + std::to_string(i);
    text.value.strBlob = {bytes.data(), static_cast<uint16>(bytes.size() + 1)};
    Check(sn3_save_snapshot(2, &text), "text");
  }
}

void HandleAlarms() {
  const uint32 tag = 4;
  const ZR3Time start = {1, 0};
  std::vector<char> comment(ZR3_LEN_ALARM_COMMENT);
  std::strcpy(comment.data(), "seen");
  Check(am3_acknowledge_alarms(1, &tag, &start, nullptr), "acknowledging");
  Check(am3_comment_alarms(1, &tag, &start, comment.data(), nullptr), "commenting");
}

}  // namespace

int main(int, char** arguments) {
  ZR3Connection connection{};
  Put(std::string("embedded:") + arguments[1], connection.szAddress);
  Check(nt3_connect(&connection), "connecting");
  AddPoint("\u6e29\u5ea6.1", ZR3_TAG_TYPE_FLOAT64);
  AddPoint("\u6e29\u5ea6.2", ZR3_TAG_TYPE_STRING);
  AddPoint("target", ZR3_TAG_TYPE_FLOAT64);
  const uint32 plant = AddGroup("Plant", 0);
  const uint32 boiler = AddGroup("Boiler", plant);
  AddAlarm("low", "LOW < 3", plant);
  AddAlarm("high", "HIGH > 25 PRIORITY 1", boiler);
  WriteRecords(1, 30);
  Check(nt3_disconnect(), "disconnecting");  // these are in chunks now
  Check(nt3_connect(&connection), "connecting");
  WriteRecords(31, 60);
  HandleAlarms();
  _exit(0);  // as if it were killed now: with its journal
}
