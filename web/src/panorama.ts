// A sweep as callers see it. All work is done in a worker of its own.
import { PanoramaError, asPanoramaError } from './errors.js';
import { bestKernels } from './module.js';
import { pack } from './parcel.js';
import type { Channel, Platform } from './platform.js';
import type { Answer, FromWorker, Request, Settings } from './protocol.js';
import type {
  Abilities,
  FileOptions,
  FollowResult,
  Frame,
  PanoramaFile,
  PanoramaOptions,
  PanoramaPixels,
  PictureResult,
  PreviewResult,
  RecordedFile,
} from './types.js';

interface Packed {
  readonly request: Request;
  readonly transfer: Transferable[];
}

interface Waiting {
  readonly resolve: (answer: never) => void;
  readonly reject: (error: PanoramaError) => void;
}

const kDefaults: Settings = {
  direction: 'auto',
  overlap: 70,
  quality: 'classic',
  pictureSide: 1920,
  previewSide: 640,
  record: false,
};

// Engines that do not know `using` yet get the symbol from here; it is of use to code
// that was compiled for them.
(Symbol as { dispose?: symbol }).dispose ??= Symbol('Symbol.dispose');

let platform: Platform;

/** Where sweeps run from now on. @internal */
export function usePlatform(chosen: Platform): void {
  platform = chosen;
}

// Options that are undefined count as left out.
function settingsOf(options: PanoramaOptions): Settings {
  const given = Object.entries(options).filter(([name, value]) => name in kDefaults && value !== undefined);
  return { ...kDefaults, ...Object.fromEntries(given), record: options.record !== undefined };
}

/**
 * One sweep of the camera, from its first picture to the panorama.
 *
 * Frames are worked on in their order, in a worker of the sweep's own; every method but
 * {@link close} returns a promise that is rejected with a {@link PanoramaError}. A failed picture
 * ends the sweep: what was taken before may still be run.
 */
export class Panorama {
  private readonly waiting = new Map<number, Waiting>();
  private order: Promise<unknown> = Promise.resolve();
  private channel: Channel | null = null;
  private next = 0;
  private unanswered = 0;
  private known: Abilities | null = null;

  private constructor(private readonly record: ((file: RecordedFile) => void) | undefined) {}

  /**
   * Loads what sweeps need, so that {@link create} does not have to: from then on
   * no network is used. Optional.
   *
   * Resolves to what the library can do in this engine.
   */
  static async prepare(options: Pick<PanoramaOptions, 'kernels'> = {}): Promise<Abilities> {
    const sweep = await Panorama.create(options);
    sweep.close();
    return sweep.abilities;
  }

  /**
   * Begins a sweep.
   *
   * Rejected with `ozr_err_not_supported` for an overlap out of range and a quality
   * that this build does not have.
   */
  static async create(options: PanoramaOptions = {}): Promise<Panorama> {
    const sweep = new Panorama(options.record);
    try {
      const module = await platform.module(options.kernels ?? bestKernels());
      const fail = (reason: Error) => sweep.end(asPanoramaError(reason));
      sweep.channel = await platform.start((message) => sweep.receive(message), fail);
      sweep.known = await sweep.ask<Abilities>({ kind: 'open', module, settings: settingsOf(options) });
      return sweep;
    } catch (reason) {
      sweep.close();
      throw asPanoramaError(reason);
    }
  }

  /** What the library can do here. */
  get abilities(): Abilities {
    return this.known!;
  }

  /**
   * Frames and other requests that were not answered yet. A camera's frame may
   * be dropped while it is not 0.
   */
  get pending(): number {
    return this.unanswered;
  }

  /**
   * Follows the camera with a frame, and takes the picture from that very frame when it is due; the
   * first frame is the first picture. One trip to the worker instead of two.
   */
  follow(frame: Frame): Promise<FollowResult> {
    return this.give('follow', frame);
  }

  /** Follows the camera with one frame and says whether the next picture is due. */
  preview(frame: Frame): Promise<PreviewResult> {
    return this.give('preview', frame);
  }

  /**
   * Adds a picture: the first one, one that {@link preview} announced, or, in a sweep with a
   * direction and without previews, the next one. All pictures of a sweep have one size.
   */
  picture(frame: Frame): Promise<PictureResult> {
    return this.give('picture', frame);
  }

  /** Composes the panorama, as a picture file or as pixels. Once a sweep. */
  run(options: FileOptions & { readonly output: 'blob' }): Promise<PanoramaFile>;
  run(options?: { readonly output: 'rgba' }): Promise<PanoramaPixels>;
  run(options: FileOptions & { readonly output: 'rgba' | 'blob' } = { output: 'rgba' }): Promise<unknown> {
    const { output, ...file } = options;
    const request: Request = output === 'blob' ? { kind: 'run', output, file } : { kind: 'run', output };
    return this.send(Promise.resolve({ request, transfer: [] }));
  }

  /** The panorama that {@link run} made, as a picture file of another kind. */
  encode(file: FileOptions = {}): Promise<Blob> {
    return this.send(Promise.resolve({ request: { kind: 'encode', file }, transfer: [] }));
  }

  /**
   * Ends the sweep at once, whatever it is doing, and frees its memory. Calls
   * that wait are rejected.
   */
  close(): void {
    this.end(new PanoramaError('the sweep was closed', 'ozr_err_invalid_status'));
  }

  /** The same, for `using`. */
  [Symbol.dispose](): void {
    this.close();
  }

  // Packed right away, while the camera still shows the frame; sent in the order of the calls.
  private give<T extends Answer>(kind: 'preview' | 'picture' | 'follow', frame: Frame): Promise<T> {
    return this.send(pack(frame).then(({ parcel, transfer }) => ({ request: { kind, parcel }, transfer })));
  }

  private async send<T extends Answer>(packing: Promise<Packed>): Promise<T> {
    const packed = this.order.then(() => packing);
    this.order = packed.catch(() => {});
    this.unanswered += 1;
    try {
      const { request, transfer } = await packed;
      return await this.ask<T>(request, transfer);
    } catch (reason) {
      throw asPanoramaError(reason);
    } finally {
      this.unanswered -= 1;
    }
  }

  private ask<T extends Answer>(request: Request, transfer: Transferable[] = []): Promise<T> {
    const { channel } = this;
    if (!channel) {
      if ('parcel' in request && 'close' in request.parcel.image) request.parcel.image.close();
      return Promise.reject(new PanoramaError('the sweep is closed', 'ozr_err_invalid_status'));
    }
    const id = this.next++;
    return new Promise<T>((resolve, reject) => {
      this.waiting.set(id, { resolve, reject });
      channel.post({ id, request }, transfer);
    });
  }

  private receive(message: FromWorker): void {
    if ('recorded' in message) {
      this.record?.(message.recorded);
      return;
    }
    const waiting = this.waiting.get(message.id);
    this.waiting.delete(message.id);
    if ('error' in message) waiting?.reject(PanoramaError.from(message.error));
    else waiting?.resolve(message.answer as never);
  }

  private end(reason: PanoramaError): void {
    this.channel?.terminate();
    this.channel = null;
    for (const { reject } of this.waiting.values()) reject(reason);
    this.waiting.clear();
  }
}
