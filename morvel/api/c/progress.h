/* How far long calls have come: told to the host, which may cancel them. */
#ifndef MORVEL_API_C_PROGRESS_H
#define MORVEL_API_C_PROGRESS_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* fraction is in [0, 1] and never falls during one call; it is 1 only where the work is done and
   about to be stored. stage names the step ("assembling") and is valid during the call. user is
   what set_progress_callback was given. 0 goes on, any other answer cancels.

   The callback must not begin work of the kernel. Every function that could refuses inside it, with
   its result for a caught exception; what is deleted there lives on, without its handle, until the
   call has ended. Error texts, counts, lists and set_progress_callback itself may be used. */
typedef int (*MorvelProgressCallback)(double fraction, const char* stage, void* user);

/* From now on fits, blends, fills, projections, trims by wires, meshes of visible regions and
   conversions to spline form report to the callback, from the thread that called them: about every
   percent, at least every 20 ms where the work can be interrupted there, and once at either end.
   Null turns it off, at once, also from inside the callback.

   A cancelled function returns its result for a caught exception, with the text "Cancelled in stage
   'assembling' at 40 %" as the last error (behind the words that the family puts before an
   exception's text; families with a text of their own keep it there). It has stored nothing, and
   what it may have written into the caller's arrays means nothing. A surface
   engine 1 or 2 that was at work keeps its points and has no surface, an engine 3 keeps its last
   fit; one that was being created is not registered. */
MORVEL_API void set_progress_callback(MorvelProgressCallback callback, void* user);

MORVEL_C_END

#endif
