// The worker's side: takes requests in their order and drives one session.
import { PanoramaError, asPanoramaError } from './errors.js';
import { Rasteriser, encode } from './pixels.js';
import type { Answer, FromWorker, Parcel, Request, Settings, ToWorker } from './protocol.js';
import { Recorder } from './recorder.js';
import { type Detection, type Geometry, Session, Use } from './session.js';
import { type Grey, Tracking } from './tracking.js';
import type { Abilities, FileOptions, FollowResult, Offset, PanoramaDescription, PictureResult, PreviewResult } from './types.js';

type Post = (message: FromWorker, transfer: ArrayBuffer[]) => void;

/** A sweep in the making. */
class Sweep {
  readonly abilities: Abilities;
  private readonly rasteriser = new Rasteriser();
  private readonly recorder: Recorder | null;
  private readonly tracking = new Tracking();
  private pictures = 0;
  private announced: Offset | null = null; // of the picture that is due
  private travelled: Offset = { x: 0, y: 0 }; // since the last announcement
  private panorama: Geometry | null = null;

  constructor(
    private readonly session: Session,
    private readonly settings: Settings,
    post: Post,
  ) {
    const { direction, overlap, quality } = settings;
    session.create(direction, overlap, quality);
    this.abilities = session.abilities;
    this.recorder = settings.record
      ? new Recorder(this.abilities.library, (file) => post({ recorded: file }, []))
      : null;
    this.recorder?.parameters(overlap, direction, quality);
  }

  preview(parcel: Parcel): PreviewResult {
    const frame = this.rasteriser.write(parcel, this.settings.previewSide, Use.preview, this.session);
    if (this.recorder) {
      const { geometry, bytes } = this.session.nv12(Use.preview);
      this.recorder.detect(geometry, bytes);
    }
    const start = performance.now();
    const detection = this.session.detect();
    const milliseconds = performance.now() - start;
    this.recorder?.detected(detection.result, detection, detection.direction);
    const ended = Session.isEnd(detection.result, this.pictures);
    if (!ended) this.session.check(detection.result, 'the preview was refused');
    return {
      due: Math.max(0, detection.result),
      offset: {
        x: (detection.x * parcel.width) / frame.width,
        y: (detection.y * parcel.height) / frame.height,
      },
      direction: detection.direction,
      tracked: ended || this.isTracked(frame, detection),
      ended,
      milliseconds,
    };
  }

  picture(parcel: Parcel): PictureResult {
    this.rasteriser.write(parcel, this.settings.pictureSide, Use.picture, this.session);
    if (this.recorder) {
      const { geometry, bytes } = this.session.nv12(Use.picture);
      this.recorder.stitch(geometry, bytes, this.announced);
    }
    const start = performance.now();
    const result = this.session.stitch(this.announced);
    const milliseconds = performance.now() - start;
    this.recorder?.returned(result);
    this.session.check(result, `picture ${this.pictures} was refused`);
    this.announced = null;
    this.pictures += 1;
    return { pictures: this.pictures, milliseconds };
  }

  follow(parcel: Parcel): FollowResult {
    if (this.pictures === 0) {
      const { pictures, milliseconds } = this.picture(parcel);
      const offset = { x: 0, y: 0 };
      const { direction } = this.settings;
      return { due: 0, offset, direction, tracked: true, ended: false, milliseconds, taken: 0, pictures };
    }
    const preview = this.preview(parcel);
    if (preview.due === 0) return { ...preview, taken: -1, pictures: this.pictures };
    const { pictures, milliseconds } = this.picture(parcel);
    return { ...preview, taken: pictures - 1, pictures, milliseconds: preview.milliseconds + milliseconds };
  }

  run(): PanoramaDescription {
    this.recorder?.run();
    const start = performance.now();
    const result = this.session.run();
    const milliseconds = performance.now() - start;
    if (result < 0) this.recorder?.returned(result);
    this.session.check(result, 'the pictures could not be composed');
    const geometry = this.session.geometry();
    this.panorama = geometry;
    this.recorder?.finished(geometry, this.session.panorama(geometry));
    const { width, height } = geometry;
    return { width, height, joints: this.session.joints(), cameras: this.session.cameras(), milliseconds };
  }

  pixels(): Uint8ClampedArray<ArrayBuffer> {
    return this.session.rgba();
  }

  encode({ type = 'image/png', quality = 0.92 }: FileOptions): Promise<Blob> {
    if (!this.panorama) throw new PanoramaError('there is no panorama yet', 'ozr_err_invalid_status');
    return encode(this.pixels(), this.panorama.width, this.panorama.height, type, quality);
  }

  // The library tells the motion since its last announcement; the one since the
  // last frame is what it grew by.
  private isTracked(frame: Grey, { result, x, y }: Detection): boolean {
    const tracked = this.tracking.isTracked(frame, x - this.travelled.x, y - this.travelled.y);
    this.travelled = result > 0 ? { x: 0, y: 0 } : { x, y };
    if (result > 0) this.announced = { x, y };
    return tracked;
  }
}

/** Answers requests one after the other. */
export class Host {
  private sweep: Sweep | null = null;
  private queue: Promise<void> = Promise.resolve();

  constructor(private readonly post: Post) {}

  receive({ id, request }: ToWorker): void {
    this.queue = this.queue.then(async () => {
      try {
        const answer = await this.answer(request);
        this.post({ id, answer }, 'rgba' in answer ? [answer.rgba.buffer] : []);
      } catch (reason) {
        this.post({ id, error: asPanoramaError(reason).toRecord() }, []);
      }
    });
  }

  private async answer(request: Request): Promise<Answer> {
    if (request.kind === 'open') {
      this.sweep = new Sweep(new Session(request.module), request.settings, this.post);
      return this.sweep.abilities;
    }
    const sweep = this.sweep;
    if (!sweep) throw new PanoramaError('the sweep was not set up', 'ozr_err_invalid_status');
    switch (request.kind) {
      case 'run': {
        const description = sweep.run();
        if (request.output === 'blob') return { ...description, blob: await sweep.encode(request.file) };
        return { ...description, rgba: sweep.pixels() };
      }
      case 'encode':
        return sweep.encode(request.file);
      default:
        return this.take(sweep, request.kind, request.parcel);
    }
  }

  private take(sweep: Sweep, kind: 'preview' | 'picture' | 'follow', parcel: Parcel): Answer {
    try {
      return sweep[kind](parcel);
    } finally {
      if ('close' in parcel.image) parcel.image.close();
    }
  }
}
