package com.talvoro.zrjni;

import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;

/** The native methods of the Zervane process database. */
public final class Jni_Zervane {
  static {
    NativeLoader.load();
  }

  private Jni_Zervane() {}

  // ==== connection ====

  public static native int connectEx(String jstrIP, int jnPort, String jstrBakIP, int jnBakPort);

  public static native int connect3(String jstrIP, int jnPort, String jstrBakIP, int jnBakPort);

  public static native int disconnect();

  public static native int testConnect(IntWrapper connStatus, int timeoutSec);

  // ==== client settings and server time ====

  public static native void setRequestTimeout(int timeout);

  public static native void setAPIOption(int option);

  public static native void setRequestCacheCapacity(int njCapacity);

  public static native int getServerMsTime(LongWrapper msTime);

  // ==== iterators ====

  public static native int getIDItemStep(long IterHandle, IntWrapper id);

  public static native int freeIterator(long Iter);

  // ==== point tags ====

  public static native int addTag(ZRJniTagProp tagprop, long tagmask, long ntagextmask);

  public static native int addTagWithNodeName(
      ZRJniTagProp tagprop, long tagmask, long ntagextmask, String szNodeName);

  public static native int modifyTag(ZRJniTagProp tagprop, long nTagMask, long nTagExtMask);

  public static native int getTag(int nTagID, ZRJniTagProp tagprop);

  public static native int deleteTag(int nTagID);

  // ==== tag search ====

  public static native int queryTagsCond(
      String TagName, String TagDesc, long nPropMask, long nPropExtMask);

  public static native int queryTagsCondEx(
      String TagName, String TagDesc, long nPropMask, long nPropExtMask, LongWrapper handleWrapper);

  public static native int queryBasicTagsByConds(
      ZRQueryTagCondition[] condsArray,
      int condsCount,
      long returnPropMask,
      long returnPropExtMask,
      LongWrapper tagIteHandle);

  public static native int queryTagsByConds(
      ZRQueryTagCondition[] condsArray,
      int condsCount,
      long TagClassMask,
      long PropMask,
      LongWrapper tagIteHandle);

  public static native int querySpecifyPageTagsCond(
      long tagclassmask,
      ZRQueryTagCondition[] condArray,
      int condcount,
      long commMask,
      long extMask,
      int startID,
      int capacity,
      LongWrapper iteratorHandle);

  public static native int queryTagNumCond(
      int zrClass, ZRQueryTagCondition[] condArray, int condCount, IntWrapper num);

  public static native int getItemStep(long IterHandle, ZRJniTagProp tagprop);

  public static native int getCommItemStep(long IterHandle, ZRJniCommTagProp tagprop);

  // ==== bulk tag properties ====

  public static native int queryAllTagsProps(
      long TagClassMask, long PropMask, IntWrapper TagCount, LongWrapper PropArray);

  public static native int getPropArray(
      int tagCount, long propHandle, ZRJniCommTagProp[] commTagPropArray);

  // ==== tag lookups and catalogue version ====

  public static native int getTagType(int tagID, IntWrapper typeIntWrapper);

  public static native byte queryTagType(String jstrTagName);

  public static native int queryTagID(String jstrTagName);

  public static native int queryTagIDByName(String jstrTagName, IntWrapper tagID);

  public static native int queryTagIDsByNames(
      String[] tagNames, int namesCount, int[] tagIDs, int[] errorCodes);

  public static native int getNewlyTagVersion(LongWrapper handleWrapper);

  // ==== reading current values ====

  public static native int querySnapShot(int nTagID, byte nTagType, ZRJniRecord record);

  public static native int querySnapShots(
      int[] tagIDs, int nTagNum, ZRJniRecord[] records, int[] errCodes);

  // ==== writing current values ====

  public static native int saveSnapShot(int nTagID, byte nTagType, ZRJniRecord record);

  public static native int saveSnapshots(
      int[] tagIDArray, int recordCount, ZRJniRecord[] snapRecords, int[] errCodesOut);

  public static native int saveSnapshotsNowait(
      int[] tagIDArray, int recordCount, ZRJniRecord[] snapRecords, int[] errCodesOut);

  public static native int saveDisorderSnapshots(
      int recordCount, int nTagID, ZRJniRecord[] snapRecords);

  public static native int saveTagsDisorderSnapshots(
      int recordCount, int[] tagIDArray, ZRJniRecord[] snapRecords, int[] errorCodes);

  // ==== subscription to current values ====

  public static native int registerSnCallback(int nNum, int[] tagIDs);

  public static native int unregisterSnCallback(int nNum, int[] tagIDs);

