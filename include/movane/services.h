/* Files and system services: archives, parameter texts, streams, paths, lock files, the serial
 * port, digests, time and numbers.
 *
 * Paths are UTF-8 texts. The native separator is "\" on every system, and paths that the library
 * composes hold it; on a system that separates with "/" each "\" becomes "/" at the moment when
 * a path reaches the system. Nothing that the library opens is inherited by processes that the
 * host starts.
 *
 * As everywhere: failures are told by the result and, where a comment says @fails, by one message
 * through the error reporter. The exported classes stand at the end.
 */
#ifndef MOVANE_SERVICES_H
#define MOVANE_SERVICES_H

#include "movane/api.h"

#include <stdio.h>

#ifdef __cplusplus
#include <istream>
#include <ostream>
#include <streambuf>
#endif

MOVANE_C_BEGIN

/* --- Archives ---------------------------------------------------------------------------
 *
 * An archive keeps many files in one: no index, no compression, no checksum. The class
 * FilePacker at the end writes and reads them. Integers are little-endian, texts end with a zero
 * byte:
 *
 *     offset  bytes
 *          0      5  "QZFP"
 *          5      7  "ver1.0"; readers take any text
 *         12    128  reserved, 0
 *        140    n+1  description
 *      141+n         entries one after another, up to the end of the file
 *
 * Each entry is its name (m+1 bytes, "/" between levels), the signed 32-bit number of its bytes,
 * and these bytes. An archive is complete whenever an entry is.
 */

/* --- Item strings and parameter files ---------------------------------------------------
 *
 * A parameter text is divided into topics, and these into items:
 *
 *     [Paper]
 *     gamma = 2.2
 *     white point = 0.950 1.000 1.089
 *
 *     [Ink]
 *     gamma = 1.8
 *
 * It is a zero-terminated byte string; its lines end with LF, CR LF or CR.
 *
 * - A topic header is a line whose first character after blanks and tabs is "[". The name ends at
 *   the next "]" or, without one, with the line; what follows it is ignored. Upper and lower case
 *   of A to Z are the same.
 * - An item is a line with "=" that is no header. The name begins with the line, leading blanks
 *   included, and ends at the first "="; the value begins behind the "=" and the blanks and tabs
 *   that follow it, and ends with the line. Names of items are compared exactly.
 * - All other lines are skipped.
 *
 * Trailing blanks and tabs belong to neither names nor values. Both are cut to 256 characters
 * wherever they are copied or compared, and `name` and `value` below have room for 257 bytes; a
 * failing call leaves them as they were.
 *
 * `pos` is the address of a scanning position: a pointer into the text, to the begin of a line.
 * The scanners report nothing.
 */

/// Moves to the next topic header, from the line at `pos` on.
///
/// @param pos   is moved behind the header; to the end of the text when there is none
/// @param name  receives the name; "" when there is none
/// @return      0; -1 at the end of the text
MOVANE_API int str_get_next_rdb_topic(char** pos, char* name);

/// @return  number of topic headers from `pos` to the end of the text; `pos` stays
MOVANE_API int str_get_nr_of_rdb_topics(char** pos);

/// Reads the value of the line at `pos` if that is the item `name`.
///
/// @param pos  is moved to the next line on success
/// @return     0; -1 for any other line
MOVANE_API int str_get_rdb_item(char** pos, const char* name, char* value);

/// Reads the name of the item at `pos`; `pos` stays.
///
/// @return  0; -1 when the line is no item or the text ends
MOVANE_API int str_get_rdb_item_name(char** pos, char* name);

/// Reads the next item of a topic, from the line at `pos` on.
///
/// @param pos  is moved to the line behind the item on success
/// @return     0; -1 at the end of the topic
MOVANE_API int str_get_next_rdb_item(char** pos, char* name, char* value);

/// Searches an item from `pos` to the end of the topic; `pos` stays.
///
/// @return  0; -1 when there is none
MOVANE_API int str_search_rdb_item(char** pos, const char* name, char* value);

/// Tells whether a topic occurs.
///
/// The call remembers where it found the last topic of which text, and searches the same text
/// from there on first. Use str_search_rdb_cache_reset() as with str_search_rdb().
///
/// @param pos  the text; stays
/// @return     1; 0 when it does not occur
MOVANE_API int str_search_rdb_topic(char** pos, const char* topic);

/// Finds an item of a topic.
///
/// The call remembers where it found the last topic of which text, and searches the same text
/// from there on first, so that searches in the order of the topics read every header once. Call
/// str_search_rdb_cache_reset() after a text was changed or released and before another text may
/// stand at its address. What is remembered is shared by the process: search on one thread only.
///
/// The topics of a text should differ in more than case. When several have the same name, the one
/// found depends on the search before.
///
/// @param text   the text; stays
/// @param value  receives the value when the item is found
/// @return       1; 0 when there is no such topic, or no such item in it
MOVANE_API int str_search_rdb(char** text, const char* topic, const char* item, char* value);

