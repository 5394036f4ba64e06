package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import java.util.List;
import java.util.function.Function;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Users, groups and rights")
class SecurityTest {
  private static final String HALF_A_PAIR = "half a pair: \ud83d";
  private static final List<String> BUILT_IN_GROUPS =
      List.of("administrators", "engineers", "operators", "viewers");

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  // ---- logging in ----

  @Test
  void aSessionBeginsAsAdminWithoutAPassword() {
    assertEquals("admin", Users.current());
    assertEquals(Codes.OK, Jni_Zervane.login("ADMIN", ""));
    assertEquals("admin", Users.current());
  }

  @Test
  void loggingInChangesWhoAsksUntilTheSessionEnds() {
    Users.addTo("viewers", "Jürgen");
    Users.logIn("jürgen");
    assertEquals("Jürgen", Users.current());
    database.reopen();
    assertEquals("admin", Users.current());
    Users.logIn("Jürgen");
  }

  @Test
  void aFailedLoginLeavesTheSessionAsItWas() {
    Users.addTo("viewers", "anna");
    Users.logIn("anna");
    assertEquals(Codes.LOGIN_FAILED, Jni_Zervane.login("admin", "wrong"));
    assertEquals(Codes.LOGIN_FAILED, Jni_Zervane.login("nobody", Users.PASSWORD));
    assertEquals("anna", Users.current());
  }

