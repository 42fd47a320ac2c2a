// Colours that people with any colour vision can tell apart, for light and dark ground.

const PALETTES = {
  light: ["#0077bb", "#e0661a", "#00897b", "#cc3311", "#aa4499", "#2fa4d8", "#8a8a1f", "#332288", "#d81b74", "#117733"],
  dark: ["#4ba3e3", "#f59a5b", "#2ec4b0", "#ef6650", "#d584c8", "#8ad8f5", "#c9c75a", "#a294ff", "#ff7fae", "#5cc46c"],
};
const RAMPS = { // from few to many
  light: ["#9ad1b0", "#57bbc0", "#2b96c0", "#2169ac", "#254394", "#081d58"],
  dark: ["#3d5a94", "#2f829c", "#28a58c", "#66c66a", "#b6dd49", "#fde725"],
};

function packed(hex) { // as ImageData keeps it on the machines that there are, without opacity
  const rgb = parseInt(hex.slice(1), 16);
  return (rgb & 255) << 16 | rgb & 0xff00 | rgb >> 16;
}

// What rows can be coloured by: entity, duration, and each column of numbers.
function colourings(results) {
  const list = [];
  if (results.entities.length) list.push({ id: "entity", label: "by entity" });
  const minutes = results.column("minutes");
  const hours = results.column("hours");
  if (minutes) list.push(byNumber("duration", "by duration", row => minutes.values[row], durationText, roundDuration, 1));
  else if (hours) list.push(byNumber("duration", "by duration", row => hours.number(row) * 60, durationText, roundDuration, 1));
  else if (results.hasTimes) {
    const length = row => Math.min((results.end[row] - results.begin[row]) / 60000, 1e9);
    list.push(byNumber("duration", "by duration", length, durationText, roundDuration, 1 / 60));
  }
  for (const column of results.columns) {
    const isCount = ["whole", "metres", "hours"].includes(column.kind);
    if (!isCount || column === minutes || column === hours || column.name === "bits") continue;
    const unit = column.unit ? " " + column.unit : "";
    list.push(byNumber(column.name, `by ${column.name}`, row => column.number(row), value => plain(value) + unit, roundNumber, column.kind === "whole" ? 1 : 0.1));
  }
  return list;

  // Limits of classes are rounded; values below the least are all alike.
  function byNumber(id, label, value, text, round, least) {
    return { id, label, value, text, round, least, breaks: null };
  }
}

const plain = value => (Math.round(value * 100) / 100).toLocaleString("en");

// The limits of the classes: round, and in even proportions over what most rows have, as durations are many
// short ones and a few long ones.
function breaksOf(colouring, size) {
  if (colouring.breaks) return colouring.breaks;
  const step = Math.max(1, Math.floor(size / 20000));
  const sample = [];
  for (let row = 0; row < size; row += step) sample.push(colouring.value(row));
  sample.sort((a, b) => a - b);
  const at = share => Math.max(sample[Math.floor(sample.length * share)] || 0, colouring.least);
  const low = at(0.1), high = at(0.98);
  const limits = new Set();
  for (let i = 1; i < RAMPS.light.length; i++) {
    limits.add(colouring.round(low * (high / low) ** (i / (RAMPS.light.length - 1))));
  }
  const first = sample[0] || 0;
  return colouring.breaks = [...limits].filter(limit => limit > first && limit <= sample.at(-1)).sort((a, b) => a - b);
}

function roundNumber(value) {
  const size = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].find(times => times * size >= value * 0.75) * size;
}

function roundDuration(minutes) {
  const known = [1 / 60, 1 / 12, 0.25, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 240, 480, 720, 1440];
  return minutes > 1440 ? 1440 * roundNumber(minutes / 1440) : known.find(length => length >= minutes * 0.75);
}

// The class of each row: what draw.js takes colours by.
function classesOf(colouring, results) {
  const breaks = breaksOf(colouring, results.size);
  const spacing = (RAMPS.light.length - 1) / Math.max(breaks.length, 1);
  const classes = new Uint8Array(results.size);
  for (let row = 0; row < results.size; row++) {
    const value = colouring.value(row);
    let number = 0;
    while (number < breaks.length && value >= breaks[number]) number++;
    classes[row] = Math.round(number * spacing);
  }
  return classes;
}

// Each with its own colour while they are few; else those with most rows first, and colours come again.
function entityColours(results, isChosen) {
  const chosen = [];
  for (let i = 0; i < results.entities.length; i++) if (isChosen[i]) chosen.push(i);
  chosen.sort((a, b) => results.counts[b] - results.counts[a] || a - b);
  const colours = new Uint8Array(results.entities.length);
  chosen.forEach((entity, rank) => { colours[entity] = rank % PALETTES.light.length; });
  return { colours, chosen };
}
