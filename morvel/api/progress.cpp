// The host's callback for the progress of long calls.

#include "morvel/foundation/progress.h"

#include "morvel/api/c/progress.h"

void set_progress_callback(MorvelProgressCallback callback, void* user) {
  trova::foundation::progress::setCallback(callback, user);
}
