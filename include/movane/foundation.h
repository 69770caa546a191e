/* Foundation: what every other family stands on.
 *
 *   Error reporting    error_mess_fl, error_get, error_set, error_exit ...   where failures go
 *   Dynamic lists      list_*, xsort_int                                     records by value
 *   Dynamic arrays     dynar_*                                               grow when touched
 *   Hash tables        hash_tab_*                                            keys to data
 *   Item FIFOs         itemfifo_*                                            queues of records
 *   Block caches       cache_*                                               loaded on demand
 *   String helpers     strcmp_ci, normstr, strsplit ...                      byte strings in place
 *   Object lists       TElement, TList, TObjEl, TObjList, TObjFac            for C++ hosts
 *   Critical sections  TCriticSect                                           for C++ hosts
 *
 * Conventions that hold for the whole library:
 *
 * - A failing call returns the failure value that its comment states and posts one message
 *   through the error reporter. Messages are part of the interface: they never change.
 * - A handle is a pointer to a record of the library's own. `*_new` returns null on failure;
 *   `*_kill` accepts null and returns a null handle, so that `h = family_kill(h)` clears it, or 0.
 * - Arguments are trusted unless a comment names the check.
 * - Buffers passed in stay the host's; a handle owns all that it allocated.
 * - Nothing here is locked. The reporter is process-wide: hosts with several threads serialise
 *   their failing calls. A list or an array belongs to one caller at a time.
 */
#ifndef MOVANE_FOUNDATION_H
#define MOVANE_FOUNDATION_H

#include "movane/api.h"

#include <stddef.h>
#include <stdint.h>

MOVANE_C_BEGIN

/* --- Error reporting ----------------------------------------------------------------------
 *
 * A failing function posts one line with error_mess_fl(). What becomes of it is the host's
 * choice, made once with error_set():
 *
 *   mode 1    printed at once, "ERROR : " and the message (the default)
 *   mode 2    collected, sorted and without duplicates, until error_get() fetches it
 *   mode 3    only the latest message is kept, until error_get() fetches it
 *   others    dropped
 *
 * Lines are at most 511 characters long; what is longer is cut. A null message counts as "".
 * Printed lines go to standard output through C stdio and are flushed one by one.
 */

/// Posts the message of a failure, to be handled as the reporting mode says.
///
/// The line is "ERROR : " followed by the message. In mode 2 it is cut to 255 characters, and a
/// line that equals a collected one, ignoring the case of letters, is dropped; a message that is
/// posted while another is being collected (the store itself ran out of memory) is dropped too.
///
/// @param message  the reporting function's name, ": " or " : ", and what went wrong
/// @param file     source path of the reporting module; accepted, not part of the line
/// @param line     source line; accepted, not part of the line
/// @return         no meaning
MOVANE_API int error_mess_fl(const char* message, const char* file, int line);

/// Fetches and forgets one pending line.
///
/// In mode 2 lines come in descending alphabetical order ignoring case, not in the order of
/// posting; in mode 3 there is at most one.
///
/// @return  the line, in a buffer of the reporter that is valid until the next error_get() or
///          the next message in mode 3; null when nothing is pending
MOVANE_API char* error_get(void);

/// Flushes standard output and ends the process with status 1 after "ERROR  : " (two blanks) and
/// the message, cut to 511 characters in all, on standard error. The reporting mode is not
/// consulted.
///
/// @return  does not return
MOVANE_API int error_exit(const char* message);

/// Prints every pending line to standard output, in the order of error_get(), and forgets them.
MOVANE_API void error_display_all_msgs(void);

/// Chooses what becomes of messages.
///
/// A pending message of mode 3 is forgotten; leaving mode 2 discards what was collected, while
/// choosing mode 2 again keeps it. Without memory for the collection the old mode stays.
///
/// @param mode  1 print, 2 collect, 3 keep the latest; anything else drops messages
/// @return      the previous mode
MOVANE_API int error_set(int mode);

/// Sets the level above which warnings are printed (0 at first).
///
/// @return  the previous threshold
MOVANE_API int movane_warn_level(int level);

/// Prints "WARNING  : " (two blanks) and the message when `level` is greater than the threshold.
/// Warnings are never collected.
MOVANE_API void movane_warn(int level, const char* message);

/// Switches debug remarks on (non-zero) or off (0, as at first).
///
/// @return  the previous switch
MOVANE_API int dbg_set(int on);

/// Prints "DEBUG : " and the message when debug remarks are on. Remarks are never collected.
MOVANE_API void dbg(const char* message);

