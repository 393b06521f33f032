// Writes the calls of a session as a recording; docs/recording.md has the format.
import type { Geometry } from './session.js';
import type { Direction, Offset, Quality, RecordedFile } from './types.js';

const kTable = new Uint32Array(256).map((_, byte) => {
  let value = byte;
  for (let bit = 0; bit < 8; ++bit) value = value & 1 ? (value >>> 1) ^ 0xedb88320 : value >>> 1;
  return value;
});

/** CRC-32 as in PNG and gzip, as eight digits. */
export function checksum(bytes: Uint8Array): string {
  let crc = 0xffffffff;
  for (let i = 0; i < bytes.length; ++i) crc = kTable[(crc ^ bytes[i]!) & 255]! ^ (crc >>> 8);
  return ((crc ^ 0xffffffff) >>> 0).toString(16).padStart(8, '0');
}

function describe({ width, height, stride, size }: Geometry, bytes: Uint8Array): string {
  return `format=nv12 width=${width} height=${height} stride=${stride} size=${size} crc32=${checksum(bytes)}`;
}

export class Recorder {
  private images = 0;

  constructor(
    library: string,
    private readonly emit: (file: RecordedFile) => void,
  ) {
    this.line('ozr-pano recording 2');
    this.line(`library ${library}`);
  }

  parameters(overlap: number, direction: Direction, quality: Quality): void {
    this.line(`set_parameters overlap=${overlap} direction=${direction}`);
    this.line('returned 0');
    if (quality === 'classic') return; // what a session begins with
    this.line(`set_quality quality=${quality}`);
    this.line('returned 0');
  }

  /** Before the call, as a process that dies within it is to leave its line. */
  detect(geometry: Geometry, bytes: Uint8Array): void {
    this.line(`detect_frame_to_stitch file=${this.image(bytes)} ${describe(geometry, bytes)}`);
  }

  detected(result: number, offset: Offset, direction: Direction): void {
    const found = result < 0 ? '' : ` offset=${offset.x},${offset.y} direction=${direction}`;
    this.line(`returned ${result}${found}`);
  }

  stitch(geometry: Geometry, bytes: Uint8Array, offset: Offset | null): void {
    const place = offset ? `${offset.x},${offset.y}` : 'none';
    this.line(`stitch_one_image file=${this.image(bytes)} ${describe(geometry, bytes)} offset=${place}`);
  }

  returned(result: number): void {
    this.line(`returned ${result}`);
  }

  run(): void {
    this.line('run');
  }

  finished(geometry: Geometry, bytes: Uint8Array): void {
    this.line(`returned 0 ${describe(geometry, bytes)}`);
    this.line('end');
  }

  private line(text: string): void {
    this.emit({ name: 'calls.txt', bytes: new TextEncoder().encode(`${text}\n`) });
  }

  private image(bytes: Uint8Array): string {
    const name = `${String(this.images++).padStart(5, '0')}.raw`;
    this.emit({ name, bytes: bytes.slice() });
    return name;
  }
}
