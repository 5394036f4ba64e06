package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import java.util.ArrayList;
import java.util.List;
import java.util.function.BiFunction;
import java.util.function.Function;
import java.util.function.Supplier;

/** Makes users and groups, and reads what lists have of them. */
final class Users {
  static final String PASSWORD = "open sesame";

  private Users() {}

  static void add(String name) {
    assertEquals(Codes.OK, Jni_Zervane.addUser(name, PASSWORD, ""));
  }

  /** A user who is in one group. */
  static void addTo(String group, String name) {
    add(name);
    assertEquals(Codes.OK, Jni_Zervane.addUserToGroup(name, group));
  }

  static void logIn(String name) {
    assertEquals(Codes.OK, Jni_Zervane.login(name, PASSWORD));
  }

  static void logInAsAdmin() {
    assertEquals(Codes.OK, Jni_Zervane.login("admin", ""));
  }

  static String current() {
    ZRUser user = new ZRUser();
    assertEquals(Codes.OK, Jni_Zervane.getCurrentUser(user));
    return user.userName;
  }

  static List<ZRUser> all() {
    return list(Jni_Zervane::getAllUsers, ZRUser::new, Jni_Zervane::getUserFromIterator);
  }

  static List<ZRUser> of(String group) {
    return list(
        handle -> Jni_Zervane.getUsersOfGroup(group, handle),
        ZRUser::new,
        Jni_Zervane::getUserFromIterator);
  }

  static List<ZRGroup> groups() {
    return list(Jni_Zervane::getAllGroups, ZRGroup::new, Jni_Zervane::getZRGroupFromIterator);
  }

  static List<ZRGroup> groupsOf(String user) {
    return list(
        handle -> Jni_Zervane.queryGroupsOfUser(user, handle),
        ZRGroup::new,
        Jni_Zervane::getZRGroupFromIterator);
  }

  static List<ZRAuthItem> authItems() {
    return list(
        Jni_Zervane::getAuthItems, ZRAuthItem::new, Jni_Zervane::getZRAuthItemFromIterator);
  }

  static List<String> names(List<ZRUser> users) {
    return users.stream().map(user -> user.userName).toList();
  }

  static List<String> groupNames(List<ZRGroup> groups) {
    return groups.stream().map(group -> group.groupName).toList();
  }

  private static <T> List<T> list(
      Function<LongWrapper, Integer> query,
      Supplier<T> make,
      BiFunction<Long, T, Integer> step) {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, query.apply(handle));
    List<T> items = new ArrayList<>();
    T item = make.get();
    int status = step.apply(handle.Value, item);
    while (status == Codes.OK) {
      items.add(item);
      item = make.get();
      status = step.apply(handle.Value, item);
    }
    assertEquals(Codes.END_OF_ITERATION, status);
    assertEquals(Codes.OK, Jni_Zervane.freeIterator(handle.Value));
    return items;
  }
}
