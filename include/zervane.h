/* The client API of the Zervane process database: 87 functions with C linkage, C11 and C++20.
 *
 * Conventions of every function; each then says only what differs.
 *
 * Status. The result is a ZR3_STATUS (zr3Enum.h): 0 is success. Without a session every function
 * but nt3_connect and those that free what was handed out answers ZR3_ERR_NOT_CONNECTED. A null
 * pointer where one must be given is ZR3_ERR_NULL_ARGUMENT, a negative count ZR3_ERR_INVALID_COUNT,
 * an unterminated text ZR3_ERR_INVALID_TEXT. On any status but 0 nothing was changed and outputs
 * are unspecified, unless the function says otherwise.
 *
 * Batches. They take a count and arrays of that many elements; arrays may be null when the count is
 * 0, which succeeds. The error-code array receives one status per element and may be null. When
 * some elements failed, the others were carried out and the result is ZR3_ERR_SOME_RECORDS_FAILED,
 * or the code that the function names.
 *
 * Texts. NUL-terminated, in the process's encoding: that of its locale, or the one that
 * ZERVANE_ENCODING names. The database keeps them in UTF-8, so that processes of different
 * encodings share it. What fits its array in the process's encoding (a STRING: 999 bytes) is
 * accepted; what is not valid in it is ZR3_ERR_INVALID_TEXT. On the way out a character that the
 * process's encoding lacks becomes '?', and a text longer than its array, or a STRING than a buffer
 * of ZR3_LEN_VALUE bytes, is cut after a whole character; nothing fails for that. Where the
 * encoding is UTF-8, what comes out is what went in. Addresses and names of folders are the
 * process's bytes.
 *
 * An empty text that is left of one which did not convert is never taken for what the caller meant:
 * a function with a text among its arguments, in a record or beside it, answers
 * ZR3_ERR_INVALID_TEXT (nt3_connect ZR3_ERR_INVALID_ADDRESS) when os_lang_conv_utf8_to_sys failed
 * on its thread since the thread's last call of such a function, or of pt3_query_tag_type that
 * failed: whoever writes a batch gives it up then.
 *
 * Times. Seconds since 1970-01-01 UTC, read as unsigned 32 bits, and 0..999 milliseconds.
 *
 * Searches. Conditions (ZR3FilterItem) combine with AND; a set of none matches every tag. Texts
 * compare byte by byte after the case of ASCII letters was folded. In a pattern (ZR3_RELATION_LIKE)
 * '*' is any run of characters, '?' any one, '\' takes the next as it is; it is for the whole text,
 * and an empty one matches everything. Numbers, enumerations and flags compare as numbers: those of
 * floating point with the value rounded to the column's type, all others exactly. A number is
 * [+-]digits[.digits][e[+-]digits], with a digit before or after the point.
 * ZR3_ERR_INVALID_ARGUMENT for a column that no class has, an unknown relation, a text that is no
 * number, LIKE on a number, and a pattern that ends in a lone '\'. A condition on a column of one
 * class (100 and up) matches tags of that class alone.
 *
 * Ownership. All memory is the caller's, but for what cc3_cmd, tag3_query_all_tags_prop,
 * sn3_get_callback_sn and am3_get_callback_am hand out; each has its free function.
 *
 * Handles. Tokens, never addresses. They fit in 31 bits, and a stale, foreign or zero one is
 * ZR3_ERR_INVALID_HANDLE. The handle of a query that failed is set to 0. A process has up to 65,536
 * iterators, then queries answer ZR3_ERR_OUT_OF_MEMORY; they end with the session.
 *
 * Threads. Any function may be called from any number of threads; a process has one session.
 *
 * A library may answer ZR3_ERR_NOT_SUPPORTED for a function that it does not offer, after checking
 * its arguments. */
#ifndef ZERVANE_ZERVANE_H
#define ZERVANE_ZERVANE_H

#include "zr3Struct.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ==== nt3: connection ==== */

/* Opens the session. An empty szAddress is the embedded database in $ZERVANE_HOME, else in
 * $XDG_DATA_HOME/zervane, else in ~/.local/share/zervane; "embedded:DIR" is the one in DIR,
 * "memory:" a volatile one; anything else is a server's host name or address. The folder is made
 * when it is missing. nTimeout is in seconds, from 1; other values mean 3. Connected to the same
 * servers already: 0, and nothing changes. ZR3_ERR_ALREADY_CONNECTED when connected to others;
 * ZR3_ERR_CONNECT_FAILED, ZR3_ERR_INVALID_ADDRESS, ZR3_ERR_DATABASE_IN_USE,
 * ZR3_ERR_DATABASE_VERSION, ZR3_ERR_NOT_A_DATABASE, or a ZR3_ERR_STORAGE_... status;
 * ZR3_ERR_INVALID_TEXT when the texts of a database of an earlier release are not in the process's
 * encoding, or the one that it keeps is not known. */
