// A recording as one file: the tape archive of POSIX, plain files only.
import type { RecordedFile } from '../src/types.js';

const kBlock = 512;

function header(name: string, size: number): Uint8Array {
  const block = new Uint8Array(kBlock);
  const put = (text: string, at: number) => block.set(new TextEncoder().encode(text), at);
  put(name, 0);
  put('0000644\0', 100);
  put('0000000\0', 108);
  put('0000000\0', 116);
  put(`${size.toString(8).padStart(11, '0')}\0`, 124);
  put('00000000000\0', 136);
  put('        ', 148); // the checksum counts as blanks while it is made
  put('0', 156);
  put('ustar\x0000', 257);
  const sum = block.reduce((total, byte) => total + byte, 0);
  put(`${sum.toString(8).padStart(6, '0')}\0 `, 148);
  return block;
}

/** Gathers the pieces of a recording. */
export class Archive {
  private readonly files = new Map<string, Uint8Array[]>();

  add({ name, bytes }: RecordedFile): void {
    const pieces = this.files.get(name);
    if (pieces) pieces.push(bytes);
    else this.files.set(name, [bytes]);
  }

  toBlob(): Blob {
    const parts: BlobPart[] = [];
    for (const [name, pieces] of this.files) {
      const size = pieces.reduce((total, piece) => total + piece.length, 0);
      const padding = new Uint8Array((kBlock - (size % kBlock)) % kBlock);
      parts.push(...([header(`sweep/${name}`, size), ...pieces, padding] as Uint8Array<ArrayBuffer>[]));
    }
    return new Blob([...parts, new Uint8Array(2 * kBlock)], { type: 'application/x-tar' });
  }
}
