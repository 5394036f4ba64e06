package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.RedisInfo;
import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import java.util.List;

/** Users, their groups and rights, and the settings of the relay. */
final class DeedsOfSecurity {
  private static final String WORKER = "worker";
  private static final String SECRET = "secret";
  private static final String CREW = "crew";
  private static final String OPERATORS = "operators";
  private static final String ADMINISTRATORS = "administrators";

  private DeedsOfSecurity() {}

  private static void addWorker() {
    assertEquals(Codes.OK, Jni_Zervane.addUser(WORKER, SECRET, "of the night shift"));
  }

  private static void addCrew() {
    assertEquals(Codes.OK, Jni_Zervane.addGroup(CREW, "of the ship"));
  }

  private static void assertFirstUser(String name, long handle) {
    ZRUser user = new ZRUser();
    assertEquals(Codes.OK, Jni_Zervane.getUserFromIterator(handle, user));
    assertEquals(name, user.userName);
    Jni_Zervane.freeIterator(handle);
  }

  private static void assertFirstGroup(String name, long handle) {
    ZRGroup group = new ZRGroup();
    assertEquals(Codes.OK, Jni_Zervane.getZRGroupFromIterator(handle, group));
    assertEquals(name, group.groupName);
    Jni_Zervane.freeIterator(handle);
  }

  private interface Listing {
    int into(LongWrapper handle);
  }