int32 nt3_connect(const ZR3Connection* pConnection);

/* Stores what is still queued and closes the session. Every handle and every pending change becomes
 * invalid. When something that this session queued could not be stored and no call was told yet,
 * its status; the session is closed all the same. */
int32 nt3_disconnect(void);

/* ==== ut3: iteration, settings, time, relay ==== */

/* Copies the iterator's next item into *pItem, whose type the query that made the iterator fixes
 * (ZR3PtTagProp, ZR3CommTagProp, uint32, ZR3AlarmRecord, ZR3AlarmGroup, ZR3SecUser, ZR3SecGroup or
 * ZR3SecAuthItem). ZR3_ERR_END_OF_ITERATION past the last one, as often as it is asked; *pItem is
 * then untouched.
 *
 * An iterator of tags fetches up to 1,000 at a time, so it stays valid while tags come and go: each
 * comes at most once, in order; one that was deleted before it was fetched is passed over, one that
 * was added behind comes. Threads may share an iterator: each item goes to one of them. */
int32 ut3_get_item_step(ZR3HANDLE hIterator, void* pItem);

/* Releases an iterator. ZR3_ERR_INVALID_HANDLE when there is none of that handle. */
int32 ut3_free_handle(ZR3HANDLE hIterator);

/* Sets how long a request to a server may take, in seconds, from 1 to 86,400;
 * ZR3_ERR_INVALID_ARGUMENT otherwise. The embedded database answers without a limit. Lasts for the
 * process. */
int32 ut3_set_request_timeout(int32 nTimeout);

/* Sets option bits of the client. None is defined: 0 is accepted, every other value is
 * ZR3_ERR_INVALID_ARGUMENT. Lasts for the process. */
int32 ut3_set_api_option(int64 nOption);

/* Sets how many tag identities (name to identifier, identifier to type) the request cache may hold:
 * 0 turns it off, the default is 100,000. ZR3_ERR_INVALID_COUNT when negative. Lasts for the
 * process. */
int32 ut3_set_request_cache_capacity(int32 nCapacity);

/* The database's clock, in milliseconds since 1970-01-01 UTC. */
int32 ut3_get_server_ms_time(int64* pMsTime);

/* Sets the relay, which passes current values and what becomes of alarms on to a Redis as JSON
 * (docs/relay.md). The settings are kept with the database until another call replaces them, and
 * come as a copy of the whole record. szHostIP: empty turns the relay off. szPort: 1 to 65535,
 * empty for 6379, or with szMasterName, which has the host be a Sentinel, 26379. szPassword: what
 * the master asks for. szMaxTotal: from 1, empty for 8. szMaxWait: milliseconds for a connection
 * and for a command, from 1, empty for 1000. szRoutingrtalms, szRoutingclearalm, szRoutingrtrec,
 * szRoutingcrs: the streams and channels of alarms raised, alarms ended, current values, and
 * acknowledgements and comments; empty turns one off. The other texts are not looked at, but must
 * end. ZR3_ERR_INVALID_RELAY for a number that is none, ZR3_ERR_INVALID_TEXT, ZR3_ERR_NO_RIGHT,
 * ZR3_ERR_STORAGE_...: the settings stay as they were. A Redis that cannot be reached is no
 * failure: it is tried again and again. */
int32 ut3_send_rest_info(ZRRestCfg cfg);

/* ==== pt3: point tags and tag types ==== */

/* Creates a point tag from the properties that the masks select; the others take their defaults,
 * the name always counts. szNode names the data node that is to hold the tag, null for none; the
 * embedded database has one node and accepts any name. *pTagID receives the identifier.
 * ZR3_ERR_TAG_EXISTS, ZR3_ERR_INVALID_TAG_NAME, ZR3_ERR_INVALID_TAG_TYPE,
 * ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_INVALID_PROPERTY, ZR3_ERR_INVALID_MASK,
 * ZR3_ERR_TAG_IDS_EXHAUSTED. */
int32 pt3_add_tag(const ZR3PtTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID);

/* Changes the selected properties of a point tag; only they are read. Errors as above, and
 * ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_TAG_HAS_RECORDS. The identifier is never changed: its bit is
 * accepted and has no effect. A tag that others read stays of a number type or DIGITAL, or stays
 * STRING or BLOB: ZR3_ERR_INVALID_TAG_TYPE. Tags that read or set it have its new name in their
 * properties at once; ZR3_ERR_INVALID_PROPERTY when it does not fit one of these. */
int32 pt3_modify_tag_prop(uint32 nTagID, const ZR3PtTagProp* pProp, const ZR3Mask* pMask);

/* Fills *pProp whole. ZR3_ERR_TAG_NOT_FOUND; ZR3_ERR_INVALID_TAG_CLASS when the tag is not a point
 * tag. */
