package com.talvoro.zrjni;

import com.talvoro.zrsdk.base.ZRAuthItem;
import com.talvoro.zrsdk.base.ZRGroup;
import com.talvoro.zrsdk.base.ZRUser;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;

/**
 * The native methods of the Zervane process database; what holds for all of them stands here, and
 * each method then says only what differs.
 *
 * <p><b>Status.</b> A result called a status is 0 on success, an error code of the database
 * otherwise, or -1 when the library could not allocate what it needed. No method throws an
 * exception of its own. Objects, holders and arrays that receive results are written only when the
 * status is 0, unless the method says otherwise.
 *
 * <p><b>Arguments.</b> Objects, arrays and holders must not be null and arrays must hold at least
 * as many elements as the count beside them says: neither is checked, and the virtual machine fails
 * in its own way. A null text counts as empty.
 *
 * <p><b>Texts.</b> They travel in the encoding of the system's locale (UTF-8 in the C locale) and
 * their limits count bytes of that encoding. Limits are not checked when a text is copied into a
 * record: a longer text overwrites what follows it. A text that cannot be converted arrives empty.
 *
 * <p><b>Numbers.</b> Identifiers and seconds are unsigned 32-bit numbers that travel as the same
 * bits in an {@code int}; times are seconds since 1970-01-01 UTC.
 *
 * <p><b>Masks.</b> Bit i of a common mask is common column i: 0 name, 1 archiving, 2 change date, 3
 * changer, 4 compression deviation, 5 compression maximum time, 6 compression type, 7 creation
 * date, 8 creator, 9 record access, 10 and 11 record operating and owner group, 12 descriptor, 13
 * digital set, 14 engineering units, 15 exception maximum time, 16 exception deviation, 17
 * identifier, 18 value type, 19 tag access, 20 and 21 tag operating and owner group, 22 scan, 23
 * span, 24 minimum, 25 class, 26 availability, 27 to 31 free parameters, 32 OPC release, 33 to 35
 * further texts. Bit i of an extension mask is property i of the class's own properties, counted
 * from 0. -1 selects all. On adding, what is not selected takes its default (the name always
 * counts); on modifying it keeps its value; on reading it comes as zero or empty (identifier and
 * name always come). In a mask of tag classes bit i is class i and bit 6 all classes; 0 is an
 * error.
 *
 * <p><b>Iterators.</b> A query hands out a handle; the step method of its items is called until the
 * status is not 0, and {@link #freeIterator} releases it. Older queries return the handle as their
 * {@code int} result, or -1.
 *
 * <p><b>Threads.</b> Any method may be called from any number of threads. A process has one
 * connection, which all of them share.
 *
 * <p>Where a record class is handed in to be written to the database, its own notes tell which
 * fields are not read.
 */
public final class Jni_Zervane {
  static {
    NativeLoader.loadForThisVirtualMachine();
  }

  private Jni_Zervane() {}

  // ==== connection ====

  /**
   * Connects to a primary server with a standby. An empty address is the embedded database in the
   * user's data folder, {@code embedded:DIR} the one in that folder, {@code memory:} a volatile
   * one; anything else is a server's host name or address. Connecting again to the same servers
   * changes nothing. The time-out is 3 seconds.
   *
   * @param jstrIP address of the primary, up to 511 bytes
   * @param jnPort port of the primary; its low 16 bits count
   * @param jstrBakIP address of the standby, up to 511 bytes; null or empty for none
   * @param jnBakPort port of the standby; its low 16 bits count
   * @return status
   */
  public static native int connectEx(String jstrIP, int jnPort, String jstrBakIP, int jnBakPort);

  /**
   * Connects like {@link #connectEx}, but the standby takes the primary's port.
   *
   * @param jstrIP address of the primary, up to 511 bytes
   * @param jnPort port of both servers; its low 16 bits count
   * @param jstrBakIP address of the standby, up to 511 bytes; null or empty for none
   * @param jnBakPort ignored
   * @return status
   */
  public static native int connect3(String jstrIP, int jnPort, String jstrBakIP, int jnBakPort);

  /**
   * Closes the connection after storing what is still queued. Every handle becomes invalid.
   *
   * @return status; of a queue that could not be stored, too: the connection is closed all the same
   */
  public static native int disconnect();

  /**
   * Always reports a good connection: it asks nobody.
   *
   * @param connStatus receives 0
   * @param timeoutSec ignored
   * @return always 0
   */
  public static native int testConnect(IntWrapper connStatus, int timeoutSec);

  // ==== client settings and server time ====

  /**
   * Sets how long a request to a server may take. A value out of range is ignored without a sign.
   *
   * @param timeout seconds, 1 to 86,400
   */
  public static native void setRequestTimeout(int timeout);

  /**
   * Sets option bits of the client. None is defined; values other than 0 are ignored without a
   * sign.
   *
   * @param option option bits, sign-extended to 64
   */
  public static native void setAPIOption(int option);

  /**
   * Sets how many tag identities the client may remember. A negative value is ignored without a
   * sign.
   *
   * @param njCapacity number of entries; 0 turns the cache off, the default is 100,000
   */
  public static native void setRequestCacheCapacity(int njCapacity);

  /**
   * Reads the database's clock.
   *
   * @param msTime receives milliseconds since 1970-01-01 UTC
   * @return status
   */
  public static native int getServerMsTime(LongWrapper msTime);

  // ==== iterators ====

  /**
   * Takes the next tag identifier from an iterator of identifiers.
   *
   * @param IterHandle iterator handle
   * @param id receives the identifier
   * @return status; not 0 past the last item
   */
  public static native int getIDItemStep(long IterHandle, IntWrapper id);

  /**
   * Releases an iterator of any kind.
   *
   * @param Iter iterator handle; one that is not valid is ignored
   * @return always 0
   */
  public static native int freeIterator(long Iter);

  // ==== point tags ====

  /**
   * Creates a point tag. Its identifier is not written to {@code tagprop}: {@link #queryTagID}
   * tells it.
   *
   * @param tagprop properties of the tag
   * @param tagmask common properties that are taken from {@code tagprop}
   * @param ntagextmask point properties that are taken: bit 0 instrument address, 1 its kind, 2 and
   *     3 collector name and identifier, 4 and 5 device, 6 and 7 scan group, 8 data order
   * @return status
   */
  public static native int addTag(ZRJniTagProp tagprop, long tagmask, long ntagextmask);

