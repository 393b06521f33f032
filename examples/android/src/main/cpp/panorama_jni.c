/* The natives of PanoramaNative: they translate arguments and check the sizes of
 * buffers, and decide nothing. */
#include <ozr_panorama.h>

#include <jni.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#define NATIVE(type, name) JNIEXPORT type JNICALL Java_ozr_example_PanoramaNative_##name

typedef struct Session {
    ozr_panorama* pano;
    ozr_image picture;  /* the picture copied last; its memory is kept for the next one */
    ozr_image panorama; /* of the last run; its pixels belong to pano */
} Session;

static Session* session_of(jlong handle)
{
    return (Session*)(intptr_t)handle;
}

/* How Android lays out a plane: bytes from row to row, and from pixel to pixel. */
typedef struct Layout {
    jint columns, rows, stride, step;
} Layout;

/* First byte of a plane; null unless the buffer is direct and holds all of it. The last row may be
 * cut off behind its last pixel, as Android's are. */
static uint8_t* plane(JNIEnv* env, jobject buffer, Layout layout)
{
    if (buffer == NULL || layout.columns < 1 || layout.rows < 1 || layout.stride < 1 || layout.step < 1)
        return NULL;
    const int64_t bytes =
        (int64_t)(layout.rows - 1) * layout.stride + (int64_t)(layout.columns - 1) * layout.step + 1;
    return (*env)->GetDirectBufferCapacity(env, buffer) >= bytes ? (*env)->GetDirectBufferAddress(env, buffer)
                                                                 : NULL;
}

NATIVE(jlong, create)(JNIEnv* env, jclass type)
{
    (void)env, (void)type;
    Session* session = calloc(1, sizeof(Session));
    if (session != NULL && ozr_panorama_create(NULL, &session->pano) != ozr_success) {
        free(session);
        session = NULL;
    }
    return (jlong)(intptr_t)session;
}

NATIVE(void, destroy)(JNIEnv* env, jclass type, jlong handle)
{
    (void)env, (void)type;
    Session* session = session_of(handle);
    ozr_panorama_destroy(session->pano);
    ozr_image_destroy(&session->picture);
    free(session);
}

NATIVE(jint, setParameters)(JNIEnv* env, jclass type, jlong handle, jint overlap, jint direction)
{
    (void)env, (void)type;
    const ozr_panorama_parameters parameters = {overlap, (ozr_panorama_direction)direction};
    return ozr_panorama_set_parameters(session_of(handle)->pano, &parameters);
}

NATIVE(jint, setQuality)(JNIEnv* env, jclass type, jlong handle, jint quality)
{
    (void)env, (void)type;
    return ozr_panorama_set_quality(session_of(handle)->pano, (ozr_panorama_quality)quality);
}

NATIVE(jint, detect)
(JNIEnv* env, jclass type, jlong handle, jobject luma, jint width, jint height, jint stride, jintArray motion)
{
    (void)type;
    uint8_t* pixels = plane(env, luma, (Layout){width, height, stride, 1});
    if (pixels == NULL || motion == NULL)
        return ozr_err_invalid_argument;
    const ozr_image preview = {pixels, 0, width, height, ozr_image_format_gray, stride, 0};
    ozr_point offset = {0, 0};
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    const ozr_err due =
        ozr_panorama_detect_frame_to_stitch(session_of(handle)->pano, &preview, &offset, &direction);
    const jint values[] = {offset.x, offset.y, (jint)direction};
    (*env)->SetIntArrayRegion(env, motion, 0, 3, values);
    return due;
}

static void copy_luma(ozr_image* nv12, const uint8_t* y, jint stride)
{
    uint8_t* row = nv12->data;
    for (int32_t i = 0; i < nv12->height; ++i, row += nv12->stride, y += stride)
        memcpy(row, y, (size_t)nv12->width);
}

/* NV12 has the chroma of two columns and two rows side by side, below the luma. */
static void copy_chroma(ozr_image* nv12, const uint8_t* u, const uint8_t* v, Layout layout)
{
    uint8_t* row = nv12->data + (ptrdiff_t)nv12->height * nv12->stride;
    for (int32_t i = 0; i < nv12->height / 2;
         ++i, row += nv12->stride, u += layout.stride, v += layout.stride) {
        for (int32_t x = 0; x < nv12->width / 2; ++x) {
            row[2 * x] = u[(ptrdiff_t)x * layout.step];
            row[2 * x + 1] = v[(ptrdiff_t)x * layout.step];
        }
    }
}

