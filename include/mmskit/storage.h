/**
 * @file
 * @brief mmskit storage and services: record files, INI stores, dates, files, timers.
 *
 * The file functions do what the linked library's file layer does: libmmskit is the handset layer,
 * where opening a file always fails and whole-file writes only tell the host through its card-sync
 * callback; libmmskit-posix really reads and writes files. A function's comment says what both do.
 */
#ifndef MMSKIT_STORAGE_H
#define MMSKIT_STORAGE_H

#include <mmskit/runtime.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Dates and times ------------------------------------------------------------------- */

/** A calendar date and a time of day. Months count from 1 to 12, days from 1, in what the functions
 * below take; the clock functions fill in other values and say so. iWeek is (day of the year from
 * 1) / 7 where it is computed and 0 elsewhere. */
typedef struct tSCFS_DateTime {
    uint32_t iYear;   /**< such as 2026 */
    uint32_t iMonth;  /**< 1 to 12 */
    uint32_t iDay;    /**< from 1 */
    uint32_t iHour;   /**< 0 to 23 */
    uint32_t iMinute; /**< 0 to 59 */
    uint32_t iSecond; /**< 0 to 59 */
    uint32_t iWeek;   /**< see above */
} tSCFS_DateTime;

/** Seconds of a date on a scale that is ONE DAY AHEAD of the Unix count: midnight of 1970-01-01 is
 * 86400. All arithmetic is modulo 2^32 and no field is checked: a month above 12 adds the days of
 * all twelve, month 0 adds none. The year counts with its low 16 bits, and one below 1970 adds the
 * days of the years down to 0 and from 65535 down to 1970. 0 for null. */
uint32_t JULIANTOSECONDS(const tSCFS_DateTime* date);

/** Fills `date` from a count of seconds and returns iWeek. The date is that of the Unix count in
 * years 1 and 2 modulo 4, and THE DAY BEFORE in years 3 and 0, so that 31 December of a leap year
 * never comes out; it does not undo JULIANTOSECONDS. On one day in four years, where seconds /
 * 86400 modulo 1461 is 365, the record is left as it was and the result is 0. From 2100 on, which
 * it counts as a leap year, further off. 0 for null. */
uint32_t GETJULIANDATE(uint32_t seconds, tSCFS_DateTime* date);

/** @{ */
/** The current local time through JULIANTOSECONDS, with the year counted from 1900 and the month
 * from 0 as fnSCFS_LocalTime gives them: good for differences within a month only. GETTIMEMS is
 * that times 1000, modulo 2^32. */
int32_t GETTIMESECONDS(void);
int32_t fnSCFS_getLocalTime(void);
int32_t GETTIMEMS(void);
/** @} */

/** Seconds (as JULIANTOSECONDS) of midnight of a date as HTTP writes it, "Sun, 06 Nov 1994 08:49:37
 * GMT": a word, the day, the month's English name (three letters, case counts), the year, a word.
 * The words, the time of day among them, must be there and are not looked at. Numbers are taken
 * modulo 2^32. -1 for any other text or null. */
int32_t parse_date_str(const char* text);

/** Writes `seconds` (as GETJULIANDATE takes them) as an HTTP date into `out`, which has room for 40
 * bytes, and returns the characters written. Departs from a real HTTP date: eight hours are taken
 * off the hour alone, so hours before 8 come out negative; numbers are not padded; the weekday is
 * the one numbered iWeek modulo 7 from Monday. On a day that GETJULIANDATE skips, all fields are 0
 * and the month is "Jan". 0 for a null `out`. */
int32_t date_to_httpDate(uint32_t seconds, char* out);

/** Days of the date's month in its year; 31 for a month outside 1 to 12; 0 for null. */
int32_t fnSCFS_DaysInMonth(const tSCFS_DateTime* date);

/** 1 when year, month and day are not 0, the hour is below 24 and minute and second below 60, else
 * 0. Months above 12 and days above 31 pass. */
int32_t fnSCFS_Time_IsValid(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                            uint32_t minute, uint32_t second);

/** Adds `seconds` in place. The day is brought into its month only when the hour passes 24; iWeek
 * stays. Null is ignored. */
void fnSCFS_TimeAdd(tSCFS_DateTime* date, uint32_t seconds);

/** @{ */
/** Fill `date` with the platform's local time AS IT COMES: years since 1900, the month from 0;
 * iWeek 0. Both do the same. Return `date`; null for null. */
