// Unpacks plain files of a tape archive into a folder.
import { mkdirSync, writeFileSync } from 'node:fs';
import { basename, join } from 'node:path';

export function unpack(bytes, folder) {
  mkdirSync(folder, { recursive: true });
  for (let at = 0; bytes[at] !== 0 && at < bytes.length; ) {
    const text = (from, length) => bytes.toString('latin1', at + from, at + from + length).replace(/\0.*$/s, '');
    const size = parseInt(text(124, 12), 8);
    writeFileSync(join(folder, basename(text(0, 100))), bytes.subarray(at + 512, at + 512 + size));
    at += 512 + Math.ceil(size / 512) * 512;
  }
}