int32 pt3_query_tag_prop(uint32 nTagID, ZR3PtTagProp* pProp);

/* The type of a tag of any class. ZR3_ERR_TAG_NOT_FOUND. */
int32 pt3_query_tag_type(uint32 nTagID, ZR3_TAG_TYPE* pTagType);

/* Searches point tags: *pIterator receives an iterator of ZR3PtTagProp, in order of identifier,
 * with the properties that the mask selects (the others zero or empty; identifier and name always).
 * ZR3_ERR_INVALID_MASK, ZR3_ERR_INVALID_ARGUMENT, ZR3_ERR_OUT_OF_MEMORY. */
int32 pt3_query_tags_cond(const ZR3FilterItemSet* pItemSet, const ZR3Mask* pMask,
                          ZR3HANDLE* pIterator);

/* ==== tag3: tags of all classes ==== */

/* Deletes a tag of any class with its values, an alarm tag with its alarms. ZR3_ERR_TAG_NOT_FOUND.
 */
int32 tag3_delete_tag(uint32 nTagID);

/* Searches tags of the selected classes (bit i is class i, bit 6 all classes, -1 too; 0 and other
 * bits are ZR3_ERR_INVALID_MASK): *pIterator receives an iterator of ZR3CommTagProp, in order of
 * identifier, with the common properties that nPropMask selects (the others zero or empty;
 * identifier and name always). Statuses as above. */
int32 tag3_query_tags_cond(int64 nTagClassMask, const ZR3FilterItemSet* pItemSet, int64 nPropMask,
                           ZR3HANDLE* pIterator);

/* The same for one page of the matches: those with identifiers from nStartID on, at most nCapacity
 * of them. The next page starts behind the last identifier of this one. mask.nExtMask is not looked
 * at. Statuses as above, and ZR3_ERR_INVALID_COUNT for a capacity below 1. */
int32 tag3_query_specify_page_tags_cond(int64 nTagClassMask, const ZR3PageQueryTagParam* pParam,
                                        ZR3HANDLE* pIterator);

/* Counts the matches of one class, or of all with ZR3_TAG_CLASS_ALL, as they are at one instant.
 * ZR3_ERR_INVALID_TAG_CLASS for a number outside 0 to 6, ZR3_ERR_INVALID_ARGUMENT. */
int32 tag3_query_tag_num_cond(int32 nTagClass, const ZR3FilterItemSet* pItemSet, int32* pNum);

/* The common properties of all tags of the selected classes as they are at one instant, in order of
 * identifier: *ppProps receives an array of *pNum records with the properties that nPropMask
 * selects, as above. The array is the caller's, also after the session's end, until
 * tag3_free_all_tags_prop releases it; that of no tags, too. nReserved is 0, else
 * ZR3_ERR_INVALID_ARGUMENT. ZR3_ERR_INVALID_MASK; ZR3_ERR_OUT_OF_MEMORY, also for more than 500,000
 * tags (search by pages), and for more than 1,024 of these calls at a time. */
int32 tag3_query_all_tags_prop(int64 nTagClassMask, int32* pNum, int64 nPropMask,
                               ZR3CommTagProp** ppProps, int32 nReserved);

/* Releases such an array, which then must not be used; null does nothing. */
int32 tag3_free_all_tags_prop(ZR3CommTagProp* pProps);

/* The identifier of the tag of that name, without regard to ASCII case. ZR3_ERR_NAME_NOT_FOUND. */
int32 tag3_query_id_by_name(const char* szTagName, uint32* pTagID);

/* The same for nNum names, one per slot of ZR3_LEN_TAG_NAME bytes. An element that failed leaves
 * its identifier as it was and has ZR3_ERR_NAME_NOT_FOUND or ZR3_ERR_INVALID_TEXT; the result is
 * then ZR3_ERR_SOME_NAMES_FAILED. */
int32 tag3_query_ids_by_names(int32 nNum, const char* pTagNames, uint32* pTagIDs, int32* pErrCodes);

/* ==== cc3: text commands ==== */

/* Carries out a command and hands out its reply, to be released with cc3_cmd_free.
 * "cmdtype=read_version;" replies "tag_version=" (12 characters), the catalogue's version in
 * decimal, and ";". ZR3_ERR_UNKNOWN_COMMAND for anything else. */
int32 cc3_cmd(const char* szCommand, char** ppReply);

/* Releases a reply; null does nothing. */
int32 cc3_cmd_free(char* pReply);

/* ==== sn3: current values ==== */

/* Reads the current value of a tag. In: nTagType, and for STRING and BLOB strBlob with a buffer and
 * its capacity. Out: the whole record; a STRING is terminated inside its buffer, nLenBuf is the
 * value's length (a STRING's with its terminator). ZR3_ERR_TAG_NOT_FOUND; ZR3_ERR_NO_RECORD before
 * the first value; ZR3_ERR_TYPE_MISMATCH when a STRING or BLOB tag is read without a buffer;
 * ZR3_ERR_BUFFER_TOO_SMALL; a STRING never is that in a buffer of ZR3_LEN_VALUE bytes. */
