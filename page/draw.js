// The three canvases: the ground, the rows, and marks on them.

const MOST_STRIPES = 4;

class Drawing {
  constructor(app) {
    this.app = app;
    this.contexts = Object.fromEntries(["ground", "rows", "marks"].map(id =>
      [id, element(id).getContext("2d", { willReadFrequently: id === "rows" })])); // whose pixels are ours
    this.wanted = new Set();
    this.ratio = 1;
    this.tileImages = new Map();
    this.slots = new Int32Array(MOST_STRIPES * app.results.places || 0);
    this.taken = new Uint8Array(app.results.places || 0);
    this.resize();
  }

  resize() {
    const frame = element("frame");
    this.ratio = Math.min(window.devicePixelRatio || 1, 2);
    this.app.view.resize(Math.max(frame.clientWidth, 1), Math.max(frame.clientHeight, 1));
    for (const context of Object.values(this.contexts)) {
      context.canvas.width = Math.round(this.app.view.width * this.ratio);
      context.canvas.height = Math.round(this.app.view.height * this.ratio);
    }
    const { canvas } = this.contexts.rows;
    this.raster = new Raster(this.contexts.rows, canvas.width, canvas.height);
    this.want("ground", "rows", "marks");
  }

  // Draws these soon, once.
  want(...parts) {
    if (this.wanted.size === 0) requestAnimationFrame(() => this.draw());
    for (const part of parts) this.wanted.add(part);
  }

  draw() {
    const wanted = [...this.wanted];
    this.wanted.clear();
    for (const part of wanted) this[part]();
  }

  colour(name) { return getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim(); }

  begin(name) {
    const context = this.contexts[name];
    context.setTransform(this.ratio, 0, 0, this.ratio, 0, 0);
    context.clearRect(0, 0, this.app.view.width, this.app.view.height);
    return context;
  }

  ground() {
    const context = this.begin("ground");
    const { view } = this.app;
    context.fillStyle = this.colour("sea");
    context.fillRect(0, 0, view.width, view.height);
    if (this.app.hasTiles) this.drawTiles(context);
    else this.drawOutline(context);
    this.drawGraticule(context);
    this.drawScale();
  }

  // At a scale at which the outline still tells something.
  drawOutline(context) {
    const { view } = this.app;
    for (const isBorder of [true, false]) {
      context.beginPath();
      for (const line of this.app.outline) {
        if (line.isBorder !== isBorder) continue;
        let lastX = NaN;
        for (let i = 0; i < line.points.length; i += 2) {
          const x = view.x(line.points[i]), y = view.y(line.points[i + 1]);
          if (Math.abs(x - lastX) < 180 * view.across) context.lineTo(x, y);
          else context.moveTo(x, y);
          lastX = x;
        }
      }
      context.strokeStyle = this.colour(isBorder ? "border" : "coast");
      context.lineWidth = isBorder ? 0.8 : 1.2;
      context.stroke();
    }
  }

  drawGraticule(context) {
    const { view } = this.app;
    const steps = [90, 45, 30, 15, 10, 5, 2, 1];
    for (let size = 0.5; size > 1e-7; size /= 10) steps.push(size, size / 2.5, size / 5);
    const fitting = perDegree => steps.find(step => step * perDegree <= 190) || steps.at(-1);
    context.strokeStyle = this.colour("line");
    context.fillStyle = this.colour("faint");
    context.lineWidth = 1;
    context.font = "11px system-ui, sans-serif";
    const label = (degrees, step, plus, minus) => {
      const digits = Math.max(0, Math.ceil(-Math.log10(step) - 1e-9));
      return `${Math.abs(degrees).toFixed(digits)}°${degrees > 1e-9 ? plus : degrees < -1e-9 ? minus : ""}`;
    };
    const latStep = fitting(view.scale), lonStep = fitting(view.across);
    const north = Math.min(view.place(0, 0).lat, 90), south = Math.max(view.place(0, view.height).lat, -90);
    const half = Math.min(view.width / 2 / view.across, 180);
    const top = Math.max(view.y(90), 0), bottom = Math.min(view.y(-90), view.height);
    const left = view.width / 2 - half * view.across, right = view.width / 2 + half * view.across;
    context.beginPath();
    for (let lat = Math.ceil(south / latStep) * latStep; lat <= north + 1e-9; lat += latStep) {
      const y = Math.round(view.y(lat)) + 0.5;
      context.moveTo(left, y);
      context.lineTo(right, y);
      if (y < view.height - 60) context.fillText(label(lat, latStep, "N", "S"), Math.max(left, 0) + 6, y - 4);
    }
    for (let lon = Math.ceil((view.lon - half) / lonStep) * lonStep; lon <= view.lon + half + 1e-9; lon += lonStep) {
      const x = Math.round(view.width / 2 + (lon - view.lon) * view.across) + 0.5;
      context.moveTo(x, top);
      context.lineTo(x, bottom);
      const wrapped = lon - 360 * Math.floor((lon + 180) / 360);
      context.fillText(label(Math.abs(wrapped) === 180 ? 180 : wrapped, lonStep, Math.abs(wrapped) === 180 ? "" : "E", "W"), x + 5, Math.max(top, 0) + 14);
    }
    context.stroke();
  }

