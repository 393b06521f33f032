// One session of the library behind the bridge's plain numbers.
import { PanoramaError, codeName } from './errors.js';
import { type Exports, instantiate } from './module.js';
import type { Abilities, Camera, Direction, Joint, Kernels, Quality } from './types.js';

/** Which of the two frames a call is about. */
export enum Use {
  preview = 0,
  picture = 1,
}

/** The library's order. */
export const kDirections: readonly Direction[] = ['auto', 'right', 'left', 'down', 'up'];
const kQualities: readonly Quality[] = ['classic', 'refined'];
const kInvalidStatus = -6;

/** The words of the bridge's answer. */
enum Word {
  x,
  y,
  direction,
  width,
  height,
  stride,
  size,
  first,
  second,
  used,
  numbers,
}

export interface Geometry {
  readonly width: number;
  readonly height: number;
  readonly stride: number;
  readonly size: number;
}

/** What a call returned: the library's number, not judged yet. */
export interface Detection {
  readonly result: number;
  readonly x: number;
  readonly y: number;
  readonly direction: Direction;
}

export class Session {
  private readonly exports: Exports;
  private readonly answer: number;

  constructor(module: WebAssembly.Module) {
    this.exports = instantiate(module);
    this.answer = this.exports.ozr_web_answer();
  }

  get abilities(): Abilities {
    return {
      library: this.text(this.exports.ozr_web_banner()),
      kernels: this.text(this.exports.ozr_web_level()) as Kernels,
    };
  }

  create(direction: Direction, overlap: number, quality: Quality): void {
    const number = kDirections.indexOf(direction);
    if (number < 0) throw new PanoramaError(`'${direction}' is no direction`, 'ozr_err_invalid_argument');
    if (!kQualities.includes(quality)) throw new PanoramaError(`'${quality}' is no quality`, 'ozr_err_not_supported');
    const result = this.exports.ozr_web_create(number, overlap, kQualities.indexOf(quality));
    this.check(result, 'the sweep could not be set up');
  }

  /** Memory for the pixels of a frame, to be filled at once: a call may move it. */
  frame(use: Use, format: 'rgba' | 'nv12', width: number, height: number): Uint8Array {
    const isRgba = format === 'rgba';
    const place = this.exports.ozr_web_frame(use, isRgba ? 1 : 0, width, height);
    if (place === 0) this.refuse(-7, 'no memory for a frame');
    return this.bytes(place, width * height * (isRgba ? 4 : 1.5));
  }

  /** The frame as the library gets it; valid until the next call. */
  nv12(use: Use): { geometry: Geometry; bytes: Uint8Array } {
    const place = this.exports.ozr_web_nv12(use);
    if (place === 0) this.refuse(-7, 'no memory for a frame');
    const geometry = this.geometry();
    return { geometry, bytes: this.bytes(place, geometry.size) };
  }

  detect(): Detection {
    const result = this.exports.ozr_web_preview();
    const words = this.words();
    return {
      result,
      x: words[Word.x]!,
      y: words[Word.y]!,
      direction: kDirections[words[Word.direction]!] ?? 'auto',
    };
  }

  stitch(offset: { x: number; y: number } | null): number {
    return this.exports.ozr_web_picture(offset ? 1 : 0, offset?.x ?? 0, offset?.y ?? 0);
  }

  run(): number {
    return this.exports.ozr_web_run();
  }

  /** Of the panorama, right after `run`. */
  geometry(): Geometry {
    const words = this.words();
    return {
      width: words[Word.width]!,
      height: words[Word.height]!,
      stride: words[Word.stride]!,
      size: words[Word.size]!,
    };
  }

  /** The panorama's bytes as the library made them; valid until the next call. */
  panorama(geometry: Geometry): Uint8Array {
    return this.bytes(this.exports.ozr_web_panorama_nv12(), geometry.size);
  }

  /** A copy of the panorama in RGBA. */
  rgba(): Uint8ClampedArray<ArrayBuffer> {
    const place = this.exports.ozr_web_panorama_rgba();
    if (place === 0) this.refuse(-7, 'no memory for the panorama');
    const { width, height } = this.geometry();
    return new Uint8ClampedArray(this.exports.memory.buffer, place, width * height * 4).slice();
  }

  joints(): Joint[] {
    const joints: Joint[] = [];
    while (this.exports.ozr_web_joint(joints.length) === 0) {
      const words = this.words();
      const [x, y, residual, confidence, gain] = this.numbers();
      joints.push({
        first: words[Word.first]!,
        second: words[Word.second]!,
        offset: { x: x!, y: y! },
        residual: residual!,
        confidence: confidence!,
        gain: gain!,
        used: words[Word.used] !== 0,
      });
    }
    return joints;
  }

  /** All cameras; null where there are none. */
  cameras(): Camera[] | null {
    const cameras: Camera[] = [];
    while (this.exports.ozr_web_camera(cameras.length) === 0) {
      const [yaw, pitch, roll, focalLength, radial, gain] = this.numbers();
      cameras.push({
        yaw: yaw!,
        pitch: pitch!,
        roll: roll!,
        focalLength: focalLength!,
        radial: radial!,
        gain: gain!,
      });
    }
    return cameras.length > 0 ? cameras : null;
  }

  destroy(): void {
    this.exports.ozr_web_destroy();
  }

  /** Throws for a negative result. */
  check(result: number, message: string): void {
    if (result < 0) this.refuse(result, message);
  }

  /** A sweep that has all its pictures closes itself: previews are refused from then on. */
  static isEnd(result: number, pictures: number): boolean {
    return result === kInvalidStatus && pictures > 1;
  }

  private refuse(result: number, message: string): never {
    const chain = this.text(this.exports.ozr_web_chain()).split('\n').filter(Boolean);
    const code = codeName(result);
    throw new PanoramaError(`${message} (${code})`, code, chain);
  }

  private bytes(place: number, size: number): Uint8Array {
    return new Uint8Array(this.exports.memory.buffer, place, size);
  }

  private words(): Int32Array {
    return new Int32Array(this.exports.memory.buffer, this.answer, Word.numbers);
  }

  private numbers(): Float32Array {
    return new Float32Array(this.exports.memory.buffer, this.answer + 4 * Word.numbers, 6);
  }

  private text(place: number): string {
    const heap = new Uint8Array(this.exports.memory.buffer);
    return new TextDecoder().decode(heap.slice(place, heap.indexOf(0, place)));
  }
}