int32 sn3_query_snapshot(uint32 nTagID, ZR3Record* pRecord);

/* The same for nNum tags, with one code per tag. The record of a tag that failed is untouched. */
int32 sn3_query_snapshots(int32 nNum, const uint32* pTagIDs, ZR3Record* pRecords, int32* pErrCodes);

/* Writes the value of a tag; durable once answered. The record must not be older than the current
 * value; one of equal time replaces it. Time 0.0 means the database's clock. ZR3_ERR_TAG_NOT_FOUND,
 * ZR3_ERR_TYPE_MISMATCH, ZR3_ERR_INVALID_TIME, ZR3_ERR_OUT_OF_ORDER, ZR3_ERR_VALUE_TOO_LONG,
 * ZR3_ERR_INVALID_TEXT, ZR3_ERR_STORAGE_.... */
int32 sn3_save_snapshot(uint32 nTagID, const ZR3Record* pRecord);

/* The same for nNum records, record i for tag i, taken in order; a tag may stand more than once.
 * One code per record. */
int32 sn3_save_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                         int32* pErrCodes);

/* The same, answered when the values are queued. They are stored in the order of the calls, become
 * readable as they are stored, and nothing is lost on nt3_disconnect. The codes tell what was
 * refused. A later failure of the disk is logged, further ones of a session as a sum; the first
 * that the session was not told yet is the status of its next call that waits to write, or of
 * nt3_disconnect. No other session hears of it. */
int32 sn3_save_snapshots_nowait(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                int32* pErrCodes);

/* Writes nNum records of one tag in any order of time; durable once answered. The current value
 * only moves forward. */
int32 sn3_save_disorder_snapshots(int32 nNum, uint32 nTagID, const ZR3Record* pRecords,
                                  int32* pErrCodes);

/* The same with a tag for each record. */
int32 sn3_save_tags_disorder_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                       int32* pErrCodes);

/* Subscribes to changes of the current values of nNum tags: what is accepted from then on is handed
 * out once, in order of commit, however often and in whatever form a tag is registered. pReserved
 * is null, else ZR3_ERR_INVALID_ARGUMENT. ZR3_ERR_TAG_NOT_FOUND for an unknown tag, when none of
 * the call is registered. A subscription ends with its session, that of a tag with the tag. */
int32 sn3_register_callback(int32 nNum, const uint32* pTagIDs, void* pReserved);

/* Ends the subscription to those tags, however often they were registered so; succeeds where they
 * were not. What was accepted before is still handed out. */
int32 sn3_unregister_callback_of_sometag(int32 nNum, const uint32* pTagIDs);

/* Subscribes to nNum pairs of tag and field: 0 any change, 1 changes of the value, 2 of the
 * quality. A tag's first value is a change of both, a NaN after a NaN none. ZR3_ERR_TAG_NOT_FOUND
 * for an unknown tag and ZR3_ERR_INVALID_ARGUMENT for another field, when none of the call is
 * registered. */
int32 sn3_register_rest(int32 nNum, const ZRRegInfo* pInfos);

/* Ends the subscription to those pairs, likewise. */
int32 sn3_unregister_callback_rest(int32 nNum, const ZRRegInfo* pInfos);

/* Hands out the changes that have come since the last call: two arrays of *pNum elements, oldest
 * change first, to be released with sn3_free_callback_sn; 0 and nulls when there are none, or
 * nothing is registered. A STRING or BLOB has a buffer of its own. Up to 65,536 changes wait; past
 * that the oldest of a tag that has a newer one goes first. ZR3_ERR_OUT_OF_MEMORY also when 65,536
 * batches were handed out and not released; the next call has the changes then. */
int32 sn3_get_callback_sn(int32* pNum, uint32** ppTagIDs, ZR3Record** ppRecords);

/* Releases such a pair of arrays, also when its session is over; two nulls do nothing.
 * ZR3_ERR_INVALID_HANDLE for what was not handed out or is released already, ZR3_ERR_INVALID_COUNT
 * for another count than was handed out, when nothing is released. */
int32 sn3_free_callback_sn(int32 nNum, uint32* pTagIDs, ZR3Record* pRecords);

/* ==== ar3: archive ==== */

/* Counts the archived records of a tag in a region. ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TIME,
 * ZR3_ERR_INVALID_REGION. */
int32 ar3_query_raw_records_number(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum);

/* Reads the archived records of a tag in a region, oldest first. *pNum: in, the capacity of
 * pRecords; out, how many were filled (the oldest, when the capacity ran out). For STRING and BLOB
 * every element comes with its buffer, as in sn3_query_snapshot. Errors as above, and
 * ZR3_ERR_BUFFER_TOO_SMALL, ZR3_ERR_TYPE_MISMATCH. */