/// Forgets what str_search_rdb() and str_search_rdb_topic() remember.
///
/// @return  0
MOVANE_API int str_search_rdb_cache_reset(void);

/// Moves `pos` behind the end of the line (LF, CR LF or CR), or to the end of the text.
MOVANE_API void str_go_to_next_line(char** pos);

/// Moves `pos` behind the word there, which ends at a blank or a tab, and behind the blanks and
/// tabs that follow. The line is not left.
///
/// @return  the character reached
MOVANE_API char str_go_to_next_word(char** pos);

/* Item strings: values that hold vectors of numbers, separated by blanks. The decimal sign is the
 * point, in every locale. About four significant digits are written: " 123.5 ", " 0.500 " and
 * " 12346 ", each with its two blanks.
 */

/// Reads numbers as scanf() reads "%lf"; what follows a number up to the next blank is skipped.
///
/// @param values  receives n numbers; those before the bad one on failure
/// @return        0, also for n below 1; -1 when there are fewer. A number beyond the range of
///                doubles becomes infinity or 0
MOVANE_API int str_double_from_itemstr(const char* text, int n, double* values);

/// The same for whole numbers, as scanf() reads "%d"; -1 also for one that does not fit an int.
MOVANE_API int str_int_from_itemstr(const char* text, int n, int* values);

/// Writes numbers, each as printf() writes " %*.*lf " with width and precision of vd_fmt_d() for 4
/// digits.
///
/// @param text  room for 330 bytes a number, and one more
/// @return      0, also for n below 1, which gives ""; -1 when a number is infinite or not a
///              number, `text` is "" then
MOVANE_API int str_itemstr_from_double(const double* values, int n, char* text);

/// str_double_from_itemstr() with a message.
///
/// @return  0; -1 on failure
/// @fails   "Error bad item string for double conversions"
MOVANE_API int vd_from_str(const char* text, int n, double* values);

/// str_itemstr_from_double() with a message.
///
/// @return  0; -1 on failure
/// @fails   "Error bad formatted item string from doubles, ier %d " with -1 for %d
MOVANE_API int str_from_vd(const double* values, int n, char* text);

/// Chooses how to write a number.
///
/// @param digits     significant digits
/// @param width      receives the number of digits before the point, as the logarithm to base 10
///                   gives it, for a finite magnitude above 1; else 1
/// @param precision  receives what remains of `digits`, at least 0
/// @return           0
MOVANE_API int vd_fmt_d(double value, int digits, int* width, int* precision);

/* Numbers in files are kept in the reverse of the native byte order: big-endian. Both arguments
 * may be the same address.
 */

/// Reads a float from 4 bytes in file order.
MOVANE_API void ffltofl(const void* file_bytes, float* value);

/// Writes a float as 4 bytes in file order.
MOVANE_API void fltoffl(const float* value, void* file_bytes);

/// Reads a double from 8 bytes in file order.
MOVANE_API void fdbltodbl(const void* file_bytes, double* value);

/// Writes a double as 8 bytes in file order.
MOVANE_API void dbltofdbl(const double* value, void* file_bytes);

/* Record files of doubles: parameter texts whose topic "patches" holds named vectors of one
 * length, as item strings. They are read and changed in memory; other topics are kept as they
 * are.
 *
 *     file_double* curve = file_double_new("d\\c.par", 2, 1);
 *     file_double_add_item(curve, "p50", point);
 *     file_double_save(curve);
 *     curve = file_double_kill(curve);
 */

typedef struct file_double file_double;

/// Opens a record file, or begins a new one.
///
/// @param path       at most 127 characters
/// @param nr_values  doubles of each item
/// @param create     0: the file is read, and gets the topic "patches" if it has none. Otherwise
///                   the records begin empty; file_double_save() makes or replaces the file.
/// @return           a handle the caller owns and releases with file_double_kill(); null on
///                   failure
/// @fails            "file_double_new: path too long"
///                   "file_double_new: Not enough resources"
///                   "file_double_new: Unable to open record file"
MOVANE_API file_double* file_double_new(const char* path, int nr_values, int create);

/// Appends an item. Names that exist already are no obstacle.
///
/// @param name    1 to 256 characters, without "=", CR and LF, not beginning with "[", and without
///                blanks or tabs at its ends
/// @param values  nr_values numbers
/// @return        0; -1 on failure, nothing is appended
/// @fails         "file_double_add_item: illegal name"
///                "file_double_add_item: Not enough resources"
///                "file_double_add_item: too many values"  their text exceeds 256 characters:
///                                                         36 numbers from 0 to 99999 fit
///                "Error bad formatted item string from doubles, ier %d "  as of str_from_vd()
MOVANE_API int file_double_add_item(file_double* file, const char* name, const double* values);

