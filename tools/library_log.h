// The library's log, seen through the hooks of its configuration.
#ifndef LIBRARY_LOG_H
#define LIBRARY_LOG_H

#include <ozr_types.h>

/** Sets the four hooks: silent, or with verbose one line each on standard error. */
void set_log_hooks(ozr_config* config, bool verbose);

/**
 * How many pictures the last composition used, as far as the log tells.
 *
 * The interface does not say when pictures are left out because they drift too far across the sweep; the log does.
 * @param given  pictures that were handed to the library: the answer when none was left out.
 */
int pictures_used_by_log(int given);

#endif
