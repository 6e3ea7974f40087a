/* The C header stands alone: it is the only include, and this is compiled as strict C99. */
#include "morvel/morvel.h"

int morvel_header_is_plain_c(void);
int morvel_header_is_plain_c(void) { return debug_get_macro_value(); }
