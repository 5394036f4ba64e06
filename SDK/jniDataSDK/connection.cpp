// Connecting to a primary and a standby server, disconnecting, and the connection test.
#include <cstring>

#include "holders.h"
#include "native.h"
#include "os/os_lock.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

// kept: a mutex and a counter of connections that no method uses.
[[maybe_unused]] OS_MUTEX ConnMutex;
[[maybe_unused]] int32 g_ConnCount;

constexpr int32 kConnectTimeout = 3;

int32 Connect(const Text& address, uint16 port, const Text& standby, uint16 standby_port) {
  ZR3Connection connection;
  memset(&connection, 0, sizeof connection);
  CopyText(address, connection.szAddress);
  CopyText(standby, connection.szBakAddress);
  connection.nPort = port;
  connection.nBakPort = standby_port;
  connection.nTimeout = kConnectTimeout;
  return nt3_connect(&connection);
}

}  // namespace

// Connects to a server, or to the standby. Ports keep their low 16 bits; a null address is empty.
ZR_NATIVE(jint, connectEx)
(JNIEnv* env, jclass, jstring ip, jint port, jstring standby_ip, jint standby_port) {
  const Text address = ToSystem(env, ip);
  Text standby = ToSystem(env, standby_ip);
  const int32 status =
      Connect(address, static_cast<uint16>(port), standby, static_cast<uint16>(standby_port));
  LeakOnPurpose(std::move(standby));  // kept: the standby address is never freed.
  return status;
}

// The same, with one port for both servers.
ZR_NATIVE(jint, connect3)
(JNIEnv* env, jclass, jstring ip, jint port, jstring standby_ip, jint /*standby_port*/) {
  Text address = ToSystem(env, ip);
  Text standby = ToSystem(env, standby_ip);
  // kept: the standby port is ignored; the primary's is sent for both.
  const int32 status =
      Connect(address, static_cast<uint16>(port), standby, static_cast<uint16>(port));
  LeakOnPurpose(std::move(address));  // kept: neither address is ever freed.
  LeakOnPurpose(std::move(standby));
  return status;
}

ZR_NATIVE(jint, disconnect)(JNIEnv*, jclass) { return nt3_disconnect(); }

// kept: asks nobody; every network is reported good, whatever the time-out.
ZR_NATIVE(jint, testConnect)(JNIEnv* env, jclass, jobject conn_status, jint /*timeout_sec*/) {
  const Binding holder(env, kIntWrapper);
  const int32 status = ZR3_NET_GOOD;
  holder.Write(&status, conn_status);
  return 0;
}
