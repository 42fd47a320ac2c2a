// The results: read as packColumns.cpp wrote them.

const EVER = 253402300800000; // ms since 1970; a box that ends then or later has no end
const element = id => document.getElementById(id);

class Reader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
    this.decoder = new TextDecoder("utf-8", { ignoreBOM: true });
  }
  byte() {
    if (this.at >= this.bytes.length) throw new Error("the data end too early");
    return this.bytes[this.at++];
  }
  // Beyond 28 bits the operators on bits end, and doubles go on.
  unsigned() {
    let value = 0, shift = 0, byte;
    do {
      byte = this.byte();
      value = shift < 28 ? value | (byte & 127) << shift : value + (byte & 127) * 2 ** shift;
      shift += 7;
    } while (byte > 127);
    return value;
  }
  signed() {
    const value = this.unsigned();
    return value % 2 ? -(value + 1) / 2 : value / 2;
  }
  text(size = this.unsigned()) {
    const text = this.decoder.decode(this.bytes.subarray(this.at, this.at + size));
    this.at += size;
    return text;
  }
  numbers(count, areSteps) {
    const values = new Float64Array(count);
    let value = this.signed();
    const unit = this.unsigned();
    if (areSteps && count) values[0] = value;
    for (let i = areSteps ? 1 : 0; i < count; i++) {
      const step = unit * this.signed();
      values[i] = areSteps ? value += step : value + step;
    }
    return values;
  }
}

async function unpack(id) {
  const text = atob(element(id).textContent);
  const packed = new Uint8Array(text.length);
  for (let i = 0; i < text.length; i++) packed[i] = text.charCodeAt(i);
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("deflate"));
  return new Reader(new Uint8Array(await new Response(stream).arrayBuffer()));
}

// The rows, those of the same entity together and else in their order.
function orderByEntity(codes, entities) {
  const next = new Int32Array(entities + 1);
  for (const code of codes) next[code + 1]++;
  for (let i = 0; i < entities; i++) next[i + 1] += next[i];
  const order = new Int32Array(codes.length);
  for (let row = 0; row < codes.length; row++) order[next[codes[row]]++] = row;
  return order;
}

class Column {
  constructor(reader) {
    this.name = reader.text();
    this.kind = reader.text();
    this.unit = reader.text();
    this.description = reader.text();
    const missing = reader.unsigned();
    this.missing = new Set(missing ? reader.numbers(missing, true) : []);
    this.isText = this.kind === "entity" || this.kind === "text";
    this.decimals = { degrees: 7, metres: 2, hours: 2 }[this.kind] || 0;
    this.isTime = this.kind === "time" || this.kind === "boxEnd";
    this.exact = null; // as 64 bits, where doubles do not do
    if (this.isText) {
      const sizes = Array.from({ length: reader.unsigned() }, () => reader.unsigned());
      this.texts = sizes.map(size => reader.text(size));
    }
  }
  readValues(reader, columns, order) {
    const way = reader.byte();
    const other = columns[reader.unsigned()];
    const count = order.length;
    this.values = new Float64Array(count);
    if (way === 2) {
      const each = reader.numbers(other.texts.length, true);
      for (let row = 0; row < count; row++) this.values[row] = each[other.values[row]];
      return;
    }
    if (way === 3) {
      const view = new DataView(reader.bytes.buffer, reader.bytes.byteOffset + reader.at, 8 * count);
      this.exact = new BigInt64Array(count);
      for (let i = 0; i < count; i++) {
        this.exact[order[i]] = view.getBigInt64(8 * i, true);
        this.values[order[i]] = Number(this.exact[order[i]]);
      }
      reader.at += 8 * count;
      return;
    }
    const numbers = reader.numbers(count, way === 0);
    for (let i = 0; i < count; i++) {
      this.values[order[i]] = numbers[i] + (way === 1 ? other.values[order[i]] : 0);
    }
  }
  // Degrees, metres, hours, ms since 1970, or the integer.
  number(row) { return this.values[row] / 10 ** this.decimals; }
  // As a file of CSV has it, but for times in another zone than UTC.
  text(row, zone = "UTC") {
    if (this.missing.has(row)) return "";
    const value = this.values[row];
    if (this.isText) return this.texts[value];
    if (this.decimals) return decimal(value, this.decimals);
    if (this.kind === "boxEnd" && value >= EVER) return "ever";
    if (this.isTime) return timeText(this.exact ? this.exact[row] : value, zone);
    return String(this.exact ? this.exact[row] : value);
  }
}

// units / 10^decimals, all decimals written.
function decimal(units, decimals) {
  const digits = String(Math.abs(units)).padStart(decimals + 1, "0");
  return `${units < 0 ? "-" : ""}${digits.slice(0, -decimals)}.${digits.slice(-decimals)}`;
}