  /**
   * Creates a point tag on a data node, otherwise like {@link #addTag}. The text of the node name
   * stays allocated in native memory.
   *
   * @param tagprop properties of the tag
   * @param tagmask common properties that are taken from {@code tagprop}
   * @param ntagextmask point properties that are taken
   * @param szNodeName name of the data node; the embedded database accepts any
   * @return status
   */
  public static native int addTagWithNodeName(
      ZRJniTagProp tagprop, long tagmask, long ntagextmask, String szNodeName);

  /**
   * Changes properties of the point tag whose identifier is {@code tagprop.m_tagID}.
   *
   * @param tagprop new values, and the identifier
   * @param nTagMask common properties that change; the masks must not select data order,
   *     availability, OPC release or the further texts, which carry no defined value
   * @param nTagExtMask point properties that change
   * @return status
   */
  public static native int modifyTag(ZRJniTagProp tagprop, long nTagMask, long nTagExtMask);

  /**
   * Reads all properties of a point tag, except that {@code m_tagClass} stays as it was.
   *
   * @param nTagID tag identifier
   * @param tagprop receives the properties
   * @return status
   */
  public static native int getTag(int nTagID, ZRJniTagProp tagprop);

  /**
   * Deletes a tag of any class with its values.
   *
   * @param nTagID tag identifier
   * @return status
   */
  public static native int deleteTag(int nTagID);

  // ==== tag search ====

  /**
   * Searches point tags by patterns of name and description. In a pattern {@code *} is any run,
   * {@code ?} any one character, {@code \} takes the next as it is; case does not matter and an
   * empty pattern matches everything.
   *
   * @param TagName pattern of the name, up to 255 bytes
   * @param TagDesc pattern of the description, up to 255 bytes
   * @param nPropMask common properties that the items carry
   * @param nPropExtMask point properties that the items carry
   * @return iterator handle for {@link #getItemStep}, cut to 32 bits, or -1
   */
  public static native int queryTagsCond(
      String TagName, String TagDesc, long nPropMask, long nPropExtMask);

  /**
   * Searches like {@link #queryTagsCond}. The holder is written whatever the status; only after 0
   * does it hold a handle.
   *
   * @param TagName pattern of the name, up to 255 bytes
   * @param TagDesc pattern of the description, up to 255 bytes
   * @param nPropMask common properties that the items carry
   * @param nPropExtMask point properties that the items carry
   * @param handleWrapper receives the iterator handle for {@link #getItemStep}
   * @return status
   */
  public static native int queryTagsCondEx(
      String TagName, String TagDesc, long nPropMask, long nPropExtMask, LongWrapper handleWrapper);

  /**
   * Searches point tags that satisfy all conditions.
   *
   * @param condsArray conditions; each leaves its text allocated in native memory
   * @param condsCount number of conditions; 0 finds every tag
   * @param returnPropMask common properties that the items carry
   * @param returnPropExtMask point properties that the items carry
   * @param tagIteHandle receives the iterator handle for {@link #getItemStep}
   * @return status
   */
  public static native int queryBasicTagsByConds(
      ZRQueryTagCondition[] condsArray,
      int condsCount,
      long returnPropMask,
      long returnPropExtMask,
      LongWrapper tagIteHandle);

  /**
   * Searches tags of the selected classes that satisfy all conditions.
   *
   * @param condsArray conditions; each leaves its text allocated in native memory
   * @param condsCount number of conditions; 0 finds every tag
   * @param TagClassMask tag classes: bit i is class i, bit 6 or -1 all of them
   * @param PropMask common properties that the items carry
   * @param tagIteHandle receives the iterator handle for {@link #getCommItemStep}
   * @return status
   */
  public static native int queryTagsByConds(
      ZRQueryTagCondition[] condsArray,
      int condsCount,
      long TagClassMask,
      long PropMask,
      LongWrapper tagIteHandle);

  /**
   * Searches one page of the tags that {@link #queryTagsByConds} finds, in order of identifier.
   *
   * @param tagclassmask tag classes: bit i is class i, bit 6 or -1 all of them
   * @param condArray conditions; each leaves its text allocated in native memory
   * @param condcount number of conditions; 0 finds every tag
   * @param commMask common properties that the items carry
   * @param extMask passed on; the items carry common properties only
   * @param startID identifier at or after which the page starts
   * @param capacity most tags that the page may hold
   * @param iteratorHandle receives the iterator handle for {@link #getCommItemStep}
   * @return status
   */
  public static native int querySpecifyPageTagsCond(
      long tagclassmask,
      ZRQueryTagCondition[] condArray,
      int condcount,
      long commMask,
      long extMask,
      int startID,
      int capacity,
      LongWrapper iteratorHandle);

  /**
   * Counts the tags of a class that satisfy all conditions.
   *
   * @param zrClass tag class; 6 for all classes
   * @param condArray conditions; each leaves its text allocated in native memory
   * @param condCount number of conditions; 0 counts every tag
   * @param num receives the number of tags
   * @return status
   */
  public static native int queryTagNumCond(
      int zrClass, ZRQueryTagCondition[] condArray, int condCount, IntWrapper num);

  /**
   * Takes the next point tag from an iterator; {@code m_tagClass} stays as it was.
   *
   * @param IterHandle iterator handle of a search for point tags
   * @param tagprop receives the properties
   * @return status; 110192 past the last item
   */
  public static native int getItemStep(long IterHandle, ZRJniTagProp tagprop);

  /**
   * Takes the next tag from an iterator of common properties, {@code m_tagClass} included.
   *
   * @param IterHandle iterator handle of a search over tag classes
   * @param tagprop receives the properties
   * @return status; 110192 past the last item
   */
  public static native int getCommItemStep(long IterHandle, ZRJniCommTagProp tagprop);

  // ==== bulk tag properties ====

