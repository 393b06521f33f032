package ozr.example

import android.graphics.Bitmap
import android.media.Image

/** A camera's image in YUV_420_888; close it when the call that takes it has returned. */
fun Image.toPicture() = Panorama.Picture(width, height, plane(0), plane(1), plane(2))

fun Panorama.Rgba.toBitmap(): Bitmap =
    Bitmap.createBitmap(width, height, Bitmap.Config.ARGB_8888).also { it.copyPixelsFromBuffer(pixels) }

private fun Image.plane(index: Int) =
    planes[index].let { Panorama.Plane(it.buffer, it.rowStride, it.pixelStride) }
