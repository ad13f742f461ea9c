// What the person does in the picture becomes actions for the machine, sent in order, one batch at a time.

import { chordOf, modifiersOf } from "/page/keys.js";

const buttons = ["left", "middle", "right"];
const stillClick = 5;        // Pixels that a click may wander.
const nextClick = 250;       // Milliseconds in which another click belongs to the first.
const scrollEvery = 80;      // Milliseconds of wheel turns that become one action.

export class Input {
  /// perform(actions) sends a batch and resolves when it was carried out.
  constructor(parts, perform) {
    Object.assign(this, parts); // picture, screen, keyboard, trail
    this.perform = perform;
    this.waiting = [];
    this.busy = false;
    this.size = null;           // Of the display, in points.
    this.listen();
  }

  /// Forgets what has not been sent: another machine is shown, or this one refuses.
  clear() {
    this.waiting = [];
    this.press = null;
    clearTimeout(this.click?.timer);
    this.click = null;
    this.turn = null;
    this.trail.classList.remove("drawn");
  }

  listen() {
    const on = (name, handle, target = this.picture) => target.addEventListener(name, handle.bind(this));
    on("pointerdown", this.pressed);
    on("pointermove", this.moved);
    on("pointerup", this.released);
    on("pointercancel", this.cancelled);
    on("contextmenu", event => event.preventDefault());
    on("auxclick", event => event.preventDefault());
    this.picture.addEventListener("wheel", this.wheeled.bind(this), { passive: false });
    on("keydown", this.keyDown, this.keyboard);
    on("input", this.textCame, this.keyboard);
    on("compositionend", this.textCame, this.keyboard);
    on("focus", () => this.picture.classList.add("typing"), this.keyboard);
    on("blur", () => this.picture.classList.remove("typing"), this.keyboard);
  }

  /// Where an event is on the machine's display, in points.
  point(event) {
    const box = this.screen.getBoundingClientRect();
    const part = (at, length) => Math.min(Math.max(at / length, 0), 0.99999);
    return { x: Math.round(part(event.clientX - box.left, box.width) * this.size.width * 10) / 10,
             y: Math.round(part(event.clientY - box.top, box.height) * this.size.height * 10) / 10 };
  }

  pressed(event) {
    if (!this.size || event.button > 2) return;
    event.preventDefault();
    this.keyboard.focus({ preventScroll: true });
    this.picture.setPointerCapture(event.pointerId);
    this.press = { button: event.button, x: event.clientX, y: event.clientY, point: this.point(event), time: Date.now() };
  }

  wandered(event) {
    return Math.hypot(event.clientX - this.press.x, event.clientY - this.press.y) > stillClick;
  }

  moved(event) {
    if (!this.press || !this.wandered(event)) return;
    const box = this.picture.getBoundingClientRect();
    const line = this.trail.firstElementChild;
    const place = { x1: this.press.x - box.left, y1: this.press.y - box.top, x2: event.clientX - box.left, y2: event.clientY - box.top };
    for (const [name, value] of Object.entries(place)) line.setAttribute(name, value);
    this.trail.classList.add("drawn");
  }

  released(event) {
    const press = this.press;
    if (!press || press.button !== event.button) return;
    const drag = this.wandered(event);
    this.cancelled();
    if (!drag) {
      this.clicked(event, press);
      return;
    }
    this.endClick();
    const durationMs = Math.min(Math.max(Date.now() - press.time, 150), 3000);
    this.add({ type: "drag", from: press.point, to: this.point(event), button: buttons[press.button], durationMs });
  }

  cancelled() {
    this.press = null;
    this.trail.classList.remove("drawn");
  }

  /// A click waits a moment for a second one, since the machine takes two clicks as a double click only when they come as one.
  clicked(event, press) {
    this.ripple(event);
    const button = buttons[press.button];
    const before = this.click;
    const again = before && before.action.button === button && before.action.count < 3 &&
      Math.hypot(event.clientX - before.x, event.clientY - before.y) <= stillClick;
    if (again) {
      clearTimeout(before.timer);
      before.action.count += 1;
    } else {
      this.endClick();
      this.click = { x: event.clientX, y: event.clientY,
                     action: { type: "click", ...press.point, button, count: 1, modifiers: modifiersOf(event) } };
    }
    if (button === "left") this.click.timer = setTimeout(() => this.endClick(), nextClick);
    else this.endClick();
  }

  endClick() {
    if (!this.click) return;
    clearTimeout(this.click.timer);
    const { action } = this.click;
    this.click = null;
    this.add(action);
  }

  ripple(event) {
    const box = this.picture.getBoundingClientRect();
    const ring = document.createElement("span");
    ring.className = "ripple";
    ring.style.left = `${event.clientX - box.left}px`;
    ring.style.top = `${event.clientY - box.top}px`;
    ring.addEventListener("animationend", () => ring.remove());
    this.picture.append(ring);
  }

  /// The wheel's way down is the machine's negative way.
  wheeled(event) {
    if (!this.size) return;
    event.preventDefault();
    const unit = event.deltaMode === 1 ? 53 / 3 : event.deltaMode === 2 ? 800 : 1;
    if (!this.turn) {
      this.turn = { type: "scroll", ...this.point(event), dx: 0, dy: 0 };
      setTimeout(() => this.endTurn(), scrollEvery);
    }
    this.turn.dx -= event.deltaX * unit;
    this.turn.dy -= event.deltaY * unit;
  }

  endTurn() {
    if (!this.turn) return;
    const turn = this.turn;
    this.turn = null;
    this.endClick();
    this.add(turn);
  }

  keyDown(event) {
    if (event.isComposing) return;
    if (event.key === "Escape" && event.shiftKey) {
      event.preventDefault();
      this.keyboard.blur();
      return;
    }
    const keys = chordOf(event);
    if (!keys) return;         // Text comes by the input event, also from an input method.
    event.preventDefault();
    this.endClick();
    this.add({ type: "key", keys });
  }

  textCame(event) {
    if (event.isComposing) return;
    const text = this.keyboard.value;
    this.keyboard.value = "";
    if (!text) return;
    this.endClick();
    const last = this.waiting.at(-1);
    if (last?.type === "type") last.text += text;
    else this.add({ type: "type", text });
  }

  add(action) {
    if (!this.size) return;
    this.waiting.push(action);
    this.send();
  }

  async send() {
    if (this.busy) return;
    this.busy = true;
    while (this.waiting.length > 0) {
      const batch = this.waiting;
      this.waiting = [];
      if (!await this.perform(batch)) this.waiting = []; // What was meant for a screen that did not come about is dropped.
    }
    this.busy = false;
  }
}
