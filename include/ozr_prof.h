/**
 * @file
 * A profiler: wall-clock times in numbered slots.
 *
 * @code
 * ozr_prof_set(3);
 * for (int i = 0; i < 100; ++i) {
 *     ozr_prof_go_label(3, "resize");
 *     resize(frame);
 *     ozr_prof_stop(3);
 * }
 * ozr_prof_print();   // calls, total, shortest, longest and mean time of slot 3, at info level
 * @endcode
 */
#ifndef OZR_PROF_H
#define OZR_PROF_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

/**
 * @name Profiler
 * Wall-clock statistics in 1000 static slots, numbered from 0; nothing is allocated. A slot belongs
 * to one thread at a time. A slot number outside the table is ignored.
 */
/**@{*/
/** Clears a slot: numbers 0, label empty. @param slot  0 to 999. */
OZR_API void ozr_prof_set(uint32_t slot);

/** Starts an interval. @param slot  0 to 999. */
OZR_API void ozr_prof_go(uint32_t slot);

/**
 * Labels a slot, then starts an interval.
 * @param slot  0 to 999.
 * @param label  300 characters count; null keeps it.
 */
OZR_API void ozr_prof_go_label(uint32_t slot, const char* label);

/**
 * Ends an interval and adds it to the slot.
 *
 * @param slot  0 to 999.
 * @return how many intervals the slot has counted; 0 for a number outside the table.
 */
OZR_API uint32_t ozr_prof_stop(uint32_t slot);

/** Logs every used slot at info level; times in milliseconds. @return 0. */
OZR_API int32_t ozr_prof_print(void);

/**
 * Hands the same report to a function of the caller's, also while logging is disabled.
 *
 * @param function  called once a line with the format and its arguments.
 * @return 0, or ozr_err_invalid_argument when function is null.
 */
OZR_API int32_t ozr_prof_print_logfunc(ozr_log_hook function);

/**
 * Logs a label, the wall clock in milliseconds and a value at info level.
 * @param label, value  shown as they are.
 */
OZR_API void ozr_prof_print_timestamp(const char* label, int32_t value);
/**@}*/

OZR_END_DECLS

#endif
