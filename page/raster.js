// Pixels of our own: boxes and discs into an image, far faster than through the canvas' calls.

class Raster {
  constructor(context, width, height) {
    this.context = context;
    this.width = width;
    this.height = height;
    this.image = context.createImageData(width, height);
    this.pixels = new Uint32Array(this.image.data.buffer);
    this.discs = new Map();
  }
  clear() { this.pixels.fill(0); }
  show() { this.context.putImageData(this.image, 0, 0); }

  // Puts a colour with an opacity of 0 to 255 over what is there.
  blend(at, colour, opacity) {
    const under = this.pixels[at];
    const below = under >>> 24;
    if (below === 0 || opacity === 255) {
      this.pixels[at] = (opacity << 24 | colour) >>> 0;
      return;
    }
    const rest = below * (255 - opacity) / 255;
    const all = opacity + rest;
    const channel = shift => ((colour >> shift & 255) * opacity + (under >> shift & 255) * rest) / all & 255;
    this.pixels[at] = (all << 24 | channel(16) << 16 | channel(8) << 8 | channel(0)) >>> 0;
  }

  span(y, from, to, colour, opacity) {
    const row = y * this.width;
    for (let at = row + from; at < row + to; at++) this.blend(at, colour, opacity);
  }

  // A rectangle, in stripes of its colours where there is room, with a rim. At least two pixels wide and high,
  // so that nothing is lost from sight.
  box(west, north, east, south, colours, count, opacity) {
    let left = Math.round(west), top = Math.round(north);
    let right = Math.max(Math.round(east), left + 2), bottom = Math.max(Math.round(south), top + 2);
    if (right <= 0 || bottom <= 0 || left >= this.width || top >= this.height) return;
    const hasRim = right - left > 5 && bottom - top > 5;
    const stripes = right - left >= 3 * count ? count : 1;
    const width = (right - left) / stripes;
    const y0 = Math.max(top, 0), y1 = Math.min(bottom, this.height);
    for (let i = 0; i < stripes; i++) {
      const x0 = Math.max(Math.round(left + i * width), 0);
      const x1 = Math.min(Math.round(left + (i + 1) * width), this.width);
      for (let y = y0; y < y1; y++) {
        const isRim = hasRim && (y === top || y === bottom - 1);
        if (x0 < x1) this.span(y, x0, x1, colours[i], isRim ? 230 : opacity);
      }
      if (!hasRim) continue;
      for (let y = Math.max(top + 1, 0); y < Math.min(bottom - 1, this.height); y++) {
        if (i === 0 && left >= 0) this.pixels[y * this.width + left] = (230 << 24 | colours[i]) >>> 0;
        if (i === stripes - 1 && right <= this.width) this.pixels[y * this.width + right - 1] = (230 << 24 | colours[i]) >>> 0;
      }
    }
  }

  // How much of each pixel a disc with a rim covers, in steps of 1/255.
  discOf(radius) {
    if (!this.discs.has(radius)) {
      const reach = Math.ceil(radius + 1);
      const side = 2 * reach + 1;
      const inner = new Uint8Array(side * side), outer = new Uint8Array(side * side);
      for (let y = -reach; y <= reach; y++) {
        for (let x = -reach; x <= reach; x++) {
          const distance = Math.hypot(x, y);
          const covered = limit => Math.round(255 * Math.min(Math.max(limit - distance + 0.5, 0), 1));
          inner[(y + reach) * side + x + reach] = covered(radius - 1);
          outer[(y + reach) * side + x + reach] = covered(radius);
        }
      }
      this.discs.set(radius, { reach, side, inner, outer });
    }
    return this.discs.get(radius);
  }

  // A dot with a rim of the ground's colour; its halves may differ.
  dot(x, y, radius, left, right, rim) {
    const { reach, side, inner, outer } = this.discOf(radius);
    const cx = Math.round(x), cy = Math.round(y);
    if (cx < -reach || cy < -reach || cx >= this.width + reach || cy >= this.height + reach) return;
    const from = Math.max(-reach, -cx), to = Math.min(reach, this.width - 1 - cx);
    for (let dy = Math.max(-reach, -cy); dy <= Math.min(reach, this.height - 1 - cy); dy++) {
      for (let dx = from; dx <= to; dx++) {
        const i = (dy + reach) * side + dx + reach;
        if (outer[i] === 0) continue;
        const at = (cy + dy) * this.width + cx + dx;
        if (outer[i] > inner[i]) this.blend(at, rim, outer[i]);
        if (inner[i] > 0) this.blend(at, dx < 0 ? left : right, inner[i]);
      }
    }
  }

  // A translucent circle with a line around it; the line alone where `isOpen`.
  circle(x, y, radius, colour, isOpen) {
    const from = Math.max(Math.ceil(y - radius), 0), to = Math.min(Math.floor(y + radius), this.height - 1);
    for (let row = from; row <= to; row++) {
      const half = Math.sqrt(Math.max(radius * radius - (row - y) ** 2, 0));
      const core = Math.sqrt(Math.max((radius - 1.5) ** 2 - (row - y) ** 2, 0));
      const isCap = Math.abs(row - y) > radius - 1.5;
      const clip = value => Math.min(Math.max(Math.round(value), 0), this.width);
      const left = clip(x - half), right = clip(x + half);
      const innerLeft = isCap ? right : Math.max(clip(x - core), left);
      const innerRight = isCap ? right : Math.min(clip(x + core), right);
      this.span(row, left, innerLeft, colour, 150);
      if (!isOpen) this.span(row, innerLeft, innerRight, colour, 36);
      this.span(row, Math.max(innerRight, innerLeft), right, colour, 150);
    }
  }
}
