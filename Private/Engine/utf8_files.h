// The calls that the library imports from its engine's file library: the like-named calls of the
// C runtime and of the system, with paths in UTF-8. The built-in implementation lets the library
// stand alone.
#pragma once

#include <cstdint>
#include <cstdio>

extern "C" {

// --- files -----------------------------------------------------------------------------------

/// As std::fopen(). Without "b" in the mode line ends are translated where the system does that.
std::FILE* fopen_utf8(const char* path, const char* mode);

enum open_flags_utf8 {
    open_write_only = 0x0001,  // otherwise for reading
    open_append     = 0x0008,
    open_temporary  = 0x0040,  // removed with its last descriptor, where the system offers that
    open_create     = 0x0100,
    open_truncate   = 0x0200,
    open_exclusive  = 0x0400,
    open_binary     = 0x8000
};

enum permission_utf8 { permit_write = 0x0080, permit_read_only = 0x0100 };

/// As the runtime's open call.
///
/// @param permission  of a file that is created
/// @return            a descriptor; -1 on failure
int open_utf8(const char* path, int flags, int permission);

struct stat_utf8 {
    long long size;  // bytes
    int is_directory;
};

/// As the runtime's stat call, with sizes of 64 bits.
///
/// @return  0; -1 when the path names nothing
int stat32_utf8(const char* path, stat_utf8* result);

enum device_access_utf8 : unsigned { access_write = 0x40000000, access_read = 0x80000000 };
enum creation_utf8 : unsigned { open_existing = 3, open_always = 4 };

/// As the system's call, of which the library uses two forms, both shared with nobody: one opens an
/// existing device for reading and writing, the other a file for writing, which is made when it is
/// missing. Every other form fails.
///
/// @param attributes  attribute_normal for the device, flag_no_buffering for the file
/// @return            a handle of the system; -1 on failure
std::intptr_t CreateFile_utf8(const char* path, unsigned access, unsigned sharing,
                              const void* security, unsigned creation, unsigned attributes);

/// @param keep_existing  non-zero: an existing file of the new name is a failure
/// @return               non-zero on success
int CopyFile_utf8(const char* path, const char* new_path, int keep_existing);

// --- directories -------------------------------------------------------------------------------

/// @return  0; -1 on failure
int mkdir_utf8(const char* path);

/// Removes an empty directory.
///
/// @return  0; -1 on failure
int rmdir_utf8(const char* path);

enum file_flags_utf8 : unsigned { flag_no_buffering = 0x20000000 };

enum file_attributes_utf8 : unsigned {
    attribute_read_only = 0x0001,
    attribute_directory = 0x0010,  // also of a link to a directory
    attribute_normal    = 0x0080,  // none of the others
    attribute_link      = 0x0400,
    attributes_of_none  = 0xFFFFFFFF
};

/// @return  attributes, combined; attributes_of_none when the path names nothing
unsigned GetFileAttributes_utf8(const char* path);

struct find_data_utf8 {
    unsigned attributes;  // attribute_directory and attribute_link
    char name[768];       // without the path of the directory
};

/// Begins to list a directory and gives its first entry, which is "." itself.
///
/// @param pattern  path of the directory, a separator and "*"
/// @return         a search that the caller passes to FindClose_utf8(); null on failure
void* FindFirstFile_utf8(const char* pattern, find_data_utf8* found);

/// @return  non-zero when there was another entry
int FindNextFile_utf8(void* search, find_data_utf8* found);

/// Ends a search; null is accepted.
void FindClose_utf8(void* search);
}