class Results {
  constructor(reader) {
    this.name = reader.text();
    this.description = reader.text();
    this.tiles = reader.text();
    this.size = reader.unsigned();
    const count = reader.unsigned();
    const grouped = reader.unsigned();
    const codes = grouped < count ? reader.numbers(this.size, true) : new Float64Array(this.size);
    let most = 0;
    for (const code of codes) most = Math.max(most, code);
    const order = orderByEntity(codes, most + 1);
    this.columns = [];
    for (let i = 0; i < count; i++) {
      const column = new Column(reader);
      if (i === grouped) column.values = codes;
      else column.readValues(reader, this.columns, order);
      this.columns.push(column);
    }
    this.findEntities();
    this.findTimes();
    this.findPlaces();
  }

  column(name) { return this.columns.find(column => column.name === name); }

  // One numbering for all columns of entities: who[0] and, for pairs, who[1] tell it for each row.
  findEntities() {
    const numbers = new Map();
    this.entities = [];
    this.who = this.columns.filter(column => column.kind === "entity").map(column => {
      const number = column.texts.map(name => {
        if (!numbers.has(name)) numbers.set(name, this.entities.push(name) - 1);
        return numbers.get(name);
      });
      return Int32Array.from(column.values, code => number[code]);
    });
    this.counts = new Int32Array(this.entities.length);
    for (let row = 0; row < this.size; row++) {
      this.who.forEach((who, i) => { if (i === 0 || who[row] !== this.who[0][row]) this.counts[who[row]]++; });
    }
  }

  // A row holds from its first time to its end, or to its second time. Without one, it always does.
  findTimes() {
    const begin = this.columns.find(column => column.kind === "time");
    const boxEnd = this.columns.find(column => column.kind === "boxEnd");
    const end = boxEnd || this.columns.find(column => column.kind === "time" && column !== begin) || begin;
    const times = (column, otherwise) =>
      Float64Array.from({ length: this.size }, (_, row) =>
        column && !column.missing.has(row) ? column.values[row] : otherwise);
    this.begin = times(begin, -Infinity);
    this.end = times(end, Infinity);
    this.first = Infinity;
    this.last = -Infinity;
    for (let row = 0; row < this.size; row++) {
      if (boxEnd && this.end[row] >= EVER) this.end[row] = Infinity;
      else if (boxEnd) this.end[row] = Math.max(this.end[row] - 1, this.begin[row]); // the end is outside
      if (Number.isFinite(this.begin[row])) {
        this.first = Math.min(this.first, this.begin[row]);
        this.last = Math.max(this.last, this.begin[row]);
      }
      if (Number.isFinite(this.end[row])) this.last = Math.max(this.last, this.end[row] + (boxEnd ? 1 : 0));
    }
    this.hasTimes = Number.isFinite(this.first);
  }

  // Cells where there are any, else points; -1 for a row without a place.
  findPlaces() {
    const [lat, lon, cell, bits] = ["lat", "lon", "geohash", "bits"].map(name => this.column(name));
    this.placeOf = new Int32Array(this.size).fill(-1);
    this.kind = cell && bits ? "cells" : lat && lon ? "points" : "none";
    this.spread = this.kind === "points" ? this.column("spread_m") : undefined;
    if (this.kind === "cells") this.findCells(cell, bits);
    if (this.kind === "points") {
      this.places = this.size;
      this.west = this.east = Float64Array.from({ length: this.size }, (_, row) => lon.number(row));
      this.south = this.north = Float64Array.from({ length: this.size }, (_, row) => lat.number(row));
      for (let row = 0; row < this.size; row++) {
        if (!lat.missing.has(row) && !lon.missing.has(row)) this.placeOf[row] = row;
      }
    }
  }

  findCells(cell, bits) {
    const found = new Map();
    const bounds = [];
    for (let row = 0; row < this.size; row++) {
      if (cell.missing.has(row)) continue;
      const key = cell.values[row] * 256 + bits.values[row];
      let place = found.get(key);
      if (place === undefined) {
        found.set(key, place = bounds.length);
        bounds.push(cellBounds(cell.texts[cell.values[row]], bits.values[row]));
      }
      this.placeOf[row] = place;
    }
    this.places = bounds.length;
    [this.west, this.south, this.east, this.north] = [0, 1, 2, 3].map(side =>
      Float64Array.from(bounds, bound => bound[side]));
  }
}

// The sides of a geohash in degrees.
function cellBounds(geohash, bits) {
  const sides = [-180, -90, 180, 90];
  for (let bit = 0; bit < bits; bit++) {
    const code = "0123456789bcdefghjkmnpqrstuvwxyz".indexOf(geohash[bit / 5 | 0]);
    const axis = bit % 2;
    const middle = (sides[axis] + sides[axis + 2]) / 2;
    sides[axis + (code >> 4 - bit % 5 & 1 ? 0 : 2)] = middle;
  }
  return sides;
}

// Coastlines and borders: [is a border, longitudes and latitudes in turn].
function readOutline(reader) {
  const STEPS_A_DEGREE = 20;
  let x = 0, y = 0;
  return Array.from({ length: reader.unsigned() }, () => {
    const head = reader.unsigned();
    const points = new Float64Array(2 * (head >> 1));
    for (let i = 0; i < points.length; i += 2) {
      points[i] = (x += reader.signed()) / STEPS_A_DEGREE;
      points[i + 1] = (y += reader.signed()) / STEPS_A_DEGREE;
    }
    return { isBorder: head % 2 === 1, points };
  });
}
