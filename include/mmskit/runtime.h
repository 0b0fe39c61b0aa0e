/**
 * @file
 * @brief mmskit runtime: memory, strings, character sets, lists and the log sink.
 *
 * Everything the library allocates comes from fnSC_Malloc_Local and goes back through fnSC_Free,
 * so a host that frees a record by hand uses fnSC_Free too. Unless a comment says otherwise,
 * arguments are borrowed for the duration of the call and a null argument gives the stated null
 * result. Nothing here is thread safe: one thread uses the library.
 */
#ifndef MMSKIT_RUNTIME_H
#define MMSKIT_RUNTIME_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Memory ---------------------------------------------------------------------------- */

/** A new zeroed block of `size` bytes, or null when memory is out. A size of 0 gives a block too.
 * The caller owns it and frees it with fnSC_Free. Every block of the library is made here. */
void* fnSC_Malloc_Local(uint32_t size);

/** `ppBlock` is the ADDRESS of the caller's pointer: fnSC_Free(&body). Frees the block and sets the
 * pointer to null; does nothing when the address or the pointer is null. The block must come from
 * this library. fnSC_Free(body) COMPILES, as every pointer converts to void*, AND CRASHES: it frees
 * what the first bytes of the block would point to. What frees what is a table in mmskit.h. */
void fnSC_Free(void* ppBlock);

/** Resizes a block of this library (null: a new block); the bytes beyond the old size are not
 * zeroed. Null when memory is out, and `p` then stays valid and owned by the caller. */
void* fnSC_Realloc_Local(void* p, uint32_t size);

/** @{ */
/** As memcpy, memset, memchr and memcmp, sizes in bytes. Null arguments are not checked. */
void* fnSC_MEMCPY(void* d, const void* s, uint32_t n);
void* fnSC_MEMSET(void* d, int32_t c, uint32_t n);
void* fnSC_MEMCHR(const void* s, int32_t c, uint32_t n);
int32_t fnSC_MEMCMP(const void* a, const void* b, uint32_t n);
/** @} */

/** The first place of the text `needle` in the `len` bytes of `buf`, as a pointer into `buf`, or
 * null. A match that ends exactly at the end of the buffer is not found. An empty needle is found
 * at the start of a buffer that is not empty. Null for a null argument or a length below 1. */
char* fnSC_MEMSTR(const char* buf, const char* needle, int32_t len);

/** A new copy of `s`, freed with fnSC_Free; a null `s` gives a new empty text. Null when memory is
 * out. */
char* fnSC_MEMSTRCOPY(const char* s);

/* ---- Strings --------------------------------------------------------------------------- */

/**
 * @file
 * @par Strings
 * Texts are NUL-terminated. Destinations are the caller's and must be large enough: only a
 * function that says so bounds what it writes. Case is that of the ASCII letters, whatever the
 * locale.
 */

/** Bytes before the terminator, at most INT32_MAX; 0 for null. */
int32_t fnSC_STRLEN(const char* s);

/** @{ */
/** Copy and append; return `d`, unchanged when either is null. */
char* fnSC_STRCPY(char* d, const char* s);
char* fnSC_STRCAT(char* d, const char* s);
/** @} */

/** Writes exactly `n` bytes: `s`, cut or filled up with zeros. No terminator is added when `s` has
 * `n` bytes or more. Returns `d`, unchanged when either is null. */
char* fnSC_STRNCPY(char* d, const char* s, uint32_t n);

/** Writes exactly `n` bytes: `s`, cut or filled up with zeros, the last always a zero. Returns 0;
 * nothing is written for a null argument or n 0. */
int32_t fnSC_STRLCPY(char* d, const char* s, uint32_t n);

/** Appends the whole of `s`; `n` does NOT bound it. Returns 0, or -1 with nothing appended when `n`
 * is 4 to 7. A null argument gives 0 whatever `n` is. */
int32_t fnSC_STRLCAT(char* d, const char* s, uint32_t n);

/** As strcmp: negative, 0 or positive; -1 for a null argument. */
int32_t fnSC_STRCMP(const char* a, const char* b);

/** -1 when either text is null, else 0: the texts are NOT compared and `n` is not used. */
int32_t fnSC_STRNCMP(const char* a, const char* b, uint32_t n);