/* --- Dynamic lists ------------------------------------------------------------------------
 *
 * A contiguous array of equal-sized records, copied in by value. With an ordering the list is
 * kept sorted by list_insert() and searched by bisection. Counters are 16-bit: at most 65535
 * elements of at most 65535 bytes. Element addresses are valid until the next insertion.
 *
 *   movane_list* l = list_new(50, sizeof(double), xsort_int);
 *   list_insert(l, &x);  ...  double* lowest = list_get_element(l, 0);  ...
 *   l = list_kill(l);
 */

typedef struct movane_list movane_list;

/// As an ordering: non-zero when the element belongs after the key. As an equality: 0 when they
/// are equal. It must not change the list; an exception that it lets escape ends the process.
typedef int (*list_predicate)(const void* element, const void* key);

/// Creates an empty list.
///
/// @param initial       slots allocated at once, and added whenever the list is full; 10 when
///                      below 1, at most 65535
/// @param element_size  bytes of one element, at most 65535
/// @param ordering      order of the elements; null for a list in order of insertion
/// @return              a list the caller owns and releases with list_kill(); null on failure
/// @fails               "list_new : Not enough resources to create list"  a count above 65535, or
///                                                                        out of memory
MOVANE_API movane_list* list_new(int initial, unsigned int element_size, list_predicate ordering);

/// Releases the list and its elements.
///
/// @return  null
MOVANE_API movane_list* list_kill(movane_list* list);

/// Copies an element in: at the place its ordering gives, behind what it does not order after;
/// at the end of a list without ordering.
///
/// @return  index of the new element; -1 on failure, the list is unchanged
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int list_insert(movane_list* list, const void* element);

/// Writes an element into a given slot, growing the list up to that slot when needed.
///
/// The element count rises by one in every mode, also when a slot is overwritten: the call
/// serves to fill a list slot by slot. Growth carries over only the counted elements, so fill
/// in ascending order, or list_alloc() first.
///
/// @param index  slot to write, from 0
/// @param mode   above 0: elements from the slot on move up by one;
///               below 0: elements 1 to index move down by one, element 0 is lost;
///               0: what stood there is overwritten
/// @return       index; -1 when it is negative or on failure, the list is unchanged
/// @fails        "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int list_insert_index(movane_list* list, const void* element, int index, int mode);

/// Overwrites one element.
///
/// @return  index; -1 on failure
/// @fails   "list_changep : index out of bound"  index negative or not below the count
MOVANE_API int list_changep(movane_list* list, int index, const void* element);

/// Removes one element; those behind it move down. An index out of range changes nothing.
///
/// @return  0
MOVANE_API int list_rem_element(movane_list* list, int index);

/// @return  address of an element, in the list; null when the index is out of range
MOVANE_API void* list_get_element(const movane_list* list, int index);

/// @return  the index at which list_insert() would put the key
MOVANE_API int list_pos(const movane_list* list, const void* key);

/// Bisects a part of the list.
///
/// @param low,high  first and last index to look at, within the list
/// @param ordering  the order by which that part is sorted
/// @return          index of the first element from low to high for which the ordering is
///                  non-zero, or high+1; the count when there is no ordering, 0 for an empty
///                  list, low when low is above high
MOVANE_API int list_pos_range(const movane_list* list, const void* key, int low, int high,
                              list_predicate ordering);

/// Finds an element: by scanning, or in a sorted list by looking at the one element that stands
/// where list_pos() points. An ordering that yields non-zero also for equal elements is needed
/// for the latter; with xsort_int() list_pos() points behind them.
///
/// @param equal  yields 0 when element and key are the same
/// @return       index of the element; -1 when there is none
MOVANE_API int list_search_el(const movane_list* list, const void* key, list_predicate equal);

/// Makes room for a number of elements. Fewer slots than there are change nothing; as many as
/// there are move the elements into a new area of the same size.
///
/// @return  0; -1 on failure, the list is unchanged
/// @fails   "list_insert : Unable to extend list, insufficient resources"
MOVANE_API int list_alloc(movane_list* list, int slots);

/// @return  number of elements; 0 for a null list
MOVANE_API int list_num(const movane_list* list);

/// @return  number of elements of a list that is not null
MOVANE_API int list_get_num(const movane_list* list);

/// @return  slots added whenever the list is full
MOVANE_API int list_get_ext(const movane_list* list);

/// @return  bytes of one element
MOVANE_API int list_get_el_size(const movane_list* list);

/// An ordering for lists of doubles (not of int, in spite of its name): ascending, a new value
/// behind those equal to it.
///
/// @param a,b  doubles
/// @return     1 when *a is greater than *b; 0 otherwise, also when either is not a number
MOVANE_API int xsort_int(const void* a, const void* b);

/* --- Dynamic arrays -----------------------------------------------------------------------
 *
 * An array of equal-sized, zero-filled elements that grows when an index beyond its end is
 * touched. Element addresses are valid until the next dynar_ptr() that grows the array.
 */

