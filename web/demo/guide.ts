// From what the library says about each frame to what the person is told. No page in
// here: numbers in, words out.
import type { Direction, FollowResult, Offset } from '../src/types.js';

// The library measures up to 21 pixels of a copy with 320 on the longer side; from
// there on it only knows "far".
const kReach = 21 / 320;
const kFast = 0.6 * kReach, kLost = 0.95 * kReach; // of the longer side, from frame to frame
const kLostFrames = 3; // nearly in a row: one may be a jolt
const kDrift = 0.09, kReverse = 0.06; // shares of the picture's side
const kTolerance = 0.02; // a picture is due that much before its place

export interface FrameSize {
  readonly width: number;
  readonly height: number;
}

export interface Guidance {
  readonly direction: Direction;
  readonly pictures: number;
  /** Where the camera is, in steps from the first picture: 2.5 is halfway from picture 2 to 3. */
  readonly position: number;
  /**
   * How far it has left its line, in shares of the picture's side across; positive: down, or right.
   */
  readonly drift: number;
  readonly hint: string;
  readonly warns: boolean;
  readonly lost: boolean;
}

const isVertical = (direction: Direction) => direction === 'down' || direction === 'up';

const kOnward: Record<Direction, string> = {
  auto: 'Turn slowly to one side',
  right: 'Keep turning right',
  left: 'Keep turning left',
  down: 'Keep tilting down',
  up: 'Keep tilting up',
};
const kBack: Record<Direction, string> = {
  auto: '',
  right: 'Turn right again',
  left: 'Turn left again',
  down: 'Tilt down again',
  up: 'Tilt up again',
};

/** Follows one sweep. */
export class Guide {
  private last: Offset = { x: 0, y: 0 };
  private across = 0; // of the pictures taken, in pixels
  private speed = 0;
  private farFrames = 0;

  /** @param overlap of the sweep, in percent. */
  constructor(private readonly overlap: number) {}

  /** What to say after a frame. */
  judge(frame: FollowResult, size: FrameSize): Guidance {
    const { direction } = frame;
    this.measure(frame, size);
    const vertical = isVertical(direction);
    const side = vertical ? size.height : size.width;
    const otherSide = vertical ? size.width : size.height;
    const sign = direction === 'left' || direction === 'up' ? -1 : 1;
    const along = (sign * (vertical ? frame.offset.y : frame.offset.x)) / side;
    const across = (this.across + (vertical ? frame.offset.x : frame.offset.y)) / otherSide;
    const wasTaken = frame.taken >= 0;
    if (wasTaken && frame.taken > 0) this.across += vertical ? frame.offset.x : frame.offset.y;
    const step = 1 - this.overlap / 100 - kTolerance;
    const travelled = direction === 'auto' || wasTaken ? 0 : along / step;
    const drift = direction === 'auto' ? 0 : across;
    return {
      direction,
      pictures: frame.pictures,
      position: frame.pictures - 1 + travelled,
      drift,
      lost: this.farFrames >= kLostFrames,
      ...this.hint(direction, along, drift, wasTaken),
    };
  }

  private measure({ offset, taken, tracked }: FollowResult, { width, height }: FrameSize): void {
    const longer = Math.max(width, height);
    const motion = Math.max(Math.abs(offset.x - this.last.x), Math.abs(offset.y - this.last.y)) / longer;
    this.last = taken >= 0 ? { x: 0, y: 0 } : offset;
    this.speed += 0.35 * (motion - this.speed);
    if (!tracked) this.speed = Math.max(this.speed, kReach);
    this.farFrames = !tracked || motion >= kLost ? this.farFrames + 1 : Math.max(0, this.farFrames - 0.25);
  }

  private hint(direction: Direction, along: number, drift: number, wasTaken: boolean): { hint: string; warns: boolean } {
    if (this.speed > kFast) return { hint: 'Slower', warns: true };
    if (direction !== 'auto' && !wasTaken && along < -kReverse) return { hint: kBack[direction], warns: true };
    if (Math.abs(drift) > kDrift) return { hint: straighten(direction, drift), warns: true };
    return { hint: kOnward[direction], warns: false };
  }
}

// The camera's own drift, so the cure is the other way.
function straighten(direction: Direction, drift: number): string {
  if (isVertical(direction)) return drift > 0 ? 'A little to the left' : 'A little to the right';
  return drift > 0 ? 'Point a little higher' : 'Point a little lower';
}
