/// @file klib.h
/// Utility library of the platform: string lists, tokenising, trimming, UTF-8 comparison, key/value files, digests,
/// error code.
///
/// All texts are NUL-terminated UTF-8 unless a function says otherwise. No function writes to a log, none runs a shell,
/// and none is required to be safe for several threads: the callers are single-threaded CGI processes.
#ifndef PLATFORM_KLIB_H_
#define PLATFORM_KLIB_H_

#ifdef __cplusplus
extern "C" {
#endif

/// Truth value of the platform; FALSE is no, anything else yes.
typedef int BOOL;

#ifndef FALSE
#define FALSE 0 /**< a BOOL that says no */
#endif
#ifndef TRUE
#define TRUE 1 /**< a BOOL that says yes */
#endif

/// A growable list of texts. The handle is the address of ONE block of malloc(), texts included, so that plain free()
/// releases it as well as KLIBSzListFree() does. A push may move the block.
typedef struct KLIBSZLIST* PSZLIST;

/// A map from text to text, keys unique byte for byte.
typedef struct KLIBSZHASH* PSZHASH;

/// Orders that KLIBSzListSortItems() knows.
typedef enum KLIB_SZLIST_SORT {
  KLIB_SZLIST_SORT_NO_CASE = 16,  ///< ascending, without regard to case
  KLIB_SZLIST_SORT_FILLER_ = 0x7fffffff
} KLIB_SZLIST_SORT;

/// Makes an empty list.
/// @param bytes  room for texts to begin with, in bytes; a hint: the list grows as needed. Values below 1 count as 1
/// @return the list, to be released with KLIBSzListFree() or free(); NULL when memory ran out
PSZLIST PslKLIBSzListAlloc(int bytes);

/// Releases a list and all its texts.
/// @param list  the list; NULL is accepted
void KLIBSzListFree(PSZLIST list);

/// One text of a list.
/// @param list   the list
/// @param index  from 0
/// @return the text, borrowed from the list and writable in place up to its length; valid until the next push, sort or
///         release. NULL when `list` is NULL or `index` is negative or not below the number of texts
char* SzKLIBSzListGet(PSZLIST list, int index);

/// Appends a copy of a text to a list.
/// @param list  address of the handle; the handle changes when the block moves
/// @param text  any text, the empty one included; it may be a text of the same list
/// @return 0 when appended; negative when `list`, `*list` or `text` is NULL or memory ran out: the list is then as
///         before
int KLIBSzListPush(PSZLIST* list, const char* text);

/// Sorts a list in place. Texts that compare equal keep their order.
/// @param list   the list
/// @param flags  KLIB_SZLIST_SORT_NO_CASE (16): ascending in the order of KLIBUnicodeUTF8StrCaseCmp()
/// @return 0 when sorted; negative when `list` is NULL or `flags` has another value: the list is then as before
int KLIBSzListSortItems(PSZLIST list, int flags);

/// Splits a text and appends the pieces to a list. Delimiters next to each other, and those at either end, make no
/// empty pieces.
/// @param text    the text; it is never written to (it may be memory of the environment)
/// @param delims  the set of single-byte delimiters; with "" the whole text is one piece
/// @param list    address of the handle of an existing list; texts already in it stay in front
/// @return the number of pieces appended, 0 when the text holds delimiters only or nothing; negative when an argument
///         or `*list` is NULL or memory ran out (pieces before may have been appended)
int KLIBStrTok(const char* text, const char* delims, PSZLIST* list);

/// Removes white space (blank, tab, CR, LF, vertical tab, form feed) at both ends of a text. Quotes stay.
/// @param in   the text; changed only when `out` is NULL or `in`
/// @param out  room for strlen(in) + 1 bytes, receives the result; NULL: the text is trimmed in place, the result
///             begins at `in`
/// @return 0 when done; negative when `in` is NULL
int KLIBStrTrimSpace(char* in, char* out);

/// Compares two texts without regard to case, by the code points of their Unicode case folding (no normalisation).
/// A byte that is not part of valid UTF-8 stands for itself and comes after every character. This is a strict weak
/// ordering over all byte strings, so it may order sets and sorts.
/// @param a  first text; NULL counts as ""
/// @param b  second text; NULL counts as ""
/// @return negative, 0 or positive when `a` comes before, equals or comes after `b`
int KLIBUnicodeUTF8StrCaseCmp(const char* a, const char* b);

/// Counts the characters (code points) of a text. A byte that is not part of valid UTF-8 counts as one character.
/// @param text  the text; NULL counts as ""
/// @return the number of characters, 0 or more
int KLIBUnicodeUTF8StrCountChar(const char* text);

/// @return the platform's last error code of this process; 0 when none was recorded. A success does not clear it
int KLIBErrGet(void);

/// Records the platform's last error code.
/// @param code  any value; 0 means none
void KLIBErrSet(int code);

/// Reads one value of a key/value file.
///
/// A line is `key="value"` or `key=value`; white space around the line, the key, "=" and the value is not part of them.
/// A quoted value begins behind its first quote and ends before the last one of the line, so it may hold quotes itself;
/// nothing is escaped, and what follows the last quote is ignored. Lines end in LF or CR LF, the last one also at the
/// end of the file, and may have any length; a byte-order mark before the first one is passed over. Keys are compared
/// byte for byte; of several lines with one key the first counts. Lines that say nothing are passed over, each for
/// itself: empty ones, comments (first character "#"), those without "=" or without key, those whose quoted value never
/// ends, those that hold a NUL byte.
/// @param file  path of a regular file of at most 1 MiB (1048576 bytes)
/// @param key   the key
/// @param buf   receives the value, always NUL-terminated and cut to `size` - 1 bytes; "" when the result is 0 or -1
/// @param size  bytes of `buf`, at least 1
/// @param zero  reserved, 0
/// @return bytes stored in `buf` without the NUL; 0 when the key is absent or its value is empty; -1 when the file
///         cannot be read (missing, no permission, a directory, no regular file, too large) or an argument is NULL,
///         empty or out of range
int KLIBFileGetKeyValue(const char* file, const char* key, char* buf, int size, int zero);

/// Sets one value of a key/value file: the first line of the key is replaced where it stands, further lines of the same
/// key are removed, an absent key is appended (behind a newline, when the last line lacks one); every other byte of the
/// file stays as it is. A missing file is made with mode 0644 less the umask, an existing one keeps mode and owner as
/// far as the process may set them. The file is replaced in one step: a reader sees the old content or the new one, and
/// after a failure (a full disk, for one) the old one. Writers in several processes take turns, so none loses another's
/// key.
/// @param file    path; its directory must exist and be writable
/// @param key     not empty; without "=", "#", quotes, white space, control characters and a byte-order mark in front
/// @param value   may be empty; without CR and LF
/// @param format  one line with two "%s", the key first, then the value, and "\n" at its end; "%%" stands for a percent
///                sign, no other conversion is accepted. "%s=\"%s\"\n" is the form that gives every value back
///                unchanged
/// @return 0 when written; negative when an argument is NULL or breaks a rule above, the line would not be read back as
///         the same key and value (a format without quotes and a value with a blank at its end, for one), the file is
///         or would be too large to be read, or it cannot be written: it is then as before
int KLIBFileSetKeyValue(const char* file, const char* key, const char* value, const char* format);

/// Makes an empty map.
/// @param size  expected bytes of keys and values; a hint: the map grows as needed. Values below 1 count as 1
/// @return the map, to be released with KLIBSzHashFree(); NULL when memory ran out
PSZHASH PshKLIBSzHashAlloc(int size);

/// Sets the value of a key, replacing an earlier one.
/// @param hash   the map; the handle stays the same
/// @param key    copied; compared byte for byte
/// @param value  copied; may be empty
/// @return 0 when set; negative when an argument is NULL or memory ran out: the map is then as before
int KLIBSzHashSetValue(PSZHASH hash, const char* key, const char* value);

/// Releases a map with its keys and values.
/// @param hash  the map; NULL is accepted
void KLIBSzHashFree(PSZHASH hash);

/// MD4 digest (RFC 1320) over the bytes of a text, the NUL left out.
/// @param text    the text, any bytes
/// @param digest  receives the 16 bytes of the digest
/// @param size    bytes of `digest`, at least 16; bytes from 16 on stay as they are
/// @return 0 when done; non-zero when an argument is NULL or `size` is below 16: `digest` is then as before
int KLIBSmbMd4Hash(const char* text, unsigned char* digest, int size);

/// Turns the ASCII letters of a text to lower case in place; all other bytes stay, whatever the locale.
/// @param text  the text; NULL is accepted
/// @return `text`
char* SzKLIBStrCaseLower(char* text);

/// Tells whether a text is an IPv4 netmask: four fields of one to three decimal digits, each at most 255, with "."
/// between them, whose 32 bits are ones followed by zeros. At least one bit is set: 0.0.0.0 is no mask, 255.255.255.255
/// is one.
/// @param text  the text; NULL is no mask
/// @return non-zero when it is a netmask, else 0
int BlKLIBIsIpMask(const char* text);

/// Tells whether a text may name a shared folder: 1 to 32 characters of valid UTF-8; no control characters, no double
/// quote and none of / \\ [ ] : ; | < > + = , * ? @ %; not beginning with "." or "-"; no blank at either end.
/// @param name  the text; NULL is no name
/// @return non-zero when it may, else 0
int BlKLIBIsShareName(const char* name);

/// Tells whether a process exists. One of another user counts as well.
/// @param pid  process id; 0 and values above 2147483647 are no process
/// @return non-zero when it exists, else 0
int BlKLIBProcAlive(unsigned pid);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KLIB_H_