  @Test
  void whatDoesNotConvertLogsNobodyIn() {
    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.login("admin", HALF_A_PAIR));
    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.login(HALF_A_PAIR, ""));
    assertEquals("admin", Users.current());
  }

  // ---- rights ----

  @Test
  void aViewerReadsAndDoesNoMore() {
    int tag = Tags.add("A", ValueType.INT32);
    assertEquals(Codes.OK, Records.save(tag, Records.at(1, 0)));
    Users.addTo("viewers", "anna");
    Users.logIn("anna");
    assertEquals(tag, Jni_Zervane.queryTagID("A"));
    assertEquals(1, Records.current(tag).nSec);
    assertAll(
        () -> assertEquals(Codes.NO_RIGHT, Records.save(tag, Records.at(2, 0))),
        () -> assertEquals(Codes.NO_RIGHT, Jni_Zervane.deleteTag(tag)),
        () -> assertEquals(Codes.NO_RIGHT, Jni_Zervane.addUser("b", "p", "")),
        () -> assertEquals(Codes.NO_RIGHT, Jni_Zervane.addUserToGroup("anna", "administrators")),
        () -> assertEquals(Codes.NO_RIGHT, Jni_Zervane.resetUserPassword("admin", "p")));
    Users.logInAsAdmin();
    assertEquals(1, Records.current(tag).nSec);
  }

  @Test
  void anOperatorWritesAndAnEngineerDefines() {
    int tag = Tags.add("A", ValueType.INT32);
    Users.addTo("operators", "olga");
    Users.addTo("engineers", "erik");
    Users.logIn("olga");
    assertEquals(Codes.OK, Records.save(tag, Records.at(1, 0)));
    assertEquals(
        Codes.NO_RIGHT,
        Jni_Zervane.addTag(Tags.named("B", ValueType.INT32), Columns.TYPE, Columns.NONE));
    Users.logIn("erik");
    Tags.add("B", ValueType.INT32);
    assertEquals("admin", Users.names(Users.all()).get(0));
    assertEquals(Codes.NO_RIGHT, Jni_Zervane.addUser("b", "p", ""));
  }

  @Test
  void aUserInNoGroupMayNothingButKnowHimself() {
    Tags.add("A", ValueType.INT32);
    Users.add("anna");
    Users.logIn("anna");
    assertEquals(-1, Jni_Zervane.queryTagID("A"));
    assertEquals("anna", Users.current());
    assertEquals(0, Jni_Zervane.getControlLevel("anna", "tags"));
    assertEquals(Codes.OK, Jni_Zervane.modifyUserPassword("anna", Users.PASSWORD, "another"));
    assertEquals(Codes.OK, Jni_Zervane.login("anna", "another"));
  }

  @Test
  void aUserWhoIsDeletedWhileLoggedInIsRefused() {
    Users.addTo("administrators", "anna");
    Users.logIn("anna");
    assertEquals(Codes.OK, Jni_Zervane.deleteUser("anna"));
    assertEquals(Codes.NO_RIGHT, Jni_Zervane.getCurrentUser(new ZRUser()));
    assertEquals(Codes.NO_RIGHT, Jni_Zervane.deleteUser("admin"));
    Users.logInAsAdmin();
    assertEquals(List.of("admin"), Users.names(Users.all()));
  }

  @ParameterizedTest(name = "{0} of a user in {1}")
  @CsvSource({
    "tags, administrators, 3",
    "tags, operators, 1",
    "RECORDS, operators, 2",
    "security, operators, 0",
    "system, viewers, 1"
  })
  void aLevelIsReturnedAsItIs(String item, String group, int level) {
    Users.addTo(group, "anna");
    assertEquals(level, Jni_Zervane.getControlLevel("ANNA", item));
  }

  @Test
  void theLevelOfNobodyOrNothingIsAStatus() {
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.getControlLevel("nobody", "tags"));
    assertEquals(Codes.AUTH_ITEM_NOT_FOUND, Jni_Zervane.getControlLevel("admin", "nothing"));
    assertEquals(Codes.AUTH_ITEM_NOT_FOUND, Jni_Zervane.getControlLevel("admin", ""));
  }

  @Test
  void authorityItemsHaveANameAndADescription() {
    List<ZRAuthItem> items = Users.authItems();
    assertEquals(
        List.of("tags", "records", "alarms", "security", "system"),
        items.stream().map(item -> item.authItemName).toList());
    items.forEach(item -> assertNotEquals("", item.authItemDesc, item.authItemName));
  }

  // ---- one's own name ----

  @Test
  void theCurrentNameHasUpTo31Bytes() {
    Users.add("n".repeat(31));
    Users.add("n".repeat(32));
    Users.logIn("n".repeat(31));
    assertEquals("n".repeat(31), Users.current());
    Users.logIn("n".repeat(32));
    ZRUser user = new ZRUser();
    user.userName = "as it was";
    assertEquals(Codes.BUFFER_TOO_SMALL, Jni_Zervane.getCurrentUser(user));
    assertEquals("as it was", user.userName);
  }

  @Test
  void theCurrentNameIsAllThatIsWritten() {
    ZRUser user = new ZRUser();
    assertEquals(Codes.OK, Jni_Zervane.getCurrentUser(user));
    assertNull(user.userPwd);
    assertNull(user.userDesc);
  }

  // ---- users ----

  @Test
  void usersStayWithTheirDescriptionsAndWithoutPasswords() {
    assertEquals(Codes.OK, Jni_Zervane.addUser("Zoë 測", "p", "of the north, 測"));
    assertEquals(Codes.OK, Jni_Zervane.addUser("anna", "p", ""));
    assertEquals(Codes.OK, Jni_Zervane.modifyUserDesc("ANNA", "changed"));
    database.reopen();
    List<ZRUser> users = Users.all();
    assertEquals(List.of("admin", "Zoë 測", "anna"), Users.names(users));
    assertEquals("of the north, 測", users.get(1).userDesc);
    assertEquals("changed", users.get(2).userDesc);
    users.forEach(user -> assertEquals("", user.userPwd));
  }

  @Test
  void usersComeAndGo() {
    Users.add("anna");
    assertEquals(Codes.USER_EXISTS, Jni_Zervane.addUser("ANNA", "p", ""));
    assertEquals(Codes.OK, Jni_Zervane.deleteUser("Anna"));
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.deleteUser("anna"));
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.modifyUserDesc("anna", ""));
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.resetUserPassword("anna", "p"));
    assertEquals(Codes.BUILT_IN, Jni_Zervane.deleteUser("admin"));
  }

  @Test
  void passwordsAreChangedWithTheOldOneAndResetWithoutIt() {
    Users.add("anna");
    assertEquals(Codes.LOGIN_FAILED, Jni_Zervane.modifyUserPassword("anna", "wrong", "two"));
    assertEquals(Codes.OK, Jni_Zervane.modifyUserPassword("anna", Users.PASSWORD, "two"));
    assertEquals(Codes.OK, Jni_Zervane.login("anna", "two"));
    assertEquals(Codes.NO_RIGHT, Jni_Zervane.resetUserPassword("anna", "three"));
    Users.logInAsAdmin();
    assertEquals(Codes.OK, Jni_Zervane.resetUserPassword("anna", "drei: ß 測"));
    database.reopen();
    assertEquals(Codes.OK, Jni_Zervane.login("anna", "drei: ß 測"));
  }

  /** What is longer than its array does not end there; the texts behind it stay within the record. */
  @ParameterizedTest(name = "name {0}, password {1}, description {2}: {3}")
  @CsvSource({
    "0, 1, 0, " + Codes.INVALID_USER_NAME,
    "1, 0, 0, " + Codes.INVALID_PASSWORD,
    "63, 127, 127, " + Codes.OK,
    "64, 1, 1, " + Codes.INVALID_TEXT,
    "1, 128, 1, " + Codes.INVALID_TEXT
  })
  void aUsersTextsHaveBounds(int name, int password, int description, int status) {
    assertEquals(
        status,
        Jni_Zervane.addUser("n".repeat(name), "p".repeat(password), "d".repeat(description)));
    if (status == Codes.OK) {
      assertEquals(Codes.OK, Jni_Zervane.login("n".repeat(name), "p".repeat(password)));
    }
  }

  @ParameterizedTest(name = "length {0}: {1}")
  @CsvSource({
    "0, " + Codes.INVALID_PASSWORD,
    "127, " + Codes.OK,
    "128, " + Codes.INVALID_TEXT
  })
  void aPasswordThatIsSetHasBounds(int length, int status) {
    assertEquals(status, Jni_Zervane.resetUserPassword("admin", "p".repeat(length)));
    assertEquals(
        status == Codes.OK ? Codes.LOGIN_FAILED : status,
        Jni_Zervane.modifyUserPassword("admin", "", "p".repeat(length)));
  }

  @ParameterizedTest(name = "character {0}")
  @ValueSource(ints = {1, 9, 31, 127})
  void aNameHasNoControlCharacter(int character) {
    String name = "a" + (char) character;
    assertEquals(Codes.INVALID_USER_NAME, Jni_Zervane.addUser(name, "p", ""));
    assertEquals(Codes.INVALID_USER_NAME, Jni_Zervane.addGroup(name, ""));
  }

  static Stream<Function<String, Integer>> callsWithTexts() {
    return Stream.of(
        text -> Jni_Zervane.addUser(text, "p", ""),
        text -> Jni_Zervane.addUser("a", text, ""),
        text -> Jni_Zervane.addUser("a", "p", text),
        text -> Jni_Zervane.deleteUser(text),
        text -> Jni_Zervane.modifyUserPassword("admin", "", text),
        text -> Jni_Zervane.modifyUserDesc("admin", text),
        text -> Jni_Zervane.resetUserPassword("admin", text),
        text -> Jni_Zervane.addGroup(text, ""),
        text -> Jni_Zervane.deleteGroup(text),
        text -> Jni_Zervane.modifyGroupDesc("viewers", text),
        text -> Jni_Zervane.addUserToGroup("admin", text),
        text -> Jni_Zervane.deleteUserFromGroup("admin", text),
        text -> Jni_Zervane.getUsersOfGroup(text, new LongWrapper()),
        text -> Jni_Zervane.queryGroupsOfUser(text, new LongWrapper()),
        text -> Jni_Zervane.getControlLevel("admin", text));
  }

  @ParameterizedTest
  @MethodSource("callsWithTexts")
  void aTextThatDoesNotConvertIsRefused(Function<String, Integer> call) {
    assertEquals(Codes.INVALID_TEXT, call.apply(HALF_A_PAIR));
    assertEquals(List.of("admin"), Users.names(Users.all()));
    assertEquals(BUILT_IN_GROUPS, Users.groupNames(Users.groups()));
    Users.logInAsAdmin();
  }

  // ---- groups ----

  @Test
  void groupsComeAndGo() {
    assertEquals(Codes.OK, Jni_Zervane.addGroup("Süd", "of the south"));
    assertEquals(Codes.USER_GROUP_EXISTS, Jni_Zervane.addGroup("SüD", ""));
    assertEquals(Codes.OK, Jni_Zervane.modifyGroupDesc("süd", "changed"));
    database.reopen();
    List<ZRGroup> groups = Users.groups();
    assertEquals(5, groups.size());
    assertEquals(BUILT_IN_GROUPS, Users.groupNames(groups).subList(0, 4));
    assertEquals("Süd", groups.get(4).groupName);
    assertEquals("changed", groups.get(4).groupDesc);
    assertEquals(Codes.OK, Jni_Zervane.deleteGroup("süd"));
    assertEquals(Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.deleteGroup("süd"));
    assertEquals(Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.modifyGroupDesc("süd", ""));
    assertEquals(Codes.BUILT_IN, Jni_Zervane.deleteGroup("Viewers"));
  }

  @ParameterizedTest(name = "length {0}: {1}")
  @CsvSource({"0, " + Codes.INVALID_USER_NAME, "63, " + Codes.OK, "64, " + Codes.INVALID_TEXT})
  void aGroupsNameHasBounds(int length, int status) {
    assertEquals(status, Jni_Zervane.addGroup("g".repeat(length), "d"));
  }

  @Test
  void usersJoinAndLeave() {
    Users.add("anna");
    assertEquals(Codes.OK, Jni_Zervane.addUserToGroup("ANNA", "Viewers"));
    assertEquals(Codes.OK, Jni_Zervane.addUserToGroup("anna", "operators"));
    assertEquals(Codes.MEMBER_EXISTS, Jni_Zervane.addUserToGroup("anna", "viewers"));
    assertEquals(List.of("anna"), Users.names(Users.of("viewers")));
    assertEquals(List.of("operators", "viewers"), Users.groupNames(Users.groupsOf("anna")));
    assertEquals(2, Jni_Zervane.getControlLevel("anna", "records"));
    assertEquals(Codes.OK, Jni_Zervane.deleteUserFromGroup("anna", "operators"));
    assertEquals(Codes.NOT_A_MEMBER, Jni_Zervane.deleteUserFromGroup("anna", "operators"));
    assertEquals(1, Jni_Zervane.getControlLevel("anna", "records"));
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.addUserToGroup("b", "viewers"));
    assertEquals(Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.addUserToGroup("anna", "nothing"));
  }

  @Test
  void theLastAdministratorStaysOne() {
    assertEquals(
        Codes.LAST_ADMINISTRATOR, Jni_Zervane.deleteUserFromGroup("admin", "administrators"));
    Users.addTo("administrators", "anna");
    assertEquals(Codes.OK, Jni_Zervane.deleteUserFromGroup("admin", "administrators"));
    Users.logIn("anna");
    assertEquals(Codes.LAST_ADMINISTRATOR, Jni_Zervane.deleteUser("anna"));
    assertEquals(
        Codes.LAST_ADMINISTRATOR, Jni_Zervane.deleteUserFromGroup("anna", "administrators"));
    assertEquals(Codes.OK, Jni_Zervane.addUserToGroup("admin", "administrators"));
    assertEquals(Codes.OK, Jni_Zervane.deleteUser("anna"));
  }

  // ---- lists that fail ----

  static Stream<Function<LongWrapper, Integer>> lists() {
    return Stream.of(
        Jni_Zervane::getAllUsers,
        Jni_Zervane::getAllGroups,
        Jni_Zervane::getAuthItems,
        handle -> Jni_Zervane.getUsersOfGroup("viewers", handle),
        handle -> Jni_Zervane.queryGroupsOfUser("admin", handle));
  }

  @ParameterizedTest
  @MethodSource("lists")
  void aListThatFailsWritesItsHandleAllTheSame(Function<LongWrapper, Integer> list) {
    Users.add("anna");
    Users.logIn("anna");
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.NO_RIGHT, list.apply(handle));
    assertNotEquals(Searches.UNWRITTEN, handle.Value);
    database.close();
    handle.Value = Searches.UNWRITTEN;
    assertEquals(Codes.NOT_CONNECTED, list.apply(handle));
    assertNotEquals(Searches.UNWRITTEN, handle.Value);
  }

  @Test
  void aListOfAnUnknownGroupOrUserFails() {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.getUsersOfGroup("nothing", handle));
    assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.queryGroupsOfUser("nobody", handle));
  }

  @Test
  void anItemIsLeftAloneWhenThereIsNoFurtherOne() {
    ZRUser user = new ZRUser();
    user.userName = "as it was";
    assertEquals(Codes.INVALID_HANDLE, Jni_Zervane.getUserFromIterator(0, user));
    assertEquals("as it was", user.userName);
  }
}
