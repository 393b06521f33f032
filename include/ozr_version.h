/**
 * @file
 * Version matching: which of several versioned things is the one that is wanted, or the latest.
 */
#ifndef OZR_VERSION_H
#define OZR_VERSION_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

/** Something that has a version. */
typedef struct ozr_version_variety_entry {
    const ozr_version* version; /**< an entry without one matches nothing */
    void* owner;                /**< the caller's; never read here */
} ozr_version_variety_entry;

/**
 * Compares major, then minor; patch and revision do not count.
 *
 * @param a, b  versions.
 * @return 1 when a is the greater, -1 when b is, 0 when both are equal; -3
 *         (ozr_err_invalid_argument) for a null pointer.
 */
OZR_API int32_t ozr_version_compare(const ozr_version* a, const ozr_version* b);

/**
 * Compares all but the revision.
 * @param a, b  versions; not null.
 * @return 1 when they are equal, else 0.
 */
OZR_API int32_t ozr_version_is_matching(const ozr_version* a, const ozr_version* b);

/**
 * Finds the first entry of a wanted version.
 *
 * @param wanted          version to match.
 * @param entries, count  the entries and their number.
 * @return the entry, or null when there is none, a pointer is null or count is below 1.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching(const ozr_version* wanted, const ozr_version_variety_entry* entries,
                                 int32_t count);

/**
 * Finds the entry of the greatest version by ozr_version_compare; of equal ones the first. Entries
 * without a version are passed over, unless none has one.
 *
 * @param entries, count  the entries and their number.
 * @return the entry, or null when there is none.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_latest(const ozr_version_variety_entry* entries, int32_t count);

/**
 * Finds the matching entry if there is one, else the latest.
 *
 * @param wanted, entries, count  as in ozr_version_variety_get_matching.
 * @return the entry, or null when there is none.
 */
OZR_API const ozr_version_variety_entry*
ozr_version_variety_get_matching_or_latest(const ozr_version* wanted,
                                           const ozr_version_variety_entry* entries, int32_t count);

OZR_END_DECLS

#endif
