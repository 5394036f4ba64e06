package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.ZRJniAlarmTag;
import java.util.function.IntSupplier;

/** A database in a folder with something of each kind to ask about. */
final class WholeStack {
  static final String SOURCE = "SOURCE"; // 1, 2, 95, 4 at the first four seconds
  static final String ALARM = "ALARM"; // over it, from the third second to the fourth
  static final String GROUP = "plant"; // which the alarm is in

  final EmbeddedDatabase database;
  final int source;
  final int group;
  final int alarm;

  WholeStack(EmbeddedDatabase database) {
    this.database = database;
    source = Tags.add(SOURCE, ValueType.FLOAT64);
    group = Alarms.addGroup(GROUP, Alarms.ROOT);
    ZRJniAlarmTag tag = AlarmTags.on(ALARM, SOURCE, "HIGH > 90");
    tag.m_nAlarmGroupID = group;
    alarm = AlarmTags.add(tag);
    double[] values = {1, 2, 95, 4};
    for (int i = 0; i < values.length; i++) {
      assertEquals(Codes.OK, Records.save(source, Records.float64(i + 1, values[i])));
    }
  }

  /** A value that raises the alarm, and that subscribers are told of. */
  void writeChange() {
    assertEquals(Codes.OK, Records.save(source, Records.float64(9, 99)));
  }

  /** The call is told that there is no connection; afterwards there is one again. */
  void assertNotConnected(IntSupplier call) {
    database.close();
    assertEquals(Codes.NOT_CONNECTED, call.getAsInt());
    database.open();
  }
}