/// Gives the next item of the first topic "patches" in the order of the file. Items named
/// "_internal_", in whatever case, are left out; so is what is damaged, after a report.
///
/// @param state   1: the item after the one of the last call; anything else: the first item. It
///                is 1 afterwards.
/// @param values  room for nr_values numbers; undefined at the end
/// @return        the name, in the handle and valid until the next call; null at the end
/// @fails         "file_double_list: damaged line skipped"        a line that is no item
///                "Error bad item string for double conversions"  an item of other than numbers,
///                                                                or of too few
MOVANE_API char* file_double_list(file_double* file, int* state, double* values);

/// Writes the file. What it held is replaced all at once or, on failure, not at all: the records
/// are written to a new file beside it, named path.tmp0 or with the next free number, which then
/// takes its name. A read-only file is not replaced.
///
/// @return  0; -1 on failure
/// @fails   "file_double_save: Unable to save record file"
MOVANE_API int file_double_save(file_double* file);

/// Releases the handle; null is accepted. What was not saved is lost.
///
/// @return  null
MOVANE_API file_double* file_double_kill(file_double* file);

/* --- Buffered file streams --------------------------------------------------------------
 *
 * The stream classes fdifstream and fdofstream stand at the end. Beside them are three calls for
 * plain C streams with UTF-8 paths; host and library then share one C runtime.
 */

/// Opens a file.
///
/// @param path  UTF-8
/// @param mode  as of fopen(); without "b" line ends are translated where the system does that
/// @return      a stream the caller releases with movane_cdlclose_file(); null on failure
MOVANE_API FILE* movane_cdlopen_file(const char* path, const char* mode);

/// Closes a file; null is accepted.
///
/// @return  0; -1 when what was written is not all in the file
MOVANE_API int movane_cdlclose_file(FILE* file);

/// @return  bytes in an open file, what was written just now included; the position stays. -1 for
///          a file that has no size, such as a pipe
MOVANE_API long long movane_cdlget_file_size(FILE* file);

/* --- Paths and directories --------------------------------------------------------------
 *
 * Hosts name files by native paths and by logical-name paths:
 *
 *     DATA:[curves.rgb]a.crv     with DATA defined as "d" is     d\curves\rgb\a.crv
 *     DATA:a.crv                                                 d\a.crv
 *
 * fport() translates the second notation into the first; the rsys calls translate all their paths
 * in that way. A path has at most 255 characters, before and after. Paths that name something
 * beyond that make the rsys calls fail.
 */

/// Defines a logical name, or defines it anew. Names are process-wide, and none is defined at
/// first; upper and lower case are the same.
///
/// @param name         1 to 255 characters, without ":"
/// @param translation  path of a directory, at most 255 characters; null removes the name
/// @return             0; -1 on failure, the name is as it was
/// @fails              "lognam_define: illegal name or translation"
///                     "lognam_define: Not enough resources to define name"
MOVANE_API int lognam_define(const char* name, const char* translation);

/// Translates a logical-name path: the name before the first ":" is replaced by its translation,
/// less one "\" at its end, and ":" by "\". When brackets follow, every "[" and "." becomes "\" up
/// to and including the first "]", and no "\" stands for the ":" before a "[".
///
/// A path without ":", with "\" behind its first ":" (a drive), or with an undefined name is
/// copied unchanged, cut to what fits.
///
/// @param out       receives the path, always terminated
/// @param out_size  bytes of `out`
/// @return          0 when translated; -1 when copied unchanged; -1 with an empty `out` when `path`
///                  has more than 255 characters or the translation does not fit: it needs two
///                  bytes more than its characters
MOVANE_API int fport(char* out, int out_size, const char* path);

/// Stores a switch that hosts keep here; the translation does not consult it.
///
/// @return  the previous switch, 0 or 1 (0 at first)
MOVANE_API int fport_setres(int on);

/// Steps over a directory and the separator behind it.
///
/// @param path       begins with `directory` and is longer
/// @param directory  its last character counts as the separator when it is "/", "\", "]" or ":"
/// @return           the rest, in `path`
MOVANE_API char* fport_StripPath(const char* path, const char* directory);

/// Cuts a name at its last ".", wherever that stands: "a.b\c" becomes "a".
///
/// @return  0; -1 when there is none
MOVANE_API int fport_StripExtension(char* name);

