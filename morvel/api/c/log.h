/* Where the lines go that the library prints. By default they go to standard output and standard
   error; those at debug level are dropped. */
#ifndef MORVEL_API_C_LOG_H
#define MORVEL_API_C_LOG_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* Levels of lines. */
enum { MORVEL_LOG_DEBUG = 0, MORVEL_LOG_INFO = 1, MORVEL_LOG_WARNING = 2, MORVEL_LOG_ERROR = 3 };

/* Gets one whole line a call, zero-terminated and without its line feed, valid during the call.
   user is what set_log_callback was given. */
typedef void (*MorvelLogCallback)(int level, const char* line, void* user);

/* From now on lines go to the callback alone, also those of functions that keep no error text; null
   restores printing. */
MORVEL_API void set_log_callback(MorvelLogCallback callback, void* user);
/* Drops lines below the level, 1 at the start, for the callback as for printing. -1, and no change,
   for a level outside 0 to 3. */
MORVEL_API int set_log_level(int level);
/* From now on no line is made at all; level and callback stay as they are. Silence nests: each call
   is undone by one unmute_log. Both return how many calls are in force; unmute_log -1 where there
   was none to undo. */
MORVEL_API int mute_log(void);
MORVEL_API int unmute_log(void);

MORVEL_C_END

#endif
