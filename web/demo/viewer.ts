// Pan and zoom of a picture that is much wider than the window: by touch, mouse, wheel and keys.

interface Point {
  readonly x: number;
  readonly y: number;
}

const kKeyStep = 80; // pixels of the window
const kZoomStep = 1.35;
const kLargest = 4; // pixels of the window to one of the picture

export class Viewer {
  private width = 1;
  private height = 1;
  private scale = 1;
  private left = 0;
  private top = 0;
  private readonly pointers = new Map<number, Point>();

  constructor(
    private readonly stage: HTMLElement,
    private readonly sheet: HTMLElement,
  ) {
    stage.addEventListener('pointerdown', (event) => this.press(event));
    stage.addEventListener('pointermove', (event) => this.drag(event));
    for (const end of ['pointerup', 'pointercancel'] as const)
      stage.addEventListener(end, (event) => this.pointers.delete(event.pointerId));
    stage.addEventListener('wheel', (event) => this.turnWheel(event), { passive: false });
    stage.addEventListener('dblclick', (event) => this.toggle(this.local(event)));
    stage.addEventListener('keydown', (event) => this.pressKey(event));
    new ResizeObserver(() => this.showAll()).observe(stage);
  }

  /** Shows a picture of this size, all of it. */
  open(width: number, height: number): void {
    this.width = width;
    this.height = height;
    this.showAll();
  }

  private get fitting(): number {
    return Math.min(this.stage.clientWidth / this.width, this.stage.clientHeight / this.height);
  }

  private showAll(): void {
    this.scale = this.fitting;
    this.place();
  }

  private local(event: MouseEvent): Point {
    const box = this.stage.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  }

  private zoom(factor: number, about: Point): void {
    const scale = Math.max(this.fitting, Math.min(kLargest, this.scale * factor));
    this.left = about.x - ((about.x - this.left) * scale) / this.scale;
    this.top = about.y - ((about.y - this.top) * scale) / this.scale;
    this.scale = scale;
    this.place();
  }

  private toggle(about: Point): void {
    const isWhole = this.scale < this.fitting * 1.01;
    const filling = Math.max(this.stage.clientHeight / this.height, this.fitting * 2);
    this.zoom((isWhole ? filling : this.fitting) / this.scale, about);
  }

  // Centred where there is room, and never away from an edge.
  private place(): void {
    const within = (start: number, length: number, room: number) =>
      length <= room ? (room - length) / 2 : Math.min(0, Math.max(room - length, start));
    this.left = within(this.left, this.width * this.scale, this.stage.clientWidth);
    this.top = within(this.top, this.height * this.scale, this.stage.clientHeight);
    this.sheet.style.transform = `translate(${this.left}px, ${this.top}px) scale(${this.scale})`;
    this.sheet.style.setProperty('--scale', String(this.scale));
  }

  private press(event: PointerEvent): void {
    this.stage.setPointerCapture(event.pointerId);
    this.pointers.set(event.pointerId, this.local(event));
  }

  private drag(event: PointerEvent): void {
    const before = this.pointers.get(event.pointerId);
    if (!before) return;
    const now = this.local(event);
    const other = [...this.pointers].find(([id]) => id !== event.pointerId)?.[1];
    this.pointers.set(event.pointerId, now);
    if (other) {
      const spread = (point: Point) => Math.hypot(point.x - other.x, point.y - other.y) || 1;
      this.zoom(spread(now) / spread(before), { x: (now.x + other.x) / 2, y: (now.y + other.y) / 2 });
    } else {
      this.left += now.x - before.x;
      this.top += now.y - before.y;
      this.place();
    }
  }

  private turnWheel(event: WheelEvent): void {
    event.preventDefault();
    this.zoom(Math.exp(-event.deltaY / 300), this.local(event));
  }

  private pressKey(event: KeyboardEvent): void {
    const middle = { x: this.stage.clientWidth / 2, y: this.stage.clientHeight / 2 };
    const actions: Record<string, () => void> = {
      '+': () => this.zoom(kZoomStep, middle),
      '=': () => this.zoom(kZoomStep, middle),
      '-': () => this.zoom(1 / kZoomStep, middle),
      '0': () => this.showAll(),
      ArrowLeft: () => this.move(kKeyStep, 0),
      ArrowRight: () => this.move(-kKeyStep, 0),
      ArrowUp: () => this.move(0, kKeyStep),
      ArrowDown: () => this.move(0, -kKeyStep),
    };
    const action = actions[event.key];
    if (!action || event.ctrlKey || event.metaKey || event.altKey) return;
    event.preventDefault();
    action();
  }

  private move(x: number, y: number): void {
    this.left += x;
    this.top += y;
    this.place();
  }
}
