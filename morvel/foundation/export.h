/* MORVEL_API marks what leaves the shared library: exported functions and public classes.
   Everything else is hidden. Read by C and C++ alike. */
#ifndef MORVEL_FOUNDATION_EXPORT_H
#define MORVEL_FOUNDATION_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define MORVEL_API __attribute__((visibility("default")))
#else
#define MORVEL_API
#endif

#endif