/// Joins directory, "\" and name.
///
/// @param out       receives the path; "" on failure
/// @param out_size  bytes of `out`
/// @return          0; -1 on failure
/// @fails           "fport_MakeFullPah: string not long enough" (spelt so)
MOVANE_API int fport_MakeFullPath(const char* directory, const char* name, char* out, int out_size);

/// Creates one directory.
///
/// @return  0; -1 on failure, also when it exists
/// @fails   "rsys_mkdir : Unable to make directory %s" with the translated path
MOVANE_API int rsys_mkdir(const char* path);

/// @return  1 when the path leads to a directory; 0 otherwise
MOVANE_API int rsys_direx(const char* path);

/// Creates a directory and every level above it that is missing.
///
/// @return  0, also when it exists; -1 on failure, upper levels may have been created
/// @fails   "rsys_mkdir : Unable to make directory %s" with the path of the level
MOVANE_API int rsys_forcedir(const char* path);

/// Deletes the files in a directory, then the directory. It stays when it holds directories or
/// what cannot be deleted. A link among the files is deleted, not what it leads to; a path that is
/// a link itself, the root of a file system or empty is refused.
///
/// @return  0 always: ask rsys_direx()
/// @fails   "rsys_rmdir : Unable to remove directory %s"  refused
MOVANE_API int rsys_rmdir(const char* path);

/// Copies a file, or with "*" in the source a directory with all that it holds.
///
/// A source with "*" is a directory followed by a pattern that filters nothing. The directory ends
/// at the "]" or else at the ":" behind a logical name, in a native path at the last "\" or "/", or
/// else at the ":" of a drive. The destination directory is created when it
/// is missing, the one above it is not. Existing files are replaced. Links to files are copied as
/// files, links to directories are left out.
///
/// @return  0, also when there is no such source; -1 on failure: what could be copied is there
/// @fails   "Invalid source directory !"  a source with "*" and none of these characters
///          "rsys_copy : destination lies in the source directory"
///          "rsys_copy : Unable to copy file %s"       with the path of the source
///          "rsys_copy : Unable to make directory %s"  with the path of the destination
MOVANE_API int rsys_copy(const char* destination, const char* source);

/// Lists the directories in a directory, links to directories included, not those deeper down.
///
/// @param list  a list of 256-byte elements (list_new(50, 256, ...)); receives one text for each,
///              the translated path, "\" and the name
/// @return      0; -1 on failure
/// @fails       "rsys_scan_dir : path too long !, directory not inserted in list"  above 255
///                                                characters: left out, the result stays 0
///              "rsys_scan_dir : Unable to scan directory %s"
///              "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int rsys_scan_dir(const char* path, void* list);

/* --- Lock files -------------------------------------------------------------------------
 *
 * A lock that processes, and threads, take by creating an empty file. It is free again when its
 * holder frees it or ends in whatever way.
 */

/// Takes the lock, without waiting: hosts try again after a moment.
///
/// @param path  the lock file, at most 255 characters. An existing file is a lock in use, unless
///              it is the empty, read-only and unlocked file that a holder left behind who died.
/// @return      a lock that the caller releases with flock_free(); null when the lock is held
///              elsewhere or cannot be made
MOVANE_API void* flock_get(const char* path);

/// Frees the lock and removes its file; null is accepted.
///
/// @return  0
MOVANE_API int flock_free(void* lock);

/* --- Serial port ------------------------------------------------------------------------
 *
 * Bytes to and from a device on an RS-232 line:
 *
 *     rs232_port* port = initrs232("COM1", 13, 48, 0, 0, 0);    9600 bauds, 8N1, XON/XOFF
 *     outstringrs232(port, "?", 1);
 *     while (inbrs232(port, &byte) == 1) ...
 *     closers232(port);
 *
 * A handle serves one thread at a time; several handles may serve several threads. Every call but
 * initrs232() gives -1, without a message, for a handle that is null or not open: closed ones and
 * foreign addresses are not read. Bytes pass unchanged, all 256 values; with XON/XOFF on, 0x11 and
 * 0x13 pace the line instead.
 *
 * When the system refuses to read from a port or to write to it, the port is closed, and the next
 * call opens it again with the same parameters. Each call but closers232() may thus also fail in
 * the ways of initrs232(), with -1.
 */

/// An open port.
typedef struct rs232_port rs232_port;

