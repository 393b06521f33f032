// The package's promises to those who call it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { recordDemo } from './support/native.js';
import { readCalls, readFrame } from './support/recording.js';
import { Panorama, PanoramaError } from 'ozr-panorama';

const kWeb = fileURLToPath(new URL('..', import.meta.url));
const kSides = { width: 64, height: 48 };
const grey = (width, height) => ({ format: 'nv12', width, height, data: new Uint8Array((width * height * 3) / 2).fill(128) });
const kFrame = grey(64, 48);

async function withSweep(options, use) {
  const sweep = await Panorama.create(options);
  try {
    return await use(sweep);
  } finally {
    sweep.close();
  }
}

test('faults are PanoramaErrors with code, chain and words', async () => {
  const faults = [
    ['overlap 49', { overlap: 49 }, null, 'ozr_err_not_supported', /set_parameters/],
    ['no direction', { direction: 'north' }, null, 'ozr_err_invalid_argument'],
    ['no quality', { quality: 'best' }, null, 'ozr_err_not_supported'],
    ['a preview first', {}, (sweep) => sweep.preview(kFrame), 'ozr_err_invalid_status', /detect_frame_to_stitch/],
    ['run without pictures', {}, (sweep) => sweep.run(), 'ozr_err_invalid_status', /run/],
    ['a file before there is one', {}, (sweep) => sweep.encode(), 'ozr_err_invalid_status'],
    ['odd sides', {}, (sweep) => sweep.picture({ ...kFrame, width: 63 }), 'ozr_err_invalid_argument'],
    ['too few bytes', {}, (sweep) => sweep.picture({ ...kFrame, data: kFrame.data.slice(1) }), 'ozr_err_invalid_argument'],
    ['no pixels', {}, (sweep) => sweep.picture({ ...kFrame, width: 0 }), 'ozr_err_invalid_argument'],
    [
      'a second size',
      { direction: 'right' },
      async (sweep) => {
        await sweep.picture(kFrame);
        await sweep.picture(grey(96, 48));
      },
      'ozr_err_invalid_argument',
      /stitch_one_image/,
    ],
    [
      'an unknown direction at the second picture',
      {},
      async (sweep) => {
        await sweep.picture(kFrame);
        await sweep.picture(kFrame);
      },
      'ozr_err_invalid_status',
      /stitch_one_image/,
    ],
  ];
  for (const [what, options, call, code, chain] of faults) {
    const error = await withSweep(options, call ?? (() => {})).then(
      () => assert.fail(`${what}: no error`),
      (reason) => reason,
    );
    assert.ok(error instanceof PanoramaError, `${what}: ${error}`);
    assert.equal(error.code, code, what);
    if (chain) assert.match(error.chain.join('\n'), chain, what);
    assert.ok(error.message.length > 10, what);
  }
});

test('closing rejects what waits, on its way or in the worker, and what comes later', { timeout: 20_000 }, async () => {
  const sweep = await Panorama.create({ direction: 'right' });
  const calls = [sweep.picture(kFrame), sweep.run()];
  // Calls are sent in microtasks; the worker's answers come only after all of these.
  for (let i = 0; i < 50; ++i) await null;
  calls.push(sweep.preview(kFrame));
  assert.equal(sweep.pending, 3);
  for (const call of calls) call.catch(() => {}); // looked at below
  sweep.close();
  sweep.close();
  calls.push(sweep.preview(kFrame));
  for (const call of calls) await assert.rejects(call, { name: 'PanoramaError', code: 'ozr_err_invalid_status' });
  assert.equal(sweep.pending, 0);
});

test('calls keep their order, and frames stay the caller\'s', async () => {
  const data = new Uint8Array(kFrame.data);
  await withSweep({ direction: 'right' }, async (sweep) => {
    const results = await Promise.all([1, 2, 3].map(() => sweep.picture({ ...kSides, format: 'nv12', data })));
    assert.deepEqual(results.map(({ pictures }) => pictures), [1, 2, 3]);
    assert.equal(data.length, kFrame.data.length);
  });
});

test('following takes the pictures that previews announce', async () => {
  const folder = recordDemo('sweep-right-follow', '--direction', 'right', '--size', '640x480', '--preview', '640x480', '--pictures', '4');
  const frames = readCalls(folder).filter(({ name }) => name === 'detect_frame_to_stitch');
  await withSweep({}, async (sweep) => {
    const taken = [];
    for (const { fields } of frames) {
      const result = await sweep.follow(readFrame(folder, fields));
      assert.equal(result.tracked, true);
      if (result.taken >= 0) taken.push(result.taken);
    }
    assert.deepEqual(taken, [0, 1, 2, 3]);
    const { width, height } = await sweep.run();
    assert.ok(width > 1000 && height > 400, `${width} x ${height}`);
  });
});

test('a camera that jumps is not followed', async () => {
  const folder = recordDemo('sweep-right-follow', '--direction', 'right', '--size', '640x480', '--preview', '640x480', '--pictures', '4');
  const frames = readCalls(folder).filter(({ name }) => name === 'detect_frame_to_stitch');
  await withSweep({}, async (sweep) => {
    await sweep.follow(readFrame(folder, frames[0].fields));
    assert.equal((await sweep.follow(readFrame(folder, frames[0].fields))).tracked, true);
    assert.equal((await sweep.follow(readFrame(folder, frames[6].fields))).tracked, true);
    assert.equal((await sweep.follow(readFrame(folder, frames[20].fields))).tracked, false);
    assert.equal((await sweep.follow(readFrame(folder, frames[21].fields))).tracked, true);
  });
});

test('the packed package works where it is installed', (t) => {
  const folder = mkdtempSync(join(tmpdir(), 'ozr-package-'));
  t.after(() => rmSync(folder, { recursive: true }));
  const quiet = { cwd: folder, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] };
  const [packed] = JSON.parse(
    execFileSync('npm', ['pack', kWeb, '--ignore-scripts', '--json'], quiet),
  );
  const names = packed.files.map(({ path }) => path);
  for (const name of ['LICENSE', 'README.md', 'dist/index.js', 'dist/index.d.ts', 'dist/node.js', 'dist/worker.js', 'dist/ozr_panorama.wasm'])
    assert.ok(names.includes(name), `${name} is missing in ${names}`);
  assert.deepEqual(names.filter((name) => !/^(dist\/|LICENSE$|README\.md$|package\.json$)/.test(name)), []);
  writeFileSync(join(folder, 'package.json'), '{"type": "module"}');
  execFileSync('npm', ['install', '--offline', '--no-audit', '--no-fund', `./${packed.filename}`], quiet);
  writeFileSync(
    join(folder, 'try.js'),
    `import { Panorama } from 'ozr-panorama';
     console.log((await Panorama.prepare()).kernels);`,
  );
  assert.equal(execFileSync('node', ['try.js'], quiet).trim(), 'wasm128');
  const sizes = ['index.js', 'worker.js', 'ozr_panorama.wasm', 'ozr_panorama-scalar.wasm'].map((name) => {
    const bytes = gzipSync(readFileSync(join(kWeb, 'dist', name)), { level: 9 }).length;
    return `${name} ${(bytes / 1024).toFixed(1)}`;
  });
  t.diagnostic(`KiB by gzip: ${sizes.join(', ')}`);
  assert.deepEqual(Object.keys(JSON.parse(readFileSync(join(kWeb, 'package.json'), 'utf8'))).filter((key) => key === 'dependencies'), []);
});