typedef struct movane_dynar movane_dynar;

/// Creates an empty array.
///
/// @param element_size  bytes of one element, at least 1
/// @param growth        slots added beyond the touched index when growing; 10 when below 1
/// @return              an array the caller owns and releases with dynar_kill(); null on failure
/// @fails               "dynar_new: Unable to create new dynar"
MOVANE_API movane_dynar* dynar_new(int element_size, int growth);

/// Releases the array and its elements.
///
/// @return  null
MOVANE_API movane_dynar* dynar_kill(movane_dynar* dynar);

/// @return  the highest index touched so far, plus 1
MOVANE_API int dynar_nr_items(const movane_dynar* dynar);

/// Gives the address of an element and grows the array to `index` plus the growth step slots
/// when it does not exist yet. Without memory for that the process ends through error_exit()
/// with "dynar_ptr: memory allocation failed".
///
/// @return  address of the element, in the array; null on failure
/// @fails   "dynar_ptr: illegal index"  index below 0
MOVANE_API void* dynar_ptr(movane_dynar* dynar, int index);

/* --- Hash tables --------------------------------------------------------------------------
 *
 * A fixed number of slots, each a key field followed by a data field; hashing, comparing and
 * telling empty slots apart is the host's. A field is either a fixed number of bytes, or a string
 * of any length, which stands in a growing byte store and is referenced by its offset. A table
 * never grows; strings are never removed from their store.
 *
 *   movane_hash_tab* t = hash_tab_new(100, 4, 8, hash, match, empty, context, &size);
 *   hash_tab_insert(t, &key, &data);  ...  if (hash_tab_get(t, &key, &data) >= 0) ...
 *   t = hash_tab_kill(t);
 *
 * Sizes of fields, for keys as for data:
 *   above 0   that many bytes in the slot
 *   -1        a string; the slot holds an unsigned 16-bit offset, so that a store takes strings
 *             until its first 65536 bytes are used
 *   -2        a string; the slot holds an unsigned 32-bit offset
 * Data may also take 0 bytes. Offset 0 stands for no key or no data, which read as "". A key that
 * reads like that of an unused slot ("", or as a rule all zeros) is not told from one: a look-up
 * may find it in a slot that holds nothing.
 *
 * Fields are not aligned. A store that finds no memory to grow ends the process, as dynar_ptr()
 * does. Keys and data handed in must not lie in the table's own stores.
 */

typedef struct movane_hash_tab movane_hash_tab;

/// Gives the hash value of a key. It should not be negative; of a negative one the lower 31 bits
/// are taken. The callbacks of a table must not throw and must not use the table.
typedef int (*hash_tab_hasher)(void* context, const void* key);

/// Non-zero when the stored key equals the key; both are strings for a table of string keys.
typedef int (*hash_tab_matcher)(const void* stored_key, const void* key);

/// Non-zero when the slot's key field, with which the slot begins, is unused. Slots are zero at
/// first. Not called, and may be null, for string keys.
typedef int (*hash_tab_emptiness)(const void* slot);

/// Creates an empty table with 20 percent more slots than items.
///
/// @param nr_items            items the table is meant for, at least 1; the number of slots is
///                            nr_items * 120 / 100, rounded up to a prime from 4 on
/// @param key_size,data_size  sizes of the fields, see above
/// @param context             handed to every call of `hash`; stays the host's
/// @param size_out            receives the number of slots; 0 on failure
/// @return  a table the caller owns and releases with hash_tab_kill(); null on failure
/// @fails   "Hash_tab_new : allocation failed"
///          "Hash_tab_new : allocation of table failed nr_items = %d"  with the number of slots in
///                    place of the last character; 0 when there cannot be such a table
///          "dynar_new: Unable to create new dynar"
MOVANE_API movane_hash_tab* hash_tab_new(int nr_items, int key_size, int data_size,
                                         hash_tab_hasher hash, hash_tab_matcher match,
                                         hash_tab_emptiness empty, void* context, int* size_out);

/// Rebuilds a table from an image of its slots and stores, for look-ups.
///
/// All slots count as not deleted. The imported strings do not count as stored: strings inserted
/// later are placed over them, from offset 1 on, and the others are lost when the store grows. A
/// string that the image cuts off ends there, and an offset beyond the image reads as "".
///
/// @param size                 number of slots, at least 1, as of the table the image was taken
///                             from: it is not rounded
/// @param key_size,data_size   sizes of the fields, as in hash_tab_new()
/// @param slots_image          size * (key field + data field) bytes, see hash_tab_tab(); copied
/// @param keys_image           the bytes of the key store; copied, not read for fixed keys
/// @param keys_length          bytes of keys_image
/// @param data_image           the bytes of the data store; copied, not read for fixed data
/// @param data_length          bytes of data_image
/// @return  a table the caller owns and releases with hash_tab_kill(); null on failure
/// @fails   the messages of hash_tab_new()
MOVANE_API movane_hash_tab* hash_tab_newset(void* context, int size, int key_size, int data_size,
                                            hash_tab_hasher hash, hash_tab_matcher match,
                                            hash_tab_emptiness empty, const void* slots_image,
                                            const void* keys_image, int keys_length,
                                            const void* data_image, int data_length);