  /**
   * Fetches the common properties of all tags of the selected classes into native memory, which one
   * {@link #getPropArray} must release.
   *
   * @param TagClassMask tag classes: bit i is class i, bit 6 or -1 all of them
   * @param PropMask common properties that are fetched
   * @param TagCount receives the number of tags
   * @param PropArray receives the address of the properties
   * @return status
   */
  public static native int queryAllTagsProps(
      long TagClassMask, long PropMask, IntWrapper TagCount, LongWrapper PropArray);

  /**
   * Converts what {@link #queryAllTagsProps} fetched and releases it. The address must not be used
   * again, and a count above the one received reads foreign memory.
   *
   * @param tagCount number of tags, as received
   * @param propHandle address, as received
   * @param commTagPropArray receives a new object in each of the first {@code tagCount} elements
   * @return always 0
   */
  public static native int getPropArray(
      int tagCount, long propHandle, ZRJniCommTagProp[] commTagPropArray);

  // ==== tag lookups and catalogue version ====

  /**
   * Tells the value type of a tag of any class.
   *
   * @param tagID tag identifier
   * @param typeIntWrapper receives the type, 0 to 7
   * @return status
   */
  public static native int getTagType(int tagID, IntWrapper typeIntWrapper);

  /**
   * Tells the value type of the tag of a name.
   *
   * @param jstrTagName tag name, without regard to ASCII case
   * @return the type, 0 to 7, or -1 for any failure
   */
  public static native byte queryTagType(String jstrTagName);

  /**
   * Tells the identifier of the tag of a name.
   *
   * @param jstrTagName tag name, without regard to ASCII case
   * @return the identifier, or -1 for any failure
   */
  public static native int queryTagID(String jstrTagName);

  /**
   * Tells the identifier of the tag of a name.
   *
   * @param jstrTagName tag name, without regard to ASCII case
   * @param tagID receives the identifier
   * @return status
   */
  public static native int queryTagIDByName(String jstrTagName, IntWrapper tagID);

  /**
   * Tells the identifiers of many names. When some are unknown the status is 117803, and both
   * arrays are written nevertheless.
   *
   * @param tagNames tag names, of which up to 255 bytes each count
   * @param namesCount number of names
   * @param tagIDs receives the identifiers; that of an unknown name stays as it was
   * @param errorCodes receives one status per name
   * @return status, 117803 when some names are unknown
   */
  public static native int queryTagIDsByNames(
      String[] tagNames, int namesCount, int[] tagIDs, int[] errorCodes);

  /**
   * Tells the version of the tag catalogue, which every change of it raises by one. Prints one line
   * to the standard output of the process.
   *
   * @param handleWrapper receives the version
   * @return status
   */
  public static native int getNewlyTagVersion(LongWrapper handleWrapper);

  // ==== reading current values ====

  /**
   * Reads the current value of a tag, of whatever type the tag is.
   *
   * @param nTagID tag identifier
   * @param nTagType ignored
   * @param record receives time, quality, type and the value field of that type; the other value
   *     fields stay as they were
   * @return status
   */
  public static native int querySnapShot(int nTagID, byte nTagType, ZRJniRecord record);

  /**
   * Reads the current values of many tags. Both arrays are written whatever the status, unless it
   * is -1: every element of {@code records} becomes a new object, empty for a tag that failed.
   *
   * @param tagIDs tag identifiers
   * @param nTagNum number of tags
   * @param records receives the values
   * @param errCodes receives one status per tag
   * @return status, 119610 when some tags failed
   */
  public static native int querySnapShots(
      int[] tagIDs, int nTagNum, ZRJniRecord[] records, int[] errCodes);

  // ==== writing current values ====

  /**
   * Writes the value of a tag, durably. Its time must not be before that of the current value; time
   * 0.0 takes the database's clock.
   *
   * @param nTagID tag identifier
   * @param nTagType ignored: the tag's own type selects the value field
   * @param record the value; its {@code nTagType} is not read
   * @return status
   */
  public static native int saveSnapShot(int nTagID, byte nTagType, ZRJniRecord record);

  /**
   * Writes a record for each of many tags, durably, in order; a tag may stand more than once. When
   * an identifier is unknown nothing is written and its status is the result, without error codes.
   *
   * @param tagIDArray tag identifiers, one per record
   * @param recordCount number of records
   * @param snapRecords the values, as for {@link #saveSnapShot}
   * @param errCodesOut receives one status per record, whatever the result of the writing
   * @return status, 119610 when some records were refused and the others written
   */
  public static native int saveSnapshots(
      int[] tagIDArray, int recordCount, ZRJniRecord[] snapRecords, int[] errCodesOut);

  /**
   * Queues what {@link #saveSnapshots} writes, and answers before it is stored and can be read. The
   * order of the calls is kept, and {@link #disconnect} stores the rest.
   *
   * @param tagIDArray tag identifiers, one per record
   * @param recordCount number of records
   * @param snapRecords the values, as for {@link #saveSnapShot}
   * @param errCodesOut receives one status per record
   * @return status, 119610 when some records were refused and the others queued
   */
  public static native int saveSnapshotsNowait(
      int[] tagIDArray, int recordCount, ZRJniRecord[] snapRecords, int[] errCodesOut);

  /**
   * Writes many records of one tag in any order of time, durably. The current value only moves
   * forward. Which records were refused is not told.
   *
   * @param recordCount number of records
   * @param nTagID tag identifier
   * @param snapRecords the values, as for {@link #saveSnapShot}
   * @return status, 119610 when some records were refused and the others written
   */
  public static native int saveDisorderSnapshots(
      int recordCount, int nTagID, ZRJniRecord[] snapRecords);

  /**
   * Writes records of many tags in any order of time, durably. The current values only move
   * forward. When an identifier is unknown nothing is written and its status is the result.
   *
   * @param recordCount number of records
   * @param tagIDArray tag identifiers, one per record
   * @param snapRecords the values, as for {@link #saveSnapShot}
   * @param errorCodes receives one status per record, whatever the result of the writing
   * @return status, 119610 when some records were refused and the others written
   */
  public static native int saveTagsDisorderSnapshots(
      int recordCount, int[] tagIDArray, ZRJniRecord[] snapRecords, int[] errorCodes);

  // ==== subscription to current values ====

  /**
   * Subscribes to changes of the current values of tags; {@link #getRegisterTagSnHandle} collects
   * them.
   *
   * @param nNum number of tags
   * @param tagIDs tag identifiers
   * @return status
   */
  public static native int registerSnCallback(int nNum, int[] tagIDs);