int32 ar3_query_raw_records(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum,
                            ZR3Record* pRecords);

/* Reads up to *pNum archived records from a time on, which counts: ascending, or descending when
 * bBackward is not 0. Everything else as above. */
int32 ar3_query_specify_num_raw_recs(uint32 nTagID, const ZR3Time* pStart, bool8 bBackward,
                                     int32* pNum, ZR3Record* pRecords);

/* Computes the values of a tag at nNum instants (at most 10,000,000, else ZR3_ERR_INVALID_COUNT),
 * which come in any order, the same one more than once if need be.
 *
 * In: the records' times alone, and for STRING and BLOB strBlob with a buffer and its capacity;
 * nTagType is not looked at. Out: of an instant with a value the whole record, its time unchanged;
 * of another nothing. A good record at exactly the instant is the answer, of its own quality. Else
 * the value is that of the last good record before it or, in mode LINEAR and for numbers, on the
 * line from there to the first good one after it, whole numbers rounded, halves away from zero; the
 * quality is 192, or 88 (uncertain) where a record that is not good was passed over. What filters
 * hold back counts as if it were archived.
 *
 * ZR3_ERR_SOME_INSTANTS_FAILED when some have no value, all of them included; the codes tell which:
 * ZR3_ERR_NO_RECORD (no good record at the instant or before it, or the instant is later than both
 * the database's clock and the tag's newest record), ZR3_ERR_INVALID_TIME, ZR3_ERR_TYPE_MISMATCH
 * (STRING or BLOB without a buffer), ZR3_ERR_BUFFER_TOO_SMALL. ZR3_ERR_TAG_NOT_FOUND,
 * ZR3_ERR_INVALID_ARGUMENT for another mode, ZR3_ERR_STORAGE_...: then nothing is written. */
int32 ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, uint32 nTagID, int32 nNum,
                                       ZR3Record* pRecords, int32* pErrCodes);

/* The same with a tag for each instant, whose code may be ZR3_ERR_TAG_NOT_FOUND, or the status that
 * says why its records cannot be read. */
int32 ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, int32 nNum,
                                            const uint32* pTagIDs, ZR3Record* pRecords,
                                            int32* pErrCodes);

/* Replaces quality and value of the record that a point tag has at exactly the record's time, in
 * the archive, among what its filters hold back, and as the current value; durable once answered.
 * It comes after all that was written before it, queued records too. Time 0.0 is the first instant,
 * not the clock. Of what was computed from the record before, nothing changes.
 *
 * ZR3_ERR_NO_RECORD when there is none; ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TAG_CLASS,
 * ZR3_ERR_TYPE_MISMATCH, ZR3_ERR_INVALID_TIME, ZR3_ERR_VALUE_TOO_LONG, ZR3_ERR_INVALID_TEXT,
 * ZR3_ERR_STORAGE_.... */
int32 ar3_modify_record(uint32 nTagID, const ZR3Record* pRecord);

/* ==== st3: statistics and statistics tags ==== */

/* Computes one statistic of a tag's records over the regions of *pParam into *pValue; what filters
 * hold back counts as if it were archived. docs/statistics.md has every formula.
 *
 * pTimeRegions: nTimeRegionNum of them, 1 to 100,000, ascending and not overlapping; an end belongs
 * to its region when its flag is not 0. fPercentGood: 0 to 100, the least share of good time, 0 for
 * any. nSampleType: the records themselves, or values computed at the left end plus nOffset seconds
 * (0 or more) and then every nPeriod seconds (1 or more), at most 10,000,000 of them. szFilterExpr:
 * an expression over value, quality and time (seconds) that drops records where it is 0; empty for
 * none. nFilterFailMode: what becomes of a record for which it has no finite value. dExtParam1 and
 * dExtParam2: the limits of the statistics that have some. bUseBadValue: not 0 has records of bad
 * quality count, too. Sums of time are in seconds, integrals in units times seconds.
 *
 * ZR3_ERR_NO_RECORD when there is nothing to compute from; counts, times and the share of good are
 * then 0. ZR3_ERR_TOO_FEW_GOOD below fPercentGood. ZR3_ERR_TAG_NOT_FOUND; ZR3_ERR_INVALID_COUNT;
 * ZR3_ERR_INVALID_TIME; ZR3_ERR_INVALID_REGION for regions reversed, empty, overlapping or out of
 * order; ZR3_ERR_INVALID_ARGUMENT for an enumeration or a number outside its range;
 * ZR3_ERR_INVALID_TEXT and ZR3_ERR_INVALID_EXPRESSION for a filter that is no text, or no
 * expression; ZR3_ERR_TYPE_MISMATCH for a statistic that STRING and BLOB have not;
 * ZR3_ERR_STORAGE_.... *pValue is then as it was. */