tSCFS_DateTime* fnSCFS_LocalTime(tSCFS_DateTime* date);
tSCFS_DateTime* fnSCFS_SysTime(tSCFS_DateTime* date);
/** @} */

/** JULIANTOSECONDS of the fields for base 0; for base 1 plus 315964800, the seconds from 1970-01-01
 * to 1980-01-06; 0 for any other base. */
uint32_t fnSCFS_RealTime_To_Seconds(uint16_t year, uint16_t month, uint16_t day, uint16_t hour,
                                    uint16_t minute, uint16_t second, int32_t ignored,
                                    int32_t base);

/** @{ */
/** Set all fields to 0, or to the values given. Return `date`; null is ignored. */
tSCFS_DateTime* fnSCFS_InitTimeStructure(tSCFS_DateTime* date);
tSCFS_DateTime* fnSCFS_CopyTime(tSCFS_DateTime* date, uint32_t year, uint32_t month, uint32_t day,
                                uint32_t hour, uint32_t minute, uint32_t second, uint32_t week);
/** @} */

/** @{ */
/** Fill `count` bytes from the platform's generator (srand, rand), seeded with the current second:
 * two calls within one second give the same bytes, and the host's own sequence starts anew. NOT
 * for secrets. A null `out` is ignored. */
void GETRAND(uint8_t* out, uint16_t count);
void fnSCFS_getPseudoRandom(uint8_t* out, uint16_t count);
/** @} */

/** The remainder of GETTIMESECONDS by 10000, with its sign. */
int32_t fnSCFS_getRandom(void);

/* ---- File buffers ---------------------------------------------------------------------- */

/** A byte area of the caller's with a position in it. The encoding, in the area and in files:
 * @code{.unparsed}
 *   string     its bytes and a zero byte; the text of one line feed is a line tag instead
 *   number     its decimal text, as a string
 *   date       "year:month:day:hour:minute:second:week" in decimal, as a string
 *   memory     its bytes and a zero byte
 *   line tag   a line feed without a zero byte; reading skips one after what it read
 * @endcode
 * So a string that begins with a line feed loses it on reading unless it is the first or a line
 * tag stands before it, and text with zero bytes reads as several strings.
 *
 * A write of n bytes fits while iPosition + n is not above iLimit. The first that does not fit
 * writes nothing and CLOSES the buffer: iLimit becomes iPosition and later bytes are refused, too.
 * A string may end exactly at the limit; its zero byte is then missing. Nothing outside the area
 * from 0 to iLimit is read or written, whatever the members and the bytes are. */
typedef struct tSCFS_FileBuffer {
    uint8_t* pData;    /**< the caller's area */
    int32_t iPosition; /**< index of the last byte used; -1 when empty */
    int32_t iLimit;    /**< index of the last usable byte; after loading, of the last byte loaded */
} tSCFS_FileBuffer;

/** Empties the buffer and zeroes `size` bytes of its area, which the caller has put into pData. A
 * null area or a size below 1 leaves no room. */
void fnSCFS_Init_Buffer(tSCFS_FileBuffer* buffer, int32_t size);

/** @{ */
/** Write a value. A null text or memory counts as empty; a negative length and a null buffer are
 * ignored. WriteLine writes the string and a line tag. */
void fnSCFS_Buffer_WriteString(tSCFS_FileBuffer* buffer, const char* text, int32_t length);
void fnSCFS_Buffer_WriteMem(tSCFS_FileBuffer* buffer, const void* bytes, int32_t length);
void fnSCFS_Buffer_WriteInteger(tSCFS_FileBuffer* buffer, int32_t value);
void fnSCFS_Buffer_WriteLong(tSCFS_FileBuffer* buffer, long value);
void fnSCFS_Buffer_WriteDateTime(tSCFS_FileBuffer* buffer, uint32_t year, uint32_t month,
                                 uint32_t day, uint32_t hour, uint32_t minute, uint32_t second,
                                 uint32_t week);
void fnSCFS_Buffer_WriteLineTag(tSCFS_FileBuffer* buffer);
void fnSCFS_Buffer_WriteLine(tSCFS_FileBuffer* buffer, const char* text, int32_t length);
/** @} */

/** 1 when the position is at the limit or beyond, else 0; 0 for null. */
int32_t fnSCFS_Buffer_IsEnd(const tSCFS_FileBuffer* buffer);

