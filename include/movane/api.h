/* Export macros and the version of the interface; nothing else. */
#ifndef MOVANE_API_H
#define MOVANE_API_H

#define MOVANE_VERSION_MAJOR 0 /* the ABI: hosts built for another major must be rebuilt */
#define MOVANE_VERSION_MINOR 1
#define MOVANE_VERSION_PATCH 0

/* A host that links the library's objects into itself defines MOVANE_STATIC; a host with its own
 * decoration (a delay-load scheme, say) defines MOVANE_API before including any header. */
#ifndef MOVANE_API
#if defined(MOVANE_STATIC)
#define MOVANE_API
#elif defined(_WIN32) && defined(MOVANE_BUILDING)
#define MOVANE_API __declspec(dllexport)
#elif defined(_WIN32)
#define MOVANE_API __declspec(dllimport)
#else
#define MOVANE_API __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
#define MOVANE_C_BEGIN extern "C" {
#define MOVANE_C_END }
#else
#define MOVANE_C_BEGIN
#define MOVANE_C_END
#endif

#endif