  private static long list(Listing listing) {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, listing.into(handle));
    return handle.Value;
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "login",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.login(WORKER, SECRET));
              ZRUser user = new ZRUser();
              assertEquals(Codes.OK, Jni_Zervane.getCurrentUser(user));
              assertEquals(WORKER, user.userName);
              assertEquals(Codes.NO_RIGHT, Records.save(stack.source, Records.float64(9, 9)));
            },
            stack -> assertEquals(Codes.LOGIN_FAILED, Jni_Zervane.login("nobody", SECRET))),
        Deed.of(
            "addUser",
            stack -> addWorker(),
            stack ->
                assertEquals(Codes.USER_EXISTS, Jni_Zervane.addUser("Admin", SECRET, ""))),
        Deed.of(
            "deleteUser",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.deleteUser(WORKER));
              assertEquals(Codes.USER_NOT_FOUND, Jni_Zervane.deleteUser(WORKER));
            },
            stack -> assertEquals(Codes.BUILT_IN, Jni_Zervane.deleteUser("admin"))),
        Deed.of(
            "modifyUserPassword",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.modifyUserPassword(WORKER, SECRET, "other"));
              assertEquals(Codes.OK, Jni_Zervane.login(WORKER, "other"));
            },
            stack -> {
              addWorker();
              assertEquals(
                  Codes.LOGIN_FAILED, Jni_Zervane.modifyUserPassword(WORKER, "no", "other"));
              assertEquals(Codes.OK, Jni_Zervane.deleteUser(WORKER));
            }),
        Deed.of(
            "modifyUserDesc",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.modifyUserDesc("admin", "of all"));
              ZRUser user = new ZRUser();
              long users = list(Jni_Zervane::getAllUsers);
              assertEquals(Codes.OK, Jni_Zervane.getUserFromIterator(users, user));
              assertEquals("of all", user.userDesc);
              Jni_Zervane.freeIterator(users);
            },
            stack ->
                assertEquals(
                    Codes.USER_NOT_FOUND, Jni_Zervane.modifyUserDesc("nobody", "of none"))),
        Deed.of(
            "resetUserPassword",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.resetUserPassword(WORKER, "other"));
              assertEquals(Codes.OK, Jni_Zervane.login(WORKER, "other"));
            },
            stack ->
                assertEquals(
                    Codes.USER_NOT_FOUND, Jni_Zervane.resetUserPassword("nobody", "other"))),
        Deed.of(
            "getCurrentUser",
            stack -> {
              ZRUser user = new ZRUser();
              assertEquals(Codes.OK, Jni_Zervane.getCurrentUser(user));
              assertEquals("admin", user.userName);
            },
            stack ->
                stack.assertNotConnected(() -> Jni_Zervane.getCurrentUser(new ZRUser()))),
        Deed.of(
            "getAllUsers",
            stack -> assertFirstUser("admin", list(Jni_Zervane::getAllUsers)),
            stack -> stack.assertNotConnected(() -> Jni_Zervane.getAllUsers(Searches.holder()))),
        Deed.of(
            "getUserFromIterator",
            stack -> assertFirstUser("admin", list(Jni_Zervane::getAllUsers)),
            stack ->
                assertEquals(
                    Codes.INVALID_HANDLE, Jni_Zervane.getUserFromIterator(0, new ZRUser()))),
        Deed.of(
            "addGroup",
            stack -> addCrew(),
            stack ->
                assertEquals(Codes.USER_GROUP_EXISTS, Jni_Zervane.addGroup("Viewers", ""))),
        Deed.of(
            "deleteGroup",
            stack -> {
              addCrew();
              assertEquals(Codes.OK, Jni_Zervane.deleteGroup(CREW));
              assertEquals(Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.deleteGroup(CREW));
            },
            stack -> assertEquals(Codes.BUILT_IN, Jni_Zervane.deleteGroup(OPERATORS))),
        Deed.of(
            "modifyGroupDesc",
            stack -> {
              addCrew();
              assertEquals(Codes.OK, Jni_Zervane.modifyGroupDesc(CREW, "of the boat"));
            },
            stack ->
                assertEquals(
                    Codes.USER_GROUP_NOT_FOUND, Jni_Zervane.modifyGroupDesc("nobody", ""))),
        Deed.of(
            "addUserToGroup",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.addUserToGroup(WORKER, OPERATORS));
              assertEquals(2, Jni_Zervane.getControlLevel(WORKER, "records"));
            },
            stack ->
                assertEquals(
                    Codes.MEMBER_EXISTS, Jni_Zervane.addUserToGroup("admin", ADMINISTRATORS))),
        Deed.of(
            "deleteUserFromGroup",
            stack -> {
              addWorker();
              assertEquals(Codes.OK, Jni_Zervane.addUserToGroup(WORKER, OPERATORS));
              assertEquals(Codes.OK, Jni_Zervane.deleteUserFromGroup(WORKER, OPERATORS));
              assertEquals(0, Jni_Zervane.getControlLevel(WORKER, "records"));
            },
            stack ->
                assertEquals(
                    Codes.LAST_ADMINISTRATOR,
                    Jni_Zervane.deleteUserFromGroup("admin", ADMINISTRATORS))),
        Deed.of(
            "getUsersOfGroup",
            stack ->
                assertFirstUser(
                    "admin",
                    list(handle -> Jni_Zervane.getUsersOfGroup(ADMINISTRATORS, handle))),
            stack ->
                assertEquals(
                    Codes.USER_GROUP_NOT_FOUND,
                    Jni_Zervane.getUsersOfGroup("nobody", Searches.holder()))),
        Deed.of(
            "getAllGroups",
            stack -> assertFirstGroup(ADMINISTRATORS, list(Jni_Zervane::getAllGroups)),
            stack ->
                stack.assertNotConnected(() -> Jni_Zervane.getAllGroups(Searches.holder()))),
        Deed.of(
            "queryGroupsOfUser",
            stack ->
                assertFirstGroup(
                    ADMINISTRATORS,
                    list(handle -> Jni_Zervane.queryGroupsOfUser("admin", handle))),
            stack ->
                assertEquals(
                    Codes.USER_NOT_FOUND,
                    Jni_Zervane.queryGroupsOfUser("nobody", Searches.holder()))),
        Deed.of(
            "getZRGroupFromIterator",
            stack -> assertFirstGroup(ADMINISTRATORS, list(Jni_Zervane::getAllGroups)),
            stack ->
                assertEquals(
                    Codes.INVALID_HANDLE, Jni_Zervane.getZRGroupFromIterator(0, new ZRGroup()))),
        Deed.of(
            "getAuthItems",
            stack -> Jni_Zervane.freeIterator(list(Jni_Zervane::getAuthItems)),
            stack ->
                stack.assertNotConnected(() -> Jni_Zervane.getAuthItems(Searches.holder()))),
        Deed.of(
            "getZRAuthItemFromIterator",
            stack -> {
              ZRAuthItem item = new ZRAuthItem();
              long items = list(Jni_Zervane::getAuthItems);
              assertEquals(Codes.OK, Jni_Zervane.getZRAuthItemFromIterator(items, item));
              assertEquals("tags", item.authItemName);
              Jni_Zervane.freeIterator(items);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_HANDLE,
                    Jni_Zervane.getZRAuthItemFromIterator(0, new ZRAuthItem()))),
        Deed.of(
            "getControlLevel",
            stack -> assertEquals(3, Jni_Zervane.getControlLevel("admin", "tags")),
            stack ->
                assertEquals(
                    Codes.AUTH_ITEM_NOT_FOUND, Jni_Zervane.getControlLevel("admin", "coffee"))),
        Deed.of(
            "sendRedisInfo",
            stack -> assertEquals(Codes.OK, Jni_Zervane.sendRedisInfo(new RedisInfo())),
            stack -> {
              RedisInfo settings = new RedisInfo();
              settings.m_hostip = "127.0.0.1";
              settings.m_port = "a port";
              assertEquals(Codes.INVALID_RELAY, Jni_Zervane.sendRedisInfo(settings));
            }));
  }
}
