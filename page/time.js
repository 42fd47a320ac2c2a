// Times: ms since 1970 UTC, a bigint where doubles are not exact.

const MS_A_DAY = 86400000;
const two = number => String(number).padStart(2, "0");

function daysAndMs(time) {
  if (typeof time === "bigint") {
    const day = BigInt(MS_A_DAY);
    const ms = (time % day + day) % day;
    return [Number((time - ms) / day), Number(ms)];
  }
  const days = Math.floor(time / MS_A_DAY);
  return [days, time - days * MS_A_DAY];
}

// Howard Hinnant's civil_from_days: the Gregorian calendar for every day that there is a number for.
function dateText(days) {
  const shifted = days + 719468;
  const era = Math.floor(shifted / 146097);
  const day = shifted - era * 146097;
  const year = Math.floor((day - Math.floor(day / 1460) + Math.floor(day / 36524) - Math.floor(day / 146096)) / 365);
  const dayOfYear = day - (365 * year + Math.floor(year / 4) - Math.floor(year / 100));
  const march = Math.floor((5 * dayOfYear + 2) / 153);
  const month = march < 10 ? march + 3 : march - 9;
  const full = year + era * 400 + (month <= 2 ? 1 : 0);
  const digits = String(Math.abs(full)).padStart(4, "0");
  const sign = full < 0 ? "-" : full > 9999 ? "+" : "";
  return `${sign}${digits}-${two(month)}-${two(dayOfYear - Math.floor((153 * march + 2) / 5) + 1)}`;
}

function isoText(time) {
  const [days, ms] = daysAndMs(time);
  const fraction = ms % 1000 ? "." + String(ms % 1000).padStart(3, "0") : "";
  return `${dateText(days)}T${two(Math.floor(ms / 3600000))}:${two(Math.floor(ms / 60000) % 60)}:` +
    `${two(Math.floor(ms / 1000) % 60)}${fraction}Z`;
}

const formats = new Map();
function formatOf(zone) {
  if (!formats.has(zone)) {
    formats.set(zone, new Intl.DateTimeFormat("en-GB", {
      timeZone: zone, hourCycle: "h23", year: "numeric", month: "2-digit", day: "2-digit",
      hour: "2-digit", minute: "2-digit", second: "2-digit", timeZoneName: "longOffset" }));
  }
  return formats.get(zone);
}

// ISO 8601 with the zone's offset. Zones mean something in the years 1 to 9999, others are in UTC.
function timeText(time, zone) {
  const number = Number(time);
  if (zone === "UTC" || number < -62135596800000 + MS_A_DAY || number >= EVER - MS_A_DAY) return isoText(time);
  const part = {};
  for (const { type, value } of formatOf(zone).formatToParts(number)) part[type] = value;
  const ms = (number % 1000 + 1000) % 1000;
  const offset = part.timeZoneName.slice(3).replace("\u2212", "-") || "+00:00";
  return `${part.year.padStart(4, "0")}-${part.month}-${part.day}T${part.hour}:${part.minute}:${part.second}` +
    `${ms ? "." + String(ms).padStart(3, "0") : ""}${offset}`;
}

// A time as people read it.
function readableTime(time, zone) {
  const text = timeText(time, zone);
  const at = text.indexOf("T");
  const rest = text.slice(at + 1).replace(/\.\d+/, "");
  const offset = rest.slice(8);
  return `${text.slice(0, at)} ${rest.slice(0, 8).replace(/:00$/, "")} ${offset === "Z" ? "UTC" : offset}`;
}

function durationText(minutes) {
  const round = value => String(Math.round(value * 10) / 10);
  if (minutes < 1 && minutes > 0) return `${round(minutes * 60)} s`;
  if (minutes < 60) return `${round(minutes)} min`;
  return minutes < 2880 ? `${round(minutes / 60)} h` : `${round(minutes / 1440)} d`;
}

function allZones() {
  const own = Intl.DateTimeFormat().resolvedOptions().timeZone;
  const known = Intl.supportedValuesOf ? Intl.supportedValuesOf("timeZone") : [];
  return [...new Set(["UTC", own, ...known])].filter(Boolean);
}

function isZone(zone) {
  try {
    return Boolean(formatOf(zone));
  } catch {
    return false;
  }
}
