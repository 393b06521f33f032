/**
 * @file
 * Common types of the library: result codes, points, versions, log hooks and the configuration
 * record.
 *
 * Every other public header includes this one. All of them compile as C99 and as C++17.
 *
 * @code
 * ozr_config config;
 * ozr_panorama_get_default_config(&config);
 * config.log_error = my_error_hook;  // void my_error_hook(const char* format, va_list args)
 * ozr_err error = ozr_panorama_create(&config, &handle);
 * if (error != ozr_success)
 *     fprintf(stderr, "%s\n", ozr_err_to_string(error));
 * @endcode
 */
#ifndef OZR_TYPES_H
#define OZR_TYPES_H

#include <stdarg.h>
#include <stdint.h>

/** Marks what the shared object exports; everything else is hidden. */
#define OZR_API __attribute__((visibility("default")))

/** Asks the compiler to check printf-style arguments; the numbers count parameters from 1. */
#define OZR_PRINTF(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))

/**
 * @def OZR_INT32_ENUM
 * Makes an enumeration 32 signed bits wide: in C++ any 32-bit value may be stored, not only
 * the named ones.
 * @def OZR_BEGIN_DECLS
 * Opens a part with C linkage; nothing in C.
 * @def OZR_END_DECLS
 * Closes it.
 */
#ifdef __cplusplus
#define OZR_INT32_ENUM : int32_t
#define OZR_BEGIN_DECLS extern "C" {
#define OZR_END_DECLS }
#else
#define OZR_INT32_ENUM
#define OZR_BEGIN_DECLS
#define OZR_END_DECLS
#endif

/**
 * @name Version of the configuration
 * What a configuration has to name, and the library's banner. It stays while sessions are set up as
 * they are; what was added since then shows in the release.
 */
/**@{*/
/** Counts incompatible changes. */
#define OZR_VERSION_MAJOR 1
/** Counts additions. */
#define OZR_VERSION_MINOR 0
/** Counts corrections. */
#define OZR_VERSION_PATCH 1
/** Counts builds of one version. */
#define OZR_VERSION_REVISION 0
/**@}*/

/**
 * @name Version of the release
 * What this header belongs to. Written here once: the build takes the version of the shared object,
 * of its symbols and of the packages from these lines.
 */
/**@{*/
/** Counts incompatible changes. */
#define OZR_RELEASE_MAJOR 1
/** Counts additions; from 1 on there is ozr_panorama_set_quality. */
#define OZR_RELEASE_MINOR 1
/** Counts corrections. */
#define OZR_RELEASE_PATCH 0
/**@}*/

OZR_BEGIN_DECLS

/**
 * Result of a call: ozr_success, or a negative code. Detection also returns positive picture
 * numbers.
 */
typedef int32_t ozr_err;

/** The values of ozr_err. ozr_err_to_string returns their names. */
enum {
    ozr_success = 0,               /**< done */
    ozr_err_general = -1,          /**< an internal condition did not hold, or nothing else fits */
    ozr_err_not_supported = -2,    /**< a format, parameter or version not handled by the call */
    ozr_err_invalid_argument = -3, /**< null pointer, or a value outside what the call accepts */
    ozr_err_out_of_bound = -4,     /**< more pictures than a sweep may hold */
    ozr_err_interrupted = -5,      /**< reserved; a cancelled call reports ozr_err_invalid_status */
    ozr_err_invalid_status = -6,   /**< call out of order, cancelled work, or work still running */
    ozr_err_nomem = -7,            /**< memory is out */
    ozr_err_database_full = -8     /**< reserved */
};

/** A position or a distance, in pixels; x grows to the right, y downwards. */
typedef struct ozr_point {
    int32_t x; /**< columns */
    int32_t y; /**< rows */
} ozr_point;

/** A version number. Compatibility looks at major, minor and patch; revision is informative. */
typedef struct ozr_version {
    uint16_t major;    /**< first number; must match */
    uint16_t minor;    /**< second; must match */
    uint16_t patch;    /**< third; must match */
    uint16_t revision; /**< fourth; not looked at */
} ozr_version;

/**
 * Receives log lines of one level in place of the built-in output.
 *
 * Called with the unformatted printf-style format and its started argument list: no level prefix,
 * no line feed.
 * @note Threads: called on whichever thread logs.
 */
typedef void (*ozr_log_hook)(const char* format, va_list args);

/**
 * Library configuration, read once by ozr_panorama_create.
 *
 * Start from ozr_panorama_get_default_config, then change what is needed. The reserved fields
 * are never read.
 */
typedef struct ozr_config {
    ozr_version version;      /**< that the caller was built against: 1.0.1, any revision */
    const char* description;  /**< text shown by the handle; kept as a pointer, never copied */
    void* engine_resource;    /**< must be set when engine_type is 1; never dereferenced */
    void* aux_resource;       /**< must be set when aux_type is 1; never dereferenced */
    int32_t engine_type;      /**< 0 or 1; both select the same engine */
    int32_t aux_type;         /**< only checked against aux_resource */
    uint32_t reserved[2];     /**< not read */
    ozr_log_hook log_debug;   /**< takes debug lines; null keeps the hook, as in the next three */
    ozr_log_hook log_error;   /**< receives error lines */
    ozr_log_hook log_warning; /**< receives warnings */
    ozr_log_hook log_info;    /**< receives info lines */
    uint32_t reserved_end;    /**< not read */
} ozr_config;

/**
 * Name of a result code.
 *
 * @param code  any number.
 * @return the name of the code as written above, "ozr_err_unknown" for a number that is none of
 *         them; a constant string, never null.
 * @note Threads: any.
 */
OZR_API const char* ozr_err_to_string(ozr_err code);

OZR_END_DECLS

#endif
