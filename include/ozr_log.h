/**
 * @file
 * The four-level logger: level functions, the enable flag, replaceable sinks and raw dumps.
 *
 * A line goes to the hook of its level if one is set, otherwise to the built-in sink: the Android
 * log under the tag "OZR", or standard error elsewhere. The flag and the hooks belong to the whole
 * process and are plain words: set them before other threads log.
 *
 * @code
 * static void on_error(const char* format, va_list args)
 * {
 *     vfprintf(stderr, format, args);
 *     fputc('\n', stderr);
 * }
 * ozr_log_set_external_error(on_error);
 * ozr_log_error("lens %d is dirty", 2);   // on_error gets the format and the arguments
 * ozr_log_set_external_error(NULL);       // back to the built-in sink
 * ozr_log_disable();                      // silence, hooks included
 * @endcode
 */
#ifndef OZR_LOG_H
#define OZR_LOG_H

#include "ozr_types.h"

OZR_BEGIN_DECLS

/** Non-zero while logging is on. Starts at 1; ozr_log_enable and ozr_log_disable write it. */
OZR_API extern int32_t ozr_log_enabled;

/** Turns logging on for the whole process. */
OZR_API void ozr_log_enable(void);

/** Turns logging off for the whole process: no line, no hook call, no ozr_log_dump file. */
OZR_API void ozr_log_disable(void);

/** @name Level functions */
/**@{*/
/**
 * Logs one line at the level of the function's name.
 *
 * The built-in sinks receive "E] ", "W] ", "I] " or "D] " and the text, cut at 1020 characters.
 * @param format  printf-style format; no line feed needed.
 * @note No heap allocation. Threads: any; each call uses its own buffer.
 */
OZR_API void ozr_log_error(const char* format, ...) OZR_PRINTF(1, 2);
OZR_API void ozr_log_warning(const char* format, ...) OZR_PRINTF(1, 2);
OZR_API void ozr_log_info(const char* format, ...) OZR_PRINTF(1, 2);
OZR_API void ozr_log_debug(const char* format, ...) OZR_PRINTF(1, 2);
/**@}*/

/** @name Hooks */
/**@{*/
/**
 * Replaces the output of the level of the function's name.
 * @param hook  receives the lines of the level from now on; null restores the built-in sink.
 * @note Threads: set hooks before other threads log.
 */
OZR_API void ozr_log_set_external_error(ozr_log_hook hook);
OZR_API void ozr_log_set_external_warning(ozr_log_hook hook);
OZR_API void ozr_log_set_external_info(ozr_log_hook hook);
OZR_API void ozr_log_set_external_debug(ozr_log_hook hook);
/**@}*/

/**
 * Installs those hooks of a configuration that are set; a null field leaves the hook of its level
 * as it is.
 *
 * @param config  configuration; only its four hook fields are read.
 * @return ozr_success, or ozr_err_invalid_argument (not logged) when config is null.
 */
OZR_API ozr_err ozr_log_set_externals_from_config(const ozr_config* config);

/**
 * Writes raw bytes to the file "<id>-<size>.raw" in the current directory while logging is on.
 *
 * @param id    number for the file's name.
 * @param data  size bytes.
 * @param size  bytes; a negative size writes nothing.
 * @note A file that cannot be opened is skipped without a word.
 */
OZR_API void ozr_log_dump(int32_t id, const uint8_t* data, int32_t size);

/** Does nothing in this build. */
OZR_API void ozr_log_print_library_information(void);

/** @name Built-in sinks */
/**@{*/
/**
 * Writes one finished line at the level of the function's name, whatever the enable flag and
 * the hooks say.
 * @param line  prefix and text, without a line feed.
 */
OZR_API void ozr_platform_log_error(const char* line);
OZR_API void ozr_platform_log_warning(const char* line);
OZR_API void ozr_platform_log_info(const char* line);
OZR_API void ozr_platform_log_debug(const char* line);
/**@}*/

/**
 * Writes raw bytes to a file, whatever the enable flag says.
 *
 * @param filename  path, overwritten if it exists.
 * @param data      size bytes.
 * @param size      bytes; a negative size or null data writes nothing.
 */
OZR_API void ozr_platform_log_dump(const char* filename, const uint8_t* data, int32_t size);

OZR_END_DECLS

#endif
