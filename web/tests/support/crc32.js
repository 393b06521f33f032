// CRC-32 by its definition, so that the package's own is not its own judge. (Node.js
// has one only from version 20.)
const kTable = Array.from({ length: 256 }, (_, byte) =>
  Array.from({ length: 8 }).reduce((value) => (value & 1 ? 0xedb88320 ^ (value >>> 1) : value >>> 1), byte),
);

export function crc32(bytes) {
  return (bytes.reduce((crc, byte) => kTable[(crc ^ byte) & 255] ^ (crc >>> 8), -1) ^ -1) >>> 0;
}
