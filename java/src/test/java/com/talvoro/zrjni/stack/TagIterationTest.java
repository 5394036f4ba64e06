package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Set;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;

@DisplayName("An iterator of tags")
class TagIterationTest {
  /** Several pages, of which an iterator holds one at a time. */
  private static final int MANY = 2_500;

  /** Behind the first page, whatever is read of it. */
  private static final int FAR = 2_000;

  /** A process has so many. */
  private static final int MOST_ITERATORS = 65_536;

  @RegisterExtension final EmbeddedDatabase database = EmbeddedDatabase.inMemory();

  /** The identifiers of so many tags, which count up from 1. */
  private static List<Integer> addMany(int count) {
    return IntStream.range(0, count).mapToObj(i -> Tags.add("TAG." + i, ValueType.INT8)).toList();
  }

  private static int step(long handle) {
    ZRJniTagProp tag = new ZRJniTagProp();
    assertEquals(Codes.OK, Jni_Zervane.getItemStep(handle, tag));
    return tag.m_tagID;
  }

  @Test
  void hasTheMatchesInOrderOfIdentifierPageAfterPage() {
    List<Integer> ids = addMany(MANY);

    assertEquals(ids, Searches.ids(Searches.points(Searches.open())));
    assertEquals(
        ids, Searches.ids(Searches.tags(Searches.openOfClasses(Searches.POINTS, Columns.ALL))));
    assertEquals(
        List.of("TAG.999", "TAG.1999"), Searches.find(Column.NAME.is(Relation.LIKE, "*999")));
  }

  @Test
  void hasWhatGetTagHas() {
    ZRJniTagProp tag = Tags.complete("温度");
    int id = Tags.add(tag, Columns.ALL, Columns.ALL);

    ZRJniTagProp item = Searches.points(Searches.open()).get(0);
    assertEquals(Records.fieldsOf(Tags.get(id)), Records.fieldsOf(item));
  }

  @Test
  void leavesTheObjectAloneAtItsEndAsOftenAsItIsAsked() {
    int id = Tags.add("A", ValueType.INT8);
    long points = Searches.open();
    long tags = Searches.openOfClasses(Searches.POINTS, Columns.ALL);
    assertEquals(id, step(points));
    assertEquals(Codes.OK, Jni_Zervane.getCommItemStep(tags, new ZRJniCommTagProp()));

    ZRJniTagProp point = Tags.complete("before");
    List<String> pointBefore = Records.fieldsOf(point);
    ZRJniCommTagProp tag = new ZRJniCommTagProp();
    tag.m_tagName = "before";
    List<String> tagBefore = Records.fieldsOf(tag);
    for (int i = 0; i < 3; i++) {
      assertEquals(Codes.END_OF_ITERATION, Jni_Zervane.getItemStep(points, point));
      assertEquals(pointBefore, Records.fieldsOf(point));
      assertEquals(Codes.END_OF_ITERATION, Jni_Zervane.getCommItemStep(tags, tag));
      assertEquals(tagBefore, Records.fieldsOf(tag));
    }
  }

  @Test
  void hasNothingWhenNothingMatches() {
    addMany(3);

    assertEquals(List.of(), Searches.find(Column.NAME.is(Relation.EQUAL, "OTHER")));
  }

  @Test
  void doesNotDisturbAnother() {
    List<Integer> ids = addMany(MANY);
    long first = Searches.open();
    long second = Searches.open();
    assertNotEquals(first, second);

    for (int id : ids) {
      assertEquals(id, step(first));
      if (id % 2 == 0) {
        assertEquals(id / 2, step(second));
      }
    }
    assertEquals(Codes.END_OF_ITERATION, Jni_Zervane.getItemStep(first, new ZRJniTagProp()));
    assertEquals(ids.subList(MANY / 2, MANY), Searches.ids(Searches.points(second)));
    Jni_Zervane.freeIterator(first);
  }

  @Nested
  @DisplayName("while the catalogue changes")
  class WhileTheCatalogueChanges {
    private final List<Integer> ids = new ArrayList<>();
    private long handle;

    private void begin(ZRQueryTagCondition... conditions) {
      ids.addAll(addMany(MANY));
      handle = Searches.open(conditions);
      assertEquals(ids.get(0), step(handle));
    }

    private List<Integer> rest() {
      return Searches.ids(Searches.points(handle));
    }

    @Test
    void passesOverWhatWasDeletedBeforeItsTurn() {
      begin();
      for (int i = FAR; i < FAR + 100; i++) {
        Tags.delete(ids.get(i));
      }

      List<Integer> expected = new ArrayList<>(ids.subList(1, FAR));
      expected.addAll(ids.subList(FAR + 100, MANY));
      assertEquals(expected, rest());
    }

    @Test
    void endsWhenAllThatIsLeftWasDeleted() {
      begin();
      for (int i = 1; i < MANY; i++) {
        Tags.delete(ids.get(i));
      }

      List<Integer> rest = rest(); // some of the page that it has already
      assertEquals(ids.subList(1, 1 + rest.size()), rest);
      assertTrue(rest.size() < FAR, rest.size() + " tags");
    }

    @Test
    void comesToWhatWasAddedMeanwhile() {
      begin();
      int added = Tags.add("ADDED", ValueType.INT8);

      List<Integer> expected = new ArrayList<>(ids.subList(1, MANY));
      expected.add(added);
      assertEquals(expected, rest());
    }