  /**
   * Ends the subscription to tags.
   *
   * @param nNum number of tags
   * @param tagIDs tag identifiers
   * @return status
   */
  public static native int unregisterSnCallback(int nNum, int[] tagIDs);

  /**
   * Subscribes to pairs of tag and field.
   *
   * @param nNum number of pairs
   * @param tagArray pairs
   * @return status
   */
  public static native int register_rest(int nNum, TagInfoWithField[] tagArray);

  /**
   * Ends the subscription to pairs of tag and field. Only the low 8 bits of each identifier,
   * sign-extended, are used: identifiers above 127 cannot be named here.
   *
   * @param nNum number of pairs
   * @param tagArray pairs
   * @return status
   */
  public static native int unregister_rest(int nNum, TagInfoWithField[] tagArray);

  /**
   * Takes the changes that have come since the last call into a batch in native memory, which
   * {@link #freeRegisterTagSnHandle} must release.
   *
   * @param handleWrapper receives the batch handle
   * @return status
   */
  public static native int getRegisterTagSnHandle(LongWrapper handleWrapper);

  /**
   * Tells the number of changes in a batch.
   *
   * @param hSn batch handle
   * @return number of changes; 0 for the handle 0
   */
  public static native int getRegisterTagSnNum(long hSn);

  /**
   * Converts the changes of a batch, oldest first. The handle 0 does nothing.
   *
   * @param hSn batch handle
   * @param id_arry receives the tag identifiers
   * @param rec_arry receives a new object for each change
   */
  public static native void getRegisterTagSn(long hSn, int[] id_arry, ZRJniRecord[] rec_arry);

  /**
   * Releases a batch, once. The handle 0 does nothing.
   *
   * @param hSn batch handle
   */
  public static native void freeRegisterTagSnHandle(long hSn);

  // ==== raw history ====

  /**
   * Counts the archived records of a tag in an interval, both ends included.
   *
   * @param nTagID tag identifier
   * @param querystarttime start
   * @param queryendtime end
   * @param recCount receives the number of records
   * @return status
   */
  public static native int queryRawRecordsCount(
      int nTagID, ZRJniTime querystarttime, ZRJniTime queryendtime, IntWrapper recCount);

  /**
   * Reads the archived records of a tag in an interval, both ends included, oldest first. How many
   * were read is not told: elements past the last record stay as they were, so an array of nulls
   * tells it. When memory runs out the status is 0 and nothing is written.
   *
   * @param nTagID tag identifier
   * @param nType ignored
   * @param starttime start
   * @param endtime end
   * @param nRecNum most records to read; the oldest come
   * @param record receives a new object for each record
   * @return status
   */
  public static native int queryRawRecords(
      int nTagID,
      byte nType,
      ZRJniTime starttime,
      ZRJniTime endtime,
      int nRecNum,
      ZRJniRecord[] record);

  /**
   * Reads a number of archived records of a tag from a time on, that time included. How many were
   * read is not told, as in {@link #queryRawRecords}.
   *
   * @param nTagID tag identifier
   * @param nType type preset in the records; the tag's own type comes back
   * @param start first time
   * @param bBackward 0 for ascending times, any other value for descending ones
   * @param nQueryRecNum most records to read
   * @param record receives a new object for each record
   * @return status
   */
  public static native int querySpecifyNumRawRecords(
      int nTagID,
      byte nType,
      ZRJniTime start,
      int bBackward,
      int nQueryRecNum,
      ZRJniRecord[] record);

  // ==== interpolated history ====

  /**
   * Computes the values of a tag at given instants, linearly between records for numbers. When some
   * instants fail the status is still 0, and their objects carry only the time.
   *
   * @param nTagID tag identifier
   * @param nTagType ignored
   * @param nRecNum number of instants
   * @param record in: objects whose times are the instants; receives a new object for each
   * @param errorcodes receives one status per instant
   * @return status
   */
  public static native int queryInterpRecords(
      int nTagID, byte nTagType, int nRecNum, ZRJniRecord[] record, int[] errorcodes);

  /**
   * Computes values like {@link #queryInterpRecords}, by a chosen mode.
   *
   * @param nTagID tag identifier
   * @param nTagType ignored
   * @param nRecNum number of instants
   * @param record in: objects whose times are the instants; receives a new object for each
   * @param errorcodes receives one status per instant
   * @param nMode 0 linear, 1 the previous record's value; its low 8 bits count
   * @return status
   */
  public static native int queryInterpRecordsByMode(
      int nTagID, byte nTagType, int nRecNum, ZRJniRecord[] record, int[] errorcodes, int nMode);

  /**
   * Computes the value of each of many tags at an instant of its own. Unlike {@link
   * #queryInterpRecordsByMode}, the status is 119611 when some instants fail; both arrays are
   * written then, too.
   *
   * @param nMode 0 linear, 1 the previous record's value; its low 8 bits count
   * @param tagIDs tag identifiers, one per instant
   * @param nRecNum number of instants
   * @param record in: objects whose times are the instants; receives a new object for each
   * @param errorcodes receives one status per instant
   * @return status, 119611 when some instants failed
   */
  public static native int queryTagsInterpRecordsByMode(
      int nMode, int[] tagIDs, int nRecNum, ZRJniRecord[] record, int[] errorcodes);

  // ==== correction of history ====

  /**
   * Replaces quality and value of the record that a tag has at exactly the record's time, archived
   * or held back by its filters; the current value follows when it is that record.
   *
   * @param nTagID tag identifier
   * @param nTagType type that selects the value field; it must be the tag's, which is not looked up
   * @param record the new record
   * @return status
   */
  public static native int modifyRecord(int nTagID, byte nTagType, ZRJniRecord record);

  // ==== statistics ====

  /**
   * Computes the arithmetic mean of a tag's raw records in an interval, both ends included.
   *
   * @param nTagID tag identifier
   * @param querystarttime start
   * @param queryendtime end
   * @param nQulityMode ignored
   * @param nWeightMode ignored: the mean is never weighted by time; {@link #getTagStats} offers
   *     that
   * @param fPercentGood least share of good values, in percent
   * @param meanValue receives the mean
   * @return status
   */
  public static native int getTagMean(
      int nTagID,
      ZRJniTime querystarttime,
      ZRJniTime queryendtime,
      int nQulityMode,
      int nWeightMode,
      float fPercentGood,
      DoubleWrapper meanValue);