/// Releases the table, its slots and its stores.
///
/// @return  null
MOVANE_API movane_hash_tab* hash_tab_kill(movane_hash_tab* table);

/// Stores a key and its data in the first free slot of the key's probe sequence. Equal keys are
/// not looked for: inserting a key again takes another slot.
///
/// A full table is not reported but told on standard output: "Hash_table  full " (two blanks, one
/// at the end), without a line end, flushed.
///
/// @param key   the key's bytes, or a string
/// @param data  the data's bytes, or a string; null leaves what the slot held before
/// @return      index of the slot; -1 when the table is full or on failure, it is unchanged then
/// @fails       "hash_tab_insert: store full"  a string would start beyond its offset's range
MOVANE_API int hash_tab_insert(movane_hash_tab* table, const void* key, const void* data);

/// Looks a key up.
///
/// @param data_out  receives the data: as many bytes as the field has, or the string, for which
///                  there must be room; may be null
/// @return          index of the first slot of the probe sequence with that key; -1 for none,
///                  data_out is unchanged then
MOVANE_API int hash_tab_get(movane_hash_tab* table, const void* key, void* data_out);

/// Replaces the data of a key. A string takes new room in the store.
///
/// @param data  the data's bytes, or a string; null changes nothing
/// @return      index of the slot; -1 when there is no such key or on failure
/// @fails       "hash_tab_insert: store full"  the string would start beyond its offset's range
MOVANE_API int hash_tab_put(movane_hash_tab* table, const void* key, const void* data);

/// Deletes a key from a table of fixed keys and data. Its slot can be taken again.
///
/// @return  index of the slot that was deleted; -1 when there is no such key or on failure
/// @fails   "hash_tab_delete: var keys and dats not implemented"
MOVANE_API int hash_tab_delete(movane_hash_tab* table, const void* key);

/// Copies what a slot holds. A slot that was never used gives a key of zeros, or "".
///
/// @param key_out   receives the key; zeros, or "", for a deleted slot
/// @param data_out  receives the data, likewise; may be null
/// @return          index; -1 when it is out of range or the slot is deleted
MOVANE_API int hash_tab_index(movane_hash_tab* table, int index, void* key_out, void* data_out);

/// Deletes the key in a slot of a table of fixed keys and data.
///
/// @return  1; 0 when the index is out of range or nothing is there; -1 on failure
/// @fails   "hash_tab_put: var keys and dats not implemented"  (it names another function)
MOVANE_API int hash_tab_delete_index(movane_hash_tab* table, int index);

/// Takes an insertion back: the slot, deleted or not, counts as never used. Keys whose probe
/// sequence has come to pass through the slot since are no longer found.
///
/// @return  1; 0 when the index is out of range; -1 on failure
/// @fails   "hash_tab_uninsert_index: var keys and dats not implemented"
MOVANE_API int hash_tab_uninsert_index(movane_hash_tab* table, int index);

/// Replaces the data in a slot of a table of fixed keys and data.
///
/// @return  1; 0 when the index is out of range or nothing is there; -1 on failure
/// @fails   "hash_tab_put: var keys and dats not implemented"
MOVANE_API int hash_tab_put_index(movane_hash_tab* table, int index, const void* data);

/// Empties a table of fixed keys and data.
///
/// @return  1; 0 on failure
/// @fails   "hash_tab_flush: var keys and dats not implemented"
MOVANE_API int hash_tab_flush(movane_hash_tab* table);

/// @return  number of slots, used or not
MOVANE_API int hash_tab_nr_items(const movane_hash_tab* table);

/// @return  the key store, in the table, an array of bytes whose offset 0 holds a zero; null for
///          fixed keys
MOVANE_API movane_dynar* hash_tab_keys(const movane_hash_tab* table);

/// Gives the slots, from which hash_tab_newset() can rebuild a table that has no deleted ones.
///
/// @param key_size,data_size  receive the bytes of the two fields of a slot: 2 or 4 for strings
/// @return                    the slots, in the table, without gaps
MOVANE_API void* hash_tab_tab(const movane_hash_tab* table, int* key_size, int* data_size);

