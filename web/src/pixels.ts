// From whatever a frame is to pixels in the library's memory, in the worker.
import { PanoramaError } from './errors.js';
import type { Parcel } from './protocol.js';
import type { Session, Use } from './session.js';
import type { Grey } from './tracking.js';
import type { RawFrame } from './types.js';

interface Size {
  readonly width: number;
  readonly height: number;
}

function even(length: number): number {
  return Math.max(2, Math.round(length) & ~1);
}

/** The largest size of a frame's shape with even sides, the longer one at most `side`. */
export function fittingSize(frame: Size, side: number): Size {
  const scale = side / Math.max(frame.width, frame.height);
  if (scale >= 1) return { width: frame.width & ~1, height: frame.height & ~1 };
  return { width: even(frame.width * scale), height: even(frame.height * scale) };
}

export function isRaw(image: object): image is RawFrame {
  return 'format' in image && 'data' in image;
}

/** Scales frames by a canvas, one for each use, so that none changes its size all the time. */
export class Rasteriser {
  private readonly contexts: (OffscreenCanvasRenderingContext2D | null)[] = [];

  /**
   * Writes a frame where the library reads it. Returns what was written, as
   * grey: green stands for it.
   */
  write(parcel: Parcel, side: number, use: Use, session: Session): Grey {
    const { image } = parcel;
    if (isRaw(image)) {
      this.copy(image, use, session);
      const { width, height, data } = image;
      return image.format === 'nv12'
        ? { bytes: data, width, height, step: 1 }
        : { bytes: data.subarray(1), width, height, step: 4 };
    }
    const { width, height } = fittingSize(parcel, side);
    const { data } = this.draw(image, parcel, { width, height }, use);
    session.frame(use, 'rgba', width, height).set(data);
    return { bytes: data.subarray(1), width, height, step: 4 };
  }

  private copy(frame: RawFrame, use: Use, session: Session): void {
    const { format, width, height, data } = frame;
    const isSound = Number.isInteger(width) && Number.isInteger(height) && width > 0 && height > 0;
    if (!isSound || width % 2 !== 0 || height % 2 !== 0)
      throw new PanoramaError(`a frame's sides must be even, not ${width} x ${height}`, 'ozr_err_invalid_argument');
    const size = width * height * (format === 'rgba' ? 4 : 1.5);
    if (data.length !== size)
      throw new PanoramaError(
        `a frame of ${width} x ${height} in ${format} has ${size} bytes, not ${data.length}`,
        'ozr_err_invalid_argument',
      );
    session.frame(use, format, width, height).set(data);
  }

  private draw(image: Exclude<Parcel['image'], RawFrame>, frame: Size, size: Size, use: Use): ImageData {
    // Cropped by a column or row where that makes the sides even; scaled only where it is larger.
    const isScaled = frame.width - size.width > 1 || frame.height - size.height > 1;
    if (image instanceof ImageData && !isScaled && image.width === size.width && image.height === size.height)
      return image;
    const context = this.context(use, size);
    if (image instanceof ImageData) {
      if (!isScaled) context.putImageData(image, 0, 0);
      else {
        const whole = new OffscreenCanvas(image.width, image.height);
        whole.getContext('2d')!.putImageData(image, 0, 0);
        context.drawImage(whole, 0, 0, size.width, size.height);
      }
    } else if (isScaled) context.drawImage(image, 0, 0, size.width, size.height);
    else context.drawImage(image, 0, 0);
    return context.getImageData(0, 0, size.width, size.height);
  }

  private context(use: Use, size: Size): OffscreenCanvasRenderingContext2D {
    let context = this.contexts[use];
    if (!context) {
      const canvas = new OffscreenCanvas(size.width, size.height);
      context = canvas.getContext('2d', { alpha: false, willReadFrequently: true });
      if (!context) throw new PanoramaError('this browser has no canvas for workers', 'ozr_err_not_supported');
      this.contexts[use] = context;
    }
    const { canvas } = context;
    if (canvas.width !== size.width) canvas.width = size.width;
    if (canvas.height !== size.height) canvas.height = size.height;
    return context;
  }
}

/** Encodes a panorama. */
export async function encode(
  rgba: Uint8ClampedArray<ArrayBuffer>,
  width: number,
  height: number,
  type: string,
  quality: number,
): Promise<Blob> {
  if (typeof OffscreenCanvas !== 'function')
    throw new PanoramaError('this engine cannot encode pictures: ask for rgba', 'ozr_err_not_supported');
  const canvas = new OffscreenCanvas(width, height);
  canvas.getContext('2d')!.putImageData(new ImageData(rgba, width, height), 0, 0);
  return canvas.convertToBlob({ type, quality });
}