  /**
   * Computes the maximum of a tag's raw records in an interval, both ends included.
   *
   * @param tagID tag identifier
   * @param startTime start
   * @param endTime end
   * @param percGood least share of good values, in percent
   * @param maxValueWrapper receives the maximum
   * @return status
   */
  public static native int getTagMax(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper maxValueWrapper);

  /**
   * Computes the minimum of a tag's raw records in an interval, both ends included.
   *
   * @param tagID tag identifier
   * @param startTime start
   * @param endTime end
   * @param percGood least share of good values, in percent
   * @param minValueWrapper receives the minimum
   * @return status
   */
  public static native int getTagMin(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper minValueWrapper);

  /**
   * Computes the sum of a tag's raw records in an interval, both ends included.
   *
   * @param tagID tag identifier
   * @param startTime start
   * @param endTime end
   * @param percGood least share of good values, in percent
   * @param sumValueWrapper receives the sum
   * @return status
   */
  public static native int getTagSum(
      int tagID,
      ZRJniTime startTime,
      ZRJniTime endTime,
      float percGood,
      DoubleWrapper sumValueWrapper);

  /**
   * Computes the share of an interval's time, up to now, in which a tag was good.
   *
   * @param tagID tag identifier
   * @param startTime start
   * @param endTime end
   * @param percGoodWrapper receives the share, in percent
   * @return status
   */
  public static native int getTagPercentGood(
      int tagID, ZRJniTime startTime, ZRJniTime endTime, DoubleWrapper percGoodWrapper);

  /**
   * Computes any statistic of a tag in an interval, its start included and its end not. The text of
   * the filter stays allocated in native memory.
   *
   * @param tagID tag identifier
   * @param statsType 0 maximum, 1 minimum, 2 sum, 3 last, 4 percentage good, 5 arithmetic mean, 6
   *     time-weighted mean, 7 integral, 8 changes, 9 changes upward, 10 changes downward, 11
   *     difference, 12 count in range, 13 count outside it, 14 range, 15 standard deviation, 16 to
   *     21 time greater, at least, equal, not equal, less, at most, 22 time in range, 23 time
   *     outside it, 24 count, 25 duration
   * @param startTime start
   * @param endTime end
   * @param sampleType 0 raw records, 1 linear interpolation, 2 previous value
   * @param samplePeriod period of interpolated samples, in seconds
   * @param sampleOffset offset of interpolated samples, in seconds
   * @param extParam1 first parameter of the statistic, such as the lower bound of a range
   * @param extParam2 second parameter of the statistic
   * @param jsFilterExpr expression over {@code value}, {@code quality} and {@code time} that admits
   *     a sample, up to 255 bytes; empty for none
   * @param nFilterFailMode a sample whose filter fails: 0 filtered out, 1 kept
   * @param useBadValue whether values of bad quality count; any value but 0 is yes
   * @param valueWrapper receives the result
   * @return status
   */
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

  /**
   * Creates an alarm tag. Its identifier is not written to {@code alarmtagprop}: {@link
   * #queryAlarmTagID} tells it.
   *
   * @param alarmtagprop properties of the tag
   * @param tagmask common properties that are taken from {@code alarmtagprop}
   * @param tagextmask alarm properties that are taken: bits 0 to 3 tests, 4 to 7 actions, 8 source
   *     tag, 9 group, 10 acknowledgement, 11 time dead band, 12 value dead band
   * @return status
   */
  public static native int addAlarmTag(ZRJniAlarmTag alarmtagprop, long tagmask, long tagextmask);

  /**
   * Changes properties of the alarm tag whose identifier is {@code alarmtagprop.m_tagID}.
   *
   * @param alarmtagprop new values, and the identifier
   * @param tagmask common properties that change; it must not select properties without a Java
   *     field, which carry no defined value
   * @param tagextmask alarm properties that change
   * @return status
   */
  public static native int modifyAlarmTag(
      ZRJniAlarmTag alarmtagprop, long tagmask, long tagextmask);

  /**
   * Reads all properties of an alarm tag, except that {@code m_tagClass} stays as it was.
   *
   * @param nAlarmTagID tag identifier
   * @param alarmtagprop receives the properties
   * @return status
   */
  public static native int queryAlarmTag(int nAlarmTagID, ZRJniAlarmTag alarmtagprop);

  /**
   * Deletes a tag; it is the same as {@link #deleteTag}.
   *
   * @param nAlarmTagID tag identifier
   * @return status
   */
  public static native int deleteAlarmTag(int nAlarmTagID);

  /**
   * Tells the identifier of the tag of a name, of any class.
   *
   * @param AlarmTagName tag name, without regard to ASCII case
   * @return the identifier, or -1 for any failure
   */
  public static native int queryAlarmTagID(String AlarmTagName);

  // ==== alarm records ====

  /**
   * Queries the alarm records of many tags. The holder is written whatever the status; only after 0
   * does it hold a handle.
   *
   * @param nAlarmTagIDs alarm tag identifiers; the array stays pinned or copied in native memory
   * @param alarmTagCount number of tags
   * @param querycond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @param alarmHandle receives the iterator handle for {@link #getAmTagRecordsItemStep}
   * @return status
   */
  public static native int queryAllAlarmRecordsHandle(
      int[] nAlarmTagIDs,
      int alarmTagCount,
      ZrAlarmQuery querycond,
      long nPropMask,
      LongWrapper alarmHandle);

  /**
   * Does the same as {@link #queryAllAlarmRecordsHandle}.
   *
   * @param nAlarmTagIDs alarm tag identifiers; the array stays pinned or copied in native memory
   * @param alarmTagCount number of tags
   * @param querycond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @param handleWrapper receives the iterator handle for {@link #getAmTagRecordsItemStep}
   * @return status
   */
  public static native int queryAllAlarmRecordsEx(
      int[] nAlarmTagIDs,
      int alarmTagCount,
      ZrAlarmQuery querycond,
      long nPropMask,
      LongWrapper handleWrapper);

