/*
 * Stitches the frames of a sweep, in their order, into one picture:
 *
 *     ffmpeg -i sweep.mp4 frame%03d.ppm
 *     stitch_files panorama.ppm frame*.ppm
 *
 * Every frame is shown to the library as a preview, and handed over as a picture when the library
 * asks for one. The files are binary PPM without comments, which needs no other library.
 */
#include <ozr_log.h>
#include <ozr_panorama.h>

#include <stdio.h>
#include <stdlib.h>

/* Makes `rgba` the picture of a PPM file, without its last column or row where their
 * number is odd: NV12 has none. */
static int read_ppm(const char* path, ozr_image* rgba)
{
    int width = 0, height = 0, max = 0;
    FILE* file = fopen(path, "rb");
    if (file == NULL)
        return 0;
    int ok = fscanf(file, "P6 %d %d %d", &width, &height, &max) == 3 && fgetc(file) != EOF && max == 255 &&
             width > 1 && height > 1 &&
             ozr_image_recreate(rgba, width & ~1, height & ~1, 0, ozr_image_format_rgba32) == ozr_success;
    for (int y = 0; ok && y < rgba->height; ++y) {
        uint8_t* pixel = rgba->data + (size_t)y * (size_t)rgba->stride;
        uint8_t rgb[3];
        for (int x = 0; ok && x < width; ++x, pixel += 4) {
            ok = fread(rgb, sizeof(rgb), 1, file) == 1;
            for (int i = 0; x < rgba->width && i < 4; ++i)
                pixel[i] = i < 3 ? rgb[i] : 255;
        }
    }
    fclose(file);
    return ok;
}

static int write_ppm(const char* path, const ozr_image* rgba)
{
    FILE* file = fopen(path, "wb");
    if (file == NULL)
        return 0;
    int ok = fprintf(file, "P6 %d %d 255\n", rgba->width, rgba->height) > 0;
    for (int y = 0; ok && y < rgba->height; ++y) {
        const uint8_t* pixel = rgba->data + (size_t)y * (size_t)rgba->stride;
        for (int x = 0; ok && x < rgba->width; ++x, pixel += 4)
            ok = fwrite(pixel, 3, 1, file) == 1;
    }
    return fclose(file) == 0 && ok;
}

static ozr_err report(const char* what, ozr_err error)
{
    if (error < 0)
        fprintf(stderr, "%s: %s\n", what, ozr_err_to_string(error));
    return error;
}

/* Shows a frame to the library and hands it over if a picture is due. The first one always is. */
static ozr_err add_frame(ozr_panorama* pano, ozr_image* frame, int is_first)
{
    if (is_first)
        return ozr_panorama_stitch_one_image(pano, frame, NULL);
    ozr_point offset;
    ozr_panorama_direction direction;
    const ozr_err due = ozr_panorama_detect_frame_to_stitch(pano, frame, &offset, &direction);
    return due > 0 ? ozr_panorama_stitch_one_image(pano, frame, &offset) : due;
}

/* Says which pictures are not where they belong for sure, or not in the panorama at all. */
static void doubt(ozr_panorama* pano)
{
    ozr_panorama_joint joint;
    for (int i = 0; ozr_panorama_get_joint(pano, i, &joint) == ozr_success; ++i) {
        if (!joint.used || joint.confidence < 0.5F)
            fprintf(stderr, "pictures %d and %d do not fit for sure\n", joint.first, joint.second);
    }
}

static ozr_err stitch(ozr_panorama* pano, const char* output, char** paths)
{
    ozr_image rgba = {0}, nv12 = {0}; /* keep their memory from frame to frame */
    ozr_err error = report("quality", ozr_panorama_set_quality(pano, ozr_panorama_quality_refined));
    for (char** path = paths; *path != NULL && error == ozr_success; ++path) {
        error = read_ppm(*path, &rgba) ? ozr_image_convert_to_nv12(&rgba, &nv12) : ozr_err_general;
        if (error == ozr_success)
            error = add_frame(pano, &nv12, path == paths);
        report(*path, error);
    }
    if (error == ozr_success) {
        ozr_image panorama; /* its pixels stay the session's */
        error = ozr_panorama_run(pano, &panorama);
        if (error == ozr_success)
            error = ozr_image_convert_to_rgba(&panorama, &rgba);
        if (error == ozr_success && !write_ppm(output, &rgba))
            error = ozr_err_general;
        if (report(output, error) == ozr_success)
            doubt(pano);
    }
    ozr_image_destroy(&rgba);
    ozr_image_destroy(&nv12);
    return error;
}

static void ignore(const char* format, va_list args)
{
    (void)format;
    (void)args;
}

int main(int argc, char** argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: %s PANORAMA.ppm FRAME.ppm...\n", argv[0]);
        return 2;
    }
    ozr_log_set_external_debug(ignore); /* errors still go to standard error */
    ozr_panorama* pano = NULL;
    ozr_err error = report("create", ozr_panorama_create(NULL, &pano));
    if (error == ozr_success)
        error = stitch(pano, argv[1], argv + 2);
    ozr_panorama_destroy(pano);
    return error == ozr_success ? EXIT_SUCCESS : EXIT_FAILURE;
}
