package ozr.example;

import java.nio.ByteBuffer;

/**
 * The native side of {@link Panorama}. Buffers are direct and read from their beginning; numbers below 0 are result
 * codes of the library. All calls for a session come from one thread, except {@link #cancel}.
 */
final class PanoramaNative {
    static {
        System.loadLibrary("panorama_jni");
    }

    private PanoramaNative() {}

    /** @return a session, or 0. */
    static native long create();

    static native void destroy(long session);

    static native int setParameters(long session, int overlapPercent, int direction);

    /** @param quality 0 classic, 1 refined; before the first picture */
    static native int setQuality(long session, int quality);

    /**
     * Shows a preview, of which only the luma counts.
     *
     * @param motion out: x, y and direction
     * @return above 0 when a picture is due
     */
    static native int detect(long session, ByteBuffer luma, int width, int height, int stride, int[] motion);

    /** Copies a picture given as the planes of YUV_420_888, for stitch. */
    static native int copyPicture(
            long session, ByteBuffer y, int yStride, ByteBuffer u, ByteBuffer v, int chromaStride, int chromaStep,
            int width, int height);

    /**
     * Adds the picture copied last.
     *
     * @param motion as detect gave it for this picture; null for the first one
     */
    static native int stitch(long session, int[] motion);

    /** @param size out: width and height of the panorama */
    static native int run(long session, int[] size);

    /**
     * Tells how two pictures of the last run were joined.
     *
     * @param pictures out: the two pictures, and 1 where both are in the panorama
     * @param values out: offset x and y, residual, confidence, gain
     * @return -4 beyond the last joint
     */
    static native int joint(long session, int index, int[] pictures, float[] values);

    /** Copies what the last run made: four bytes a pixel, row after row. */
    static native int copyRgba(long session, ByteBuffer pixels);

    /**
     * Ends a run, or the stitch of any picture but the first, that another thread is within. The session is good for
     * nothing but destroy then.
     */
    static native void cancel(long session);

    static native String errorName(int code);
}