  /**
   * Queries like {@link #queryAllAlarmRecordsHandle}, with the handle as the result.
   *
   * @param nAlarmTagIDs alarm tag identifiers; the array stays pinned or copied in native memory
   * @param alarmTagCount number of tags
   * @param querycond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @return iterator handle for {@link #getAmTagRecordsItemStep}, cut to 32 bits, or -1
   */
  public static native int queryAllAlarmRecords(
      int[] nAlarmTagIDs, int alarmTagCount, ZrAlarmQuery querycond, long nPropMask);

  /**
   * Queries the alarm records of one tag. The holder is written whatever the status; only after 0
   * does it hold a handle.
   *
   * @param nAlarmTagID alarm tag identifier
   * @param querycond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @param handleWrapper receives the iterator handle for {@link #getAmTagRecordsItemStep}
   * @return status
   */
  public static native int queryAlarmRecordsEx(
      int nAlarmTagID, ZrAlarmQuery querycond, long nPropMask, LongWrapper handleWrapper);

  /**
   * Queries like {@link #queryAlarmRecordsEx}, with the handle as the result.
   *
   * @param nAlarmTagID alarm tag identifier
   * @param querycond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @return iterator handle for {@link #getAmTagRecordsItemStep}, cut to 32 bits, or -1
   */
  public static native int queryAlarmRecords(
      int nAlarmTagID, ZrAlarmQuery querycond, long nPropMask);

  /**
   * Queries the alarm records of a group's tags and those of its subgroups. The holder is written
   * whatever the status; only after 0 does it hold a handle.
   *
   * @param nAlarmGroupID alarm group identifier
   * @param queryCond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @param handleWrapper receives the iterator handle for {@link #getAmGroupRecordsItemStep}
   * @return status
   */
  public static native int queryAlarmGroupRecordsEx(
      int nAlarmGroupID, ZrAlarmQuery queryCond, long nPropMask, LongWrapper handleWrapper);

  /**
   * Queries like {@link #queryAlarmGroupRecordsEx}, with the handle as the result.
   *
   * @param nAlarmGroupID alarm group identifier
   * @param queryCond filter
   * @param nPropMask properties that the records carry; -1 for all
   * @return iterator handle for {@link #getAmGroupRecordsItemStep}, cut to 32 bits, or -1
   */
  public static native int queryAlarmGroupRecords(
      int nAlarmGroupID, ZrAlarmQuery queryCond, long nPropMask);

  /**
   * Takes the next alarm record from an iterator.
   *
   * @param IterHandle iterator handle of a query by tags
   * @param alarmrecord receives the record
   * @return status; not 0 past the last item, 110191 for the handle 0
   */
  public static native int getAmTagRecordsItemStep(long IterHandle, ZRJniAlarmRecord alarmrecord);

  /**
   * Takes the next alarm record from an iterator; {@code nCommented} stays as it was.
   *
   * @param IterHandle iterator handle of a query by group
   * @param amrecord receives the record
   * @return status; not 0 past the last item
   */
  public static native int getAmGroupRecordsItemStep(long IterHandle, ZRJniAlarmRecord amrecord);

  /**
   * Reads the latest alarm of a tag.
   *
   * @param nAlarmTagID alarm tag identifier
   * @param nPropMask properties that the record carries; -1 for all
   * @param record receives the alarm
   * @return status
   */
  public static native int queryAlarmSnapshot(
      int nAlarmTagID, long nPropMask, ZRJniAlarmRecord record);

  /**
   * Reads the latest alarms of many tags. When some tags fail the status is still 0: {@code
   * errCode} tells which objects count. From the first alarm with a comment on, all report {@code
   * nCommented} 1.
   *
   * @param nAlarmTagID alarm tag identifiers
   * @param nTagNum number of tags
   * @param nPropMask properties that the records carry; -1 for all
   * @param AlarmRecordArray receives a new object for each tag
   * @param errCode receives one status per tag
   * @return status
   */
  public static native int queryAlarmSnapshots(
      int[] nAlarmTagID,
      int nTagNum,
      long nPropMask,
      ZRJniAlarmRecord[] AlarmRecordArray,
      int[] errCode);

  // ==== alarm handling ====

  /**
   * Acknowledges an alarm. A failure that concerns this alarm alone is not told.
   *
   * @param nAlarmTagID alarm tag identifier
   * @param time start time of the alarm
   * @return status
   */
  public static native int acknowledgeAlarm(int nAlarmTagID, ZRJniTime time);

  /**
   * Comments an alarm. A failure that concerns this alarm alone is not told.
   *
   * @param nAlarmTagID alarm tag identifier
   * @param recordtime start time of the alarm
   * @param strCommet comment, up to 255 bytes
   * @return status; -1 for a longer comment, of which nothing is kept
   */
  public static native int commentAlarm(int nAlarmTagID, ZRJniTime recordtime, String strCommet);

  // ==== alarm groups ====

  /**
   * Creates an alarm group under {@code m_ParentID}. Its identifier is not written to {@code
   * alarmgroup}: {@link #queryAlarmGroupID} tells it.
   *
   * @param alarmgroup the group
   * @return status
   */
  public static native int addAlarmGroup(AlarmGroup alarmgroup);

  /**
   * Deletes an alarm group without children.
   *
   * @param nAlarmGroupID group identifier
   * @return status
   */
  public static native int deleteAlarmGroup(int nAlarmGroupID);

  /**
   * Changes the name of an alarm group.
   *
   * @param nAlarmGroupID group identifier
   * @param groupName new name, up to 255 bytes
   * @return status
   */
  public static native int modifyAlarmGroupName(int nAlarmGroupID, String groupName);

  /**
   * Changes the description of an alarm group.
   *
   * @param nAlarmGroupID group identifier
   * @param groupDesc new description, up to 255 bytes
   * @return status
   */
  public static native int modifyAlarmGroupDesc(int nAlarmGroupID, String groupDesc);

  /**
   * Does nothing: a group cannot be moved.
   *
   * @param nAlarmGroupID ignored
   * @param nParentID ignored
   * @return always 0
   */
  public static native int modifyAlarmParentID(int nAlarmGroupID, int nParentID);

