// Whether the camera can still be followed. The library measures motion up to a fifteenth of the
// frame; of a camera that moves further from one frame to the next it measures something else. A
// search over much smaller copies, but far and wide, notices.

const kColumns = 32; // of the small copy
const kReach = 12; // columns and rows that are searched either way
const kFar = 3.0; // columns; the library reaches 2.1
const kBetter = 0.8; // another shift must explain a frame that much better
const kUnrelated = 0.8; // of the contrast: what the difference of unrelated frames is
const kFlat = 5; // grey levels: below, there is nothing to follow

/** Grey pixels anywhere in memory. */
export interface Grey {
  readonly bytes: Uint8Array | Uint8ClampedArray;
  readonly width: number;
  readonly height: number;
  /** Bytes from one pixel to the next. */
  readonly step: number;
}

interface Small {
  readonly cells: Float32Array;
  readonly rows: number;
}

// Means of 4 x 4 pixels spread over each cell.
function shrink({ bytes, width, height, step }: Grey): Small {
  const rows = Math.max(1, Math.round((kColumns * height) / width));
  const cells = new Float32Array(kColumns * rows);
  const spread = 4;
  for (let y = 0; y < rows * spread; ++y) {
    const line = Math.floor(((y + 0.5) * height) / (rows * spread)) * width;
    for (let x = 0; x < kColumns * spread; ++x) {
      const pixel = line + Math.floor(((x + 0.5) * width) / (kColumns * spread));
      const cell = Math.floor(y / spread) * kColumns + Math.floor(x / spread);
      cells[cell]! += bytes[pixel * step]! / (spread * spread);
    }
  }
  return { cells, rows };
}

// Mean difference of what two copies share when the second is shifted.
function difference(a: Small, b: Small, dx: number, dy: number): number {
  let sum = 0, count = 0;
  for (let y = Math.max(0, dy); y < a.rows + Math.min(0, dy); ++y)
    for (let x = Math.max(0, dx); x < kColumns + Math.min(0, dx); ++x) {
      sum += Math.abs(a.cells[y * kColumns + x]! - b.cells[(y - dy) * kColumns + x - dx]!);
      count += 1;
    }
  return count > 0 ? sum / count : Infinity;
}

function contrast({ cells }: Small): number {
  const mean = cells.reduce((sum, cell) => sum + cell, 0) / cells.length;
  return cells.reduce((sum, cell) => sum + Math.abs(cell - mean), 0) / cells.length;
}

export class Tracking {
  private last: Small | null = null;

  /**
   * Looks at the next frame.
   *
   * @param x, y the motion since the last frame that the library measured, in pixels of the frame.
   * @returns whether it can be right.
   */
  isTracked(frame: Grey, x: number, y: number): boolean {
    const before = this.last, now = shrink(frame);
    this.last = now;
    if (!before || before.rows !== now.rows) return true;
    const scale = kColumns / frame.width;
    const measured = difference(before, now, Math.round(x * scale), Math.round(y * scale));
    const flatness = contrast(now);
    if (flatness < kFlat) return true;
    if (measured > kUnrelated * flatness) return false;
    return !this.isFartherBetter(before, now, kBetter * measured);
  }

  private isFartherBetter(before: Small, now: Small, limit: number): boolean {
    const reachY = Math.min(kReach, now.rows >> 1);
    for (let dy = -reachY; dy <= reachY; ++dy)
      for (let dx = -kReach; dx <= kReach; ++dx)
        if (Math.max(Math.abs(dx), Math.abs(dy)) > kFar && difference(before, now, dx, dy) < limit) return true;
    return false;
  }
}
