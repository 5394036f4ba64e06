package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.RedisInfo;

/** Has the database pass values and alarms on to a Redis while the demo runs. */
final class Relay {
  private Relay() {}

  /**
   * Begins to relay.
   *
   * @param server host and port, parted by the last colon
   */
  static void start(String server) {
    int colon = server.lastIndexOf(':');
    RedisInfo settings = new RedisInfo();
    settings.m_hostip = colon < 0 ? server : server.substring(0, colon);
    settings.m_port = colon < 0 ? "" : server.substring(colon + 1);
    settings.m_routingrtrec = "zervane.values";
    settings.m_routingrtalms = "zervane.alarms.raised";
    settings.m_routingclearalm = "zervane.alarms.ended";
    settings.m_routingcrs = "zervane.alarms.handled";
    Status.check("sendRedisInfo", Jni_Zervane.sendRedisInfo(settings));
    System.out.printf("Relaying to the Redis at %s: streams zervane.*%n", server);
  }

  /** Ends it: the settings would stay with the database. */
  static void stop() {
    Status.check("sendRedisInfo", Jni_Zervane.sendRedisInfo(new RedisInfo()));
  }
}