/** The next string, new and freed with fnSC_Free; at the end an empty one. Null for null and when
 * memory is out; the position has moved then, too. */
char* fnSCFS_Buffer_ReadString(tSCFS_FileBuffer* buffer);

/** @{ */
/** The next string as a number, which its first 39 characters write: leading blanks and a sign are
 * taken, reading stops at the first other character, and a number out of range gives the nearest
 * limit. 0 without digits, at the end and for null. */
int32_t fnSCFS_Buffer_ReadInteger(tSCFS_FileBuffer* buffer);
long fnSCFS_Buffer_ReadLong(tSCFS_FileBuffer* buffer);
/** @} */

/** Copies `length` bytes that WriteMem wrote. The bytes copied; when fewer are left, the rest of
 * `out` is zeroed. 0, and nothing is done, for a null argument or a negative length. */
int32_t fnSCFS_Buffer_ReadMem(tSCFS_FileBuffer* buffer, void* out, int32_t length);

/** The next string as a date: its first 39 characters, split at colons, each field modulo 65536. A
 * field without digits is 0. Several colons in a row separate like one; the week is taken only with
 * six separators. 1 when there was a string, else 0 and `out` stays as it was. */
int32_t fnSCFS_Buffer_ReadDateTime(tSCFS_FileBuffer* buffer, tSCFS_DateTime* out);

/* ---- Record files ---------------------------------------------------------------------- */

/**
 * @file
 * @par Record files
 * Results are 1 for success and 0 for failure or a null argument. Handset: 0; a write tells the
 * host through the card-sync callback as fnSCFS_WriteToFile and fnSCFS_AppendToFile say.
 *
 * POSIX: a file whose path has three characters or more has a backup, path + ".bak", while it is
 * rewritten. The backup is always a complete copy and always wins: loading and saving first move
 * one that is found over the file. A save that is interrupted or fails leaves what was there or,
 * from the moment the backup is deleted, the new content, whole; a result of 1 means that the new
 * content is on disk. A shorter path has no backup; its file is replaced at once. What an
 * interrupted save leaves beside the file (path + ".~new") the next one replaces.
 */

/** Makes a record of what it reads from the buffer, or null for none; must read something. The list
 * holds the record, which the host frees. A reader may look at the list and add to it. One that
 * runs out of memory puts iPosition back where it found it and gives null: the loading then fails.
 */
typedef void* (*tSCFS_RecordReader)(tSCFS_FileBuffer* buffer);

/** Writes one record, with the buffer's write functions only. Called again for the same record when
 * the buffer had to grow. */
typedef void (*tSCFS_RecordWriter)(tSCFS_FileBuffer* buffer, void* record);

/** The backup's path, new and freed with fnSC_Free. Null for null, for a path of fewer than three
 * characters and when memory is out. */
char* fnSCFS_getBak_FileName(const char* name);

/** @{ */
/** Makes what the buffer holds, up to its position and not beyond its limit, the whole file, or
 * appends it. What a closed buffer refused is missing. */
int32_t fnSCFS_Write_Buffer_To_File(const char* name, tSCFS_FileBuffer* buffer);
int32_t fnSCFS_Append_Buffer_To_File(const char* name, tSCFS_FileBuffer* buffer);
/** @} */

/** Reads a whole file into the buffer's area, whose size iLimit tells (fnSCFS_Init_Buffer sets it):
 * iPosition becomes -1 and iLimit the last byte read, so the area is named anew by
 * fnSCFS_Init_Buffer before it is loaded again. 0, the members as they were, when the file
 * does not fit or cannot be read whole. Handset: 0. */
int32_t fnSCFS_Load_File_To_Buffer(const char* name, tSCFS_FileBuffer* buffer);

/** @{ */
/** Appends a record for everything in the file. 0 when the file cannot be read; and, with the
 * records read so far in the list, when memory is out or the reader read nothing. ListEx empties
 * the list with `free` beforehand, and again when the result is 0; when it is 0 and there is a
 * file, the list is marked: it lacks what the file holds, and the two Save functions refuse it (0,
 * the file as it was) until it is loaded, cleared (fnSCList_Clear) or started anew (fnSCList_Init).
 * Appending loses nothing and is not refused. */
int32_t fnSCFS_Load_File_To_List(const char* name, tSCList* list, tSCFS_RecordReader reader);
int32_t fnSCFS_Load_File_To_ListEx(const char* name, tSCList* list, tSCFS_RecordReader reader,
                                   tSCListFreeFunc free);
