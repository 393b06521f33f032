package ozr.example

import java.io.Closeable
import java.nio.ByteBuffer

/**
 * One sweep: the first picture, then every preview and each picture that one of them announces, then the panorama.
 *
 * Make all calls from one thread that may be busy for a while, such as an executor's; only [cancel] may come from
 * elsewhere. [close] releases what the sweep holds, several times the memory of its pictures.
 *
 *     Panorama(Panorama.Direction.RIGHT).use { sweep ->
 *         sweep.addPicture(camera.takePicture())
 *         while (camera.isPanning)
 *             if (sweep.isPictureDue(camera.nextPreview()))
 *                 sweep.addPicture(camera.takePicture())
 *         show(sweep.compose())
 *     }
 */
class Panorama(
    direction: Direction = Direction.AUTO,
    overlapPercent: Int = 70,
    quality: Quality = Quality.REFINED
) : Closeable {

    /** In the order of the library's numbers. */
    enum class Direction { AUTO, RIGHT, LEFT, DOWN, UP }

    /**
     * In the order of the library's numbers. [REFINED] finds the camera and is for the eye; [CLASSIC] takes the least
     * memory, and its pixels are the same in every release.
     */
    enum class Quality { CLASSIC, REFINED }

    /** How two pictures, by their numbers from 0, were joined; do not trust one whose [confidence] is below 0.5. */
    class Joint(val first: Int, val second: Int, val confidence: Float, val isUsed: Boolean)

    /** A plane in a direct buffer, as android.media.Image.Plane has it. */
    class Plane(val buffer: ByteBuffer, val rowStride: Int, val pixelStride: Int)

    /** A picture in YUV_420_888. Read during a call only. */
    class Picture(val width: Int, val height: Int, val y: Plane, val u: Plane, val v: Plane)

    /** A panorama: R, G, B and A of every pixel, row after row, as Bitmap.copyPixelsFromBuffer takes them. */
    class Rgba(val width: Int, val height: Int, val pixels: ByteBuffer)

    class Failed(val code: Int) : Exception(PanoramaNative.errorName(code))

    class Cancelled : Exception("the panorama was cancelled")

    /** Where the camera pans, as far as the previews have told. */
    var direction = direction
        private set

    private val lock = Any()

    // Guarded by the lock.
    private var session = PanoramaNative.create()
    private var cancelled = false
    private var interruptible = false // within a call that cancel may end

    private var begun = false // the first picture was added
    private var motion: IntArray? = null // x, y and direction of an announcement whose picture is to come

    init {
        if (session == 0L) throw OutOfMemoryError("no memory for a panorama")
        try {
            checked(PanoramaNative.setParameters(session, overlapPercent, direction.ordinal))
            checked(PanoramaNative.setQuality(session, quality.ordinal))
        } catch (failure: Failed) {
            close()
            throw failure
        }
    }

    /** Shows a preview, of which only the luma counts. To be called for every frame after the first picture. */
    fun isPictureDue(width: Int, height: Int, luma: Plane): Boolean {
        val seen = IntArray(3)
        val due = checked(PanoramaNative.detect(opened(), luma.buffer, width, height, luma.rowStride, seen))
        direction = Direction.values()[seen[2]]
        if (due > 0) motion = seen
        return due > 0
    }

    fun isPictureDue(preview: Picture) = isPictureDue(preview.width, preview.height, preview.y)

    /** Adds the first picture, or one that a preview has announced. Takes some tenths of a second. */
    fun addPicture(picture: Picture) {
        checked(
            PanoramaNative.copyPicture(
                opened(), picture.y.buffer, picture.y.rowStride, picture.u.buffer, picture.v.buffer,
                picture.u.rowStride, picture.u.pixelStride, picture.width, picture.height
            )
        )
        // The first picture takes no time: there is nothing to interrupt, and nothing must.
        if (begun) interruptibly { PanoramaNative.stitch(session, motion) }
        else checked(PanoramaNative.stitch(session, null))
        begun = true
        motion = null
    }

    /** Makes the panorama of the pictures added. Nothing can be added any more. */
    fun compose(): Rgba {
        val size = IntArray(2)
        interruptibly { PanoramaNative.run(session, size) }
        val pixels = ByteBuffer.allocateDirect(size[0] * size[1] * 4)
        checked(PanoramaNative.copyRgba(session, pixels))
        return Rgba(size[0], size[1], pixels)
    }

    /** How the pictures of the panorama were joined; to be asked once it is composed. */
    fun joints(): List<Joint> {
        val pictures = IntArray(3)
        val values = FloatArray(5)
        return generateSequence(0) { it + 1 }
            .map { PanoramaNative.joint(opened(), it, pictures, values) }
            .takeWhile { it == 0 }
            .map { Joint(pictures[0], pictures[1], values[3], pictures[2] != 0) }
            .toList()
    }

    /** Ends the sweep, from any thread: the call that is under way and all later ones throw [Cancelled]. */
    fun cancel() = synchronized(lock) {
        cancelled = true
        if (interruptible) PanoramaNative.cancel(session)
    }

    override fun close() = synchronized(lock) {
        if (session != 0L) PanoramaNative.destroy(session)
        session = 0L
    }

    private fun opened(): Long = synchronized(lock) {
        check(session != 0L) { "the panorama was closed" }
        if (cancelled) throw Cancelled()
        session
    }

    /** The lock is free during the call and taken again behind it, so that a cancellation that has begun is over. */
    private fun interruptibly(call: () -> Int) {
        synchronized(lock) {
            opened()
            interruptible = true
        }
        val result = try {
            call()
        } finally {
            synchronized(lock) { interruptible = false }
        }
        opened()
        checked(result)
    }

    private fun checked(result: Int): Int = if (result < 0) throw Failed(result) else result
}