/** 0 when the texts have the same length and differ only in the case of letters, else -1; -1 for a
 * null argument. Where the byte of `a` is not a letter, a difference is ignored ("img1" equals
 * "img2"), so the order of the arguments matters. */
int32_t fnSC_STRICMP(const char* a, const char* b);

/** Compares the first `n` characters: -1 when `a` is shorter than `n` or either is null, 1 when `b`
 * is shorter; then -1, 0 or 1 by the first difference of signed bytes. Only B to Y are folded: "A"
 * and "a" differ, and so do "Z" and "z". */
int32_t fnSC_STRNICMP(const char* a, const char* b, uint32_t n);

/** @{ */
/** Classic comparison with A to Z folded: the difference of the first two unequal bytes (folded, as
 * unsigned), or 0. -1 when `a` is null, else 1 when `b` is null. The second looks at no more than
 * `n` characters. */
int32_t fnSCRTL_stricmp(const char* a, const char* b);
int32_t fnSCRTL_strnicmp(const char* a, const char* b, uint32_t n);
/** @} */

/** @{ */
/** As strstr, strchr and strrchr; the result points into the first argument. Null for a null
 * argument. */
char* fnSC_STRSTR(const char* haystack, const char* needle);
char* fnSC_STRCHR(const char* s, int32_t c);
char* fnSC_STRRCHR(const char* s, int32_t c);
/** @} */

/** As fnSC_STRSTR ignoring the case of letters. Works on copies: null also when memory is out. */
char* fnSC_STRISTR(const char* haystack, const char* needle);

/** 1 when `s` begins with `prefix`, byte for byte, else 0; 0 for a null argument. */
int32_t fnSC_STRBEGINS(const char* s, const char* prefix);

/** Turns A to Z into a to z in place. Returns 0. */
int32_t fnSC_STRLOWER(char* s);

/** A new copy of `s`, freed with fnSC_Free; null for a null `s` or when memory is out. */
char* fnSC_STRDUP(const char* s);

/** Appends at most `n` bytes of `s` and a terminator. Returns `d`, unchanged when either is null;
 * null, and nothing appended, when memory is out. `s` may lie inside `d`. */
char* fnSC_STRNCAT(char* d, const char* s, uint32_t n);

/** The decimal number that `s` begins with, after white space and a sign; 0 when there is none or
 * for null. Numbers beyond int32 give its limits. */
int32_t fnSC_ATOI(const char* s);

/** @{ */
/** As vsnprintf and snprintf: at most `size` bytes with the terminator are written, and the result
 * is the length that the whole text has, or negative on failure. A null `out` counts as size 0
 * (measuring only); a null format gives -1 and an empty text. */
int32_t fnSCRTL_vsnprintf(char* out, uint32_t size, const char* format, va_list args);
int32_t fnSCRTL_snprintf(char* out, uint32_t size, const char* format, ...);
/** @} */

/** Writes `value` in digits of `radix` (2 to 36, lower-case letters) and returns `out`; up to 33
 * bytes. A minus sign is written for radix 10 only, other radixes show the 32 bits as unsigned. A
 * radix out of range gives an empty text, a null `out` null. */
char* fnSCRTL_itoa(int32_t value, char* out, int32_t radix);

/** Writes `value` with `decimals` digits after the point (below 0 counts as 0, above 64 as 64) and
 * returns `out`; up to 376 bytes. The point is that of the host's locale. A null `out` gives
 * null. */
char* fnSCRTL_ftoa(double value, char* out, int32_t decimals);

/* ---- Character sets -------------------------------------------------------------------- */

/**
 * @file
 * @par Character sets
 * The converters write to the caller's buffer, end it with a zero unit and return the units
 * written without that one. A null argument gives 0 and nothing is written; a count below 1 gives
 * an empty text. No input is an error.
 */

/** @{ */
/** UCS-2 bytes, high byte first or low byte first, `count` bytes (the byte after an odd count is
 * read too), to UTF-8: up to 3 bytes a unit and 1. Surrogates are written like any other unit.
 * Characters from U+0400 to U+07FF get a lead byte that is 0x10 too small (U+0410 becomes C0 90);
 * UCS2toUTF8 writes them correctly. */
