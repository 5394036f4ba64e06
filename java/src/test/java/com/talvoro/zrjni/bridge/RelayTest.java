package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.RedisInfo;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.LongStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Relay configuration")
class RelayTest extends BridgeTest {
  private static final int RECORD_SIZE = 1152;

  /** Members of the record that have a Java field, in order. */
  private static final Map<String, String> FIELDS = new LinkedHashMap<>();

  static {
    FIELDS.put("szDsName", "m_name");
    FIELDS.put("szHostIP", "m_hostip");
    FIELDS.put("szPort", "m_port");
    FIELDS.put("szPassword", "m_password");
    FIELDS.put("szMaxTotal", "m_maxTotal");
    FIELDS.put("szMaxWait", "m_maxWait");
    FIELDS.put("szMasterName", "m_mastername");
    FIELDS.put("szRoutingrtalms", "m_routingrtalms");
    FIELDS.put("szRoutingclearalm", "m_routingclearalm");
    FIELDS.put("szRoutingrtrec", "m_routingrtrec");
    FIELDS.put("szRoutingcrs", "m_routingcrs");
  }

  private static ExpectedCall send(RedisInfo info) {
    Struct record = Struct.cleared(Layouts.RELAY);
    FIELDS.forEach((member, field) -> record.set(member, Fields.get(info, field)));
    return call("ut3_send_rest_info").with("cfg", record);
  }

  private static long[] texts(RedisInfo info) {
    List<String> fields = List.copyOf(FIELDS.values());
    return fields.stream()
        .mapToLong(field -> textBuffer((String) Fields.get(info, field)))
        .toArray();
  }

  @ParameterizedTest
  @ValueSource(ints = {0, FAILURE})
  void sendsElevenTextsAndKeepsThemAllocated(int status) {
    RedisInfo info = Fields.filled(RedisInfo.class, 1);
    answer("ut3_send_rest_info", status);
    assertEquals(status, Jni_Zervane.sendRedisInfo(info));
    assertCalls(send(info));
    assertAllocated(
        LongStream.concat(LongStream.of(RECORD_SIZE), LongStream.of(texts(info))).toArray());
    assertLeft(texts(info));
  }

  @Test
  void sendsTextsThatFillTheirArraysWhole() {
    RedisInfo info = new RedisInfo();
    FIELDS.values().forEach(field -> Fields.set(info, field, "x".repeat(63)));
    assertEquals(0, Jni_Zervane.sendRedisInfo(info));
    assertCalls(send(info));
    assertLeft(texts(info));
  }

  @Test
  void sendsEmptyAndNullTextsEmpty() {
    RedisInfo info = new RedisInfo();
    info.m_name = "";
    assertEquals(0, Jni_Zervane.sendRedisInfo(info));
    assertCalls(call("ut3_send_rest_info").with("cfg", Struct.cleared(Layouts.RELAY)));
    assertLeft(Collections.nCopies(11, 1L).stream().mapToLong(Long::longValue).toArray());
  }

  @Test
  void letsALongTextRunIntoTheNextWhichThenIsWrittenOverIt() {
    RedisInfo info = Fields.filled(RedisInfo.class, 1);
    info.m_name = "n".repeat(80);
    info.m_hostip = "host";
    info.m_routingcrs = "c".repeat(70);
    assertEquals(0, Jni_Zervane.sendRedisInfo(info));
    Struct record = Struct.cleared(Layouts.RELAY);
    FIELDS.forEach(
        (member, field) -> {
          byte[] text = Output.terminated((String) Fields.get(info, field));
          record.setBytes(Layouts.RELAY.member(member).offset(), text);
        });
    assertEquals("cccccc", record.text("szUser"));
    assertCalls(call("ut3_send_rest_info").with("cfg", record));
    assertLeft(texts(info));
  }

  @Test
  void withoutMemoryFailsBeforeAnyCall() {
    AllocationProbe.failRequest(1);
    assertEquals(-1, Jni_Zervane.sendRedisInfo(Fields.filled(RedisInfo.class, 1)));
    assertAllocated(RECORD_SIZE);
  }
}
