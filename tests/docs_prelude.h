// What the examples of the documentation take for granted.
#include <ozr_image.h>
#include <ozr_log.h>
#include <ozr_panorama.h>
#include <ozr_support.h>
#include <stdio.h>
#include <string.h>

extern ozr_panorama* handle;
extern ozr_image picture;
extern ozr_image preview;

void take_picture(ozr_image* picture);
int next_preview(ozr_image* preview);
void save(const ozr_image* panorama);
void say(const char* text);
void my_error_hook(const char* format, va_list args);
void fill_luma(uint8_t* data, int32_t stride);
void fill_chroma(uint8_t* data, int32_t stride);
void resize(const ozr_image* frame);
extern ozr_image* frame;
void write_file(const char* folder, const char* name, const uint8_t* data, int32_t size);
uint32_t crc32_of(const uint8_t* data, int32_t size);
