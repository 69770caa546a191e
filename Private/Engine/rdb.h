// The calls that the library imports from its engine's record database. A record file is a
// parameter text (see "Item strings and parameter files" in services.h); the built-in
// implementation holds it in memory as that text, so that all it does not touch stays as it is.
#pragma once

#include <cstddef>

extern "C" {

/// A database: the record files that were opened in it, which it owns.
struct rdb;
struct rdb_rfile;

/// Makes an empty database.
///
/// @return  a database that the caller passes to rdb_close(); null when there is no memory
rdb* rdb_open(void);

/// Reads a record file. In a line that holds zero bytes these and every "=" and "[" become "?",
/// which makes the line a damaged one.
///
/// @param path  at most 255 characters
/// @return      the record file; null when it cannot be read
rdb_rfile* rdb_push_rfile(rdb* database, const char* path);

/// Begins an empty record file, in memory only until rdb_flush().
///
/// @param path  at most 255 characters
/// @return      the record file; null on failure
rdb_rfile* rdb_create_rfile(rdb* database, const char* path);

/// @return  1 when the record file has the topic; 0 otherwise
int rdb_search(const rdb_rfile* file, const char* topic);

/// Appends a topic to the end of the record file.
///
/// @return  0; -1 when there is no memory
int rdb_add_topic(rdb_rfile* file, const char* topic);

/// Appends an item to the end of a topic. Name and value must be such that they can be read back.
///
/// @return  0; -1 when there is no such topic or no memory
int rdb_add_item(rdb_rfile* file, const char* topic, const char* name, const char* value);

/// Gives the next item of a topic, in the order of the file.
///
/// @param position    0 for the first item; is moved on
/// @param name,value  257 bytes each
/// @return            1; 0 at the end of the topic; -1 for a line that is neither item nor blank
int rdb_list_item(const rdb_rfile* file, const char* topic, std::size_t* position, char* name,
                  char* value);

/// Writes each record file: to a new file beside it that takes its name when it is complete. A
/// path that names a read-only file, or anything but a file, is not written.
///
/// @return  0; -1 when one could not be written, which is as it was then
int rdb_flush(rdb* database);

/// Releases the database and its record files, without writing; null is accepted.
void rdb_close(rdb* database);
}
