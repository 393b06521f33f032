// What the page tells a person: from numbers to words, and which joints are marked.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { build } from 'esbuild';

/** A module of the page. */
async function load(name) {
  const entry = new URL(`../demo/${name}.ts`, import.meta.url).pathname;
  const { outputFiles } = await build({ entryPoints: [entry], bundle: true, format: 'esm', write: false });
  return import(`data:text/javascript;base64,${Buffer.from(outputFiles[0].contents).toString('base64')}`);
}
const { Guide } = await load('guide');
const { doubts, middlesAlong } = await load('joints');
const { fileName } = await load('save');

const kSize = { width: 640, height: 480 };
const frame = (x, y = 0, more = {}) => ({ due: 0, offset: { x, y }, direction: 'right', tracked: true, ended: false, taken: -1, pictures: 1, ...more });

/** What is said after the last of these frames. */
function after(frames) {
  const guide = new Guide(70);
  return frames.map((each) => guide.judge(each, kSize)).at(-1);
}

test('hints', () => {
  const steady = Array.from({ length: 12 }, (_, i) => frame(6 * i));
  const cases = [
    ['at rest', [frame(0, 0, { direction: 'auto' })], 'Turn slowly to one side', false],
    ['a steady pan', steady, 'Keep turning right', false],
    ['a quick pan', Array.from({ length: 9 }, (_, i) => frame(36 * i)), 'Slower', true],
    ['one jolt in a steady pan', [...steady, frame(100)], 'Keep turning right', false],
    ['the way back', [...steady, ...Array.from({ length: 30 }, (_, i) => frame(60 - 6 * i))], 'Turn right again', true],
    ['drifting down', steady.map((each, i) => frame(each.offset.x, 5 * i)), 'Point a little higher', true],
    ['drifting up', steady.map((each, i) => frame(each.offset.x, -5 * i)), 'Point a little lower', true],
    ['to the left', steady.map(({ offset }) => frame(-offset.x, 0, { direction: 'left' })), 'Keep turning left', false],
    ['downwards, drifting right', steady.map((_, i) => frame(7 * i, 6 * i, { direction: 'down' })), 'A little to the left', true],
  ];
  for (const [what, frames, hint, warns] of cases) {
    const said = after(frames);
    assert.deepEqual([said.hint, said.warns, said.lost], [hint, warns, false], what);
  }
});

test('the place is lost after several frames that cannot be followed, not after one', () => {
  const untracked = frame(6, 0, { tracked: false });
  assert.equal(after([frame(0), untracked]).lost, false);
  assert.equal(after([frame(0), untracked, untracked, untracked]).lost, true);
  assert.equal(after(Array.from({ length: 4 }, (_, i) => frame(42 * i))).lost, true);
});

test('the position counts in steps of pictures, and drift adds up over them', () => {
  const step = 0.28 * kSize.width;
  assert.equal(after([frame(0), frame(step / 2)]).position, 0.5);
  const taken = frame(step, 24, { taken: 1, pictures: 2, due: 1 });
  assert.equal(after([frame(0), taken]).position, 1);
  const next = after([frame(0), taken, frame(step / 4, 12, { pictures: 2 })]);
  assert.equal(next.position, 1.25);
  assert.equal(next.drift, 36 / 480);
});

test('joints in doubt are told', () => {
  const joint = { first: 1, second: 2, offset: { x: 100, y: 0 }, residual: 1, confidence: 0.9, gain: 1, used: true };
  assert.deepEqual(doubts([joint, { ...joint, confidence: 0.5 }]), []);
  assert.match(doubts([{ ...joint, confidence: 0.31 }])[0], /pictures 2 and 3.*31 %/);
  assert.match(doubts([{ ...joint, used: false }])[0], /Left out: pictures 2 and 3/);
});

test('pictures are placed by the joints that hold', () => {
  const joint = (first, second, x, used = true) => ({ first, second, offset: { x, y: -x }, used });
  const joints = [joint(2, 1, -90), joint(3, 4, 70), joint(0, 1, 100), joint(1, 3, 150), joint(4, 5, 80, false)];
  const places = (axis) => [...middlesAlong(joints, axis)].sort(([a], [b]) => a - b);
  assert.deepEqual(places('x'), [[0, -190], [1, -90], [2, 0], [3, 60], [4, 130]]);
  assert.deepEqual(places('y').at(-1), [4, -130]);
  assert.deepEqual(middlesAlong([joint(0, 1, 9, false)], 'x').size, 0);
});

test('files are named by the time', () => {
  assert.equal(fileName('jpg', new Date(2024, 0, 2, 3, 4, 5)), 'panorama-20240102-030405.jpg');
});
