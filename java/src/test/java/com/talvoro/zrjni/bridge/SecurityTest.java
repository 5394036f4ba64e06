package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import java.util.Arrays;
import java.util.List;
import java.util.function.Function;
import java.util.function.IntSupplier;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Users, groups and authority")
class SecurityTest extends BridgeTest {
  private static final long HANDLE = 0x7123_4567_89ab_cdefL;
  private static final String NAME = "name" + Fields.BEYOND_ASCII;
  private static final String SECOND = "second text";
  private static final String THIRD = "the third";

  /**
   * A method that passes texts on and returns the status.
   *
   * @param left the texts that stay allocated
   */
  record Passing(ExpectedCall expected, List<String> left, IntSupplier call) {
    @Override
    public String toString() {
      return expected.function();
    }
  }

  private static Passing keeping(ExpectedCall expected, IntSupplier call, String... left) {
    return new Passing(expected, Arrays.asList(left), call);
  }

  static Stream<Passing> passing() {
    return Stream.of(
        keeping(
            call("sc3_login").with("szUser", NAME).with("szPassword", SECOND),
            () -> Jni_Zervane.login(NAME, SECOND)),
        keeping(
            call("sc3_add_user")
                .with(
                    "pUser",
                    Struct.uncleared(Layouts.USER)
                        .set("szUserName", NAME)
                        .set("szPasswd", SECOND)
                        .set("szUserDesc", THIRD)),
            () -> Jni_Zervane.addUser(NAME, SECOND, THIRD),
            NAME,
            SECOND,
            THIRD),
        keeping(
            call("sc3_delete_user").with("szUser", NAME), () -> Jni_Zervane.deleteUser(NAME), NAME),
        keeping(
            call("sc3_modify_password")
                .with("szUser", NAME)
                .with("szOldPassword", SECOND)
                .with("szNewPassword", THIRD),
            () -> Jni_Zervane.modifyUserPassword(NAME, SECOND, THIRD),
            NAME,
            SECOND,
            THIRD),
        keeping(
            call("sc3_modify_user_desc").with("szUser", NAME).with("szDesc", SECOND),
            () -> Jni_Zervane.modifyUserDesc(NAME, SECOND),
            NAME,
            SECOND),
        keeping(
            call("sc3_reset_password").with("szUser", NAME).with("szNewPassword", SECOND),
            () -> Jni_Zervane.resetUserPassword(NAME, SECOND)),
        keeping(
            call("sc3_add_group")
                .with(
                    "pGroup",
                    Struct.uncleared(Layouts.USER_GROUP)
                        .set("szGroupName", NAME)
                        .set("szGroupDesc", SECOND)),
            () -> Jni_Zervane.addGroup(NAME, SECOND)),
        keeping(
            call("sc3_delete_group").with("szGroup", NAME), () -> Jni_Zervane.deleteGroup(NAME)),
        keeping(
            call("sc3_modify_group_desc").with("szGroup", NAME).with("szDesc", SECOND),
            () -> Jni_Zervane.modifyGroupDesc(NAME, SECOND)),
        keeping(
            call("sc3_add_user_to_group").with("szUser", NAME).with("szGroup", SECOND),
            () -> Jni_Zervane.addUserToGroup(NAME, SECOND)),
        keeping(
            call("sc3_delete_user_from_group").with("szUser", NAME).with("szGroup", SECOND),
            () -> Jni_Zervane.deleteUserFromGroup(NAME, SECOND)));
  }

  @ParameterizedTest(name = "{0}")
  @MethodSource("passing")
  void textsArePassedOnAndTheStatusIsReturned(Passing method) {
    for (int status : new int[] {0, FAILURE}) {
      answer(method.expected().function(), status);
      assertEquals(status, method.call().getAsInt());
      assertCalls(method.expected());
      assertLeft(method.left().stream().mapToLong(BridgeTest::textBuffer).toArray());
    }
  }