/// Opens a port, alone: it cannot be opened a second time meanwhile.
///
/// @param port             UTF-8 path of the device, such as "COM1" or "/dev/ttyS0"; Windows knows
///                         ports above COM9 as "\\.\COM10" only
/// @param speed            1 to 17: 50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800,
///                         9600, 19200, 38400, 57600, 115200 bauds
/// @param data_bits        48: 8 bits, 32: 7 bits, 16: 6 bits, 0: 5 bits
/// @param parity_enable    non-zero: even parity, sent and checked; 0: none
/// @param parity_constant  512 when parity is enabled, otherwise ignored
/// @param stop_bits        0: one stop bit, 64: two
/// @return                 a port that the caller releases with closers232(); null on failure
/// @fails  "initrs232: Insufficient resources"
///         "Cannot open serial port %s"                         with the path
///         "Cannot disable events on port"                      also when it is no serial port
///         "Cannot setup serial port buffers"
///         "Cannot read device-control block for a serial port"
///         "Invalid serial line speed: %d bauds"                with the code
///         "Invalid serial line bits per pixel: %d"             with the code of the data bits
///         "Invalid serial line number of stop bits: %d"        with the code
///         "Invalid serial line parity constant: %d"
///         "Cannot setup device-control block for a seril port" (spelt so) the device cannot do
///         that
///
///         "Cannot setup serial port time-outs"
MOVANE_API rs232_port* initrs232(const char* port, int speed, int data_bits, int parity_enable,
                                 int parity_constant, int stop_bits);

/// Closes a port and releases the handle.
///
/// @return  0; -1 for an invalid handle
MOVANE_API int closers232(rs232_port* port);

/// Chooses the flow control of ports that are opened with initrs232() from now on; process-wide.
///
/// @param off  0: XON (0x11) and XOFF (0x13) pace output and input; non-zero: nothing does
/// @return     the previous switch, 0 at first
MOVANE_API int rs232_set_xonxoff(int off);

/// Writes one byte.
///
/// @param byte  its low 8 bits
/// @return      0; -1 on failure
/// @fails       "Cannot write to comm port."  also when the line takes nothing for 1000 ms
MOVANE_API int outbrs232(rs232_port* port, int byte);

/// Writes bytes.
///
/// @param length  bytes of `text`; nothing is written when it is below 1
/// @return        0 when all are written; -1 on failure, some may have been
/// @fails         "Cannot write to comm port."  also when the line takes nothing for 1000 ms
MOVANE_API int outstringrs232(rs232_port* port, const char* text, int length);

/// Reads one byte, for which it waits 500 ms.
///
/// @param byte  receives the byte; left alone without one
/// @return      1; 0 when none came; -1 on failure
/// @fails       "Cannot read from comm port."
MOVANE_API int inbrs232(rs232_port* port, unsigned char* byte);

/// @return  1 when all output is sent and no XOFF holds it; 0 otherwise; -1 on failure
/// @fails   "Cannot write to comm port."
MOVANE_API int outrs232rdy(rs232_port* port);

/// @return  bytes that wait to be read; -1 on failure
/// @fails   "Cannot read from comm port."
MOVANE_API int inrs232rdy(rs232_port* port);

/* --- Digest, base64, cipher ------------------------------------------------------------- */

/// A running MD5 digest (RFC 1321). The members are the library's own.
typedef struct MD5_CTX {
    unsigned int state[4];
    unsigned long long bits; /* digested so far, modulo 2^64 */
    unsigned char block[64]; /* what does not fill a block yet */
} MD5_CTX;

/// Begins a digest; a context that has ended one is begun again before its next use.
MOVANE_API void MD5Init(MD5_CTX* context);

/// Digests bytes, in as many calls as needed.
///
/// @param length  bytes
MOVANE_API void MD5Update(MD5_CTX* context, const unsigned char* data, unsigned int length);

/// Ends a digest.
MOVANE_API void MD5Final(unsigned char digest[16], MD5_CTX* context);

/// Digests a file.
///
/// @param path  UTF-8
/// @param hex   receives 32 upper-case hexadecimal digits and a terminator on success
/// @return      0; 1 when the file cannot be opened, is a directory, or ends before the size it
///              had at first
MOVANE_API int MD5_check_file(const char* path, char* hex);

/// Encodes a group of bytes in base64 (RFC 4648), padded with "=".
///
/// @param in   3 bytes; those beyond n should be 0, since their high bits get into the last
///             character
/// @param out  receives 4 characters, without a terminator
/// @param n    bytes to encode, 1 to 3
/// @return     4
MOVANE_API int encodeToBase64(const unsigned char* in, unsigned char* out, int n);

/// Decodes a group of 4 characters. Those outside the alphabet, "=" among them, count as "/".
///
/// @param out  receives 3 bytes
/// @return     3
MOVANE_API int decodeFromBase64(const unsigned char* in, unsigned char* out);

/// Enciphers bytes: each is combined by exclusive or with the high byte of a 16-bit register,
/// which begins as the low half of `key` and, after each enciphered byte c, becomes
/// (c + register) * c1 + c2 modulo 65536. No protection against anybody who wants to know.
///
/// @param cipher  receives `length` bytes; may be `plain`
MOVANE_API void CipherEncrypt(const unsigned char* plain, unsigned int length,
                              unsigned char* cipher, unsigned int key, unsigned short c1,
                              unsigned short c2);

