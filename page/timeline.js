// The slider of times: what holds at that time, or did up to it.

class Timeline {
  constructor(app) {
    this.app = app;
    const { results } = app;
    this.slider = element("time");
    this.isPlaying = false;
    element("timeline").hidden = !results.hasTimes;
    if (!results.hasTimes) return;
    this.step = this.stepFor((results.last - results.first) / 600);
    this.slider.max = Math.ceil((results.last - results.first) / this.step);
    this.slider.addEventListener("input", () => app.setTime(this.timeOf(+this.slider.value)));
    element("mode").addEventListener("change", event => app.setMode(event.target.value));
    element("play").addEventListener("click", () => this.play(!this.isPlaying));
  }

  stepFor(least) {
    const sizes = [1, 10, 100, 1000, 5000, 15000, 60000, 300000, 900000, 3600000, 21600000, MS_A_DAY];
    return sizes.find(size => size >= least) || Math.ceil(least / MS_A_DAY) * MS_A_DAY;
  }
  timeOf(place) { return Math.min(this.app.results.first + place * this.step, this.app.results.last); }

  show() {
    const { results, time, zone } = this.app;
    if (!results.hasTimes) return;
    this.slider.value = Math.ceil((time - results.first) / this.step);
    const text = readableTime(time, zone);
    this.slider.setAttribute("aria-valuetext", text);
    element("now").textContent = text;
    element("mode").value = this.app.mode;
  }

  // How many rows hold when: under the slider.
  drawBusy() {
    const { results } = this.app;
    const canvas = element("busy");
    if (!results.hasTimes || !canvas.clientWidth) return;
    const BINS = 240;
    const change = new Float64Array(BINS + 1);
    const span = Math.max(results.last - results.first, 1);
    const binOf = time => Math.min(Math.max(Math.floor((time - results.first) / span * BINS), 0), BINS - 1);
    for (let row = 0; row < results.size; row++) {
      if (!Number.isFinite(results.begin[row])) continue;
      change[binOf(results.begin[row])]++;
      change[binOf(results.end[row]) + 1]--;
    }
    let count = 0, most = 1;
    const counts = Array.from({ length: BINS }, (_, bin) => (most = Math.max(most, count += change[bin]), count));
    canvas.width = BINS * 2;
    canvas.height = 44;
    const context = canvas.getContext("2d");
    context.fillStyle = this.app.drawing.colour("busy");
    counts.forEach((value, bin) => {
      const height = value ? Math.max(Math.sqrt(value / most) * 44, 2) : 0;
      context.fillRect(bin * 2, 44 - height, 2, height);
    });
  }

  // From the start once the end is reached; twenty seconds for all of it.
  play(isPlaying) {
    const { results } = this.app;
    if (!results.hasTimes || isPlaying === this.isPlaying) return;
    this.isPlaying = isPlaying;
    element("play").textContent = isPlaying ? "Pause" : "Play";
    if (!isPlaying) return;
    if (this.app.time >= results.last) this.app.setTime(results.first);
    let before = performance.now();
    const advance = now => {
      if (!this.isPlaying) return;
      const passed = Math.min(now - before, 100);
      before = now;
      this.app.setTime(Math.min(this.app.time + (results.last - results.first) * passed / 20000, results.last));
      if (this.app.time >= results.last) this.play(false);
      else requestAnimationFrame(advance);
    };
    requestAnimationFrame(advance);
  }
}
