import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;

/** Gives a tag a limit, lets its value cross it and come back, and follows the alarm. */
public class FollowAlarms {
  public static void main(String[] arguments) {
    check(Jni_Zervane.connectEx(arguments.length > 0 ? arguments[0] : "memory:", 0, "", 0));
    ZRJniTagProp tag = new ZRJniTagProp(); // of the default type, FLOAT64
    tag.m_tagName = "TIC7.PV";
    check(Jni_Zervane.addTag(tag, 1L << 0, 0)); // the column that counts: name
    ZRJniAlarmTag alarm = new ZRJniAlarmTag();
    alarm.m_tagName = "TIC7.ALARM";
    alarm.m_SourceTagName = "TIC7.PV";
    alarm.m_Test1 = "HIGH > 90";
    check(Jni_Zervane.addAlarmTag(alarm, 1L << 0, 1L << 0 | 1L << 8)); // name; first test, source

    check(Jni_Zervane.registerAmCallback());
    for (double value : new double[] {80, 95.5, 85}) {
      ZRJniRecord record = new ZRJniRecord(); // time 0.0: the database's clock
      record.fFloat64 = value;
      record.nQuality = 192; // good
      check(Jni_Zervane.saveSnapShot(Jni_Zervane.queryTagID("TIC7.PV"), (byte) 4, record));
      LongWrapper batch = new LongWrapper();
      check(Jni_Zervane.getRegisterTagAmHandle(batch));
      var records = new ZRJniAlarmRecord[Jni_Zervane.getRegisterTagAmNum(batch.Value)];
      Jni_Zervane.getRegisterTagAm(batch.Value, records);
      Jni_Zervane.freeRegisterTagAmHandle(batch.Value);
      for (ZRJniAlarmRecord is : records) {
        System.out.println(
            is.strTest + (is.nRestored == 0 ? " raised by " + is.strSrcValue : " returned"));
      }
    }
    check(Jni_Zervane.disconnect());
  }

  private static void check(int status) {
    if (status != 0) {
      throw new IllegalStateException("status " + status);
    }
  }
}