/* --- Item FIFOs ---------------------------------------------------------------------------
 *
 * A queue of equal-sized records, copied in and out by value. It grows by partitions of a fixed
 * number of items, without moving what is queued, and frees a partition once it is read.
 *
 *   movane_itemfifo* f = itemfifo_new(sizeof item, 0);
 *   itemfifo_put(f, &item);  ...  while (itemfifo_get(f, &item)) ...
 *   itemfifo_kill(f);
 */

typedef struct movane_itemfifo movane_itemfifo;

/// Creates an empty queue.
///
/// @param item_size            bytes of one item, at least 1
/// @param items_per_partition  items for which room is made at once; 10 when below 1. A partition
///                             has at most 2^31-1 bytes
/// @return                     a queue the caller owns and releases with itemfifo_kill(); null on
///                             failure
/// @fails                      "itemfifo_new: Unable to create new itemfifo"
MOVANE_API movane_itemfifo* itemfifo_new(int item_size, int items_per_partition);

/// Releases the queue and what is in it.
///
/// @return  0
MOVANE_API int itemfifo_kill(movane_itemfifo* fifo);

/// Copies an item in.
///
/// @return  1; 0 on failure, the queue is unchanged
/// @fails   "itemfifo_put: unable to create new partition"
MOVANE_API int itemfifo_put(movane_itemfifo* fifo, const void* item);

/// Copies the oldest item out and removes it.
///
/// @return  1; 0 when the queue is empty, `item` is unchanged then
MOVANE_API int itemfifo_get(movane_itemfifo* fifo, void* item);

/// @return  number of items queued
MOVANE_API int itemfifo_nr_items(const movane_itemfifo* fifo);

/* --- Block caches -------------------------------------------------------------------------
 *
 * Items numbered from 1, of different sizes, in a pool of equal blocks. An item is loaded through
 * a callback when it is asked for, into contiguous blocks; the items in its way are forgotten, in
 * round-robin order, unless they are locked. The address of an item is valid until the next
 * cache_get() of an item that is not resident, or as long as it is locked.
 *
 *   movane_cache* c = cache_new(nr_tiles, 64, 4096, tile_bytes, load_tile, image);
 *   unsigned char* tile = cache_get(c, 17);
 *   cache_kill(c);
 */

typedef struct movane_cache movane_cache;

/// Gives the bytes of an item; below 1 when there is no such item. The callbacks of a cache must
/// not throw and must not use the cache.
typedef int (*cache_size_function)(void* context, int item);

/// Fills the item's bytes, starting at `where`.
typedef void (*cache_load_function)(void* context, int item, void* where);

/// Creates an empty cache.
///
/// @param nr_items    items are numbered 1 to nr_items
/// @param nr_blocks   blocks in the pool
/// @param block_size  bytes of one block
/// @param context     handed to the callbacks; stays the host's
/// @return            a cache the caller owns and releases with cache_kill(); null when a number
///                    is below 1, without a message, or on failure
/// @fails             "cache_new: not enough resources"
MOVANE_API movane_cache* cache_new(int nr_items, int nr_blocks, int block_size,
                                   cache_size_function size, cache_load_function load,
                                   void* context);

/// Releases the cache and its pool.
///
/// @return  0
MOVANE_API int cache_kill(movane_cache* cache);

/// Gives an item and loads it when it is not resident.
///
/// @return  address of the item's bytes, in the pool; null, without a message, when the item has
///          no bytes, is larger than the pool or finds no room beside the locked ones, or on
///          failure
/// @fails   " Cache_delete illegal item_id"  (with a leading blank and another function's name)
MOVANE_API void* cache_get(movane_cache* cache, int item);

/// Forgets an item, locked or not, and its locks.
///
/// @return  1; 0 when it is not resident or on failure
/// @fails   "Cache_delete: illegal item_id"
MOVANE_API int cache_delete(movane_cache* cache, int item);

/// Locks a resident item, or takes one lock back. An item is locked until every lock was taken
/// back; taking back what is not there changes nothing.
///
/// @param lock  non-zero: lock; 0: take one lock back
/// @return      1; 0 when the item is not resident or on failure
/// @fails       "Cache_lock: illegal item_id"
MOVANE_API int cache_lock(movane_cache* cache, int item, int lock);

/// @return  number of locks on the item; -1, without a message, for a number out of range
MOVANE_API int cache_lock_get(const movane_cache* cache, int item);

/// Forgets every item and every lock; the next item is loaded at the start of the pool.
///
/// @return  1
MOVANE_API int cache_flush(movane_cache* cache);

