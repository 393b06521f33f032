// The strip of pictures taken so far, each where it belongs, with the frame
// that the camera shows now.
import type { Direction } from '../src/types.js';
import type { Guidance } from './guide.js';

const kStep = 0.28; // of a picture, from one to the next
const kInk = '#fff', kFaint = '#ffffff59', kAccent = '#f0b429';

export class Strip {
  private thumbnails: HTMLCanvasElement[] = [];
  private expected = 10;

  constructor(private readonly canvas: HTMLCanvasElement) {}

  /** @param expected pictures in a full sweep. */
  begin(expected: number): void {
    this.thumbnails = [];
    this.expected = expected;
    this.draw('auto', null);
  }

  /** Keeps a small copy of what the camera shows. */
  add(source: HTMLVideoElement | ImageBitmap, width: number, height: number): void {
    const thumbnail = document.createElement('canvas');
    const scale = 200 / Math.max(width, height);
    thumbnail.width = Math.max(1, Math.round(width * scale));
    thumbnail.height = Math.max(1, Math.round(height * scale));
    thumbnail.getContext('2d')?.drawImage(source, 0, 0, thumbnail.width, thumbnail.height);
    this.thumbnails.push(thumbnail);
  }

  get first(): HTMLCanvasElement | undefined {
    return this.thumbnails[0];
  }

  /** Draws the pictures, and where the camera is while that is known. */
  draw(direction: Direction, guidance: Guidance | null, canvas = this.canvas): void {
    const ratio = window.devicePixelRatio || 1;
    const { clientWidth: width, clientHeight: height } = canvas;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    const context = canvas.getContext('2d');
    const { first } = this;
    if (!context || !first || width === 0) return;
    context.scale(ratio, ratio);
    const count = guidance ? this.expected : this.thumbnails.length;
    const layout = new Layout(first, direction, count, width, height);
    this.drawTrack(context, layout, guidance);
    this.thumbnails.forEach((thumbnail, index) => layout.drawPicture(context, thumbnail, index));
    if (guidance) drawFrame(context, layout, guidance);
    const taken = this.thumbnails.length;
    canvas.setAttribute('aria-label', `${taken} of up to ${this.expected} pictures taken`);
  }

  private drawTrack(context: CanvasRenderingContext2D, layout: Layout, guidance: Guidance | null): void {
    if (!guidance || guidance.direction === 'auto') return;
    const [x, y, w, h] = layout.whole(this.expected);
    context.fillStyle = '#00000066';
    roundedPath(context, x, y, w, h, 6);
    context.fill();
    context.strokeStyle = kFaint;
    context.lineWidth = 1;
    context.stroke();
  }
}

/** Places on the canvas. */
class Layout {
  private readonly width: number;
  private readonly height: number;
  private readonly stepX: number;
  private readonly stepY: number;
  private readonly startX: number;
  private readonly startY: number;

  constructor(picture: HTMLCanvasElement, direction: Direction, expected: number, width: number, height: number) {
    const vertical = direction === 'down' || direction === 'up';
    const sign = direction === 'auto' ? 0 : direction === 'left' || direction === 'up' ? -1 : 1;
    const length = 1 + (expected - 1) * kStep;
    const room = 14; // for the frame that drifts
    const scale = Math.min(
      width / (picture.width * (vertical || sign === 0 ? 1 : length)),
      (height - 2 * room) / (picture.height * (vertical ? length : 1)),
    );
    this.width = picture.width * scale;
    this.height = picture.height * scale;
    this.stepX = vertical ? 0 : sign * kStep * this.width;
    this.stepY = vertical ? sign * kStep * this.height : 0;
    this.startX = (width - this.width - this.stepX * (expected - 1)) / 2;
    this.startY = (height - this.height - this.stepY * (expected - 1)) / 2;
  }

  at(position: number): [number, number, number, number] {
    return [this.startX + position * this.stepX, this.startY + position * this.stepY, this.width, this.height];
  }

  whole(expected: number): [number, number, number, number] {
    const [x0, y0, w, h] = this.at(0), [x1, y1] = this.at(expected - 1);
    return [Math.min(x0, x1), Math.min(y0, y1), w + Math.abs(x1 - x0), h + Math.abs(y1 - y0)];
  }

  drift(share: number): [number, number] {
    const limited = Math.max(-0.14, Math.min(0.14, share));
    return this.stepY !== 0 ? [limited * this.width, 0] : [0, limited * this.height];
  }

  // A picture covers its predecessor only where that has nothing: neighbours change over
  // in the middle of the overlap.
  drawPicture(context: CanvasRenderingContext2D, picture: HTMLCanvasElement, index: number): void {
    const [x, y, w, h] = this.at(index);
    context.save();
    context.beginPath();
    const cutX = index === 0 || this.stepX === 0 ? 0 : (w - Math.abs(this.stepX)) / 2;
    const cutY = index === 0 || this.stepY === 0 ? 0 : (h - Math.abs(this.stepY)) / 2;
    context.rect(x + (this.stepX > 0 ? cutX : 0), y + (this.stepY > 0 ? cutY : 0), w - cutX, h - cutY);
    context.clip();
    context.drawImage(picture, x, y, w, h);
    context.restore();
  }
}

function roundedPath(context: CanvasRenderingContext2D, x: number, y: number, w: number, h: number, r: number): void {
  context.beginPath();
  context.roundRect(x, y, w, h, r);
}

// What the camera shows now, and the place where the next picture is taken.
function drawFrame(context: CanvasRenderingContext2D, layout: Layout, guidance: Guidance): void {
  context.lineWidth = 1.5;
  context.strokeStyle = kFaint;
  context.setLineDash([4, 4]);
  roundedPath(context, ...layout.at(guidance.pictures), 5);
  if (guidance.direction !== 'auto') context.stroke();
  context.setLineDash([]);
  const [x, y, w, h] = layout.at(guidance.position);
  const [dx, dy] = layout.drift(guidance.drift);
  context.lineWidth = 3;
  context.strokeStyle = guidance.warns ? kAccent : kInk;
  roundedPath(context, x + dx, y + dy, w, h, 5);
  context.stroke();
}