  public static native int register_rest(int nNum, TagInfoWithField[] tagArray);

  public static native int unregister_rest(int nNum, TagInfoWithField[] tagArray);

  public static native int getRegisterTagSnHandle(LongWrapper handleWrapper);

  public static native int getRegisterTagSnNum(long hSn);

  public static native void getRegisterTagSn(long hSn, int[] id_arry, ZRJniRecord[] rec_arry);

  public static native void freeRegisterTagSnHandle(long hSn);

  // ==== raw history ====

  public static native int queryRawRecordsCount(
      int nTagID, ZRJniTime querystarttime, ZRJniTime queryendtime, IntWrapper recCount);

  public static native int queryRawRecords(
      int nTagID,
      byte nType,
      ZRJniTime starttime,
      ZRJniTime endtime,
      int nRecNum,
      ZRJniRecord[] record);

  public static native int querySpecifyNumRawRecords(
      int nTagID,
      byte nType,
      ZRJniTime start,
      int bBackward,
      int nQueryRecNum,
      ZRJniRecord[] record);

  // ==== interpolated history ====

  public static native int queryInterpRecords(
      int nTagID, byte nTagType, int nRecNum, ZRJniRecord[] record, int[] errorcodes);

  public static native int queryInterpRecordsByMode(
      int nTagID, byte nTagType, int nRecNum, ZRJniRecord[] record, int[] errorcodes, int nMode);

  public static native int queryTagsInterpRecordsByMode(
      int nMode, int[] tagIDs, int nRecNum, ZRJniRecord[] record, int[] errorcodes);

  // ==== correction of history ====

  public static native int modifyRecord(int nTagID, byte nTagType, ZRJniRecord record);

  // ==== statistics ====

  public static native int getTagMean(
      int nTagID,
      ZRJniTime querystarttime,
      ZRJniTime queryendtime,
      int nQulityMode,
      int nWeightMode,
      float fPercentGood,
      DoubleWrapper meanValue);

  public static native int getTagMax(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper maxValueWrapper);

  public static native int getTagMin(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper minValueWrapper);

  public static native int getTagSum(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper sumValueWrapper);

  public static native int getTagPercentGood(
      int tagID, ZRJniTime startTime, ZRJniTime endTime, DoubleWrapper percGoodWrapper);

  public static native int getTagStats(
      int tagID,
      int statsType,
      ZRJniTime startTime,
      ZRJniTime endTime,
      int sampleType,
      int samplePeriod,
      int sampleOffset,
      double extParam1,
      double extParam2,
      String jsFilterExpr,
      int nFilterFailMode,
      int useBadValue,
      DoubleWrapper valueWrapper);

  // ==== alarm tags ====

  public static native int addAlarmTag(ZRJniAlarmTag alarmtagprop, long tagmask, long tagextmask);

  public static native int modifyAlarmTag(
      ZRJniAlarmTag alarmtagprop, long tagmask, long tagextmask);

  public static native int queryAlarmTag(int nAlarmTagID, ZRJniAlarmTag alarmtagprop);

  public static native int deleteAlarmTag(int nAlarmTagID);

  public static native int queryAlarmTagID(String AlarmTagName);

  // ==== alarm records ====

  public static native int queryAllAlarmRecordsHandle(
      int[] nAlarmTagIDs,
      int alarmTagCount,
      ZrAlarmQuery querycond,
      long nPropMask,
      LongWrapper alarmHandle);

  public static native int queryAllAlarmRecordsEx(
      int[] nAlarmTagIDs,
      int alarmTagCount,
      ZrAlarmQuery querycond,
      long nPropMask,
      LongWrapper handleWrapper);

  public static native int queryAllAlarmRecords(
      int[] nAlarmTagIDs, int alarmTagCount, ZrAlarmQuery querycond, long nPropMask);

  public static native int queryAlarmRecordsEx(
      int nAlarmTagID, ZrAlarmQuery querycond, long nPropMask, LongWrapper handleWrapper);

  public static native int queryAlarmRecords(
      int nAlarmTagID, ZrAlarmQuery querycond, long nPropMask);

  public static native int queryAlarmGroupRecordsEx(
      int nAlarmGroupID, ZrAlarmQuery queryCond, long nPropMask, LongWrapper handleWrapper);

  public static native int queryAlarmGroupRecords(
      int nAlarmGroupID, ZrAlarmQuery queryCond, long nPropMask);

  public static native int getAmTagRecordsItemStep(long IterHandle, ZRJniAlarmRecord alarmrecord);

  public static native int getAmGroupRecordsItemStep(long IterHandle, ZRJniAlarmRecord amrecord);