/// Deciphers what CipherEncrypt() made with the same key, c1 and c2.
///
/// @param length  bytes; nothing happens below 1
/// @param plain   receives `length` bytes; may be `cipher`
MOVANE_API void CipherDecrypt(const unsigned char* cipher, int length, unsigned char* plain,
                              unsigned int key, unsigned short c1, unsigned short c2);

/* --- Time and numbers -------------------------------------------------------------------
 *
 * Digit arrays hold the least significant digit first. Arithmetic is on 32 bits and wraps.
 */

/// A moment on the clock of time_get_elapsed_time().
typedef struct system_time {
    unsigned int seconds;
    unsigned int microseconds; /* a multiple of 1000, below 1000000 */
} system_time;

/// Waits until the whole-second clock has advanced by `seconds`: up to a second less than that
/// time. Returns at once for 0.
MOVANE_API void waitsec(unsigned int seconds);

/// Waits a number of milliseconds.
///
/// @return  0
MOVANE_API int waitmsec(unsigned int ms);

/// Reads the clock of time_get_elapsed_time().
///
/// @return  0
MOVANE_API int get_system_time(system_time* t);

/// Takes the time since a value of get_system_time().
///
/// @param ms            receives milliseconds
/// @param seconds,microseconds  the members of the earlier value
/// @return              0
MOVANE_API int get_diff_system_time(int* ms, unsigned int seconds, unsigned int microseconds);

/// @return  milliseconds of processor time that the process has used
MOVANE_API long long time_get_time(void);

/// @return  milliseconds on a clock that never goes back; it starts near the time of day, so that
///          values of different runs differ
MOVANE_API long long time_get_elapsed_time(void);

/// @return  the present date in English and local time, such as "Monday 03-Feb-2025 at 14-05-09";
///          a text of the library's, valid until the next call
MOVANE_API char* time_get_date(void);

/// Splits a value into digits.
///
/// @param value   taken as unsigned
/// @param digits  receives n digits, those beyond the value 0; digits beyond n are dropped
/// @param base    below 2 all digits become 0
/// @return        0
MOVANE_API int numb_decimal_to_base(int value, int* digits, int n, int base);

/// Computes the value of n digits.
///
/// @return  0
MOVANE_API int numb_base_to_decimal(const int* digits, int* value, int n, int base);

/// Counts the ways to choose k of n, as n(n-1)...(n-k+1) divided by k!. Both wrap before they are
/// divided, so that results are right only while the former fits 32 bits.
///
/// @return  the count; 0 when k! has wrapped to 0 (k of 34 and above); -1 when k is above n or
///          below 0
MOVANE_API int numb_combination(int n, int k);

/// Reads a hexadecimal number, in upper or lower case.
///
/// An invalid last character counts as the character before it: "1g" reads as 0x11.
///
/// @param value  receives the value on success
/// @return       0; -1 when another character is invalid, or the text is empty or one invalid
///               character
MOVANE_API int numb_hex_string_to_decimal(const char* text, int* value);

/// Writes hexadecimal digits in lower case from the most significant on, without leading zeros: 0
/// gives "".
///
/// @param text  room for the digits and a terminator
/// @return      0; -1 when a digit is 16 or more, `text` holds the digits above it
MOVANE_API int numb_hex_to_hex_string(const int* digits, int n, char* text);

/// Writes a value, taken as unsigned, in hexadecimal as numb_hex_to_hex_string() does.
///
/// @param text  room for 9 characters
/// @return      0
MOVANE_API int numb_decimal_to_hex_string(int value, char* text);

MOVANE_C_END

#ifdef __cplusplus

/* --- Classes: archives ------------------------------------------------------------------
 *
 * An archive is being written or being read, front to back:
 *
 *     FilePacker out("job.qz", FilePacker::mode_write, "curves of a job");
 *     out.AddFile("d\\curves\\cyan.crv", "cyan.crv");
 *     char text[128];
 *     if (out.GetError(text)) ...
 *
 *     FilePacker in("job.qz", FilePacker::mode_read, nullptr);
 *     in.Unpack("e\\restored");
 *
 * Nothing is thrown. Failures are told by a code and a text that each object keeps, not through
 * the error reporter (to which only the list of written names posts that it cannot be made or
 * grow). Members return 0 or the code, which stays until the next failure:
 *
 *     0  No error                     5  Not a FilePacker archive
 *     1  Invalid mode supplied        6  Not enough memory
 *     2  Cannot open file             7  Cannot write output file
 *     3  Cannot create archive        8  Cannot read from file
 *     4  Archive not opened           9  Undocumented error: no more entries
 *
 * Behind the text stand ": " and the path concerned: of the file read or written for codes 2, 7
 * and 8, else of the archive; none for codes 1, 6 and 9.
 *
 * Archives may come from anywhere. Names have at most 199 bytes; a longer one, or a size that is
 * negative or more than what is left of the file, is code 5 before anything is allocated or
 * created. Unpack() and UnpackFile() refuse with code 5, and create nothing for, names that could
 * lead elsewhere: those that are empty or begin with a separator, contain ":", a control character
 * or the level "..", or name a device of Windows ("aux", "com1.txt"). Output files are opened
 * without following a link, and never is the archive itself overwritten.
 *
 * Files of any number of bytes pass through a small buffer; only the calls for memory blocks need
 * room for a whole entry.
 */

