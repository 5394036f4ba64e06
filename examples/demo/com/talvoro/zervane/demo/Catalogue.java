package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.ArrayList;
import java.util.List;

/** Finds the tag of every measurement in the database, and creates those that are missing. */
final class Catalogue {
  private static final int SOME_NAMES_UNKNOWN = 117803;

  /** A measurement and the identifier of its tag. */
  record Tag(int id, Measurement measurement) {}

  private final List<Tag> tags = new ArrayList<>();
  private int created;

  static Catalogue open(List<Measurement> measurements) {
    Catalogue catalogue = new Catalogue();
    int[] ids = new int[measurements.size()];
    int[] errors = catalogue.lookUp(measurements, ids);
    for (int i = 0; i < ids.length; i++) {
      Measurement measurement = measurements.get(i);
      int id = errors[i] == 0 ? ids[i] : catalogue.create(measurement);
      catalogue.tags.add(new Tag(id, measurement));
    }
    return catalogue;
  }

  List<Tag> tags() {
    return tags;
  }

  /** How many of the tags this run created. */
  int created() {
    return created;
  }

  private int[] lookUp(List<Measurement> measurements, int[] ids) {
    String[] names = measurements.stream().map(Measurement::tagName).toArray(String[]::new);
    int[] errors = new int[names.length];
    int status = Jni_Zervane.queryTagIDsByNames(names, names.length, ids, errors);
    if (status != SOME_NAMES_UNKNOWN) {
      Status.check("queryTagIDsByNames", status);
    }
    return errors;
  }

  private int create(Measurement measurement) {
    ZRJniTagProp tag = new ZRJniTagProp();
    tag.m_tagName = measurement.tagName();
    tag.m_tagType = measurement.type().number();
    tag.m_archiving = true;
    tag.m_descriptor = measurement.description();
    tag.m_engUnits = measurement.unit();
    tag.m_digitalSet = measurement.type() == TagType.DIGITAL ? "HOST.STATE" : "";
    tag.m_excDev = (float) measurement.span(); // the span travels in this field, see TagColumn
    long mask =
        TagColumn.mask(
            TagColumn.NAME,
            TagColumn.TAG_TYPE,
            TagColumn.ARCHIVING,
            TagColumn.DESCRIPTOR,
            TagColumn.ENG_UNITS,
            TagColumn.DIGITAL_SET,
            TagColumn.SPAN);
    Status.check("addTag of " + tag.m_tagName, Jni_Zervane.addTag(tag, mask, 0));
    created++;
    return Jni_Zervane.queryTagID(tag.m_tagName);
  }
}