/* --- String helpers -----------------------------------------------------------------------
 *
 * Zero-terminated byte strings in the caller's buffers. Only A to Z and a to z are folded; all
 * other bytes are compared as signed characters, independent of the locale. A blank is the
 * character 0x20; the normalising calls also strip tabs, LF and CR. Nothing is allocated or
 * reported.
 */

/// Compares after mapping a to z to A to Z; a string that begins another is the smaller.
///
/// @return  -1, 0 or 1
MOVANE_API int strcmp_ci(const char* a, const char* b);

/// Compares at most `n` characters, up to a terminator, ignoring the case of letters.
///
/// @return  0 when they are equal or n is below 1; 1 otherwise
MOVANE_API int strncmp_ci(const char* a, const char* b, int n);

/// An ordering for lists of text slots that finds the first equal element: ascending, ignoring
/// the case of letters.
///
/// @param element,key  strings
/// @return             1 when strcmp_ci(element, key) is at least 0; 0 otherwise
MOVANE_API int str_ins(const void* element, const void* key);

/// @return  1 when the characters are equal ignoring the case of letters; 0 otherwise
MOVANE_API int chr_eq_ci(char a, char b);

/// Finds the first occurrence of `sub`.
///
/// @return  its address in `s` (`s` itself for an empty `sub`); null when there is none or when
///          `s` is empty
MOVANE_API char* str_str(const char* s, const char* sub);

/// str_str() ignoring the case of letters.
MOVANE_API char* strstr_ci(const char* s, const char* sub);

/// Removes leading and trailing blanks, tabs, LF and CR in place.
MOVANE_API void normstr_wc(char* s);

/// normstr_wc(), then A to Z become lower case.
MOVANE_API void normstr(char* s);

/// Copies, then applies normstr_wc() to the copy. `dst` has room for all of `src` and may be it.
MOVANE_API void normstr_wc_cp(const char* src, char* dst);

/// Copies, then applies normstr() to the copy. `dst` has room for all of `src` and may be it.
MOVANE_API void normstr_cp(const char* src, char* dst);

/// Copies at most `n` characters and always writes a terminator behind them: `dst` has room for
/// n+1 characters.
///
/// @return  0
MOVANE_API int strncpy_w0(char* dst, const char* src, int n);

/// Splits a text at the first separator into two halves, each normalised by normstr_wc().
///
/// @param left,right  receive the halves; each has room for its half and a terminator, and one
///                    of the two may be `text` itself
/// @return            0; 1 when an argument is null or the separator is missing, nothing is
///                    written then
MOVANE_API int strsplit(const char* text, char separator, char* left, char* right);

/// Collapses each run of blanks into one blank, in place.
///
/// @return  0
MOVANE_API int str_remove_multiple_blanks(char* s);

MOVANE_C_END

#ifdef __cplusplus

/* --- Object lists -------------------------------------------------------------------------
 *
 *   TElement           what can stand in a list
 *     TObjEl           an element that refers to an object and counts references to it
 *   TList              a doubly linked list of elements
 *     TObjList         one of TObjEl, with a cursor for scanning it
 *   TObjFac            a registry of objects by reference count
 *
 *   struct Patch : TElement { double lab[3]; };
 *   TList patches;
 *   patches.Add(new Patch);  ...  for (TElement* e = patches.First(); e; e = e->Next()) ...
 *
 * A list owns its elements: whoever derives from TElement creates elements with `new` and hands
 * them over; the list deletes them through the virtual destructor. Subtract() hands one back. An
 * element is in one list at most. Deleting an element does not take it out of its list.
 *
 * `new` and `delete` of all these classes use the library's heap, so that host and library can
 * delete what the other made. `new` gives null, and does not throw, when there is no memory.
 *
 * Copying copies the fields as they stand: links, ends and pointers included, never elements. Of
 * two lists or factories one of which is a copy, only one may be destroyed.
 *
 * Nothing is posted to the error reporter, except where a comment says so. Callbacks and virtual
 * operations of the host must not throw.
 */

class MOVANE_API TElement {
public:
    virtual ~TElement();
    TElement(const TElement& other);
    TElement& operator=(const TElement& other);
    static void* operator new(size_t bytes) noexcept;
    static void operator delete(void* element) noexcept;

    /// @return  the neighbour; null at the end of the list and for an element in no list
    TElement* Next();
    TElement* Previous();

    /// @return  number of elements before this one
    int ListIndex();

protected:
    TElement();

private:
    friend class TList;

    TElement* previous_;
    TElement* next_;
};

/// A list that keeps its elements in the order in which they were added or, given a comparison,
/// sorted. Elements handed in may be null, which changes nothing.
class MOVANE_API TList {
public:
    /// An empty list.
    ///
    /// @param compare  compare(element, added), two TElement*: positive when the element belongs
    ///                 behind the added one, 0 when they are equal, negative otherwise; null for a
    ///                 list that is not sorted
    explicit TList(int (*compare)(void*, void*));
    TList();