  drawScale() {
    const { view } = this.app;
    const metresAPixel = METRES_A_DEGREE / view.scale;
    const size = 10 ** Math.floor(Math.log10(120 * metresAPixel));
    const metres = [5, 2, 1].map(times => times * size).find(length => length <= 120 * metresAPixel) || size;
    element("scale").style.width = `${metres / metresAPixel}px`;
    element("scale").firstElementChild.textContent =
      metres >= 1000 ? `${metres / 1000} km` : metres >= 1 ? `${metres} m` : `${Math.round(metres * 100)} cm`;
  }

  // Squares of the web's common projection, each between its own sides: within one, the difference is small.
  drawTiles(context) {
    const { view } = this.app;
    const zoom = Math.min(Math.max(Math.round(Math.log2(view.across * 360 / 256)), 0), 19);
    const count = 2 ** zoom;
    const latOf = y => Math.atan(Math.sinh(Math.PI * (1 - 2 * y / count))) * 180 / Math.PI;
    const rowOf = lat => {
      const sine = Math.sin(Math.min(Math.max(lat, -85), 85) * Math.PI / 180);
      return (0.5 - Math.log((1 + sine) / (1 - sine)) / (4 * Math.PI)) * count;
    };
    const width = 360 / count;
    const half = Math.min(view.width / 2 / view.across, 180);
    const firstRow = Math.floor(rowOf(view.place(0, 0).lat)), lastRow = Math.floor(rowOf(view.place(0, view.height).lat));
    const first = Math.floor((view.lon - half + 180) / width), last = Math.floor((view.lon + half + 180) / width);
    for (let row = firstRow; row <= Math.min(lastRow, count - 1); row++) {
      const y = view.y(latOf(row));
      for (let column = first; column <= last; column++) {
        const image = this.tile(zoom, (column % count + count) % count, row);
        if (!image.complete || !image.naturalWidth) continue;
        const x = view.width / 2 + (column * width - 180 - view.lon) * view.across;
        context.drawImage(image, x, y, width * view.across + 0.5, view.y(latOf(row + 1)) - y + 0.5);
      }
    }
  }

  tile(zoom, x, y) {
    const MOST = 400;
    const address = this.app.results.tiles.replace("{z}", zoom).replace("{x}", x).replace("{y}", y);
    let image = this.tileImages.get(address);
    if (!image) {
      if (this.tileImages.size >= MOST) this.tileImages.delete(this.tileImages.keys().next().value);
      image = new Image();
      image.crossOrigin = "anonymous"; // so that the picture can be saved
      image.onload = () => this.want("ground");
      image.src = address;
      this.tileImages.set(address, image);
    }
    return image;
  }

  rows() {
    this.raster.clear();
    if (this.app.results.kind === "cells") this.drawCells();
    if (this.app.results.kind === "points") this.drawPoints();
    this.raster.show();
  }

  // What of a place is drawn: the entities there, or the highest class.
  fillSlots() {
    const { results, visible, classes, entityColours: colours } = this.app;
    this.taken.fill(0);
    for (let row = 0; row < results.size; row++) {
      const place = results.placeOf[row];
      if (!visible[row] || place < 0) continue;
      const at = place * MOST_STRIPES;
      if (classes) {
        if (this.taken[place] === 0 || classes[row] > this.slots[at]) this.slots[at] = classes[row];
        this.taken[place] = 1;
        continue;
      }
      const colour = colours[results.who[0][row]];
      let slot = 0;
      while (slot < this.taken[place] && this.slots[at + slot] !== colour) slot++;
      if (slot === this.taken[place] && slot < MOST_STRIPES) {
        this.slots[at + slot] = colour;
        this.taken[place]++;
      }
    }
  }

