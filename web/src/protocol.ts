// What the page and its worker say to each other.
import type { ErrorRecord } from './errors.js';
import type {
  Abilities,
  FileOptions,
  FollowResult,
  PanoramaOptions,
  PanoramaPixels,
  PanoramaFile,
  PictureResult,
  PreviewResult,
  RawFrame,
  RecordedFile,
} from './types.js';

/** A frame on its way to the worker, which owns it from there on. */
export interface Parcel {
  readonly image: VideoFrame | ImageBitmap | ImageData | RawFrame;
  /** Size of the caller's frame. */
  readonly width: number;
  readonly height: number;
}

/** The options with all their defaults. */
export type Settings = Required<Omit<PanoramaOptions, 'record' | 'kernels'>> & { readonly record: boolean };

export type Request =
  | { readonly kind: 'open'; readonly module: WebAssembly.Module; readonly settings: Settings }
  | { readonly kind: 'preview' | 'picture' | 'follow'; readonly parcel: Parcel }
  | { readonly kind: 'run'; readonly output: 'rgba' }
  | { readonly kind: 'run'; readonly output: 'blob'; readonly file: FileOptions }
  | { readonly kind: 'encode'; readonly file: FileOptions };

export type Answer =
  | Abilities
  | PreviewResult
  | PictureResult
  | FollowResult
  | PanoramaPixels
  | PanoramaFile
  | Blob;

export type ToWorker = { readonly id: number; readonly request: Request };
export type FromWorker =
  | { readonly id: number; readonly answer: Answer }
  | { readonly id: number; readonly error: ErrorRecord }
  | { readonly recorded: RecordedFile };
