// The least of WebM that a browser plays: one track of VP8, one cluster.

function size(length) {
  return Buffer.from([0x10 | (length >>> 24), (length >>> 16) & 255, (length >>> 8) & 255, length & 255]);
}

function element(id, ...contents) {
  const body = Buffer.concat(contents.map((content) => (Buffer.isBuffer(content) ? content : Buffer.from(content))));
  return Buffer.concat([Buffer.from(id, 'hex'), size(body.length), body]);
}

const number = (value) => [(value >>> 24) & 255, (value >>> 16) & 255, (value >>> 8) & 255, value & 255];

function double(value) {
  const bytes = Buffer.alloc(8);
  bytes.writeDoubleBE(value);
  return bytes;
}

/** @param frames {data, isKey}, each shown for `milliseconds`; less than 32 seconds together. */
export function webm(frames, { width, height, milliseconds }) {
  const header = element('1a45dfa3', element('4286', [1]), element('42f7', [1]), element('42f2', [4]), element('42f3', [8]), element('4282', 'webm'), element('4287', [2]), element('4285', [2]));
  const info = element('1549a966', element('2ad7b1', number(1_000_000)), element('4489', double(frames.length * milliseconds)), element('4d80', 'test'), element('5741', 'test'));
  const picture = element('e0', element('b0', number(width)), element('ba', number(height)));
  const track = element('ae', element('d7', [1]), element('73c5', [1]), element('83', [1]), element('86', 'V_VP8'), picture);
  const blocks = frames.map(({ data, isKey }, index) => {
    const time = Math.round(index * milliseconds);
    return element('a3', [0x81, time >> 8, time & 255, isKey ? 0x80 : 0], data);
  });
  const cluster = element('1f43b675', element('e7', [0]), ...blocks);
  return Buffer.concat([header, element('18538067', info, element('1654ae6b', track), cluster)]);
}