/** @} */

/** @{ */
/** Writes the records one after another into a buffer and makes that the whole file, or appends it.
 * The buffer has the file's size and 10000 bytes and grows to what the records need: none is
 * dropped. FileEx uses `capacity` bytes and does not grow: records that need more, their zero
 * bytes included, give 0, and the file stays as it was. */
int32_t fnSCFS_Save_List_To_File(const char* name, tSCList* list, tSCFS_RecordWriter writer);
int32_t fnSCFS_Save_List_To_FileEx(const char* name, tSCList* list, tSCFS_RecordWriter writer,
                                   int32_t capacity);
int32_t fnSCFS_Append_List_To_File(const char* name, tSCList* list, tSCFS_RecordWriter writer);
/** @} */

/** The first node for whose record compare(key, record) gives 0; null when there is none or for a
 * null argument. */
tSCListNode* fnSCFS_List_Find_Node(const tSCList* list, void* key, tSCListCompareFunc compare);

/* ---- INI stores ------------------------------------------------------------------------ */

/** Keys and values in a list, which the host owns and saves as a whole. The file holds for each
 * entry the key, a zero byte, the value, a zero byte and a line feed. Any byte but zero survives,
 * with one exception: A VALUE THAT BEGINS WITH A LINE FEED LOSES IT on reloading. A missing value
 * reloads as an empty one. Key case counts; the first of several equal keys is the one that is
 * found. Saving and loading cost time linear in the store's bytes. */
typedef struct tSCFS_INI_Entry {
    char* pKey;   /**< owned */
    char* pValue; /**< owned; null when a change ran out of memory */
} tSCFS_INI_Entry;

/** Starts a list (what it held is forgotten, not freed) and loads the file into it. */
void fnSCFS_INI_List_Init(const char* file, tSCList* list);

/** Empties the list and loads the file into it. The list is empty when there is no file; empty,
 * too, when the file cannot be read or memory runs out during reading; and as it was when there is
 * no memory to begin with. In the latter cases it is MARKED: it lacks what the file holds, and
 * saving it is refused until it is loaded, cleared (fnSCList_Clear) or started anew. A file of more
 * than 65,536 entries counts as one that cannot be read. Handset: empty. */
void fnSCFS_Load_INI_To_List(const char* file, tSCList* list);

/** `ppEntry` is the ADDRESS of the variable that holds an entry, as every list callback gets it:
 * frees the entry with its texts and sets the variable to null. Null and a null entry are
 * ignored. fnSCList_Clear(list, fnSCFS_INI_FreeNode) frees a whole store. */
void fnSCFS_INI_FreeNode(void* ppEntry);

/** Compares two keys by their bytes, as strcmp. Each argument points to an entry or to a variable
 * that holds a key's pointer; a null key counts as empty. */
int32_t fnSCFS_INI_Compare(void* a, void* b);

/** Copies a key's value from the list, terminator included, to `destination`, which must have room
 * for it. 1; or 0, nothing written, without the key or for a null argument. `file` is not read. */
int32_t fnSCFS_INI_Read(const char* file, tSCList* list, const char* key, char* destination);

/** Sets a key's value in the list, at its end when the key is new; a null value is an empty one.
 * 1; 0 for a null list or key, for a new key beside 65,536 others, or when memory is out: a new key
 * is then not added, an old one has no value. */
int32_t fnSCFS_INI_WriteRAM(tSCList* list, const char* key, const char* value);

/** fnSCFS_INI_WriteRAM, then fnSCFS_Write_INI_To_File; 1 when both gave 1. When saving fails, or is
 * refused as the list could not be loaded, the list keeps the change. */
int32_t fnSCFS_INI_Write(const char* file, tSCList* list, const char* key, const char* value);

/** Saves the list as record files are saved, in its order and whole, whatever its size. 1 when it
 * is on disk, else 0: also, with the file as it was, for a list that could not be loaded. Handset:
 * 0, after telling the host. */
int32_t fnSCFS_Write_INI_To_File(const char* file, tSCList* list);

/* ---- Files ----------------------------------------------------------------------------- */

