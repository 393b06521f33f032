// Packs a caller's frame for the worker, leaving the frame itself the caller's.
import { PanoramaError } from './errors.js';
import { isRaw } from './pixels.js';
import type { Parcel } from './protocol.js';
import type { Frame } from './types.js';

export interface Packed {
  readonly parcel: Parcel;
  readonly transfer: Transferable[];
}

const isA = <T extends object>(name: string, frame: object): frame is T => {
  const type = (globalThis as Record<string, unknown>)[name];
  return typeof type === 'function' && frame instanceof type;
};

function packVideoFrame(image: VideoFrame): Packed {
  const { displayWidth: width, displayHeight: height } = image;
  return { parcel: { image, width, height }, transfer: [image] };
}

function packBitmap(image: ImageBitmap): Packed {
  const { width, height } = image;
  return { parcel: { image, width, height }, transfer: [image] };
}

// Workers of older engines have no canvas: there the page makes the pixels.
function packDrawn(image: CanvasImageSource, width: number, height: number): Packed {
  const canvas = document.createElement('canvas');
  canvas.width = width & ~1;
  canvas.height = height & ~1;
  const context = canvas.getContext('2d', { alpha: false, willReadFrequently: true })!;
  context.drawImage(image, 0, 0);
  return packImageData(context.getImageData(0, 0, canvas.width, canvas.height), false);
}

function packImageData({ data, width, height }: ImageData, isShared = true): Packed {
  const bytes = isShared ? data.slice() : data;
  if (typeof OffscreenCanvas === 'function') {
    const image = new ImageData(bytes as Uint8ClampedArray<ArrayBuffer>, width, height);
    return { parcel: { image, width, height }, transfer: [bytes.buffer as ArrayBuffer] };
  }
  const image = { format: 'rgba', width, height, data: bytes } as const;
  return { parcel: { image, width, height }, transfer: [bytes.buffer as ArrayBuffer] };
}

function sizeOf(frame: CanvasImageSource): { width: number; height: number } {
  if (isA<HTMLVideoElement>('HTMLVideoElement', frame))
    return { width: frame.videoWidth, height: frame.videoHeight };
  if (isA<HTMLImageElement>('HTMLImageElement', frame))
    return { width: frame.naturalWidth, height: frame.naturalHeight };
  return frame as ImageBitmap | HTMLCanvasElement;
}

/** Throws PanoramaError when the frame has no pixels. */
export async function pack(frame: Frame): Promise<Packed> {
  if (isA<ImageData>('ImageData', frame)) return packImageData(frame);
  if (isRaw(frame)) {
    const { format, width, height } = frame;
    const data = frame.data.slice();
    return { parcel: { image: { format, width, height, data }, width, height }, transfer: [data.buffer as ArrayBuffer] };
  }
  if (isA<VideoFrame>('VideoFrame', frame)) return packVideoFrame(frame.clone());
  const { width, height } = sizeOf(frame);
  if (!width || !height) throw new PanoramaError('the frame has no pixels yet', 'ozr_err_invalid_argument');
  if (typeof OffscreenCanvas !== 'function') return packDrawn(frame, width, height);
  if (isA<HTMLVideoElement>('HTMLVideoElement', frame) && typeof VideoFrame === 'function')
    return packVideoFrame(new VideoFrame(frame));
  return packBitmap(await createImageBitmap(frame));
}