    @Test
    void judgesARenamedTagByItsNewName() {
      begin(Column.NAME.is(Relation.LIKE, "TAG.*"));
      Tags.rename(ids.get(FAR), "OUT");
      Tags.rename(ids.get(FAR + 1), "TAG.NEW");

      List<ZRJniTagProp> rest = Searches.points(handle);
      assertFalse(Searches.ids(rest).contains(ids.get(FAR)));
      assertTrue(Searches.names(rest).contains("TAG.NEW"));
      assertEquals(MANY - 2, rest.size());
    }

    @Test
    void showsEachTagOnceAndInOrderWhateverAnotherThreadDoes() throws Exception {
      begin();
      AtomicBoolean isOver = new AtomicBoolean();
      List<Throwable> failures = Collections.synchronizedList(new ArrayList<>());
      Thread other =
          new Thread(
              () -> {
                try {
                  for (int i = 1; !isOver.get() && i < MANY; i += 2) { // every other one
                    Tags.rename(ids.get(i), "RENAMED." + i);
                    Tags.delete(ids.get(i));
                    Tags.add("NEW." + i, ValueType.INT8);
                  }
                } catch (Throwable e) {
                  failures.add(e);
                }
              });
      other.start();
      List<Integer> rest = rest();
      isOver.set(true);
      other.join();

      assertEquals(List.of(), failures);
      assertEquals(rest.stream().sorted().distinct().toList(), rest);
      List<Integer> untouched =
          IntStream.range(1, MANY).filter(i -> i % 2 == 0).mapToObj(ids::get).toList();
      assertTrue(Set.copyOf(rest).containsAll(untouched));
    }
  }

  @Nested
  @DisplayName("that was released")
  class Released {
    @Test
    void deliversNothingAnyMore() {
      addMany(3);
      long handle = Searches.open();
      step(handle);
      assertEquals(0, Jni_Zervane.freeIterator(handle));

      ZRJniTagProp tag = Tags.complete("before");
      List<String> before = Records.fieldsOf(tag);
      assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getItemStep(handle, tag));
      assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getItemStep(0, tag));
      assertEquals(before, Records.fieldsOf(tag));
      assertEquals(
          Codes.INVALID_HANDLE, Jni_Zervane.getCommItemStep(handle, new ZRJniCommTagProp()));
      assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getIDItemStep(handle, new IntWrapper()));
      assertEquals(0, Jni_Zervane.freeIterator(handle));
    }

    @Test
    void doesNotComeBackAsAnother() {
      addMany(3);
      long old = Searches.open();
      Jni_Zervane.freeIterator(old);

      long handle = Searches.open();
      assertNotEquals(old, handle);
      assertEquals(0, Jni_Zervane.freeIterator(old));
      assertEquals(3, Searches.points(handle).size());
    }

    @Test
    void byAnotherThreadEndsWithAStatus() throws Exception {
      addMany(200);
      for (int round = 0; round < 50; round++) {
        long handle = Searches.open();
        Thread other = new Thread(() -> Jni_Zervane.freeIterator(handle));
        other.start();
        int status = Codes.OK;
        List<Integer> seen = new ArrayList<>();
        while (status == Codes.OK) {
          ZRJniTagProp tag = new ZRJniTagProp();
          status = Jni_Zervane.getItemStep(handle, tag);
          if (status == Codes.OK) {
            seen.add(tag.m_tagID);
          }
        }
        other.join();
        assertTrue(
            status == Codes.INVALID_HANDLE || status == Codes.END_OF_ITERATION,
            "status " + status);
        assertEquals(IntStream.rangeClosed(1, seen.size()).boxed().toList(), seen);
        assertEquals(
            Codes.INVALID_HANDLE, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
      }
    }

    @Test
    void byTheEndOfTheSessionIsNoneInTheNext() {
      addMany(3);
      long handle = Searches.open();
      database.close();
      assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
      database.open();

      assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
      addMany(2);
      assertEquals(2, Searches.points(Searches.open()).size());
    }
  }

  @Nested
  @DisplayName("among many")
  class AmongMany {
    @Test
    void goesOnWhereItWasThoughOthersWereUsedMeanwhile() {
      List<Integer> ids = addMany(20);
      List<Long> handles = new ArrayList<>();
      for (int i = 0; i < 1_000; i++) {
        handles.add(Searches.open());
      }

      for (int id : ids) {
        for (long handle : handles) {
          assertEquals(id, step(handle));
        }
      }
      for (long handle : handles) {
        assertEquals(Codes.END_OF_ITERATION, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
        Jni_Zervane.freeIterator(handle);
      }
    }

    @Test
    void isRefusedWhenThereAreTooManyUntilOneIsReleased() {
      addMany(3);
      List<Long> handles = new ArrayList<>();
      for (int i = 0; i < MOST_ITERATORS; i++) {
        handles.add(Searches.open());
      }

      LongWrapper handle = Searches.holder();
      assertEquals(Codes.OUT_OF_MEMORY, Jni_Zervane.queryTagsCondEx("", "", -1, -1, handle));
      assertEquals(-1, Jni_Zervane.queryTagsCond("", "", -1, -1));
      assertEquals(3, Searches.count(0));
      Jni_Zervane.freeIterator(handles.get(MOST_ITERATORS / 2));
      assertEquals(Codes.OK, Jni_Zervane.queryTagsCondEx("", "", -1, -1, handle));
      assertEquals(3, Searches.points(handle.Value).size());
      assertEquals(3, Searches.points(handles.get(0)).size());
    }

    /** Whoever forgets all of them may connect again all the same. */
    @Test
    void isForgottenWithTheSession() {
      addMany(1);
      for (int i = 0; i < MOST_ITERATORS; i++) {
        Searches.open();
      }
      database.reopen();

      addMany(2);
      assertEquals(2, Searches.points(Searches.open()).size());
    }
  }
}
