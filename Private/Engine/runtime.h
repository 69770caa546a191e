// The calls that the library imports from its engine's common runtime, under the runtime's own
// names. The built-in implementation beside this header lets the library stand alone; a build
// inside the engine links the engine's instead (CMake variable MOVANE_ENGINE).
#pragma once

#include <cstdio>

extern "C" {

// --- lines of text -------------------------------------------------------------------------

/// Fills a template: each apostrophe takes the next argument as a text (const char*), each "#"
/// as an integer (int); everything else is copied.
///
/// @param destination  receives at most 511 characters and a terminator
/// @param format       the template
void fmtstr(char* destination, const char* format, ...);

/// Writes a text to standard output as it is, without a line end, and flushes it.
///
/// @param format  a template as of fmtstr(), in which "%" also takes the next argument as a number
///                (double), written with six significant digits like "%g"; the text is cut to 511
///                characters
void typefl(const char* format, ...);

/// Flushes standard output, writes the line to standard error and ends the process with exit
/// status 1.
[[noreturn]] void errexit(const char* line);

// --- logical names -------------------------------------------------------------------------

/// Translates a logical name, ignoring the case of letters.
///
/// @param size  bytes of `translation`
/// @return      0; -1 when the name is not defined or its translation does not fit
int lognam(const char* name, char* translation, int size);

// --- files ---------------------------------------------------------------------------------

/// Checks a path that names one file, or with "*" the files of a directory.
///
/// @return  0 when the file, or the directory of the files, exists; -1 otherwise
int ffspec(const char* pattern);

/// Begins a search for the files of a directory; what is a directory itself is left out.
///
/// @param pattern  path of the directory, a separator and "*"
/// @return         a search that the caller passes to fsfree(); null on failure
void* fsinit(const char* pattern);

/// Finds the next file.
///
/// @param path  receives its path
/// @param size  bytes of `path`; files whose paths do not fit are left out
/// @return      0; -1 at the end
int fsearch(void* search, char* path, int size);

/// Ends a search; null is accepted.
void fsfree(void* search);

/// Deletes a file.
///
/// @return  0; -1 on failure
int fdelete(const char* path);

/// Closes a file.
///
/// @return  0; -1 when what was written is not all in the file
int fclosx(std::FILE* file);

// --- clock and calendar --------------------------------------------------------------------

/// Milliseconds on a clock that never goes back. It starts at the time of day, so that two runs of
/// a program read different values.
long long elapsed(void);

/// Milliseconds of processor time used by the process.
long long cputime(void);

struct cdl_date {
    int year, month, day;  // month and day from 1
    int hour, minute, second;
};

/// Reads date and time of day in the system's time zone.
void dattim(cdl_date* now);

/// Writes the date such as "03-Feb-2025", in English.
///
/// @param text  receives 11 characters and a terminator
void cvtdta(const cdl_date* date, char* text);

/// Writes the time of day such as "14:05:09".
///
/// @param text  receives 8 characters and a terminator
void cvttma(const cdl_date* date, char* text);

/// @return  1 for a Monday to 7 for a Sunday
int dayweek(const cdl_date* date);
}