/**
 * @file
 * @par Files
 * "Handset" is libmmskit, "POSIX" is libmmskit-posix. Paths are the platform's, NUL-terminated;
 * a null path is a failure. On the handset layer arguments are not looked at unless said.
 *
 * POSIX: files are regular files; anything else at their place is a failure to read. What is made
 * is readable by its owner only. A whole-file write (WriteToFile, AppendToFile, CopyFile) fills
 * `name` + ".~new" in the same folder, forces it to disk and renames it: at every moment the file
 * is the old one or the new one, whole. A ".~new" that is left after a crash or a failure is never
 * read and is replaced by the next write. A link at the target's place is replaced, not followed,
 * as is a FIFO; reading follows links. A file keeps its permission bits when written, and a copy
 * takes those of its source. The folder must be readable. Only one process at a time may write a
 * file. A failure after the renaming (the folder cannot be forced to disk) reports failure with
 * the new file in place. Names of more than 250 bytes cannot be written whole.
 */

/** An open file, owned by whoever opened it until fnSCFS_File_Close. */
typedef struct tSCFS_File tSCFS_File;

/** Told that the file `name` was written; `what` is 2. `name` is valid during the call only and may
 * be null. */
typedef void (*tSCFS_CardSynFileFunc)(const char* name, int32_t what);

/** 1 when the file exists (POSIX: a regular file, also behind a link), else 0. Handset: 0. */
int32_t fnSCFS_isFileExisted(const char* path);

/** Makes a directory. 1 when done, 0 on failure, so also when there is one. Handset: 0. */
int32_t fnSCFS_MkDir(const char* path);

/** Opens for reading (mode 0) or for writing a new, empty file (mode 1), which replaces what stands
 * there unless that is a directory. Null on failure or for another mode. Handset: null. */
tSCFS_File* fnSCFS_File_Open(const char* path, int32_t mode);

/** Bytes of a file. POSIX: -1 when there is none or it is larger than INT32_MAX. Handset: 0. */
int32_t fnSCFS_getFileSize(const char* path);

/** @{ */
/** Copy and move a file over `target`. 1 when done, else 0. A move between file systems is a copy
 * and a deletion. Handset: 0. */
int32_t fnSCFS_CopyFile(const char* source, const char* target);
int32_t fnSCFS_MoveFile(const char* source, const char* target);
/** @} */

/** @{ */
/** Delete a file (one that is not there counts as deleted), all in a directory but its directories,
 * an empty directory. 1 when done, 0 on failure; a directory that is not there or, for DelAllFiles,
 * a link to one is a failure. Handset: 1. */
int32_t fnSCFS_DeleteFile(const char* path);
int32_t fnSCFS_DelAllFiles(const char* path);
int32_t fnSCFS_RmDir(const char* path);
/** @} */

/** @{ */
/** Write or read `length` bytes at byte `position` of a file. The bytes done, fewer than `length`
 * only when reading meets the end of the file; -1 on failure. Writing makes a file that is missing,
 * follows no link, fills a gap with zeros and is not atomic; the host is not told. Handset: -1. */
int32_t fnSCFS_WriteToFileAtPos(const void* data, int32_t length, int32_t position,
                                const char* name);
int32_t fnSCFS_ReadFromFileAtPos(void* data, int32_t length, int32_t position, const char* name);
/** @} */

/** Writes `count` items of size * count bytes each, so that with a count of 1 `size` bytes are
 * written; `data` must hold size * count * count bytes. The items written; -1 when none was, when
 * the sizes do not fit in a size_t or for a null argument; 0 for items of no bytes. */
int32_t fnSCFS_File_Write(const void* data, uint32_t size, uint32_t count, tSCFS_File* file);

/** Reads up to size * count bytes, INT32_MAX at most. The bytes read; -1 when there was none though
 * `size` is not 0 (the end of the file, too), or for a null argument. */
int32_t fnSCFS_File_Read(void* data, uint32_t size, uint32_t count, tSCFS_File* file);

/** Moves to `offset` bytes from the start (origin 0), the end (1) or the current position (any
 * other). 0 when done, else -1. */
int32_t fnSCFS_File_Seek(tSCFS_File* file, int32_t origin, int32_t offset);

/** Closes the file and frees the handle, which was not made by fnSC_Malloc_Local and is never
 * passed to fnSC_Free. Null is ignored. */
void fnSCFS_File_Close(tSCFS_File* file);

/** Reads the first `length` bytes of a file. The bytes read, fewer when the file is shorter; -1 on
 * failure. Handset: -1. */
