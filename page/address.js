// The view in the address behind the #, so that a link leads to it.

class Address {
  constructor(app) {
    this.app = app;
    this.timer = 0;
    this.last = "";
    addEventListener("hashchange", () => {
      if (location.hash.slice(1) !== this.last) this.apply();
    });
  }

  // Something has changed: written once it rests.
  note() {
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.write(), 250);
  }

  write() {
    const MOST_NAMES = 20;
    const { view, results, ...app } = this.app;
    const words = new URLSearchParams();
    const digits = Math.min(Math.max(Math.ceil(Math.log10(view.scale)) + 2, 2), 9);
    words.set("at", [view.lat.toFixed(digits), view.lon.toFixed(digits), view.scale.toPrecision(4)].join(","));
    if (results.hasTimes && app.time < results.last) words.set("time", isoText(Math.round(app.time)));
    if (app.mode !== "upto") words.set("mode", app.mode);
    if (app.zone !== "UTC") words.set("zone", app.zone);
    if (app.colouring) words.set("colour", app.colouring.id);
    if (app.chosenTheme) words.set("theme", app.chosenTheme);
    if (app.search) words.set("search", app.search);
    if (app.isTable) words.set("view", "table");
    if (app.selected >= 0) words.set("row", app.selected + 1);
    const names = wanted => results.entities.filter((_, entity) => app.isChosen[entity] === wanted);
    const chosen = names(1), others = names(0);
    if (others.length && chosen.length <= MOST_NAMES) (chosen.length ? chosen : [""]).forEach(name => words.append("only", name));
    else if (others.length && others.length <= MOST_NAMES) others.forEach(name => words.append("not", name));
    this.last = words.toString();
    try {
      history.replaceState(null, "", "#" + this.last);
    } catch {
      // within another page there is no address of our own
    }
  }

  // What makes no sense is passed over.
  apply() {
    const { app } = this;
    const words = new URLSearchParams(location.hash.slice(1));
    const [lat, lon, scale] = (words.get("at") || "").split(",").map(Number);
    const { results } = app;
    const number = new Map(results.entities.map((name, entity) => [name, entity]));
    if (words.has("only")) app.isChosen.fill(0);
    for (const name of words.getAll("only")) if (number.has(name)) app.isChosen[number.get(name)] = 1;
    for (const name of words.getAll("not")) if (number.has(name)) app.isChosen[number.get(name)] = 0;
    const time = Date.parse(words.get("time"));
    if (Number.isFinite(time)) app.time = Math.min(Math.max(time, results.first), results.last);
    if (words.get("mode") === "at") app.mode = "at";
    if (words.has("zone") && isZone(words.get("zone"))) app.zone = words.get("zone");
    app.colouring = app.colourings.find(({ id }) => id === words.get("colour")) || app.colouring;
    if (Object.hasOwn(PALETTES, words.get("theme"))) app.chosenTheme = words.get("theme");
    app.search = words.get("search") || "";
    app.isTable = words.get("view") === "table" || results.kind === "none";
    if (scale > 0 && Number.isFinite(lat) && Number.isFinite(lon)) app.view.set(lat, lon, scale);
    else app.fitAll();
    app.changeTheme();
    const row = Number(words.get("row")) - 1;
    if (row >= 0 && row < results.size && Number.isInteger(row)) app.details.open([row]);
  }
}
