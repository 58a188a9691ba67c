// The rotary knob: drag it round, roll the wheel over it, or turn it with the arrow keys while it has the focus.
// Each detent sends one code; the faster the detents come, the higher the speed in the code.

const detentDegrees = 15, detentPixels = 100, lineWheelPixels = 100 / 3;
const rateWindow = 400;                     // ms over which the speed is taken
const speedTwo = 12, speedThree = 25;       // detents a second
const quickest = 40;                        // ms between two codes; detents between them go into the speed
const left = 119, right = 122;              // speed 1 each way

export class Knob {
  constructor(element, press) {
    this.element = element;
    this.press = press;
    this.degrees = 0;
    this.rest = 0;          // of a detent
    this.recent = [];       // times of the last detents
    this.sent = 0;

    element.addEventListener("pointerdown", (event) => {
      element.setPointerCapture(event.pointerId);
      this.angle = this.angleOf(event);
      this.rest = 0;
    });
    element.addEventListener("pointermove", (event) => {
      if (this.angle === undefined) return;
      const angle = this.angleOf(event);
      const moved = (angle - this.angle + 540) % 360 - 180;
      this.angle = angle;
      this.move(moved / detentDegrees);
    });
    for (const end of ["pointerup", "pointercancel"])
      element.addEventListener(end, () => { this.angle = undefined; });

    element.addEventListener("wheel", (event) => {
      event.preventDefault();
      const pixels = event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? event.deltaY : event.deltaY * lineWheelPixels;
      this.move(-pixels / detentPixels);
    }, {passive: false});

    element.addEventListener("keydown", (event) => {
      const turn = {ArrowUp: 1, ArrowRight: 1, ArrowDown: -1, ArrowLeft: -1}[event.key];
      if (!turn) return;
      event.preventDefault();
      event.stopPropagation();
      this.detent(turn);
    });
  }

  angleOf(event) {
    const box = this.element.getBoundingClientRect();
    return Math.atan2(event.clientY - box.top - box.height / 2, event.clientX - box.left - box.width / 2) * 180 / Math.PI;
  }

  move(detents) {
    this.rest += detents;
    const whole = Math.trunc(this.rest);
    this.rest -= whole;
    if (whole) this.detent(Math.sign(whole), Math.abs(whole));
  }

  // way: 1 clockwise, -1 the other way.
  detent(way, count = 1) {
    this.degrees += way * count * detentDegrees;
    this.element.style.setProperty("--turn", `${this.degrees}deg`);
    const now = performance.now();
    if (way !== this.way) this.recent = [];
    this.way = way;
    this.recent = [...this.recent.filter((time) => now - time < rateWindow), ...Array(count).fill(now)];
    const rate = (this.recent.length - 1) / (rateWindow / 1000);
    const speed = rate >= speedThree ? 3 : rate >= speedTwo ? 2 : 1;
    if (speed > 1 && now - this.sent < quickest) return;
    this.sent = now;
    this.press((way > 0 ? right : left) + speed - 1);
  }
}
