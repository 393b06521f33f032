// Whole files in and out of memory.
#ifndef FILE_IO_H
#define FILE_IO_H

#include <stddef.h>
#include <stdint.h>
#include <string>
#include <vector>

namespace ozr_pano
{

/** Reads a file of at most 512 MiB. Throws ProgramError naming the file and the system's reason. */
std::vector<uint8_t> read_file(const std::string& path);

/** Throws ProgramError when a file cannot be created at `path`; creates nothing. A long job asks this first. */
void require_writable(const std::string& path);

/**
 * Writes a file under a temporary name beside `path` and renames it.
 *
 * Whoever looks at `path` finds the old file or the whole new one; after a failure nothing new is left. Throws
 * ProgramError naming the file and the system's reason.
 */
void write_file_whole(const std::string& path, const uint8_t* data, size_t size);

}  // namespace ozr_pano

#endif