    /// Deletes every element.
    virtual ~TList();

    TList(const TList& other);
    TList& operator=(const TList& other);
    static void* operator new(size_t bytes) noexcept;
    static void operator delete(void* list) noexcept;

    /// Deletes every element; the list is empty and has no current element then.
    virtual void Destroy();

    /// Sorts the elements anew, as if they were added one by one; nothing happens without a
    /// comparison. The current element stays.
    virtual void Sort();

    /// Takes an element out of the list; it is the caller's then. When it was the current element,
    /// its successor becomes that, or the last element when it had none.
    ///
    /// @return  the element that followed it; the element itself when it is not in this list, which
    ///          changes nothing; null for null
    virtual TElement* Subtract(TElement* element);

    /// Adds an element: at the end, or in a sorted list at its place. Among its equals it comes
    /// last, if they are the last of the list; first, if they are the first of the list but not the
    /// last; and somewhere among them otherwise.
    ///
    /// @return  the element
    TElement* Add(TElement* element);

    /// Adds an element in front of another one of this list, sorted or not; at the end when the
    /// position is null.
    ///
    /// @return  the element
    TElement* Add(TElement* position, TElement* element);

    /// Add(element).
    TList& operator+(TElement* element);

    /// Subtract(element).
    TList& operator-(TElement* element);

    /// @return  number of elements, which are counted one by one
    int Count();

    /// @return  the n-th element, from 0; the first for n below 0; null beyond the last
    TElement* Get(int n);

    /// Finds an element, asking the current one first and then all from the first on.
    ///
    /// @param match  match(element, key): 0 when it is the one, such as tObjListFindObj()
    /// @return       the element; null when there is none
    TElement* Get(int (*match)(void*, void*), void* key);

    /// @return  the element behind this one, null for the last; the first for null
    TElement* GetNext(TElement* element);

    /// @return  place of the element, from 0; -1 when it is not in this list
    int Index(const TElement* element);

    TElement* First();
    TElement* Last();

    /// An element that the host marks; the list only takes care that it stays one of its own.
    TElement* Current();
    void SetCurrent(TElement* element);

private:
    void Insert(TElement* element, TElement* next);

    TElement* first_;
    TElement* last_;
    TElement* current_;
    int (*compare_)(void*, void*);
};

/// An element that refers to an object of the host and counts references to it. The object is not
/// owned.
class MOVANE_API TObjEl : public TElement {
public:
    /// One reference to the object.
    explicit TObjEl(void* object);
    ~TObjEl() override;
    TObjEl(const TObjEl& other);
    TObjEl& operator=(const TObjEl& other);

    /// @return  1 when the object is `content`, 0 otherwise; for descendants to widen
    virtual int IsSameContent(void* content);

    /// @return  the object
    void* iPt();

    /// Adds or takes away a reference.
    void RefCpp();
    void RefCmm();

    /// @return  number of references
    int RefC();

    /// @return  1 when the number of references is below 1, 0 otherwise
    int NoRefs();

    /// @return  0: no error
    int ErrNo();

private:
    void* object_;
    int references_;
    int error_;
};

/// For TList::Get() on a list of TObjEl.
///
/// @return  0 when the element's object is `object`; 1 otherwise
extern "C" MOVANE_API int tObjListFindObj(void* element, void* object);

/// For TList::Get() on a list of TObjEl.
///
/// @return  0 when the element's IsSameContent(content) is positive; 1 otherwise
extern "C" MOVANE_API int tObjListFindObjSameContent(void* element, void* content);

/// A list of TObjEl in the order of their adding, with a cursor: the scan element.
///
///   for (void* object = list.ScanObject(1); object; object = list.ScanObject(0)) ...
///
/// Elements may be subtracted during a scan, the scan element among them: it goes on with the one
/// that followed.
class MOVANE_API TObjList : public TList {
public:
    TObjList();
    ~TObjList() override;
    TObjList(const TObjList& other);
    TObjList& operator=(const TObjList& other);

    /// TList::Destroy(); the scan starts anew.
    void Destroy() override;

    /// TList::Subtract(); the predecessor of the scan element takes its place.
    TElement* Subtract(TElement* element) override;

    /// @return  0: no error
    int ErrNo();

    /// Lets the scan start anew.
    ///
    /// @return  0
    int ScanObjectReset();

    /// Moves on to the next element, to the first at the start of a scan.
    ///
    /// @param restart  non-zero: starts anew
    /// @return         the element's object; null at the end, where the scan element stays the last
    ///                 one: elements added later are found by the next call
    void* ScanObject(int restart);