  /**
   * Tells the identifier of the group of a name under a parent.
   *
   * @param alarmGroupName name, up to 255 bytes
   * @param nParentID parent group; 0 for the root
   * @return the identifier, or -1 for any failure
   */
  public static native int queryAlarmGroupID(String alarmGroupName, int nParentID);

  /**
   * Reads the properties of an alarm group.
   *
   * @param nGroupID group identifier
   * @param alarmgroup receives the properties
   * @return status
   */
  public static native int queryAlarmGroupProp(int nGroupID, AlarmGroup alarmgroup);

  /**
   * Reads the properties of an alarm group like {@link #queryAlarmGroupProp}, but takes no notice
   * of a failure that concerns this group alone: the object is then overwritten with undefined
   * values and the result is 0.
   *
   * @param groupid group identifier
   * @param amgroup receives the properties
   * @return status
   */
  public static native int queryAmGroup(int groupid, AlarmGroup amgroup);

  /**
   * Queries the groups directly under a group. The holder is written whatever the status; only
   * after 0 does it hold a handle.
   *
   * @param nAlarmGroupID group identifier; 0 for the root
   * @param handleWrapper receives the iterator handle for {@link #getAmChildGroupsItemStep}
   * @return status
   */
  public static native int queryAlarmChildGroupsEx(int nAlarmGroupID, LongWrapper handleWrapper);

  /**
   * Queries like {@link #queryAlarmChildGroupsEx}, with the handle as the result.
   *
   * @param nAlarmGroupID group identifier; 0 for the root
   * @return iterator handle for {@link #getAmChildGroupsItemStep}, cut to 32 bits, or -1
   */
  public static native int queryAlarmChildGroups(int nAlarmGroupID);

  /**
   * Takes the next group from an iterator.
   *
   * @param IterHandle iterator handle of a query for child groups
   * @param alarmgroup receives the properties
   * @return status; not 0 past the last item
   */
  public static native int getAmChildGroupsItemStep(long IterHandle, AlarmGroup alarmgroup);

  /**
   * Queries the alarm tags directly under a group. The holder is written whatever the status; only
   * after 0 does it hold a handle.
   *
   * @param nAlarmGroupID group identifier; 0 for the root
   * @param handleWrapper receives the iterator handle for {@link #getAmChildTagsItemStep}
   * @return status
   */
  public static native int queryAlarmChildTagsEx(int nAlarmGroupID, LongWrapper handleWrapper);

  /**
   * Queries like {@link #queryAlarmChildTagsEx}, with the handle as the result.
   *
   * @param nAlarmGroupID group identifier; 0 for the root
   * @return iterator handle for {@link #getAmChildTagsItemStep}, cut to 32 bits, or -1
   */
  public static native int queryAlarmChildTags(int nAlarmGroupID);

  /**
   * Takes the next alarm tag from an iterator.
   *
   * @param IterHandle iterator handle of a query for child tags
   * @return the tag identifier, or -1 past the last item and for any failure
   */
  public static native int getAmChildTagsItemStep(long IterHandle);

  // ==== alarm subscription ====

  /**
   * Starts collecting new alarm records, until the connection ends; {@link #getRegisterTagAmHandle}
   * takes them.
   *
   * @return status
   */
  public static native int registerAmCallback();

  /**
   * Takes the alarm records that have come since the last call into a batch in native memory, which
   * {@link #freeRegisterTagAmHandle} must release.
   *
   * @param handleWrapper receives the batch handle
   * @return status
   */
  public static native int getRegisterTagAmHandle(LongWrapper handleWrapper);

  /**
   * Tells the number of alarm records in a batch.
   *
   * @param hAm batch handle
   * @return number of records; 0 for the handle 0
   */
  public static native int getRegisterTagAmNum(long hAm);

  /**
   * Converts the alarm records of a batch. All report {@code nCommented} 0. The handle 0 does
   * nothing.
   *
   * @param hAm batch handle
   * @param rec_arry receives a new object for each record
   */
  public static native void getRegisterTagAm(long hAm, ZRJniAlarmRecord[] rec_arry);

  /**
   * Releases a batch, once. The handle 0 does nothing.
   *
   * @param hAm batch handle
   */
  public static native void freeRegisterTagAmHandle(long hAm);

  // ==== calculation tags ====

  /**
   * Creates a calculation tag. Its identifier is not written to {@code tagprop}: {@link
   * #queryTagID} tells it.
   *
   * @param tagprop properties of the tag
   * @param tagmask common properties that are taken from {@code tagprop}
   * @param extmask calculation properties that are taken: bit 0 mode, 1 period, 2 expression, 3
   *     history, 4 start date, 5 end date, 6 whether there is an end, 7 source tag
   * @return status
   */
  public static native int addCalcTag(ZRJniCalcTag tagprop, long tagmask, long extmask);

  /**
   * Changes properties of the calculation tag whose identifier is {@code tagprop.m_tagID}.
   *
   * @param tagprop new values, and the identifier
   * @param tagmask common properties that change
   * @param extmask calculation properties that change
   * @return status
   */
  public static native int modifyCalcTag(ZRJniCalcTag tagprop, long tagmask, long extmask);

  /**
   * Reads all properties of a calculation tag, except that {@code m_tagClass} stays as it was.
   *
   * @param nTagID tag identifier
   * @param tagprop receives the properties
   * @return status
   */
  public static native int queryCalcTag(int nTagID, ZRJniCalcTag tagprop);

  // ==== statistics tags ====

  /**
   * Creates a statistics tag. Its identifier is not written to {@code tagprop}: {@link
   * #queryStatsTagID} tells it.
   *
   * @param tagprop properties of the tag
   * @param tagmask common properties that are taken from {@code tagprop}
   * @param extmask statistics properties that are taken: bit i is field i of {@link
   *     ZRJniStatsTag}'s own, counted from 0
   * @return status
   */
  public static native int addStatsTag(ZRJniStatsTag tagprop, long tagmask, long extmask);

  /**
   * Changes properties of the statistics tag whose identifier is {@code tagprop.m_tagID}.
   *
   * @param tagprop new values, and the identifier
   * @param tagmask common properties that change
   * @param extmask statistics properties that change
   * @return status
   */
  public static native int modifyStatsTag(ZRJniStatsTag tagprop, long tagmask, long extmask);

