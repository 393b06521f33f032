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

/** Marks them in the picture. Middles of neighbours are known against each other; the whole is centred. */
export function markDoubts(layer: HTMLElement, panorama: PanoramaDescription): void {
  layer.replaceChildren();
  const joints = panorama.joints ?? [];
  const total = joints.reduce((sum, { offset }) => ({ x: sum.x + offset.x, y: sum.y + offset.y }), { x: 0, y: 0 });
  const isAcross = Math.abs(total.y) > Math.abs(total.x); // the seams run across a sweep up or down
  const along = (joint: Joint) => (isAcross ? joint.offset.y : joint.offset.x);
  const length = isAcross ? panorama.height : panorama.width;
  let place = (length - (isAcross ? total.y : total.x)) / 2;
  for (const joint of joints) {
    const middle = place + along(joint) / 2;
    place += along(joint);
    if (!isDoubtful(joint)) continue;
    const mark = document.createElement('i');
    mark.className = isAcross ? 'joint across' : 'joint';
    mark.style[isAcross ? 'top' : 'left'] = `${(100 * middle) / length}%`;
    mark.title = doubts([joint])[0] ?? '';
    layer.append(mark);
  }
}
