import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.time.Instant;

/** Creates a tag, writes a value, reads it back and prints it. */
public class QuickStart {
  public static void main(String[] arguments) {
    check(Jni_Zervane.connectEx(arguments.length > 0 ? arguments[0] : "memory:", 0, "", 0));
    ZRJniTagProp tag = new ZRJniTagProp();
    tag.m_tagName = "FIC101.PV";
    tag.m_tagType = 4; // FLOAT64
    check(Jni_Zervane.addTag(tag, 1L << 0 | 1L << 18, 0)); // the columns that count: name, type
    int id = Jni_Zervane.queryTagID("FIC101.PV");

    ZRJniRecord record = new ZRJniRecord(); // time 0.0: the database's clock
    record.fFloat64 = 42.5;
    record.nQuality = 192; // good
    check(Jni_Zervane.saveSnapShot(id, tag.m_tagType, record));

    ZRJniRecord now = new ZRJniRecord();
    check(Jni_Zervane.querySnapShot(id, tag.m_tagType, now));
    System.out.println("FIC101.PV = " + now.fFloat64 + " at " + Instant.ofEpochSecond(now.nSec));
    check(Jni_Zervane.disconnect());
  }

  private static void check(int status) {
    if (status != 0) {
      throw new IllegalStateException("status " + status);
    }
  }
}
