// Whole recorded sweeps through the package in Node.js: every answer is that of the
// native library, byte for byte.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { crc32 } from './support/crc32.js';
import { nativeAnswers, recordDemo } from './support/native.js';
import { comparableText, repeat } from './support/recording.js';
import { Panorama } from 'ozr-panorama';

const kSweeps = [
  ['right', ['--size', '640x480']],
  ['left', ['--size', '640x480', '--seed', '2']],
  ['down', ['--size', '480x640', '--pictures', '6']],
  ['up', ['--size', '640x480', '--seed', '3']],
  ['right-large', ['--size', '1280x960', '--pictures', '10']],
  ['right-720', ['--size', '1280x720', '--pictures', '5']],
];

for (const [name, options] of kSweeps) {
  for (const kernels of ['wasm128', 'scalar']) {
    for (const quality of ['classic', 'refined']) {
      test(`sweep ${name}, ${kernels}, ${quality}`, async () => {
        const folder = recordDemo(`sweep-${name}`, '--direction', name.split('-')[0], ...options);
        const { previews, panorama, text, abilities } = await repeat(Panorama, folder, { kernels, quality });
        assert.equal(abilities.kernels, kernels);

        const answers = await nativeAnswers(folder, { quality });
        const detected = answers.filter(({ call }) => call === 'preview');
        assert.deepEqual(
          previews.map(({ due, offset }) => [due, offset.x, offset.y]),
          detected.map(({ result, x, y }) => [result, x, y]),
        );
        const native = answers.find(({ call }) => call === 'panorama');
        assert.deepEqual([panorama.width, panorama.height], [native.width, native.height]);
        assert.equal(crc32(panorama.rgba), native.checksum);
        compareJoints(panorama.joints, answers);

        if (quality === 'classic') {
          const recorded = readFileSync(join(folder, 'calls.txt'), 'utf8');
          assert.equal(comparableText(text), comparableText(recorded));
        }
      });
    }
  }
}

function compareJoints(joints, answers) {
  const native = answers.filter(({ call }) => call === 'joint');
  assert.deepEqual(
    joints.map((joint) => [joint.first, joint.second, joint.used, joint.offset.x, joint.offset.y]),
    native.map(({ first, second, used, numbers }) => [first, second, used !== 0, ...numbers.slice(0, 2)].map(single)),
  );
}

// Nine digits name a float; what was printed is brought back to it.
function single(value) {
  return typeof value === 'number' ? Math.fround(value) : value;
}