int32_t BigEndianUCS2toUTF8(const uint8_t* in, int32_t count, uint8_t* out);
int32_t LitEndianUCS2toUTF8(const uint8_t* in, int32_t count, uint8_t* out);
/** @} */

/** `count` UCS-2 units in host order to UTF-8: up to 3 bytes a unit and 1. */
int32_t UCS2toUTF8(const uint16_t* in, int32_t count, uint8_t* out);

/** `count` bytes of UTF-8 to UCS-2 units in host order: up to `count` + 1 units. Continuation bytes
 * are not checked: a lead of 0x80 to 0xDF takes two bytes, one from 0xE0 three (0xF0 and above
 * too); a lead without its bytes is skipped. */
int32_t UTF8toUCS2(const uint8_t* in, int32_t count, uint16_t* out);

/** `count` bytes of UTF-16 to code points: up to `count` / 2 + 1 values. Little-endian when it
 * begins with FF FE, else big-endian; marks are left out, and a swapped mark inside turns the byte
 * order. An unpaired surrogate becomes U+FFFD; one byte left over at the end is dropped. */
int32_t UTF16toUCS4(const uint8_t* in, int32_t count, uint32_t* out);

/** `count` code points to UTF-8: up to 6 bytes each and 1. Five bytes are used from U+20000 and six
 * from U+40000 up. */
int32_t UCS4toUTF8(const uint32_t* in, int32_t count, uint8_t* out);

/** A new UTF-8 text from the `*len` bytes at `in`, by the IANA MIBenum of their character set: 3
 * US-ASCII and 106 UTF-8 (copied as they are), 4 ISO-8859-1, 1000 UCS-2 (needs a byte order mark;
 * a missing last byte counts as zero), 1015 UTF-16 (as UTF16toUCS4). Any other number copies the
 * bytes. Sets `*len` to the result's length, which a zero inside the text shortens. Null, with
 * `*len` unchanged, for a null argument, a length of 0, UCS-2 without a mark, or when memory is
 * out. */
char* fnCharSet_DecodeString2Local(int32_t charset, const uint8_t* in, uint32_t* len);

/** Frees a result of fnCharSet_DecodeString2Local; null is ignored. */
void fnCharSet_CharSetFreeStringBuf(char* s);

/* ---- Doubly linked list ---------------------------------------------------------------- */

/**
 * @file
 * @par Doubly linked list
 * A list of the caller's data pointers. The list owns its nodes, made and freed by the functions
 * below, and never the data. An iterator is a node; null is past the end. A node stays valid until
 * it is removed. A function that takes a node and a list expects a node of that list, except
 * fnSCList_Remove, which looks.
 */

/** A node of a list. */
typedef struct tSCListNode {
    void* pData;                       /**< the datum */
    struct tSCListNode *pPrev, *pNext; /**< the nodes beside it, or null */
} tSCListNode;

/** A list. */
typedef struct tSCList {
    tSCListNode *pHead, *pTail; /**< the first and the last node; null when empty */
    int32_t iCount;             /**< nodes */
    uint32_t uReserved; /**< the library's: marks a list that could not be loaded (storage.h) */
} tSCList;

/** @{ */
/** Frees a datum. Receives the ADDRESS of a variable that holds it, so fnSC_Free is one of these.
 */
typedef void (*tSCListFreeFunc)(void* ppData);
typedef void (*tSCListFreeTypeFunc)(void* ppData, uint32_t word);
/** @} */

/** 0 when equal, above 0 when `a` belongs after `b`. Must not change the list. */
typedef int32_t (*tSCListCompareFunc)(void* a, void* b);

/** Makes an empty list of a header of any content; the nodes of an earlier list are not freed. */
void fnSCList_Init(tSCList* list);

/** 1 when there is no node, for null too, else 0. */
int32_t fnSCList_IsEmpty(const tSCList* list);

/** Number of nodes; -1 for null. */
int32_t fnSCList_GetCount(const tSCList* list);

