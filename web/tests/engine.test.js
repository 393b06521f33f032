// The package in Chromium: memory, speed against the native build, and frames of every kind.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { launch } from './support/browser.js';
import { openHarness } from './support/harness.js';
import { nativeAnswers, recordDemo } from './support/native.js';

let browser, harness, folder;
before(async () => {
  folder = recordDemo('sweep-right-large', '--direction', 'right', '--size', '1280x960', '--pictures', '10');
  browser = await launch(null);
  harness = await openHarness(browser, folder);
});
after(async () => {
  harness?.close();
  await browser?.close();
});

const median = (values) => values.slice().sort((a, b) => a - b)[values.length >> 1];

/** MiB that the processes of this machine's test browser hold by themselves. */
function browserMemory() {
  let total = 0;
  for (const name of readdirSync('/proc').filter((entry) => /^\d+$/.test(entry))) {
    try {
      if (!readFileSync(`/proc/${name}/cmdline`, 'latin1').includes('--type=renderer')) continue;
      const ancestor = (pid) => Number(/^PPid:\s+(\d+)/m.exec(readFileSync(`/proc/${pid}/status`, 'utf8'))[1]);
      let parent = Number(name);
      while (parent > 1 && parent !== process.pid) parent = ancestor(parent);
      if (parent !== process.pid) continue;
      total += Number(/^Rss(?:Anon):\s+(\d+)/m.exec(readFileSync(`/proc/${name}/status`, 'utf8'))[1]) / 1024;
    } catch {
      // A process that ended meanwhile.
    }
  }
  return total;
}

test('memory does not grow over ten sweeps', async (t) => {
  const { page } = harness;
  const settle = async () => {
    await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 500)));
    await page.requestGC();
    return browserMemory();
  };
  for (let i = 0; i < 2; ++i) await page.evaluate(() => globalThis.timeSweep());
  const before = await settle();
  let peak = 0;
  for (let i = 0; i < 10; ++i) {
    await page.evaluate(() => globalThis.timeSweep());
    peak = Math.max(peak, browserMemory());
  }
  const afterwards = await settle();
  t.diagnostic(`renderer MiB: ${before.toFixed(0)} before, ${afterwards.toFixed(0)} after ten sweeps, ${peak.toFixed(0)} at most in between`);
  // One sweep of ten pictures of 1280 x 960 takes some 40 MiB: a leak of a
  // tenth of that would show.
  assert.ok(afterwards < before + 40, `${before} MiB became ${afterwards} MiB`);
});

for (const quality of ['classic', 'refined'])
  test(`speed by ratio to the native build at SSSE3, ${quality}`, (t) => compareSpeed(t, quality));

async function compareSpeed(t, quality) {
  const { page } = harness;
  const rows = { preview: [], picture: [], run: [] };
  const seconds = [];
  for (let round = 0; round < 5; ++round) {
    // The second of two rounds: programs that run for the first time wait for memory.
    const both = await nativeAnswers(folder, { level: 'ssse3', quality, rounds: 2 });
    const native = both.slice(both.length / 2);
    const web = await page.evaluate((options) => globalThis.timeSweep(options), { quality });
    seconds.push(web.all / 1000);
    for (const call of Object.keys(rows)) {
      const own = median(native.filter((answer) => answer.call === call).map(({ milliseconds }) => milliseconds));
      rows[call].push(median(web[call]) / own);
    }
    assert.equal(web.previews, native.filter(({ call }) => call === 'preview').length);
  }
  for (const [call, ratios] of Object.entries(rows))
    t.diagnostic(`${call}: ${median(ratios).toFixed(2)} times the native time (${ratios.map((ratio) => ratio.toFixed(2)).join(' ')})`);
  t.diagnostic(`a whole sweep, from create to panorama: ${median(seconds).toFixed(2)} s`);
}

test('every kind of frame is taken, and gives one panorama', async () => {
  const sizes = await harness.page.evaluate(async () => {
    const canvas = (x) => {
      const made = document.createElement('canvas');
      [made.width, made.height] = [320, 240];
      const context = made.getContext('2d');
      for (let i = 0; i < 900; ++i) {
        context.fillStyle = `hsl(${(i * 67) % 360} 60% ${20 + ((i * 37) % 60)}%)`;
        context.fillRect(((i * 53) % 640) - x, (i * 29) % 240, 34, 22);
      }
      return made;
    };
    const pixels = (x) => canvas(x).getContext('2d').getImageData(0, 0, 320, 240);
    const image = async (x) => {
      const made = new Image();
      made.src = canvas(x).toDataURL();
      await made.decode();
      return made;
    };
    const kinds = {
      HTMLCanvasElement: canvas,
      ImageData: pixels,
      ImageBitmap: (x) => createImageBitmap(canvas(x)),
      VideoFrame: (x) => new VideoFrame(canvas(x), { timestamp: 0 }),
      HTMLImageElement: image,
      RawFrame: (x) => ({ format: 'rgba', width: 320, height: 240, data: pixels(x).data }),
    };
    const results = [];
    for (const [kind, make] of Object.entries(kinds)) {
      const sweep = await globalThis.Panorama.create({ direction: 'right' });
      for (const x of [0, 96, 192]) {
        const frame = await make(x);
        await sweep.picture(frame);
        frame.close?.(); // would throw if the frame had been taken away
      }
      const { rgba, width, height } = await sweep.run();
      const file = await sweep.encode({ type: 'image/jpeg' });
      sweep.close();
      const sum = rgba.reduce((total, byte) => (total * 31 + byte) >>> 0, 0);
      results.push([kind, width, height, sum, file.type]);
    }
    return results;
  });
  const [[, width, height, sum]] = sizes;
  assert.ok(width > 400 && height > 200, `${width} x ${height}`);
  for (const [kind, ...rest] of sizes) assert.deepEqual([kind, ...rest], [kind, width, height, sum, 'image/jpeg']);
});