int32 st3_tag_stats_calc(uint32 nTagID, const ZR3StRelatedParam* pParam, float64* pValue);

/* Creates, changes and reads a statistics tag, as pt3_add_tag, pt3_modify_tag_prop and
 * pt3_query_tag_prop do point tags. Its values are the statistic of its source over one window
 * after the other, which the database computes by itself (docs/statistics-tags.md); nobody else
 * writes them. Properties that are not selected on adding are 0 or empty, but month begin day 1,
 * end day 31, interval 3600, calculation period 60, drop mode AREA.
 *
 * ZR3_ERR_NAME_NOT_FOUND for the source, ZR3_ERR_INVALID_TAG_CLASS for one that is an alarm tag,
 * ZR3_ERR_INVALID_TAG_TYPE for a statistics tag of texts, or a source that has not the statistic,
 * ZR3_ERR_CALCULATION_LOOP, ZR3_ERR_INVALID_EXPRESSION for the filter, ZR3_ERR_INVALID_PROPERTY for
 * a number or an enumeration outside its range. */
int32 st3_add_tag(const ZR3StatsTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID);
int32 st3_modify_tag_prop(uint32 nTagID, const ZR3StatsTagProp* pProp, const ZR3Mask* pMask);
int32 st3_query_tag_prop(uint32 nTagID, ZR3StatsTagProp* pProp);

/* ==== ca3: calculation tags ==== */

/* Creates, changes and reads a calculation tag, as for point tags. Its values are those of an
 * expression over other tags (docs/expressions.md), computed at every whole multiple of its period,
 * in seconds, or when its source, or without one any operand, gets a new current value; with a
 * history also over past time (docs/calculations.md). Nobody else writes them.
 *
 * ZR3_ERR_INVALID_EXPRESSION, with the place in the log; ZR3_ERR_NAME_NOT_FOUND for an operand or
 * the source; ZR3_ERR_INVALID_TAG_CLASS for one that is an alarm tag; ZR3_ERR_INVALID_TAG_TYPE for
 * an operand, or a calculation tag, of texts; ZR3_ERR_CALCULATION_LOOP; ZR3_ERR_INVALID_PROPERTY
 * for a mode or a period outside its range, or a history that starts after its end. */
int32 ca3_add_tag(const ZR3CalcTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID);
int32 ca3_modify_tag_prop(uint32 nTagID, const ZR3CalcTagProp* pProp, const ZR3Mask* pMask);
int32 ca3_query_tag_prop(uint32 nTagID, ZR3CalcTagProp* pProp);

/* ==== am3: alarms ==== */

/* Creates an alarm tag from the properties that the masks select, as pt3_add_tag does a point tag;
 * pTagID may be the record's own nTagID. It watches the values of its source from the first that
 * comes after it was saved; it holds no values itself.
 *
 * szSourceTagName: a tag that is there, of any class but alarm tags; of a number type or DIGITAL,
 * unless the tests are CHANGE alone. szTest1 to 4: empty, or "TYPE COMPARISON NUMBER [PRIORITY n]"
 * with LOLO, LOW, HIGH or HIHI, and >, >=, <, <=, = or <>; or "CHANGE [least] [PRIORITY n]"; n is 1
 * to 4. szAction1 to 4: empty, or "SET 'TAG' number", which is written when the test's record
 * starts; the target is a point tag of a number type or DIGITAL that holds the number.
 * nAlarmGroupID: a group, 0 is the root. nAutoAck: ZR3_AM_ACK_TYPE. nTimeDeadBand: seconds, from 0.
 * fValueDeadBand: units of the source, from 0. Source and targets are kept by identifier, and read
 * back by their present names; a source that was deleted reads back as an empty text, a target as
 * it was called last. docs/alarms.md tells the life of an alarm.
 *
 * ZR3_ERR_INVALID_ALARM_TEST for a test or an action that does not parse; ZR3_ERR_NAME_NOT_FOUND
 * for a source or target that is not there, also for no source; ZR3_ERR_INVALID_TAG_CLASS for one
 * of another class, ZR3_ERR_INVALID_TAG_TYPE for one of another type; ZR3_ERR_TYPE_MISMATCH for a
 * number that its target cannot hold; ZR3_ERR_GROUP_NOT_FOUND; ZR3_ERR_INVALID_PROPERTY; and those
 * of pt3_add_tag. */
int32 am3_add_tag(ZR3AlarmTagProp* pProp, const ZR3Mask* pMask, const char* szNode, uint32* pTagID);

/* Changes the selected properties of an alarm tag; only they are read. Errors as above, and
 * ZR3_ERR_TAG_NOT_FOUND; ZR3_ERR_INVALID_TAG_CLASS when the tag is not an alarm tag. When tests,
 * dead bands or source change, the alarm that stands ends. */
int32 am3_modify_tag_prop(uint32 nTagID, const ZR3AlarmTagProp* pProp, const ZR3Mask* pMask);

