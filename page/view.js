// Which part of the earth is shown: longitude and latitude are drawn as straight axes, so that cells
// stay rectangles and poles stay in reach. Shapes are true at the centre's latitude.

const METRES_A_DEGREE = 111195;

class View {
  constructor() {
    this.lat = 0;
    this.lon = 0;
    this.scale = 4; // CSS pixels a degree of latitude
    this.width = this.height = 1;
    this.across = 4; // pixels a degree of longitude
  }
  // From -180 to 180, from the centre.
  eastOfCentre(lon) {
    const degrees = lon - this.lon;
    return degrees - 360 * Math.floor((degrees + 180) / 360);
  }
  x(lon) { return this.width / 2 + this.eastOfCentre(lon) * this.across; }
  y(lat) { return this.height / 2 + (this.lat - lat) * this.scale; }
  place(x, y) {
    const lon = this.lon + (x - this.width / 2) / this.across;
    return { lon: lon - 360 * Math.floor((lon + 180) / 360), lat: this.lat - (y - this.height / 2) / this.scale };
  }
  resize(width, height) {
    [this.width, this.height] = [width, height];
    this.set(this.lat, this.lon, this.scale);
  }
  set(lat, lon, scale) {
    const least = Math.min(this.width / 400, this.height / 200);
    this.scale = Math.min(Math.max(scale, least), 5e7);
    this.lat = Math.min(Math.max(lat, -90), 90);
    this.lon = lon - 360 * Math.floor((lon + 180) / 360);
    // The whole earth is drawn less narrow: there is no latitude to be true to.
    const narrowing = Math.max(Math.cos(this.lat * Math.PI / 180), 0.1);
    const share = Math.min(Math.max((this.height / this.scale - 20) / 100, 0), 1);
    this.across = this.scale * (narrowing + (1 - narrowing) * share);
  }
  // The centre goes so many pixels to the right and down.
  move(dx, dy) { this.set(this.lat - dy / this.scale, this.lon + dx / this.across, this.scale); }
  // What is at x, y stays there.
  zoom(factor, x = this.width / 2, y = this.height / 2) {
    const dx = x - this.width / 2, dy = y - this.height / 2;
    const lon = this.lon + dx / this.across, lat = this.lat - dy / this.scale;
    this.set(this.lat, this.lon, this.scale * factor);
    this.set(lat + dy / this.scale, this.lon, this.scale);
    this.set(this.lat, lon - dx / this.across, this.scale);
  }
  fit([west, south, east, north]) {
    const lat = (south + north) / 2;
    const narrowing = Math.max(Math.cos(lat * Math.PI / 180), 0.1);
    const wide = Math.max(east - west, 1e-9) * (north - south > 60 ? 1 : narrowing);
    const scale = Math.min(this.width * 0.86 / wide, this.height * 0.8 / Math.max(north - south, 1e-9));
    this.set(lat, (west + east) / 2, Math.min(scale, METRES_A_DEGREE / 0.5));
  }
}

// The least rectangle around places, across the antimeridian where that is shorter: the longitudes are
// cut where the gap between them is widest.
function boundsOf(results, isWanted) {
  const BINS = 3600;
  const used = new Uint8Array(BINS);
  const binOf = lon => Math.min(Math.max(Math.floor((lon + 180) / 360 * BINS), 0), BINS - 1);
  let west = Infinity, east = -Infinity, south = Infinity, north = -Infinity;
  for (let place = 0; place < results.places; place++) {
    if (!isWanted(place)) continue;
    south = Math.min(south, results.south[place]);
    north = Math.max(north, results.north[place]);
    west = Math.min(west, results.west[place]);
    east = Math.max(east, results.east[place]);
    used.fill(1, binOf(results.west[place]), binOf(results.east[place]) + 1);
  }
  if (west > east) return null;
  let widest = 0, cut = -1;
  for (let bin = 0, from = -1; bin < BINS; bin++) {
    if (used[bin] && from >= 0 && bin - from > widest) [widest, cut] = [bin - from, bin];
    if (used[bin]) from = bin;
  }
  const outside = 360 - (east - west);
  if (widest / BINS * 360 <= outside + 0.2) return [west, south, east, north];
  let newWest = Infinity, newEast = -Infinity; // of those behind the gap, and of those before it
  for (let place = 0; place < results.places; place++) {
    if (!isWanted(place)) continue;
    if (binOf(results.west[place]) >= cut) newWest = Math.min(newWest, results.west[place]);
    else newEast = Math.max(newEast, results.east[place]);
  }
  return [newWest, south, newEast + 360, north];
}
