// The whole: its state, what changes it, and what is then drawn again.

class App {
  constructor(results, outline) {
    this.results = results;
    this.outline = outline;
    this.view = new View();
    this.isChosen = new Uint8Array(results.entities.length).fill(1);
    this.visible = new Uint8Array(results.size).fill(1);
    this.shown = results.size;
    this.time = results.last;
    this.mode = "upto";
    this.zone = "UTC";
    this.search = "";
    this.isTable = false;
    this.hasTiles = false;
    this.hasCross = false;
    this.hovered = this.selected = -1;
    this.chosenTheme = "";
    this.colourings = colourings(results);
    const duration = this.colourings.find(({ id }) => id === "duration");
    const isMany = results.entities.length > 2 * PALETTES.light.length && results.column("minutes");
    this.colouring = (isMany && duration) || this.colourings[0] || null;
    this.classes = this.entityColours = null;
    this.drawing = new Drawing(this);
    this.address = new Address(this);
    this.details = new Details(this);
    this.timeline = new Timeline(this);
    this.list = new EntityList(this);
    this.table = new Table(this);
    this.controls = new Controls(this);
    this.address.apply();
  }

  get theme() {
    return this.chosenTheme || (matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light");
  }

  changeTheme(theme = this.theme) {
    document.documentElement.dataset.theme = theme;
    element("theme").textContent = theme === "dark" ? "Light" : "Dark";
    this.drawing.want("ground", "marks");
    this.timeline.drawBusy();
    this.changeColours();
  }

  changeColours() {
    const { colouring, results } = this;
    this.classes = colouring && colouring.value ? classesOf(colouring, results) : null;
    const { colours, chosen } = entityColours(results, this.isChosen);
    this.entityColours = colours;
    this.legend = this.makeLegend(chosen);
    this.controls.show();
    this.list.show();
    this.changeRows();
  }

  makeLegend(chosen) {
    const MOST = 10;
    const { colouring, results, theme } = this;
    if (!colouring || results.kind === "none") return [];
    if (colouring.value) {
      const breaks = breaksOf(colouring, results.size);
      const spacing = (RAMPS.light.length - 1) / Math.max(breaks.length, 1);
      return [...breaks, Infinity].map((limit, i) => ({
        colour: RAMPS[theme][Math.round(i * spacing)],
        text: breaks.length === 0 ? colouring.text(results.size ? colouring.value(0) : 0)
          : i === 0 ? `less than ${colouring.text(limit)}`
          : i === breaks.length ? `${colouring.text(breaks[i - 1])} and more`
          : `${colouring.text(breaks[i - 1])} to ${colouring.text(limit)}` }));
    }
    const shorten = name => name.length > 30 ? name.slice(0, 30) + "…" : name || "(no name)";
    const lines = chosen.slice(0, MOST).map(entity => ({
      colour: PALETTES[theme][this.entityColours[entity]], text: shorten(results.entities[entity]) }));
    if (chosen.length > MOST) lines.push({ text: `and ${(chosen.length - MOST).toLocaleString("en")} more: colours come again` });
    return lines;
  }

  changeChosen() {
    this.changeColours();
    this.address.note();
  }

  chooseOnly(entity) {
    this.isChosen.fill(0);
    this.isChosen[entity] = 1;
    this.changeChosen();
  }

  setSearch(search) {
    this.search = search;
    this.list.show();
    this.address.note();
  }

  setTime(time) {
    this.time = time;
    this.changeRows();
    this.address.note();
  }

  setMode(mode) {
    this.mode = mode;
    this.changeRows();
    this.address.note();
  }

  // Which rows are shown: of chosen entities, and in time.
  changeRows() {
    const { results, visible, isChosen, time } = this;
    const [one, other] = [results.who[0], results.who[1] || results.who[0]];
    const endsAfter = this.mode === "at" ? time : -Infinity;
    const { begin, end } = results;
    const last = this.mode === "upto" && time >= results.last ? Infinity : time;
    let shown = 0;
    for (let row = 0; row < results.size; row++) {
      const isShown = begin[row] <= last && end[row] >= endsAfter && (!one || isChosen[one[row]] || isChosen[other[row]]);
      shown += visible[row] = isShown ? 1 : 0;
    }
    this.shown = shown;
    this.drawing.want("rows");
    this.timeline.show();
    this.table.forget();
    this.table.show();
    const number = value => value.toLocaleString("en");
    const entities = results.entities.length;
    element("summary").textContent = results.size === 0 ? "Nothing was found."
      : `${shown === results.size ? number(shown) : `${number(shown)} of ${number(results.size)}`} ` +
        `${results.size === 1 ? "row" : "rows"}${entities ? `, ${number(entities)} ${entities === 1 ? "entity" : "entities"}` : ""}`;
  }

  changeView() {
    this.drawing.want("ground", "rows", "marks");
    this.address.note();
  }

  fitAll() {
    const isOf = new Uint8Array(this.results.places || 0);
    for (let row = 0; row < this.results.size; row++) {
      if (this.visible[row] && this.results.placeOf[row] >= 0) isOf[this.results.placeOf[row]] = 1;
    }
    const bounds = this.results.kind === "none" ? null : boundsOf(this.results, place => isOf[place]);
    this.view.fit(bounds || [-180, -60, 180, 75]);
    this.changeView();
  }

  setTable(isTable) {
    this.isTable = isTable;
    this.controls.show();
    this.table.show();
    if (!isTable) this.drawing.resize();
    this.address.note();
  }

  showOnMap(row) {
    if (this.results.kind !== "none") this.setTable(false);
    this.goTo(row, false);
    this.details.open([row]);
  }

  // Into view, and near where asked for.
  goTo(row, isNear) {
    const { results, view } = this;
    const place = results.placeOf[row];
    if (place < 0) return;
    const { west, south, east, north } = results;
    const lat = (south[place] + north[place]) / 2, lon = (west[place] + east[place]) / 2;
    const near = results.kind === "cells" ? Math.min(view.height / 4 / (north[place] - south[place]), 1e7) : 60000;
    view.set(lat, lon, isNear ? Math.max(view.scale, near) : view.scale);
    this.changeView();
  }

  // The visible row before or after the selected one.
  step(by) {
    const { results, visible } = this;
    let row = this.selected < 0 && by < 0 ? results.size : this.selected;
    do row += by; while (row >= 0 && row < results.size && !visible[row]);
    if (row < 0 || row >= results.size) return;
    this.goTo(row, false);
    this.details.open([row]);
  }

  savePicture() {
    const { results } = this;
    const when = !results.hasTimes ? "" :
      `${this.mode === "at" ? "at" : "up to"} ${readableTime(this.time, this.zone)}`;
    const caption = [element("summary").textContent, when].filter(Boolean).join(", ");
    this.drawing.picture(results.name, caption, this.legend).toBlob(blob => {
      const link = document.createElement("a");
      link.href = URL.createObjectURL(blob);
      link.download = `${results.name}.png`;
      link.click();
      setTimeout(() => URL.revokeObjectURL(link.href), 10000);
    });
  }
}

// Buttons, keys, pointer.
class Controls {
  constructor(app) {
    this.app = app;
    const { results } = app;
    const on = (id, type, act) => element(id).addEventListener(type, act);
    document.title = `${results.name} – Qorvel`;
    element("title").textContent = results.name;
    element("about").textContent = `${results.name}: ${results.description}, ${results.size.toLocaleString("en")} in all.`;
    const options = app.colourings.map(({ id, label }) => new Option(label, id));
    element("colourBy").replaceChildren(...options);
    on("colourBy", "change", event => {
      app.colouring = app.colourings.find(({ id }) => id === event.target.value);
      app.changeColours();
      app.address.note();
    });
    this.fillZones();
    on("zone", "change", event => {
      app.zone = event.target.value;
      app.changeRows();
      if (app.selected >= 0) app.details.show();
      app.address.note();
    });
    on("showMap", "click", () => app.setTable(false));
    on("showTable", "click", () => app.setTable(true));
    on("showEntities", "click", () => {
      const isOpen = document.body.classList.toggle("entitiesOpen");
      element("showEntities").setAttribute("aria-expanded", String(isOpen));
    });
    on("theme", "click", () => {
      app.chosenTheme = app.theme === "dark" ? "light" : "dark";
      app.changeTheme();
      app.address.note();
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => app.changeTheme());
    on("savePicture", "click", () => app.savePicture());
    on("print", "click", () => print());
    // Paper is white, and ready when this returns.
    addEventListener("beforeprint", () => { this.printedTheme = app.chosenTheme; app.chosenTheme = "light"; app.changeTheme(); app.drawing.draw(); });
    addEventListener("afterprint", () => { app.chosenTheme = this.printedTheme; app.changeTheme(); });
    on("showHelp", "click", () => element("help").showModal());
    on("zoomIn", "click", () => this.zoom(2));
    on("zoomOut", "click", () => this.zoom(0.5));
    on("zoomAll", "click", () => app.fitAll());
    this.offerTiles();
    this.followPointer(element("marks"));
    on("marks", "focus", event => { app.hasCross = event.target.matches(":focus-visible"); app.drawing.want("marks"); });
    on("marks", "blur", () => { app.hasCross = false; app.drawing.want("marks"); });
    addEventListener("keydown", event => this.key(event));
    new ResizeObserver(() => {
      if (element("frame").clientWidth) app.drawing.resize();
    }).observe(element("frame"));
  }

  fillZones() {
    const own = Intl.DateTimeFormat().resolvedOptions().timeZone;
    element("zone").replaceChildren(...allZones().map(zone => new Option(zone === own ? `${zone} (here)` : zone, zone)));
  }

  offerTiles() {
    const { app } = this;
    const host = app.results.tiles.split("/")[2];
    if (!host) return;
    const button = element("tiles");
    button.hidden = element("butTiles").hidden = false;
    button.title = `Asks ${host} for the pieces of the map that you look at`;
    element("tilesNote").textContent = `${host} sees which part of the map you look at, and from where.`;
    button.addEventListener("click", () => {
      app.hasTiles = !app.hasTiles;
      button.setAttribute("aria-pressed", String(app.hasTiles));
      element("tilesNote").hidden = !app.hasTiles;
      app.drawing.want("ground");
    });
  }

  show() {
    const { app } = this;
    const hasMap = app.results.kind !== "none";
    element("map").hidden = app.isTable || !hasMap;
    element("tableView").hidden = !app.isTable && hasMap;
    element("showMap").disabled = !hasMap;
    element("showMap").setAttribute("aria-pressed", String(!app.isTable));
    element("showTable").setAttribute("aria-pressed", String(app.isTable));
    element("zone").value = app.zone;
    if (app.colouring) element("colourBy").value = app.colouring.id;
    element("marks").setAttribute("aria-label", `Map of ${app.results.name}`);
    element("legend").hidden = app.legend.length === 0;
    element("legend").replaceChildren(...app.legend.map(({ colour, text }) => {
      const line = document.createElement("p");
      const swatch = line.appendChild(document.createElement("i"));
      if (colour) swatch.style.background = colour;
      line.appendChild(document.createElement("bdi")).textContent = text;
      return line;
    }));
  }

  zoom(factor, x, y) {
    this.app.view.zoom(factor, x, y);
    this.app.changeView();
  }

  key(event) {
    const { app } = this;
    if (event.ctrlKey || event.metaKey || event.altKey || element("help").open) return;
    if (event.key === "Escape") return app.details.close();
    if (event.target.matches("input, select, button, [contenteditable]")) return;
    const isMap = event.target === element("marks");
    const far = 80;
    const acts = {
      "+": () => this.zoom(1.5), "=": () => this.zoom(1.5), "-": () => this.zoom(1 / 1.5), 0: () => app.fitAll(),
      n: () => app.step(1), p: () => app.step(-1), t: () => app.results.kind !== "none" && app.setTable(!app.isTable),
      " ": () => app.timeline.play(!app.timeline.isPlaying),
      "?": () => element("help").showModal(),
    };
    const onMap = {
      ArrowLeft: () => this.pan(-far, 0), ArrowRight: () => this.pan(far, 0),
      ArrowUp: () => this.pan(0, -far), ArrowDown: () => this.pan(0, far),
      Enter: () => this.openAt(app.view.width / 2, app.view.height / 2),
    };
    const act = (isMap && onMap[event.key]) || acts[event.key];
    if (!act) return;
    event.preventDefault();
    act();
  }

  pan(dx, dy) {
    this.app.view.move(dx, dy);
    this.app.changeView();
  }

  openAt(x, y) {
    const rows = this.app.drawing.rowsAt(x, y);
    if (rows.length) this.app.details.open(rows);
    else this.app.details.close();
  }

  // Drag with one pointer, pinch with two; a press that does not move is a click.
  followPointer(canvas) {
    const { app } = this;
    const pointers = new Map();
    let pressed = null, hasMoved = false, pending = 0;
    const placeOf = event => ({ x: event.offsetX, y: event.offsetY });
    const spread = () => {
      const [a, b] = [...pointers.values()];
      return { x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, far: Math.max(Math.hypot(a.x - b.x, a.y - b.y), 10) };
    };
    canvas.addEventListener("pointerdown", event => {
      canvas.setPointerCapture(event.pointerId);
      pointers.set(event.pointerId, placeOf(event));
      pressed = placeOf(event);
      hasMoved = pointers.size > 1;
    });
    canvas.addEventListener("pointermove", event => {
      const now = placeOf(event), before = pointers.get(event.pointerId);
      if (!before) {
        cancelAnimationFrame(pending);
        pending = requestAnimationFrame(() => this.point(now));
        return;
      }
      if (pointers.size === 2) {
        const old = spread();
        pointers.set(event.pointerId, now);
        const fresh = spread();
        app.view.move(old.x - fresh.x, old.y - fresh.y);
        this.zoom(fresh.far / old.far, fresh.x, fresh.y);
        return;
      }
      pointers.set(event.pointerId, now);
      hasMoved ||= Math.hypot(now.x - pressed.x, now.y - pressed.y) > 4;
      if (hasMoved) {
        app.details.hover([]);
        this.pan(before.x - now.x, before.y - now.y);
      }
    });
    const release = event => {
      if (pointers.delete(event.pointerId) && !hasMoved && event.type === "pointerup") {
        const { x, y } = placeOf(event);
        this.openAt(x, y);
      }
    };
    canvas.addEventListener("pointerup", release);
    canvas.addEventListener("pointercancel", release);
    canvas.addEventListener("pointerleave", () => { cancelAnimationFrame(pending); app.details.hover([]); element("pointer").textContent = ""; });
    canvas.addEventListener("wheel", event => {
      event.preventDefault();
      const lines = event.deltaMode === 0 ? event.deltaY / 100 : event.deltaY / 3;
      this.zoom(Math.min(Math.max(1.4 ** -lines, 0.2), 5), event.offsetX, event.offsetY);
    }, { passive: false });
    canvas.addEventListener("dblclick", event => this.zoom(2, event.offsetX, event.offsetY));
  }

  point({ x, y }) {
    const { lat, lon } = this.app.view.place(x, y);
    element("pointer").textContent = Math.abs(lat) <= 90 ? `${lat.toFixed(5)}, ${lon.toFixed(5)}` : "";
    this.app.details.hover(this.app.drawing.rowsAt(x, y), x, y);
  }
}

async function start() {
  if (!("DecompressionStream" in window)) throw new Error("this browser is too old (it needs to be of 2023 or later)");
  const [data, outline] = await Promise.all([unpack("data"), unpack("outline")]);
  element("data").remove();
  const app = new App(new Results(data), readOutline(outline));
  requestAnimationFrame(() => requestAnimationFrame(() => { // one frame later it is seen
    performance.mark("first picture");
    document.documentElement.dataset.ready = String(app.results.size);
  }));
}

start().catch(error => {
  element("trouble").textContent = `The map cannot be shown: ${error.message}.`;
  element("trouble").hidden = false;
});