/* Fills *pProp whole. ZR3_ERR_TAG_NOT_FOUND; ZR3_ERR_INVALID_TAG_CLASS when the tag is not an alarm
 * tag. */
int32 am3_query_tag_prop(uint32 nTagID, ZR3AlarmTagProp* pProp);

/* Alarm records of nTagNum tags (one that is named twice counts once), of one tag, or of the tags
 * of a group and its subgroups: an iterator of ZR3AlarmRecord in order of start, then tag. The
 * start lies in the closed range from tvStart to tvEnd, which is no end when it is 0.0. Bit n of a
 * mask of the query is enumerator n; 0 and -1 filter nothing. Bit i of nPropMask is field i of the
 * record in its order; -1 selects all, and tag and start always come. What is not selected is 0 or
 * empty. ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TAG_CLASS for one that is no alarm tag,
 * ZR3_ERR_GROUP_NOT_FOUND, ZR3_ERR_INVALID_MASK, ZR3_ERR_INVALID_TIME, ZR3_ERR_INVALID_REGION. */
int32 am3_query_tags_all_records(int32 nTagNum, const uint32* pTagIDs, const ZR3AlarmQuery* pQuery,
                                 int64 nPropMask, ZR3HANDLE* pIterator);
int32 am3_query_tag_records(uint32 nTagID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                            ZR3HANDLE* pIterator);
int32 am3_query_group_records(uint32 nGroupID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                              ZR3HANDLE* pIterator);

/* The latest alarm record, by start, of each of nTagNum tags, with one code per tag:
 * ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_NO_ALARM; its record is then untouched.
 * ZR3_ERR_SOME_ALARMS_FAILED when some failed; with an nTagNum of 1 the code is the status, too.
 * pErrCodes may be null. ZR3_ERR_INVALID_MASK. */
int32 am3_query_snapshots(int32 nTagNum, const uint32* pTagIDs, int64 nPropMask,
                          ZR3AlarmRecord* pRecords, int32* pErrCodes);

/* Acknowledges nNum alarms, each named by its tag and start time, in the user's name; one code per
 * alarm: ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_INVALID_TAG_CLASS, ZR3_ERR_INVALID_TIME, ZR3_ERR_NO_ALARM,
 * ZR3_ERR_ALREADY_ACKNOWLEDGED. The others are acknowledged. Codes and status as for snapshots. */
int32 am3_acknowledge_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                             int32* pErrCodes);

/* Comments nNum alarms, likewise; comment i, which replaces the one before, stands in slot i of
 * ZR3_LEN_ALARM_COMMENT bytes, and may be empty. ZR3_ERR_INVALID_TEXT is a code here, too. */
int32 am3_comment_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                         const char* pComments, int32* pErrCodes);

/* Creates an alarm group under the record's nParentID (0 is the root). pGroupID receives its
 * identifier; it may be the record's own nParentID. Names are as those of tags, and unique under
 * one parent without regard to ASCII case. ZR3_ERR_INVALID_GROUP_NAME, ZR3_ERR_INVALID_TEXT,
 * ZR3_ERR_GROUP_NOT_FOUND for the parent, ZR3_ERR_GROUP_EXISTS, ZR3_ERR_TAG_IDS_EXHAUSTED. */
int32 am3_add_group(const ZR3AlarmGroup* pGroup, uint32* pGroupID);

/* Deletes a group that has neither groups nor alarm tags: ZR3_ERR_GROUP_NOT_EMPTY,
 * ZR3_ERR_GROUP_NOT_FOUND, ZR3_ERR_INVALID_ARGUMENT for the root. Its identifier is not given
 * again. */
int32 am3_delete_group(uint32 nGroupID);

/* Changes a group's texts. With a name in the record that becomes the group's, and a description
 * that is not empty its description; without one the description alone is changed, also to an empty
 * one. The identifiers of the record are not looked at. As am3_add_group, and
 * ZR3_ERR_INVALID_ARGUMENT for the root. */
int32 am3_modify_group(uint32 nGroupID, const ZR3AlarmGroup* pGroup);

/* The identifier of the group of that name, without regard to ASCII case, under that parent:
 * ZR3_ERR_GROUP_NOT_FOUND. */
int32 am3_query_group_id(const char* szName, uint32 nParentID, uint32* pGroupID);

/* The properties of nNum groups, with one code per group: ZR3_ERR_GROUP_NOT_FOUND, with its record
 * untouched. Codes and status as for snapshots. The root, 0, has neither name nor description. */
int32 am3_query_group_props(int32 nNum, const uint32* pGroupIDs, ZR3AlarmGroup* pGroups,
                            int32* pErrCodes);

/* The groups (an iterator of ZR3AlarmGroup) and the alarm tags (of uint32 identifiers) directly
 * under a group, in order of identifier: ZR3_ERR_GROUP_NOT_FOUND. */
