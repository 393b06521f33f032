// The choice of a direction, in the options and beside chosen pictures.
import type { Direction } from '../src/index.js';

const kSigns: Record<Direction, readonly [string, string]> = {
  auto: ['Any', 'any way'],
  left: ['←', 'to the left'],
  right: ['→', 'to the right'],
  up: ['↑', 'upwards'],
  down: ['↓', 'downwards'],
};

/** Fills a container with one radio button a direction; returns how to read the choice. */
export function directionChoice(container: HTMLElement, name: string, directions: readonly Direction[]): () => Direction {
  const group = document.createElement('div');
  group.className = 'choices';
  group.setAttribute('role', 'radiogroup');
  group.setAttribute('aria-label', 'Direction');
  directions.forEach((direction, index) => {
    const label = document.createElement('label');
    const input = document.createElement('input');
    const sign = document.createElement('span');
    Object.assign(input, { type: 'radio', name, value: direction, checked: index === 0, ariaLabel: kSigns[direction][1] });
    sign.textContent = kSigns[direction][0];
    label.append(input, sign);
    group.append(label);
  });
  container.replaceChildren(group);
  return () => (group.querySelector<HTMLInputElement>('input:checked')?.value ?? directions[0]) as Direction;
}
