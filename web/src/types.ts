// What callers give and get. Everything here is plain data that may be posted between threads.

/** Where the camera pans. `auto`: decided from the motion of the previews. */
export type Direction = 'auto' | 'right' | 'left' | 'down' | 'up';

/**
 * How the panorama is made.
 *
 * `classic`: recorded results, byte for byte, and the least memory. `refined`: finds the camera,
 * evens out exposure and hides transitions; the better picture.
 */
export type Quality = 'classic' | 'refined';

/** The loops over pixels that the library runs. */
export type Kernels = 'wasm128' | 'scalar';

/**
 * Pixels in plain memory, without padding between rows. Both sides are even numbers.
 * Used as they are, never scaled.
 */
export interface RawFrame {
  /** `rgba`: four bytes a pixel. `nv12`: luma, then chroma pairs of half the rows. */
  readonly format: 'rgba' | 'nv12';
  /** Pixels in a row. */
  readonly width: number;
  /** Rows. */
  readonly height: number;
  /** `width * height * 4` bytes of RGBA, or `width * height * 3 / 2` of NV12. Only read. */
  readonly data: Uint8Array | Uint8ClampedArray;
}

/** A frame of the camera. It stays the caller's: nothing is closed or taken away. */
export type Frame =
  | VideoFrame
  | ImageData
  | ImageBitmap
  | HTMLVideoElement
  | HTMLImageElement
  | HTMLCanvasElement
  | OffscreenCanvas
  | RawFrame;

/** A distance in pixels; x grows to the right, y downwards. */
export interface Offset {
  readonly x: number;
  readonly y: number;
}

/** What a sweep is to be. */
export interface PanoramaOptions {
  /** Where the camera pans. Default: `auto`. */
  readonly direction?: Direction;
  /**
   * Overlap of neighbouring pictures in percent, 50 to 90. It sets how many make a
   * sweep: 10 from 68. Default: 70.
   */
  readonly overlap?: number;
  /** Default: `classic`, as in the library. */
  readonly quality?: Quality;
  /**
   * Longer side of the pictures in pixels; larger frames are scaled down. It
   * bounds the memory. Default: 1920.
   */
  readonly pictureSide?: number;
  /** Longer side of the previews that motion is measured on. Default: 640. */
  readonly previewSide?: number;
  /** Which build to run. Default: `wasm128` where the engine has vectors, else `scalar`. */
  readonly kernels?: Kernels;
  /**
   * Receives the files of a recording, which `ozr-pano replay` repeats; see `docs/recording.md`.
   */
  readonly record?: (file: RecordedFile) => void;
}

/** A piece of a recording. Pieces of one name belong behind each other. */
export interface RecordedFile {
  /** `calls.txt`, or the name of a raw image. */
  readonly name: string;
  readonly bytes: Uint8Array;
}

/** What a preview said. */
export interface PreviewResult {
  /**
   * 0: not now; k: take picture k now. The first picture of a sweep is number
   * 0 and never announced.
   */
  readonly due: number;
  /** The camera's motion since the last announced picture, in pixels of the frame given. */
  readonly offset: Offset;
  /** Of the sweep; `auto` while undecided. */
  readonly direction: Direction;
  /**
   * False: the camera moved further since the last frame than the library can
   * measure. Do not trust the offset.
   */
  readonly tracked: boolean;
  /** The sweep has all its pictures: nothing is announced any more. */
  readonly ended: boolean;
  /** Milliseconds that the library worked. */
  readonly milliseconds: number;
}

/** What adding a picture did. */
export interface PictureResult {
  /** Pictures taken so far. */
  readonly pictures: number;
  /** Milliseconds that the library worked. */
  readonly milliseconds: number;
}

/** What {@link Panorama.follow} did with a frame. */
export interface FollowResult extends PreviewResult {
  /** Number of the picture that was taken from this frame, or -1. */
  readonly taken: number;
  /** Pictures taken so far. */
  readonly pictures: number;
}

/** Where two neighbouring pictures meet. */
export interface Joint {
  /** Numbers of the two pictures, in order of capture. */
  readonly first: number;
  readonly second: number;
  /** The middle of the second against that of the first, in pixels of the panorama. */
  readonly offset: Offset;
  /** Root mean square distance of matched points in pixels of the panorama; negative: unknown. */
  readonly residual: number;
  /** 0 to 1. Below 0.5: do not trust it. */
  readonly confidence: number;
  /** Brightness that was evened out, as a factor. */
  readonly gain: number;
  /** Both pictures are in the panorama. */
  readonly used: boolean;
}

/** How a picture was taken, as the refined quality found out. */
export interface Camera {
  /** Rotation in degrees. */
  readonly yaw: number;
  readonly pitch: number;
  readonly roll: number;
  /** Focal length in pixels of the picture. */
  readonly focalLength: number;
  /** Radial distortion. */
  readonly radial: number;
  /** Brightness, as a factor. */
  readonly gain: number;
}

/** What is known of every panorama. */
export interface PanoramaDescription {
  /** Pixels in a row. */
  readonly width: number;
  /** Rows. */
  readonly height: number;
  /** Joints of neighbouring pictures. */
  readonly joints: readonly Joint[];
  /** The camera at each picture; null but for the refined quality. */
  readonly cameras: readonly Camera[] | null;
  /** Milliseconds that composing took. */
  readonly milliseconds: number;
}

/** A panorama in memory. */
export interface PanoramaPixels extends PanoramaDescription {
  /** `width * height * 4` bytes: R, G, B, A. */
  readonly rgba: Uint8ClampedArray<ArrayBuffer>;
}

/** A panorama as a picture file. */
export interface PanoramaFile extends PanoramaDescription {
  readonly blob: Blob;
}

/** How a picture file is to be made. */
export interface FileOptions {
  /** Default: `image/png`. */
  readonly type?: 'image/png' | 'image/jpeg';
  /** Of a JPEG, 0 to 1. Default: 0.92. */
  readonly quality?: number;
}

/** What runs in this engine. */
export interface Abilities {
  /** The library's banner. */
  readonly library: string;
  readonly kernels: Kernels;
}