int32 am3_query_group_child_groups(uint32 nGroupID, ZR3HANDLE* pIterator);
int32 am3_query_group_child_tags(uint32 nGroupID, ZR3HANDLE* pIterator);

/* Subscribes to the transitions of all alarms, until the session ends: raised, returned to normal,
 * acknowledged, commented. pReserved is null, else ZR3_ERR_INVALID_ARGUMENT. */
int32 am3_register_alarm_record_info(void* pReserved);

/* Hands out the transitions that have come since the last call, oldest first, each the whole record
 * as it then stood: an array of *pNum, at most 10,000, to be released with am3_free_callback_am;
 * the rest comes with the next call. 0 and null when there are none. Up to 65,536 wait, then the
 * oldest goes. ZR3_ERR_OUT_OF_MEMORY as of sn3_get_callback_sn. */
int32 am3_get_callback_am(int32* pNum, ZR3AlarmRecord** ppRecords);

/* Releases such an array, as sn3_free_callback_sn does; null does nothing. */
int32 am3_free_callback_am(int32 nNum, ZR3AlarmRecord* pRecords);

/* ==== sc3: security ==== */

/* A session begins as the user "admin", who has no password until he gets one. What a user may do
 * says docs/security.md; what he may not is ZR3_ERR_NO_RIGHT, here and everywhere. Users and groups
 * are named by 1 to 63 bytes without control characters, unique and found without regard to ASCII
 * case: ZR3_ERR_INVALID_USER_NAME, ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_USER_GROUP_NOT_FOUND. Passwords
 * have 1 to 127 bytes: ZR3_ERR_INVALID_PASSWORD. The library keeps no copy of one in memory. */

/* Logs a user in for this session; its subscriptions end. ZR3_ERR_LOGIN_FAILED when there is no
 * such user, or the password is another: the session is as it was. Each failure of a name in a row
 * is answered 100 ms later, doubling to 30 s, and the next try of that name waits for it. */
int32 sc3_login(const char* szUser, const char* szPassword);

/* Users. Adding: ZR3_ERR_USER_EXISTS. Deleting ends what the user is in, and has the user's
 * sessions refused from their next call on: ZR3_ERR_BUILT_IN for admin, ZR3_ERR_LAST_ADMINISTRATOR.
 * Whoever changes a password tells the old one, ZR3_ERR_LOGIN_FAILED as of sc3_login, and needs no
 * right for his own; resetting one needs the right alone. */
int32 sc3_add_user(const ZR3SecUser* pUser);
int32 sc3_delete_user(const char* szUser);
int32 sc3_modify_password(const char* szUser, const char* szOldPassword, const char* szNewPassword);
int32 sc3_modify_user_desc(const char* szUser, const char* szDesc);
int32 sc3_reset_password(const char* szUser, const char* szNewPassword);

/* The name of the user who is logged in, into a buffer of nSize bytes, terminator included.
 * ZR3_ERR_BUFFER_TOO_SMALL when it does not fit: nothing is written. */
int32 sc3_query_current_user_name(int32 nSize, char* szUser);

/* All users: an iterator of ZR3SecUser without passwords, in the order in which they were added. */
int32 sc3_query_all_users(ZR3HANDLE* pIterator);

/* User groups and membership; lists are iterators of ZR3SecGroup and ZR3SecUser, likewise.
 * ZR3_ERR_USER_GROUP_EXISTS; ZR3_ERR_BUILT_IN for deleting one that the database comes with;
 * ZR3_ERR_MEMBER_EXISTS, ZR3_ERR_NOT_A_MEMBER, ZR3_ERR_LAST_ADMINISTRATOR. */
int32 sc3_add_group(const ZR3SecGroup* pGroup);
int32 sc3_delete_group(const char* szGroup);
int32 sc3_modify_group_desc(const char* szGroup, const char* szDesc);
int32 sc3_add_user_to_group(const char* szUser, const char* szGroup);
int32 sc3_delete_user_from_group(const char* szUser, const char* szGroup);
int32 sc3_query_members_of_group(const char* szGroup, ZR3HANDLE* pIterator);
int32 sc3_query_all_groups(ZR3HANDLE* pIterator);
int32 sc3_query_groups_of_user(const char* szUser, ZR3HANDLE* pIterator);

/* The authority items: an iterator of ZR3SecAuthItem, each with the level of the user who is logged
 * in. */
int32 sc3_query_all_auth_items(ZR3HANDLE* pIterator);

/* The level (0 none, 1 read, 2 write, 3 manage) that a user holds for an authority item; of one's
 * own it needs no right. ZR3_ERR_AUTH_ITEM_NOT_FOUND. */
int32 sc3_query_auth_of_user(const char* szUser, const char* szAuthItem, int32* pLevel);

#ifdef __cplusplus
}
#endif

#endif