  @Test
  void nullTextsArePassedOnEmpty() {
    Jni_Zervane.login(null, null);
    Jni_Zervane.addUser(null, null, null);
    Jni_Zervane.addGroup(null, null);
    assertCalls(
        call("sc3_login").with("szUser", "").with("szPassword", ""),
        call("sc3_add_user")
            .with(
                "pUser",
                Struct.uncleared(Layouts.USER)
                    .set("szUserName", "")
                    .set("szPasswd", "")
                    .set("szUserDesc", "")),
        call("sc3_add_group")
            .with(
                "pGroup",
                Struct.uncleared(Layouts.USER_GROUP)
                    .set("szGroupName", "")
                    .set("szGroupDesc", "")));
    assertLeft(1, 1, 1);
  }

  @Test
  void textsThatFillTheirArraysArePassedOnWhole() {
    String name = "n".repeat(63);
    String text = "t".repeat(127);
    Jni_Zervane.addUser(name, text, text);
    Jni_Zervane.addGroup(name, text);
    assertCalls(
        call("sc3_add_user")
            .with(
                "pUser",
                Struct.uncleared(Layouts.USER)
                    .set("szUserName", name)
                    .set("szPasswd", text)
                    .set("szUserDesc", text)),
        call("sc3_add_group")
            .with(
                "pGroup",
                Struct.uncleared(Layouts.USER_GROUP)
                    .set("szGroupName", name)
                    .set("szGroupDesc", text)));
    assertLeft(textBuffer(name), textBuffer(text), textBuffer(text));
  }

  @Nested
  @DisplayName("Lists")
  class Lists {
    /** A method that starts a list. */
    record Listing(ExpectedCall expected, Function<LongWrapper, Integer> call) {
      @Override
      public String toString() {
        return expected.function();
      }
    }

    static Stream<Listing> listings() {
      return Stream.of(
          new Listing(call("sc3_query_all_users"), Jni_Zervane::getAllUsers),
          new Listing(call("sc3_query_all_groups"), Jni_Zervane::getAllGroups),
          new Listing(call("sc3_query_all_auth_items"), Jni_Zervane::getAuthItems),
          new Listing(
              call("sc3_query_members_of_group").with("szGroup", NAME),
              holder -> Jni_Zervane.getUsersOfGroup(NAME, holder)),
          new Listing(
              call("sc3_query_groups_of_user").with("szUser", NAME),
              holder -> Jni_Zervane.queryGroupsOfUser(NAME, holder)));
    }

    @ParameterizedTest(name = "{0}")
    @MethodSource("listings")
    void writeTheHandleWhateverTheStatus(Listing method) {
      for (int status : new int[] {0, FAILURE}) {
        answer(method.expected().function(), status, out("pIterator", HANDLE));
        LongWrapper holder = Holders.ofLong();
        assertEquals(status, method.call().apply(holder));
        assertEquals(HANDLE, holder.Value);
        assertCalls(method.expected());
      }
    }

    private static final ExpectedCall STEP = call("ut3_get_item_step").with("hIterator", HANDLE);

    @Test
    void giveUsersWithAllTheirTexts() {
      Struct record = Struct.filled(Layouts.USER, 1);
      ZRUser user = Fields.filled(ZRUser.class, 2);
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getUserFromIterator(HANDLE, user));
      assertEquals(record.text("szUserName"), user.userName);
      assertEquals(record.text("szPasswd"), user.userPwd);
      assertEquals(record.text("szUserDesc"), user.userDesc);
      assertCalls(STEP);
    }

