package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.RedisInfo;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

@DisplayName("The relay to a Redis")
class RelayTest {
  @RegisterExtension final RedisServer redis = new RedisServer();
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private static RedisInfo empty() {
    RedisInfo info = new RedisInfo();
    info.m_name = "";
    info.m_hostip = "";
    info.m_port = "";
    info.m_password = "";
    info.m_maxTotal = "";
    info.m_maxWait = "";
    info.m_mastername = "";
    info.m_routingrtalms = "";
    info.m_routingclearalm = "";
    info.m_routingrtrec = "";
    info.m_routingcrs = "";
    return info;
  }

  private RedisInfo toRedis() {
    RedisInfo info = empty();
    info.m_name = "plant";
    info.m_hostip = "127.0.0.1";
    info.m_port = "" + redis.port();
    info.m_maxWait = "20000";
    info.m_routingrtrec = "values";
    return info;
  }

  @Test
  void sendsCurrentValuesAlsoAfterOpeningAgain() throws InterruptedException {
    int id = Tags.add("FIC101.PV", ValueType.FLOAT64);
    String expected =
        "{\"tag\":\"FIC101.PV\",\"id\":" + id + ",\"type\":\"FLOAT64\",\"time\":1600000000000,"
            + "\"quality\":192,\"value\":21.5}";
    assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(toRedis()));
    assertEquals(Codes.OK, Records.save(id, Records.float64(1_600_000_000, 21.5)));
    assertEquals(expected, redis.awaitStream("values", 1).get(0));

    redis.ask("DEL", "values");
    database.reopen();

    assertEquals(List.of(expected), redis.awaitStream("values", 1));
  }

  @Test
  void isTurnedOffByEmptyTexts() {
    assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(empty()));
    assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(toRedis()));
    assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(empty()));
  }

  @ParameterizedTest(name = "port {0}, connections {1}, wait {2}")
  @CsvSource({"0, '', ''", "65536, '', ''", "redis, '', ''", "'', 0, ''", "'', -1, ''", "'', '', 0"})
  void refusesNumbersThatAreNone(String port, String connections, String wait) {
    RedisInfo info = toRedis();
    info.m_port = port;
    info.m_maxTotal = connections;
    info.m_maxWait = wait;
    assertEquals(Codes.INVALID_RELAY, Jni_Zervane.sendRedisInfo(info));
  }

  @Test
  void takesARedisThatCannotBeReached() {
    RedisInfo info = toRedis();
    info.m_port = "1";
    assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(info));
  }

  @Test
  void needsAConnection() {
    database.close();
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.sendRedisInfo(toRedis()));
  }
}