    /// @return  the scan element, a TElement*, not its object; null at the start of a scan
    void* GetCurrentScanObject();

    /// Sets the scan element.
    ///
    /// @param element  a TElement* of this list, or null for the start of a scan
    /// @return         0
    int SetCurrentScanObject(void* element);

private:
    int error_;
    TElement* scan_;
};

/// A registry of objects: how often each is referred to, in order of registration. It owns its
/// elements, not the objects.
///
/// The registry itself cannot make elements; a factory derives from it, overrides
/// TObjFacCreateEl() and calls IncrRefc() for the objects it hands out.
class MOVANE_API TObjFac {
public:
    /// An empty registry, and a generator of random numbers started from the clock. Without memory
    /// for the list ErrNo() is 1 and nothing can be registered; without memory for the generator
    /// there are no random names.
    ///
    /// @fails  "Random_new : allocation failed"
    TObjFac();
    virtual ~TObjFac();
    TObjFac(const TObjFac& other);
    TObjFac& operator=(const TObjFac& other);
    static void* operator new(size_t bytes) noexcept;
    static void operator delete(void* factory) noexcept;

    /// Takes one reference to an object away, and the object out of the registry with the last
    /// one. An unknown object changes nothing.
    ///
    /// @return  null
    virtual void* DecrRefc(void* object);

    /// TObjList::ScanObject() of the registry.
    virtual void* ScanObject(int restart);

    /// Lets the scan start anew.
    ///
    /// @return  0
    virtual int ScanReset();

    /// Takes an object out of the registry, however often it is referred to. An element without
    /// references is left alone.
    ///
    /// @return  null
    virtual void* RemoveFromFactory(void* object);

    /// TObjList::GetCurrentScanObject() of the registry.
    virtual void* GetCurrentScanObject();

    /// TObjList::SetCurrentScanObject() of the registry.
    virtual int SetCurrentScanObject(void* element);

    /// Makes the element for an object that is to be registered.
    ///
    /// @return  an element made with `new`, which the registry then owns; null, as here, when there
    ///          is none: the object is not registered then
    virtual TObjEl* TObjFacCreateEl(void* object);

    /// @return  number of objects registered
    int GetNrObj();

    /// @return  0: no error; 1: the list could not be made
    int ErrNo();

    /// Makes up a name: the prefix and six digits, of which the first is 0.
    ///
    /// @param name  receives the name and its terminator
    /// @param size  bytes at `name`, at least the length of the prefix and 7
    /// @return      0; -1 when the size is too small or there is no generator, nothing is written
    int MakeRandomName(const char* prefix, char* name, int size);

protected:
    /// Adds a reference to an object, registering it when it is new.
    ///
    /// @return  0
    int IncrRefc(void* object);

    /// @return  number of references to an object; 0 when it is not registered
    int GetRefc(void* object);

private:
    TObjEl* Find(void* object);
    void Drop(TObjEl* element);

    TObjList* objects_;
    int nr_objects_;
    int error_;
    int* random_;
};

/* --- Critical sections --------------------------------------------------------------------
 *
 * A lock between processes, and between objects of one process: it is held by whoever has the
 * lock file open exclusively. It ends with the process that holds it. The file is created when it
 * is missing, and never deleted: deleting it would let two holders in.
 *
 *   TCriticSect section("spool.lock", 20);
 *   if (section.Enter(5.0) == 0) { ...  section.Leave(); }
 */

class MOVANE_API TCriticSect {
public:
    /// A section that is not held.
    ///
    /// @param path      path of the lock file in UTF-8, at most 255 bytes
    /// @param retry_ms  wait between two tries in milliseconds; 1 when below
    /// @throws          std::out_of_range, "Lock path too long", for a longer path
    TCriticSect(const char* path, int retry_ms);

    /// Leave().
    ~TCriticSect();

    /// Copies the fields, the hold on the lock included: only one of the two may be destroyed.
    TCriticSect(const TCriticSect& other);
    TCriticSect& operator=(const TCriticSect& other);
    static void* operator new(size_t bytes) noexcept;
    static void operator delete(void* section) noexcept;

    /// Waits for the lock. Its holder cannot enter a second time, but times out.
    ///
    /// @param timeout_seconds  counted in whole seconds of the clock: the wait ends when more than
    ///                         that many have begun since the call; 0 waits into the next second
    /// @return                 0 when the lock is held; 1 when it is not, also when the file cannot
    ///                         be opened at all
    int Enter(double timeout_seconds);

    /// Gives the lock back, if it is held.
    void Leave();

private:
    char path_[256];
    int retry_ms_;
    intptr_t lock_file_; /* the system's handle, -1 when not held */
};

#endif

#endif