struct movane_list;

class MOVANE_API FilePacker {
public:
    enum open_mode { mode_write = 0, mode_read = 1 };

    /// Creates an archive, replacing a file of that name, or opens one. Ask GetError() whether that
    /// worked: without an open archive, members that need one fail with code 1 or 4.
    ///
    /// @param archive_name  path; the object keeps 499 bytes of it for its texts
    /// @param mode          of open_mode; another is code 1
    /// @param description   what a created archive says of itself, cut to 199 bytes; null for
    ///                      none. Replaced by what an opened archive says, cut likewise.
    FilePacker(const char* archive_name, int mode, const char* description);

    /// Copies share the open archive with its position, the list of written names and the memory
    /// of UnpackFileAsBuffer(); each has its own code and text. The archive is closed with the last
    /// of them. They belong to one thread.
    FilePacker(const FilePacker& other);
    FilePacker& operator=(const FilePacker& other);

    ~FilePacker();

    /// @param text  receives "FilePacker error %d: %s" with code and text, at most 127 characters;
    ///              may be null
    /// @return      the code of the last failure
    int GetError(char* text);

    /// @param text  room for 200 characters
    /// @return      0
    int GetDescription(char* text);

    /// Appends a file. Nothing is written when an entry of that very name was added before.
    ///
    /// When the file turns out shorter while it is read, code 8, name and size are in the archive
    /// already, which cannot be read beyond that point.
    ///
    /// @param file_path   of at most 2^31-1 bytes; a longer one is code 8
    /// @param entry_name  1 to 199 bytes, otherwise code 7; null for the path. "\" is stored as
    ///                    "/", but later names are compared with the one given here.
    int AddFile(const char* file_path, const char* entry_name);

    /// Appends `size` bytes as an entry. Nothing is written when an entry of that name was added
    /// before; later names are compared with the stored one, with "/".
    ///
    /// @param size        0 to 2^31-1, otherwise code 7
    /// @param entry_name  1 to 199 bytes, otherwise code 7; "\" is stored as "/"
    int AddFileAsBuffer(const char* data, long size, const char* entry_name);

    /// Extracts every entry, from the first one on, and stops at the first failure. The paths are
    /// `directory`, "\" and the name with "\" between levels; the directories must exist, existing
    /// files are replaced. At the end of the archive code and text are those of no error.
    int Unpack(const char* directory);

    /// Extracts the next entry as Unpack() does; the first one right after construction. After a
    /// failure the call that follows goes on behind the entry; behind an over-long name or an
    /// impossible size nothing more can be found.
    ///
    /// @param entry_name  receives the name as stored; room for 200 bytes
    /// @return            9 when there are no more entries
    int UnpackFile(const char* directory, char* entry_name);

    /// Reads the next entry into memory, whatever its name.
    ///
    /// @param data        receives the bytes and a zero byte behind them, the object's own and
    ///                    valid until the next call or the end of the last copy; null on failure
    /// @param size        receives the number of bytes
    /// @param entry_name  receives the name as stored; room for 200 bytes
    /// @return            9 when there are no more entries; 9 with the code unchanged at an entry
    ///                    whose name begins with "@END", in any case of letters
    int UnpackFileAsBuffer(char** data, long* size, char* entry_name);

    /// Reads a text up to its zero byte.
    ///
    /// @param text  room for 200 bytes. A longer text is cut there, one that the file cuts off
    ///              ends there; both are code 5.
    int ReadString(char* text);

    /// Writes a text of any length and its zero byte.
    int WriteString(const char* text);

    /// Reads `size` bytes, none when it is below 0; fewer are code 5. The first byte of `data` is
    /// set to 0 before.
    int ReadBinaryData(char* data, int size);

    /// Writes `size` bytes, none when it is below 0.
    int WriteBinaryData(const char* data, int size);