    @Test
    void giveGroupsWithBothTheirTexts() {
      Struct record = Struct.filled(Layouts.USER_GROUP, 1);
      ZRGroup group = Fields.filled(ZRGroup.class, 2);
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getZRGroupFromIterator(HANDLE, group));
      assertEquals(record.text("szGroupName"), group.groupName);
      assertEquals(record.text("szGroupDesc"), group.groupDesc);
      assertCalls(STEP);
    }

    @Test
    void giveAuthorityItemsWithoutTheirLevel() {
      Struct record = Struct.filled(Layouts.AUTHORITY_ITEM, 1);
      ZRAuthItem item = Fields.filled(ZRAuthItem.class, 2);
      answer("ut3_get_item_step", out("pItem", record));
      assertEquals(0, Jni_Zervane.getZRAuthItemFromIterator(HANDLE, item));
      assertEquals(record.text("szName"), item.authItemName);
      assertEquals(record.text("szDesc"), item.authItemDesc);
      assertCalls(STEP);
    }

    @Test
    void leaveTheObjectsPastTheLastItem() {
      ZRUser user = Fields.filled(ZRUser.class, 2);
      ZRGroup group = Fields.filled(ZRGroup.class, 2);
      ZRAuthItem item = Fields.filled(ZRAuthItem.class, 2);
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.USER, 1)));
      assertEquals(110192, Jni_Zervane.getUserFromIterator(HANDLE, user));
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.USER_GROUP, 1)));
      assertEquals(110192, Jni_Zervane.getZRGroupFromIterator(HANDLE, group));
      answer("ut3_get_item_step", 110192, out("pItem", Struct.filled(Layouts.AUTHORITY_ITEM, 1)));
      assertEquals(110192, Jni_Zervane.getZRAuthItemFromIterator(HANDLE, item));
      Fields.assertSameFields(Fields.filled(ZRUser.class, 2), user);
      Fields.assertSameFields(Fields.filled(ZRGroup.class, 2), group);
      Fields.assertSameFields(Fields.filled(ZRAuthItem.class, 2), item);
      assertCalls(STEP, STEP, STEP);
    }
  }

  @Nested
  @DisplayName("Who and what")
  class WhoAndWhat {
    private static final ExpectedCall CURRENT =
        call("sc3_query_current_user_name").with("nSize", 32);
    private static final ExpectedCall LEVEL =
        call("sc3_query_auth_of_user")
            .with("szUser", NAME)
            .with("szAuthItem", SECOND)
            .with("*pLevel", 0);

    @ParameterizedTest
    @ValueSource(strings = {"admin", "", "a name of exactly thirty-one b.", "\u6f22\ud83d\ude00"})
    void theCurrentUserFillsTheNameAlone(String name) {
      ZRUser user = Fields.filled(ZRUser.class, 2);
      ZRUser expected = Fields.copy(user);
      expected.userName = name;
      answer("sc3_query_current_user_name", out("szUser", name));
      assertEquals(0, Jni_Zervane.getCurrentUser(user));
      Fields.assertSameFields(expected, user);
      assertCalls(CURRENT);
    }

    @Test
    void withoutACurrentUserTheObjectStaysAsItWas() {
      ZRUser user = Fields.filled(ZRUser.class, 2);
      answer("sc3_query_current_user_name", FAILURE, out("szUser", "nobody"));
      assertEquals(FAILURE, Jni_Zervane.getCurrentUser(user));
      Fields.assertSameFields(Fields.filled(ZRUser.class, 2), user);
      assertCalls(CURRENT);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, 3, -5})
    void theControlLevelIsReturnedOnSuccess(int level) {
      answer("sc3_query_auth_of_user", out("pLevel", level));
      assertEquals(level, Jni_Zervane.getControlLevel(NAME, SECOND));
      assertCalls(LEVEL);
      assertAllocated(textBuffer(NAME), textBuffer(SECOND));
    }

    @ParameterizedTest(name = "status {0}")
    @CsvSource({"110113", "-1", "3"})
    void aFailureIsReturnedInsteadAndKeepsBothTextsAllocated(int status) {
      answer("sc3_query_auth_of_user", status, out("pLevel", 2));
      assertEquals(status, Jni_Zervane.getControlLevel(NAME, SECOND));
      assertCalls(LEVEL);
      assertLeft(textBuffer(NAME), textBuffer(SECOND));
    }
  }
}