  public static native int queryAlarmSnapshot(
      int nAlarmTagID, long nPropMask, ZRJniAlarmRecord record);

  public static native int queryAlarmSnapshots(
      int[] nAlarmTagID,
      int nTagNum,
      long nPropMask,
      ZRJniAlarmRecord[] AlarmRecordArray,
      int[] errCode);

  // ==== alarm handling ====

  public static native int acknowledgeAlarm(int nAlarmTagID, ZRJniTime time);

  public static native int commentAlarm(int nAlarmTagID, ZRJniTime recordtime, String strCommet);

  // ==== alarm groups ====

  public static native int addAlarmGroup(AlarmGroup alarmgroup);

  public static native int deleteAlarmGroup(int nAlarmGroupID);

  public static native int modifyAlarmGroupName(int nAlarmGroupID, String groupName);

  public static native int modifyAlarmGroupDesc(int nAlarmGroupID, String groupDesc);

  public static native int modifyAlarmParentID(int nAlarmGroupID, int nParentID);

  public static native int queryAlarmGroupID(String alarmGroupName, int nParentID);

  public static native int queryAlarmGroupProp(int nGroupID, AlarmGroup alarmgroup);

  public static native int queryAmGroup(int groupid, AlarmGroup amgroup);

  public static native int queryAlarmChildGroupsEx(int nAlarmGroupID, LongWrapper handleWrapper);

  public static native int queryAlarmChildGroups(int nAlarmGroupID);

  public static native int getAmChildGroupsItemStep(long IterHandle, AlarmGroup alarmgroup);

  public static native int queryAlarmChildTagsEx(int nAlarmGroupID, LongWrapper handleWrapper);

  public static native int queryAlarmChildTags(int nAlarmGroupID);

  public static native int getAmChildTagsItemStep(long IterHandle);

  // ==== alarm subscription ====

  public static native int registerAmCallback();

  public static native int getRegisterTagAmHandle(LongWrapper handleWrapper);

  public static native int getRegisterTagAmNum(long hAm);

  public static native void getRegisterTagAm(long hAm, ZRJniAlarmRecord[] rec_arry);

  public static native void freeRegisterTagAmHandle(long hAm);

  // ==== calculation tags ====

  public static native int addCalcTag(ZRJniCalcTag tagprop, long tagmask, long extmask);

  public static native int modifyCalcTag(ZRJniCalcTag tagprop, long tagmask, long extmask);

  public static native int queryCalcTag(int nTagID, ZRJniCalcTag tagprop);

  // ==== statistics tags ====

  public static native int addStatsTag(ZRJniStatsTag tagprop, long tagmask, long extmask);

  public static native int modifyStatsTag(ZRJniStatsTag tagprop, long tagmask, long extmask);

  public static native int queryStatsTag(int nTagID, ZRJniStatsTag tagprop);

  public static native int queryStatsTagID(String jstrTagName);

  // ==== users, groups and authority ====

  public static native int login(String szUser, String szPwd);

  public static native int addUser(String szUserName, String szUserPwd, String szUserDesc);

  public static native int deleteUser(String szUserName);

  public static native int modifyUserPassword(
      String szUserName, String szUserOldPwd, String szUserNewPwd);

  public static native int modifyUserDesc(String szUserName, String szUserDesc);

  public static native int resetUserPassword(String szUserName, String szUserNewPwd);

  public static native int getCurrentUser(ZRUser userNameWrapper);

  public static native int getAllUsers(LongWrapper userIteratorHandle);

  public static native int getUserFromIterator(long userIterator, ZRUser userObject);

  public static native int addGroup(String groupName, String groupDesc);

  public static native int deleteGroup(String groupNameToDel);

  public static native int modifyGroupDesc(String groupName, String groupNewDesc);

  public static native int addUserToGroup(String userName, String groupName);

  public static native int deleteUserFromGroup(String userName, String groupName);

  public static native int getUsersOfGroup(String groupName, LongWrapper userIterator);

  public static native int getAllGroups(LongWrapper groupIterator);

  public static native int queryGroupsOfUser(String userName, LongWrapper groupIterator);

  public static native int getZRGroupFromIterator(long groupIterator, ZRGroup groupObject);

  public static native int getAuthItems(LongWrapper authItemIterator);

  public static native int getZRAuthItemFromIterator(
      long authitemIterator, ZRAuthItem zrAuthItemObject);

  public static native int getControlLevel(String userName, String authItemName);

  // ==== relay ====

  public static native int sendRedisInfo(RedisInfo redisInfo);
}