  palette() {
    const { theme, classes, results } = this.app;
    return ((classes || !results.who.length) ? RAMPS : PALETTES)[theme].map(packed);
  }

  drawCells() {
    const { results, view } = this.app;
    const { ratio, raster, slots, taken } = this;
    const palette = this.palette();
    this.fillSlots();
    const across = view.across * ratio, scale = view.scale * ratio, whole = 360 * across;
    const colours = new Uint32Array(MOST_STRIPES);
    for (let place = 0; place < results.places; place++) {
      if (!taken[place]) continue;
      const north = view.y(results.north[place]) * ratio;
      const south = north + (results.north[place] - results.south[place]) * scale;
      if (south < -2 || north > raster.height + 2) continue;
      const west = view.x(results.west[place]) * ratio;
      const east = west + (results.east[place] - results.west[place]) * across;
      for (let slot = 0; slot < taken[place]; slot++) colours[slot] = palette[slots[place * MOST_STRIPES + slot]];
      raster.box(west, north, east, south, colours, taken[place], 150);
      if (east > whole / 2 + raster.width / 2) raster.box(west - whole, north, east - whole, south, colours, taken[place], 150);
    }
  }

  drawPoints() {
    const { results, view, classes, entityColours: colours } = this.app;
    const { ratio, raster } = this;
    const palette = this.palette();
    const rim = packed(this.colour("rim"));
    const [left, right] = [results.who[0], results.who[1] || results.who[0]];
    const colourOf = (row, who) => palette[classes ? classes[row] : who ? colours[who[row]] : 0];
    const perMetre = view.scale * ratio / METRES_A_DEGREE;
    const radiusOf = row => results.spread && !results.spread.missing.has(row) ? results.spread.number(row) * perMetre : 0;
    const { rows, xs, ys, count } = this.pointsInSight(radiusOf);
    let area = 0;
    for (let i = 0; i < count; i++) area += Math.min(4 * radiusOf(rows[i]) ** 2, raster.width * raster.height);
    for (let i = 0; results.spread && i < count; i++) {
      const radius = radiusOf(rows[i]);
      if (radius > 5 * ratio) raster.circle(xs[i], ys[i], radius, colourOf(rows[i], left), area > 2e7);
    }
    // Of dots with the same centre the last one hides the others.
    const last = new Map();
    const centre = i => Math.round(ys[i]) * 65536 + Math.round(xs[i]);
    for (let i = 0; i < count; i++) last.set(centre(i), i);
    const size = (last.size > 20000 ? 3 : last.size > 2000 ? 4 : 5) * ratio;
    for (let i = 0; i < count; i++) {
      if (last.get(centre(i)) === i) raster.dot(xs[i], ys[i], size, colourOf(rows[i], left), colourOf(rows[i], right), rim);
    }
  }

  // The visible rows on the canvas and where, in the order in which they are drawn: what is rare comes last and
  // so stays in sight.
  pointsInSight(radiusOf) {
    const { results, view, visible, classes } = this.app;
    const { ratio, raster } = this;
    const [rows, xs, ys] = [new Int32Array(results.size), new Float64Array(results.size), new Float64Array(results.size)];
    let count = 0;
    for (let level = 0; level < (classes ? RAMPS.light.length : 1); level++) {
      for (let row = 0; row < results.size; row++) {
        const place = results.placeOf[row];
        if (!visible[row] || place < 0 || (classes && classes[row] !== level)) continue;
        const x = view.x(results.west[place]) * ratio, y = view.y(results.north[place]) * ratio;
        const reach = radiusOf(row) + 20;
        if (x < -reach || y < -reach || x > raster.width + reach || y > raster.height + reach) continue;
        rows[count] = row;
        xs[count] = x;
        ys[count++] = y;
      }
    }
    return { rows, xs, ys, count };
  }

