// Drives one sweep from a video element, be it the camera or a clip.
import { Panorama, type PanoramaFile, type PanoramaOptions } from '../src/index.js';
import { eachFrame } from './camera.js';
import { Guide, type Guidance } from './guide.js';
import { type Trouble, kLostTrack, kTurned, sweepTrouble } from './troubles.js';

export interface SweepEvents {
  /** After every frame. `taken`: a picture was taken from it. */
  guide(guidance: Guidance, taken: boolean): void;
  /** All pictures are taken. */
  full(): void;
  /** The sweep cannot go on; what was taken may still be composed. */
  stopped(trouble: Trouble): void;
}

/** Pictures in a full sweep of this overlap in percent. */
export function fullCount(overlap: number): number {
  return 10 - [68, 64, 58, 51, 0].findIndex((least) => overlap >= least);
}

export class Sweeper {
  private readonly guide: Guide;
  private readonly expected: number;
  private readonly width: number;
  private readonly height: number;
  private frames: { stop(): void } | null = null;
  private taken = 0;

  private constructor(
    private readonly video: HTMLVideoElement,
    private readonly sweep: Panorama,
    overlap: number,
    private readonly events: SweepEvents,
  ) {
    this.guide = new Guide(overlap);
    this.expected = fullCount(overlap);
    this.width = video.videoWidth;
    this.height = video.videoHeight;
  }

  static async begin(video: HTMLVideoElement, options: PanoramaOptions, events: SweepEvents): Promise<Sweeper> {
    const sweep = await Panorama.create(options);
    const sweeper = new Sweeper(video, sweep, options.overlap ?? 70, events);
    sweeper.frames = eachFrame(video, () => void sweeper.step());
    return sweeper;
  }

  get pictures(): number {
    return this.taken;
  }

  private get isClip(): boolean {
    return this.video.srcObject === null;
  }

  /** Takes no more pictures. */
  stop(): void {
    this.frames?.stop();
    this.frames = null;
  }

  /** Composes what was taken. */
  compose(): Promise<PanoramaFile> {
    this.stop();
    return this.sweep.run({ output: 'blob', type: 'image/jpeg', quality: 0.92 });
  }

  /** The panorama without loss. */
  png(): Promise<Blob> {
    return this.sweep.encode({ type: 'image/png' });
  }

  /** Drops the sweep and its memory. */
  close(): void {
    this.stop();
    this.sweep.close();
  }

  // Frames that come while one is worked on are left out: of a camera, the
  // newest counts. A clip can wait.
  private async step(): Promise<void> {
    if (!this.frames) return;
    if (this.sweep.pending > 0) {
      if (this.isClip) this.video.pause();
      return;
    }
    const { videoWidth: width, videoHeight: height } = this.video;
    if (width !== this.width || height !== this.height) {
      this.halt(kTurned);
      return;
    }
    try {
      const frame = await this.sweep.follow(this.video);
      this.taken = frame.pictures;
      if (!this.frames) return;
      const guidance = this.guide.judge(frame, { width, height });
      this.events.guide(guidance, frame.taken >= 0);
      if (guidance.lost) this.halt(kLostTrack);
      else if (frame.ended || frame.pictures === this.expected) {
        this.stop();
        this.events.full();
      } else if (this.isClip && this.video.paused && !this.video.ended) await this.video.play();
    } catch (reason) {
      if (this.frames) this.halt(sweepTrouble(reason));
    }
  }

  private halt(trouble: Trouble): void {
    this.stop();
    this.events.stopped(trouble);
  }
}
