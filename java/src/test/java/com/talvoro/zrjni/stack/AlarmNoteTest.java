package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

@DisplayName("Acknowledging and commenting an alarm")
class AlarmNoteTest {
  private static final int START = 100;
  private static final String IDEOGRAPH = "\u6f22"; // three bytes

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int source;
  private int alarm;

  @BeforeEach
  void raiseAnAlarm() {
    source = Tags.add("source", ValueType.FLOAT64);
    alarm = AlarmTags.add("alarm", "source", "HIGH > 10");
    write(START, 15);
  }

  @Test
  void tellsWhenAndByWhomItWasAcknowledged() {
    int before = seconds();
    assertEquals(Codes.OK, Alarms.acknowledge(alarm, START));
    int after = seconds();

    database.reopen();

    ZRJniAlarmRecord record = Alarms.latest(alarm);
    assertAll(
        () -> assertEquals(1, record.nAcked),
        () -> assertTrue(before <= record.ackTimeSec && record.ackTimeSec <= after),
        () -> assertEquals("admin", record.strAcker),
        () -> assertEquals(0, record.nAckType),
        () -> assertEquals(0, record.nRestored),
        () -> assertEquals("", record.strCommentor));
  }

  @Test
  void acknowledgesOnce() {
    assertEquals(Codes.OK, Alarms.acknowledge(alarm, START));
    List<String> before = Records.fieldsOf(Alarms.latest(alarm));
    assertEquals(Codes.ALREADY_ACKNOWLEDGED, Alarms.acknowledge(alarm, START));
    assertEquals(before, Records.fieldsOf(Alarms.latest(alarm)));
  }

  @Test
  void isOfOneOccurrence() {
    write(200, 5);
    write(300, 15);
    assertEquals(Codes.OK, Alarms.acknowledge(alarm, START));
    assertEquals(Codes.OK, Alarms.comment(alarm, 300, "again"));
    List<ZRJniAlarmRecord> records = Alarms.ofTag(alarm, Alarms.any());
    assertEquals(1, records.get(0).nAcked);
    assertEquals("", records.get(0).strComment);
    assertEquals(0, records.get(1).nAcked);
    assertEquals("again", records.get(1).strComment);
  }

  @Test
  void ofWhatDoesNotExistFails() {
    List<String> before = Records.fieldsOf(Alarms.latest(alarm));
    assertEquals(Codes.NO_ALARM, Alarms.acknowledge(alarm, START + 1));
    assertEquals(
        Codes.NO_ALARM, Jni_Zervane.acknowledgeAlarm(alarm, Records.time(START, 1)));
    assertEquals(Codes.NO_ALARM, Alarms.comment(alarm, START + 1, "seen"));
    assertEquals(Codes.TAG_NOT_FOUND, Alarms.acknowledge(Tags.UNKNOWN, START));
    assertEquals(Codes.TAG_NOT_FOUND, Alarms.comment(Tags.UNKNOWN, START, "seen"));
    assertEquals(Codes.INVALID_TAG_CLASS, Alarms.acknowledge(source, START));
    assertEquals(
        Codes.INVALID_TIME, Jni_Zervane.acknowledgeAlarm(alarm, Records.time(START, 1000)));
    assertEquals(
        Codes.INVALID_TIME, Jni_Zervane.commentAlarm(alarm, Records.time(START, -1), "seen"));
    assertEquals(before, Records.fieldsOf(Alarms.latest(alarm)));
  }

  @Test
  void stays() {
    assertEquals(Codes.OK, Alarms.acknowledge(alarm, START));
    assertEquals(Codes.OK, Alarms.comment(alarm, START, "seen"));
    write(200, 5);
    ZRJniAlarmRecord record = Alarms.latest(alarm);
    assertEquals(200, record.endTimeSec);
    assertEquals(1, record.nAcked);
    assertEquals("seen", record.strComment);
  }

  static Stream<String> commentsThatFit() {
    return Stream.of(
        "x", "x".repeat(255), IDEOGRAPH.repeat(85), "\ud83d\ude00".repeat(63) + "xyz");
  }

  @ParameterizedTest
  @MethodSource("commentsThatFit")
  void keepsACommentOfUpTo255Bytes(String comment) {
    int before = seconds();
    assertEquals(Codes.OK, Alarms.comment(alarm, START, comment));
    int after = seconds();

    database.reopen();

    ZRJniAlarmRecord record = Alarms.latest(alarm);
    assertAll(
        () -> assertEquals(comment, record.strComment),
        () -> assertEquals(1, record.nCommented),
        () -> assertEquals("admin", record.strCommentor),
        () -> assertTrue(before <= record.commentTimeSec && record.commentTimeSec <= after));
  }

  static Stream<String> commentsThatAreTooLong() {
    return Stream.of("x".repeat(256), "x" + IDEOGRAPH.repeat(85), "\ud83d\ude00".repeat(64));
  }

  @ParameterizedTest
  @MethodSource("commentsThatAreTooLong")
  void refusesALongerComment(String comment) {
    assertEquals(-1, Alarms.comment(alarm, START, comment));
    assertEquals("", Alarms.latest(alarm).strCommentor);
  }

  @Test
  void replacesACommentAlsoByAnEmptyOne() {
    assertEquals(Codes.OK, Alarms.comment(alarm, START, "first"));
    assertEquals(Codes.OK, Alarms.comment(alarm, START, "second"));
    assertEquals("second", Alarms.latest(alarm).strComment);
    assertEquals(Codes.OK, Alarms.comment(alarm, START, ""));
    ZRJniAlarmRecord record = Alarms.latest(alarm);
    assertEquals("", record.strComment);
    assertEquals(0, record.nCommented);
    assertEquals("admin", record.strCommentor);
  }

  @Test
  void isDoneByItselfWithAutomaticAcknowledgement() {
    var tag = AlarmTags.on("automatic", "source", "HIHI > 20");
    tag.m_nAutoAck = 1;
    int automatic = AlarmTags.add(tag);
    write(200, 25);
    ZRJniAlarmRecord record = Alarms.latest(automatic);
    assertAll(
        () -> assertEquals(1, record.nAcked),
        () -> assertEquals(1, record.nAckType),
        () -> assertEquals(200, record.ackTimeSec),
        () -> assertEquals("system", record.strAcker),
        () -> assertEquals(
            Codes.ALREADY_ACKNOWLEDGED, Alarms.acknowledge(automatic, 200)));
  }

  private void write(int second, double value) {
    assertEquals(Codes.OK, Records.save(source, Records.float64(second, value)));
  }

  private static int seconds() {
    return (int) (System.currentTimeMillis() / 1000);
  }
}
