// Says and shows which joints are not to be trusted.
import type { Joint, PanoramaDescription } from '../src/index.js';

const kTrust = 0.5;

const isDoubtful = ({ used, confidence }: Joint) => !used || confidence < kTrust;

/** One sentence for each joint in doubt. */
export function doubts(joints: readonly Joint[]): string[] {
  return joints.filter(isDoubtful).map(({ first, second, used, confidence }) => {
    const pair = `pictures ${first + 1} and ${second + 1}`;
    if (!used) return `Left out: ${pair} have too little in common.`;
    return `Look at the joint of ${pair}: they may not fit (confidence ${Math.round(confidence * 100)} %).`;
  });
}

/** Marks them in the picture. */
export function markDoubts(layer: HTMLElement, panorama: PanoramaDescription): void {
  layer.replaceChildren();
  const isAcross = sweepsUpOrDown(panorama.joints); // the seams run across such a sweep
  const middles = middlesAlong(panorama.joints, isAcross ? 'y' : 'x');
  const length = isAcross ? panorama.height : panorama.width;
  // The whole is centred.
  const origin = (length - Math.max(...middles.values()) - Math.min(...middles.values())) / 2;
  for (const joint of panorama.joints.filter(isDoubtful)) {
    // A picture that was left out has no place: the mark is at the other one.
    const known = [joint.first, joint.second].map((picture) => middles.get(picture)).filter((middle) => middle !== undefined);
    if (known.length === 0) continue;
    const place = origin + known.reduce((sum, middle) => sum + middle) / known.length;
    const mark = document.createElement('i');
    mark.className = isAcross ? 'joint across' : 'joint';
    mark.style[isAcross ? 'top' : 'left'] = `${(100 * place) / length}%`;
    mark.title = doubts([joint])[0] ?? '';
    layer.append(mark);
  }
}

function sweepsUpOrDown(joints: readonly Joint[]): boolean {
  const used = joints.filter((joint) => joint.used);
  const distance = (axis: 'x' | 'y') => Math.abs(used.reduce((sum, { offset }) => sum + offset[axis], 0));
  return distance('y') > distance('x');
}

/**
 * Where the middles of the pictures lie along the sweep, by what joints say of
 * one against the other.
 */
export function middlesAlong(joints: readonly Joint[], axis: 'x' | 'y'): Map<number, number> {
  const used = joints.filter((joint) => joint.used);
  const middles = new Map(used.slice(0, 1).map(({ first }) => [first, 0]));
  // A joint may come before the one that ties it to the others: each round
  // places one more picture at least.
  for (let round = 0; round < used.length; ++round)
    for (const { first, second, offset } of used) {
      const [from, to] = [middles.get(first), middles.get(second)];
      if (from !== undefined && to === undefined) middles.set(second, from + offset[axis]);
      if (from === undefined && to !== undefined) middles.set(first, to - offset[axis]);
    }
  return middles;
}
