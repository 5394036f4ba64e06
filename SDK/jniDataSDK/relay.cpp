// Handing the settings of a relay to the client API.
#include "binding.h"
#include "memory.h"
#include "native.h"

using namespace zervane::bridge;

namespace {

// kept: a converted setting is never freed.
constexpr FieldRow SettingRow(const char* name, size_t offset) {
  return InRow(name, kString, Conv::kTextLeakedIn, offset);
}

constexpr FieldRow kRelayRows[] = {
    SettingRow("m_name", offsetof(ZRRestCfg, szDsName)),
    SettingRow("m_hostip", offsetof(ZRRestCfg, szHostIP)),
    SettingRow("m_port", offsetof(ZRRestCfg, szPort)),
    SettingRow("m_password", offsetof(ZRRestCfg, szPassword)),
    SettingRow("m_maxTotal", offsetof(ZRRestCfg, szMaxTotal)),
    SettingRow("m_maxWait", offsetof(ZRRestCfg, szMaxWait)),
    SettingRow("m_mastername", offsetof(ZRRestCfg, szMasterName)),
    SettingRow("m_routingrtalms", offsetof(ZRRestCfg, szRoutingrtalms)),
    SettingRow("m_routingclearalm", offsetof(ZRRestCfg, szRoutingclearalm)),
    SettingRow("m_routingrtrec", offsetof(ZRRestCfg, szRoutingrtrec)),
    SettingRow("m_routingcrs", offsetof(ZRRestCfg, szRoutingcrs)),
};
constexpr ClassTable kRelay{"com/talvoro/zrjni/RedisInfo", kRelayRows};

}  // namespace

// The record goes by value; what no Java field feeds is empty.
ZR_NATIVE(jint, sendRedisInfo)(JNIEnv* env, jclass, jobject settings) {
  const Binding fields(env, kRelay);
  const auto cfg = MallocCleared<ZRRestCfg>(1);
  if (!cfg) return kFailed;
  fields.Read(settings, cfg.get());
  cfg[0].szExtend1[0] = '\0';
  cfg[0].szExtend2[0] = '\0';
  cfg[0].szExtend3[0] = '\0';
  cfg[0].szExtend4[0] = '\0';
  return ut3_send_rest_info(cfg[0]);
}