/** @{ */
/** The first and the last node; the next and the previous one; null when there is none. */
tSCListNode* fnSCList_BeginIter(const tSCList* list);
tSCListNode* fnSCList_EndIter(const tSCList* list);
tSCListNode* fnSCList_NextIter(const tSCListNode* node);
tSCListNode* fnSCList_PrevIter(const tSCListNode* node);
/** @} */

/** 1 for a node, 0 for null. */
int32_t fnSCList_IsValid(const tSCListNode* node);

/** The datum, borrowed from whoever added it; null for null. */
void* fnSCList_GetData(const tSCListNode* node);

/** @{ */
/** Add a datum at the end, at the front, before or after a node. Return the new node; null, with
 * the list as it was, for a null argument (so a list holds no null data) or when memory is out. */
tSCListNode* fnSCList_AddTail(tSCList* list, void* data);
tSCListNode* fnSCList_AddFront(tSCList* list, void* data);
tSCListNode* fnSCList_AddBefore(tSCList* list, tSCListNode* node, void* data);
tSCListNode* fnSCList_AddAfter(tSCList* list, tSCListNode* node, void* data);
/** @} */

/** Removes and frees a node, not its datum. The node is looked for from the head: one that is not
 * in this list, null too, changes nothing, nor does a null list. Removing the head takes no walk.
 */
void fnSCList_Remove(tSCList* list, tSCListNode* node);

/** @{ */
/** Remove the first or the last node and return its datum, which the caller now keeps; null when
 * the list is empty or null. */
void* fnSCList_RemoveFront(tSCList* list);
void* fnSCList_RemoveTail(tSCList* list);
/** @} */

/** @{ */
/** Remove all nodes from the front on and call `free` for each datum that is not null, its node
 * being gone already; a null `free` drops the data. The second hands `word` on. A null list is
 * ignored. */
void fnSCList_Clear(tSCList* list, tSCListFreeFunc free);
void fnSCList_Clear_ByType(tSCList* list, tSCListFreeTypeFunc free, uint32_t word);
/** @} */

/** Calls `free` (null: drops the datum) for the node at `index`, counted from 0, and removes it.
 * 1 when done, 0 when there is no such node. */
int32_t fnSCList_Delete_ByNum(tSCList* list, int32_t index, tSCListFreeFunc free);

/** @{ */
/** The first node that holds this very pointer; the first for which compare(key, datum) is 0; the
 * node at `index`, counted from 0. Null when there is none or for a null argument. */
tSCListNode* fnSCList_Find(const tSCList* list, void* data);
tSCListNode* fnSCList_CompareFind(const tSCList* list, void* key, tSCListCompareFunc compare);
tSCListNode* fnSCList_Find_ByNum(const tSCList* list, int32_t index);
/** @} */

/** Exchanges the data of two nodes; nothing for a null one. */
void fnSCList_Swap(tSCListNode* a, tSCListNode* b);

/** Puts `node` right before `before`, or at the end when that is null. The node stays valid.
 * Nothing for a null list or node. */
void fnSCList_Move(tSCList* list, tSCListNode* node, tSCListNode* before);

/** Reverses the order of the nodes in place. Returns `list`, null too. */
tSCList* fnSCList_Reverse(tSCList* list);

/** Sorts ascending; equal data keep their order. The data move and the nodes stay, so an iterator
 * keeps its place and not its datum. n log n comparisons at most, and no memory is needed. The
 * list must not be looked at while it is sorted. Returns `list`; null for a null argument, with
 * nothing done. */
tSCList* fnSCList_Sort(tSCList* list, tSCListCompareFunc compare);

/** For a list of AT MOST ONE node whose datum is a block of this library: frees the datum and the
 * node and leaves the list empty. Further nodes are lost; use fnSCList_Clear for any other list.
 * Null and an empty list are left as they are. */
void fnSCList_Free(tSCList* list);

/* ---- Log sink -------------------------------------------------------------------------- */

/** Receives one line for developers, which may hold line ends of a message's text; `line` is valid
 * during the call only. A sink must not call the library. */
typedef void (*tSCLogSink)(const char* line, void* context);

/** Sets where log lines go, with a `context` that is handed on as it is; null turns them off, which
 * is the initial state. Lines are cut at 255 characters. */
void fnSC_SetLogSink(tSCLogSink sink, void* context);

#ifdef __cplusplus
}
#endif

#endif