    /// Reads until the delimiter has been read, and the one byte behind it: the zero byte if
    /// WriteString() wrote the delimiter. The end of the file is code 5.
    ///
    /// @param buffer  cleared; receives what is read, the delimiter included. Null to skip it.
    /// @param size    room in `buffer`; a buffer that is full ends the call as well, without
    ///                failure. Below 1 nothing is stored.
    int ReadUpTo(char* buffer, int size, const char* delimiter);

private:
    int ReadLong(long* value);
    int WriteLong(long value);
    int ReplaceChar(char* text, char replacement, char target);
    int ThrowError(int code, const char* info);

    int OpenForReading(const char* path);
    int OpenForWriting(const char* path);
    int WriteEntryHeader(const char* stored_name, const char* recorded_name, long size);
    int EndEntry();
    int ReadEntryName(char* name);
    int ReadEntrySize(long* size);
    int GiveUp();
    int Extract(const char* directory, const char* name, long size);
    void ShareWith(const FilePacker& other);
    void Release();

    FILE* stream_;
    movane_list* names_; /* written so far; null when reading */
    int mode_;           /* of the open archive; -1 without one */
    int code_;
    char text_[100]; /* of the code */
    char description_[200];
    char archive_name_[500];
    mutable char* entry_; /* of UnpackFileAsBuffer() */
    long data_start_;
    mutable const FilePacker* next_sharer_; /* ring of the copies that share what they own */
};

/* --- Classes: buffered file streams -----------------------------------------------------
 *
 * Standard streams over a file with a UTF-8 path. Output is not buffered at all: what is written
 * is in the file at once. Input is read byte by byte.
 *
 *     fdofstream out("d\\report.txt", streambufExt::mode_out);
 *     if (!out) ...
 *     out << "lines " << 12 << '\n';
 *
 * Without mode_binary line ends are translated where the system does that. Created files can be
 * read and written by all whom the process's file mask lets.
 *
 * Nothing is posted to the error reporter. Without memory for its name a file cannot be opened.
 */

class MOVANE_API streambufExt : public std::streambuf {
public:
    /// The modes of all constructors, combined with "|"; not those of std::ios_base, whose values
    /// differ between systems.
    enum open_mode { mode_in = 1, mode_out = 2, mode_app = 8, mode_binary = 32 };

    /// Bytes of the read buffer.
    static const unsigned int FileBufSize = 1;

    /// Does not open the file.
    streambufExt(const char* name, int mode);

    /// Copies stand at the same position of the same open file: reading through one moves the
    /// other. The file is closed with the last of them.
    streambufExt(const streambufExt& other);
    streambufExt& operator=(const streambufExt& other);

    ~streambufExt() override;

    /// Opens the file: for reading with mode_in; otherwise for writing with mode_out, at its end
    /// with mode_app, else emptied. A file that is open already is closed first.
    ///
    /// @return  0; -1 on failure
    int openfile();

    /// @return  0
    int closefile();

    bool is_open() const;

    /// @return  bytes that wait to be written: 0
    long long out_waiting() const;

protected:
    int_type overflow(int_type c) override;
    int_type underflow() override;
    int_type uflow() override;

    /// @return  n; -1 when the file ends before, even if bytes were read
    std::streamsize xsgetn(char* s, std::streamsize n) override;

    /// @return  bytes written; -1 on failure
    std::streamsize xsputn(const char* s, std::streamsize n) override;

    /// A relative seek beyond the byte in the read buffer counts from where the file was read to,
    /// which is one byte further while that byte is unread; all others count from the position
    /// that tellg() gives. On Windows offsets that do not fit 32 bits fail.
    pos_type seekoff(off_type offset, std::ios_base::seekdir way,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    std::streamsize read_from_buf(char* destination, std::streamsize n);

    int descriptor_; /* -1 when closed */
    int mode_;
    char* name_; /* owned; null without memory */
    char buffer_[FileBufSize];
    unsigned int position_; /* of the next unread byte in the buffer */
    unsigned int fill_;     /* valid bytes in the buffer */
};

/// An input stream; its failbit is set when the file cannot be opened.
class MOVANE_API fdifstream : public std::istream {
public:
    /// @param mode  as of streambufExt; mode_in is added
    fdifstream(const char* name, int mode);
    ~fdifstream() override;

    bool is_open() const;

    /// @return  0
    int close();

private:
    streambufExt buffer_;
};

/// An output stream; its failbit is set when the file cannot be opened.
class MOVANE_API fdofstream : public std::ostream {
public:
    /// @param mode  as of streambufExt; mode_out is added
    fdofstream(const char* name, int mode);
    ~fdofstream() override;

    bool is_open() const;

    /// @return  0
    int close();

private:
    streambufExt buffer_;
};

#endif

#endif
