// The live picture: the next one is asked for only after the last has arrived.

const shortest = 200;          // Milliseconds from picture to picture: at most five a second.
const sleep = ms => new Promise(resolve => setTimeout(resolve, ms));

export class Screen {
  /// ask(method, params) runs a command on the shown connection. shown(size) and failed(error) tell what came of it.
  constructor(image, ask, { shown, failed }) {
    Object.assign(this, { image, ask, shown, failed, run: 0 });
  }

  start() {
    this.watch(++this.run);
  }

  stop() {
    this.run += 1;
    this.image.removeAttribute("src");
  }

  async watch(run) {
    let misses = 0;
    while (run === this.run) {
      const began = performance.now();
      if (document.hidden) {
        await sleep(500);
        continue;
      }
      try {
        await this.one(run, began);
        misses = 0;
      } catch (error) {
        if (run !== this.run) return;
        misses += 1;
        this.failed(error);
        await sleep(Math.min(1000 * misses, 4000));
      }
      await sleep(Math.max(0, shortest - (performance.now() - began)));
    }
  }

  async one(run, began) {
    const wanted = Math.ceil((this.image.parentElement.parentElement.clientWidth || 1280) * devicePixelRatio);
    const picture = await this.ask("screenshot",
      { format: "jpeg", quality: 75, response: "base64", maxWidth: Math.min(Math.max(wanted, 640), 2560) });
    if (run !== this.run) return;
    const next = new Image();
    next.src = `data:${picture.mime};base64,${picture.data}`;
    await next.decode();
    if (run !== this.run) return;
    this.image.src = next.src;
    this.shown({ width: picture.widthPoints, height: picture.heightPoints }, performance.now() - began);
  }
}