NATIVE(jint, copyPicture)
(JNIEnv* env, jclass type, jlong handle, jobject y_buffer, jint y_stride, jobject u_buffer, jobject v_buffer,
 jint chroma_stride, jint chroma_step, jint width, jint height)
{
    (void)type;
    const Layout chroma = {width / 2, height / 2, chroma_stride, chroma_step};
    const uint8_t* y = plane(env, y_buffer, (Layout){width, height, y_stride, 1});
    const uint8_t* u = plane(env, u_buffer, chroma);
    const uint8_t* v = plane(env, v_buffer, chroma);
    if (y == NULL || u == NULL || v == NULL)
        return ozr_err_invalid_argument;
    ozr_image* picture = &session_of(handle)->picture;
    const ozr_err error = ozr_image_recreate(picture, width & ~1, height & ~1, 0, ozr_image_format_nv12);
    if (error != ozr_success)
        return error;
    copy_luma(picture, y, y_stride);
    copy_chroma(picture, u, v, chroma);
    return ozr_success;
}

NATIVE(jint, stitch)(JNIEnv* env, jclass type, jlong handle, jintArray motion)
{
    (void)type;
    Session* session = session_of(handle);
    jint values[2] = {0, 0};
    if (motion != NULL)
        (*env)->GetIntArrayRegion(env, motion, 0, 2, values);
    const ozr_point offset = {values[0], values[1]};
    return ozr_panorama_stitch_one_image(session->pano, &session->picture, motion != NULL ? &offset : NULL);
}

NATIVE(jint, run)(JNIEnv* env, jclass type, jlong handle, jintArray size)
{
    (void)type;
    Session* session = session_of(handle);
    memset(&session->panorama, 0, sizeof(session->panorama));
    ozr_image panorama;
    const ozr_err error = ozr_panorama_run(session->pano, &panorama);
    if (error != ozr_success)
        return error;
    session->panorama = panorama;
    const jint values[] = {panorama.width, panorama.height};
    (*env)->SetIntArrayRegion(env, size, 0, 2, values);
    return ozr_success;
}

NATIVE(jint, joint)
(JNIEnv* env, jclass type, jlong handle, jint index, jintArray pictures, jfloatArray values)
{
    (void)type;
    ozr_panorama_joint joint;
    const ozr_err error = ozr_panorama_get_joint(session_of(handle)->pano, index, &joint);
    if (error != ozr_success)
        return error;
    const jint numbers[] = {joint.first, joint.second, joint.used};
    const jfloat found[] = {joint.offset_x, joint.offset_y, joint.residual, joint.confidence, joint.gain};
    (*env)->SetIntArrayRegion(env, pictures, 0, 3, numbers);
    (*env)->SetFloatArrayRegion(env, values, 0, 5, found);
    return ozr_success;
}

NATIVE(jint, copyRgba)(JNIEnv* env, jclass type, jlong handle, jobject pixels)
{
    (void)type;
    const ozr_image* panorama = &session_of(handle)->panorama;
    const jint row = panorama->width * 4;
    uint8_t* to = plane(env, pixels, (Layout){row, panorama->height, row, 1});
    if (to == NULL)
        return ozr_err_invalid_argument;
    ozr_image rgba = {0};
    const ozr_err error = ozr_image_convert_to_rgba(panorama, &rgba);
    for (int32_t y = 0; error == ozr_success && y < rgba.height; ++y, to += row)
        memcpy(to, rgba.data + (ptrdiff_t)y * rgba.stride, (size_t)row);
    ozr_image_destroy(&rgba);
    return error;
}

NATIVE(void, cancel)(JNIEnv* env, jclass type, jlong handle)
{
    (void)env, (void)type;
    ozr_panorama_reset(session_of(handle)->pano);
}

NATIVE(jstring, errorName)(JNIEnv* env, jclass type, jint code)
{
    (void)type;
    return (*env)->NewStringUTF(env, ozr_err_to_string(code));
}