  /**
   * Reads all properties of a statistics tag, except that {@code m_tagClass} stays as it was.
   *
   * @param nTagID tag identifier
   * @param tagprop receives the properties
   * @return status
   */
  public static native int queryStatsTag(int nTagID, ZRJniStatsTag tagprop);

  /**
   * Tells the identifier of the tag of a name, of any class.
   *
   * @param jstrTagName tag name, without regard to ASCII case
   * @return the identifier, or -1 for any failure
   */
  public static native int queryStatsTagID(String jstrTagName);

  // ==== users, groups and authority ====

  /**
   * Logs a user in for this connection.
   *
   * @param szUser user name
   * @param szPwd password
   * @return status
   */
  public static native int login(String szUser, String szPwd);

  /**
   * Creates a user. The texts stay allocated in native memory.
   *
   * @param szUserName name, up to 63 bytes
   * @param szUserPwd password, up to 127 bytes
   * @param szUserDesc description, up to 127 bytes
   * @return status
   */
  public static native int addUser(String szUserName, String szUserPwd, String szUserDesc);

  /**
   * Deletes a user. The text stays allocated in native memory.
   *
   * @param szUserName user name
   * @return status
   */
  public static native int deleteUser(String szUserName);

  /**
   * Changes a user's password, given the old one. The texts stay allocated in native memory.
   *
   * @param szUserName user name
   * @param szUserOldPwd old password
   * @param szUserNewPwd new password
   * @return status
   */
  public static native int modifyUserPassword(
      String szUserName, String szUserOldPwd, String szUserNewPwd);

  /**
   * Changes a user's description. The texts stay allocated in native memory.
   *
   * @param szUserName user name
   * @param szUserDesc new description
   * @return status
   */
  public static native int modifyUserDesc(String szUserName, String szUserDesc);

  /**
   * Sets a user's password without the old one.
   *
   * @param szUserName user name
   * @param szUserNewPwd new password
   * @return status
   */
  public static native int resetUserPassword(String szUserName, String szUserNewPwd);

  /**
   * Tells who is logged in.
   *
   * @param userNameWrapper receives the name, up to 31 bytes, in {@code userName}; its other fields
   *     stay as they were
   * @return status
   */
  public static native int getCurrentUser(ZRUser userNameWrapper);

  /**
   * Lists all users. The holder is written whatever the status; only after 0 does it hold a handle.
   *
   * @param userIteratorHandle receives the iterator handle for {@link #getUserFromIterator}
   * @return status
   */
  public static native int getAllUsers(LongWrapper userIteratorHandle);

  /**
   * Takes the next user from an iterator.
   *
   * @param userIterator iterator handle of a list of users
   * @param userObject receives the user
   * @return status; not 0 past the last item
   */
  public static native int getUserFromIterator(long userIterator, ZRUser userObject);

  /**
   * Creates a group of users.
   *
   * @param groupName name, up to 63 bytes
   * @param groupDesc description, up to 127 bytes
   * @return status
   */
  public static native int addGroup(String groupName, String groupDesc);

  /**
   * Deletes a group of users.
   *
   * @param groupNameToDel group name
   * @return status
   */
  public static native int deleteGroup(String groupNameToDel);

  /**
   * Changes the description of a group of users.
   *
   * @param groupName group name
   * @param groupNewDesc new description
   * @return status
   */
  public static native int modifyGroupDesc(String groupName, String groupNewDesc);

  /**
   * Makes a user a member of a group.
   *
   * @param userName user name
   * @param groupName group name
   * @return status
   */
  public static native int addUserToGroup(String userName, String groupName);

  /**
   * Ends a user's membership of a group.
   *
   * @param userName user name
   * @param groupName group name
   * @return status
   */
  public static native int deleteUserFromGroup(String userName, String groupName);

  /**
   * Lists the members of a group. The holder is written whatever the status; only after 0 does it
   * hold a handle.
   *
   * @param groupName group name
   * @param userIterator receives the iterator handle for {@link #getUserFromIterator}
   * @return status
   */
  public static native int getUsersOfGroup(String groupName, LongWrapper userIterator);

  /**
   * Lists all groups of users. The holder is written whatever the status; only after 0 does it hold
   * a handle.
   *
   * @param groupIterator receives the iterator handle for {@link #getZRGroupFromIterator}
   * @return status
   */
  public static native int getAllGroups(LongWrapper groupIterator);

  /**
   * Lists the groups of a user. The holder is written whatever the status; only after 0 does it
   * hold a handle.
   *
   * @param userName user name
   * @param groupIterator receives the iterator handle for {@link #getZRGroupFromIterator}
   * @return status
   */
  public static native int queryGroupsOfUser(String userName, LongWrapper groupIterator);

  /**
   * Takes the next group of users from an iterator.
   *
   * @param groupIterator iterator handle of a list of groups
   * @param groupObject receives the group
   * @return status; not 0 past the last item
   */
  public static native int getZRGroupFromIterator(long groupIterator, ZRGroup groupObject);

  /**
   * Lists the authority items. The holder is written whatever the status; only after 0 does it hold
   * a handle.
   *
   * @param authItemIterator receives the iterator handle for {@link #getZRAuthItemFromIterator}
   * @return status
   */
  public static native int getAuthItems(LongWrapper authItemIterator);

  /**
   * Takes the next authority item from an iterator, without its level.
   *
   * @param authitemIterator iterator handle of a list of authority items
   * @param zrAuthItemObject receives the item
   * @return status; not 0 past the last item
   */
  public static native int getZRAuthItemFromIterator(
      long authitemIterator, ZRAuthItem zrAuthItemObject);

  /**
   * Tells the level that a user holds for an authority item. A level and an error code cannot be
   * told apart but by their size.
   *
   * @param userName user name
   * @param authItemName name of the authority item
   * @return the level (0 none, 1 read, 2 write, 3 manage), or an error code
   */
  public static native int getControlLevel(String userName, String authItemName);

  // ==== relay ====

  /**
   * Hands over the settings of a relay and starts it; a later call replaces them. The texts stay
   * allocated in native memory.
   *
   * @param redisInfo the settings
   * @return status
   */
  public static native int sendRedisInfo(RedisInfo redisInfo);
}