  // The rows under the pointer and those whose details are shown.
  marks() {
    const context = this.begin("marks");
    const { results, view, hovered, selected } = this.app;
    const mark = (row, name, width) => {
      const place = row < 0 ? -1 : results.placeOf[row];
      if (place < 0) return;
      context.strokeStyle = this.colour(name);
      context.lineWidth = width;
      context.beginPath();
      const x = view.x(results.west[place]), y = view.y(results.north[place]);
      if (results.kind === "cells") {
        const wide = Math.max((results.east[place] - results.west[place]) * view.across, 2);
        const high = Math.max((results.north[place] - results.south[place]) * view.scale, 2);
        context.rect(x - 1, y - 1, wide + 2, high + 2);
      } else {
        context.arc(x, y, 8, 0, 2 * Math.PI);
      }
      context.stroke();
    };
    mark(hovered, "text", 2);
    mark(selected, "back", 6);
    mark(selected, "accent", 3);
    if (this.app.hasCross) {
      context.strokeStyle = this.colour("accent");
      context.lineWidth = 1.5;
      context.beginPath();
      const x = view.width / 2, y = view.height / 2;
      for (const [dx, dy] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
        context.moveTo(x + 4 * dx, y + 4 * dy);
        context.lineTo(x + 12 * dx, y + 12 * dy);
      }
      context.stroke();
    }
  }

  // The visible rows at a point of the map: those of the cells that it lies in, or of near points.
  rowsAt(x, y) {
    const { results, view, visible } = this.app;
    const { lat, lon } = view.place(x, y);
    const places = new Set();
    const reach = 9;
    for (let place = 0; place < results.places; place++) {
      const dy = view.y(results.north[place]) - y;
      if (results.kind === "points") {
        if (Math.abs(dy) <= reach && Math.hypot(view.x(results.west[place]) - x, dy) <= reach) places.add(place);
        continue;
      }
      const isIn = lat >= results.south[place] && lat < results.north[place] &&
        lon >= results.west[place] && lon < results.east[place];
      const isNear = Math.abs(dy) <= 2 && Math.abs(view.x(results.west[place]) - x) <= 2;
      if (isIn || isNear) places.add(place);
    }
    if (!places.size) return [];
    const rows = [];
    for (let row = 0; row < results.size; row++) {
      if (visible[row] && places.has(results.placeOf[row])) rows.push(row);
    }
    if (results.kind === "points") {
      const far = row => Math.hypot(view.x(results.west[row]) - x, view.y(results.north[row]) - y);
      rows.sort((a, b) => far(a) - far(b) || a - b);
    }
    return rows;
  }

  // All that is seen, in one picture, with what it means.
  picture(title, caption, legend) {
    const { view } = this.app;
    const canvas = document.createElement("canvas");
    canvas.width = this.contexts.rows.canvas.width;
    canvas.height = this.contexts.rows.canvas.height;
    const context = canvas.getContext("2d");
    for (const part of ["ground", "rows", "marks"]) context.drawImage(this.contexts[part].canvas, 0, 0);
    context.setTransform(this.ratio, 0, 0, this.ratio, 0, 0);
    const panel = (x, y, width, height) => {
      context.fillStyle = this.colour("back");
      context.globalAlpha = 0.88;
      context.fillRect(x, y, width, height);
      context.globalAlpha = 1;
      context.fillStyle = this.colour("text");
    };
    const font = (size, weight = 400) => { context.font = `${weight} ${size}px system-ui, sans-serif`; };
    font(16, 600);
    const widest = Math.max(context.measureText(title).width, (font(12), context.measureText(caption).width));
    panel(10, 10, widest + 24, 52);
    font(16, 600);
    context.fillText(title, 22, 32);
    font(12);
    context.fillText(caption, 22, 51);
    const high = 18 * legend.length + 14;
    const wide = Math.max(...legend.map(({ text }) => context.measureText(text).width), 40) + 46;
    panel(view.width - wide - 10, view.height - high - 10, wide, high);
    legend.forEach(({ colour, text }, i) => {
      const y = view.height - high + 12 + 18 * i;
      context.fillStyle = this.colour("text");
      context.fillText(text, view.width - wide + 22, y);
      if (!colour) return;
      context.fillStyle = colour;
      context.fillRect(view.width - wide, y - 10, 12, 12);
    });
    const bar = parseFloat(element("scale").style.width);
    panel(10, view.height - 40, bar + 24, 30);
    context.fillText(element("scale").textContent, 22, view.height - 22);
    context.fillRect(22, view.height - 17, bar, 2);
    return canvas;
  }
}