int32_t fnSCFS_ReadFromFile(void* data, int32_t length, const char* name);

/** @{ */
/** Make `length` bytes the whole file, or append them. The bytes written, -1 on failure; after
 * success the card-sync callback is called. Handset: -1, and the callback, if one is set, is
 * called: by WriteToFile always, by AppendToFile only when `data` or `name` is null. */
int32_t fnSCFS_WriteToFile(const void* data, int32_t length, const char* name);
int32_t fnSCFS_AppendToFile(const void* data, int32_t length, const char* name);
/** @} */

/** Makes the directory `path` and those on the way to it that are missing. `path` when it is a
 * directory at the end, else null. Handset: makes none and returns `path`. */
const char* fnSCFS_File_CreateDir(const char* path);

/** Sets the callback; null, the initial state, means that nobody is told. */
void fnSCFS_SetCardSynFileFunc(tSCFS_CardSynFileFunc callback);

/** Copies `path` into the library's path buffer of 1024 bytes, the rest zeroed, and returns the
 * buffer: borrowed, valid until the next call. A path of 1024 bytes or more, or null, leaves it
 * empty: cut, it would name another file. */
char* fnSCFS_SetFullPath(const char* path);

/* ---- Timers ---------------------------------------------------------------------------- */

/** An entry of the timer list, which the library owns. */
typedef struct tSCFS_Timer {
    uint32_t (*pfnCallback)(uint32_t param); /**< what is called, or null */
    uint32_t uParam;                         /**< handed to it */
    int32_t iTimerId;                        /**< the host's name for it */
} tSCFS_Timer;

/** Enters a timer into the list, behind others with the same identifier. 1 when done, 0 when memory
 * is out. The host measures the time and calls fnSCFS_TimerCallback. Handset: 1, and no timer is
 * entered. */
int32_t fnSCFS_SetTimer(uint32_t (*callback)(uint32_t), uint32_t param, int32_t timerId);

/** @{ */
/** Take the first timer with an identifier, or all timers, out of the list and free them; allowed
 * inside a timer's callback. Handset: nothing. */
void fnSCFS_CancelTimer(int32_t timerId);
void fnSCFS_ReleaseTimerList(void);
/** @} */

/** Calls the first timer with this identifier and returns what it returns; the timer stays in the
 * list. 0 when there is none; the low 32 bits of the entry's address when it has no callback. */
uint32_t fnSCFS_TimerCallback(int32_t timerId);

/* ---- Log hooks, operations and small helpers ------------------------------------------- */

/** A call that waits to be made. */
typedef struct tSCFS_Operation {
    void* pReserved1;                  /**< the first four are the host's */
    void* pReserved2;                  /**< the host's */
    void* pReserved3;                  /**< the host's */
    void* pReserved4;                  /**< the host's */
    void* (*pfnCallback)(void* param); /**< what fnSCFS_CallBackOper calls, or null */
    void* pParam;                      /**< handed to it */
} tSCFS_Operation;

/** The result of the operation's callback on its parameter; `operation` itself when it is null or
 * has no callback. */
void* fnSCFS_CallBackOper(tSCFS_Operation* operation);

/** Notes where the next log line comes from: a copy of `file` from its last backslash on, or whole,
 * and the line. A null `file` releases the earlier copy. */
void fnSCFS_printLog_param(const char* file, int32_t line);

/** Does nothing: there is no log output behind it. See fnSC_SetLogSink for the library's own. */
void fnSCFS_printLog(const char* format, ...);

/** Position, from 0, of the first node that holds this very pointer; -1 when none does or for a
 * null list. */
int32_t fnSCFS_List_getPos(tSCList* list, void* data);

/** Moves the first node that holds `data` to the front. 0 when done; -1 when there is none or for a
 * null argument. */
int32_t fnSCFS_List_MoveToHead(tSCList* list, void* data);

/** The decimal number that `text` writes, modulo 2^32. Nothing is checked: any character counts as
 * its distance from "0" ("1a" is 10 + 49). 0 for null. */
int32_t fnSCFS_StrToLong(const char* text);

/** Replaces %XX by its byte, in place. "%00" stays as it is, and so does a "%" with fewer than two
 * characters after it; a "%" before anything but two hexadecimal digits becomes the byte FF and
 * takes the two characters with it. 0; -1 for null. */
int32_t fnSCFS_URL_ZM(char* text);

#ifdef __cplusplus
}
#endif

#endif
