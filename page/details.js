// All columns of a row: beside the pointer, and in a panel for those that were asked for.

// Names are hostile until proved otherwise: they become text, never markup, and cannot turn the text around
// them to another direction.
function listValues(list, results, row, zone) {
  list.replaceChildren(...results.columns.flatMap(column => {
    const name = document.createElement("dt");
    name.textContent = column.unit && !["deg", "bit"].includes(column.unit) && !column.name.endsWith("_" + column.unit)
      ? `${column.name}, ${column.unit}` : column.name;
    name.title = column.description;
    const value = document.createElement("dd");
    const text = value.appendChild(document.createElement("bdi"));
    text.textContent = column.text(row, zone);
    value.dataset.column = column.name;
    return [name, value];
  }));
}

class Details {
  constructor(app) {
    this.app = app;
    this.rows = [];
    this.at = 0;
    element("rowBefore").addEventListener("click", () => this.turn(-1));
    element("rowAfter").addEventListener("click", () => this.turn(1));
    element("closeDetails").addEventListener("click", () => this.close());
  }

  open(rows, at = 0) {
    this.rows = rows;
    this.at = at;
    this.show();
  }

  turn(by) {
    this.at = (this.at + by + this.rows.length) % this.rows.length;
    this.show();
  }

  close() {
    const hadFocus = element("details").contains(document.activeElement);
    this.rows = [];
    this.show();
    if (hadFocus) element("marks").focus();
  }

  show() {
    const { app } = this;
    const row = this.rows.length ? this.rows[this.at] : -1;
    app.selected = row;
    element("details").hidden = row < 0;
    app.drawing.want("marks");
    app.address.note();
    if (row < 0) return;
    element("rowNow").textContent = this.rows.length === 1 ? `Row ${row + 1}`
      : `Row ${row + 1}, ${(this.at + 1).toLocaleString("en")} of ${this.rows.length.toLocaleString("en")} here`;
    for (const id of ["rowBefore", "rowAfter"]) element(id).disabled = this.rows.length < 2;
    listValues(element("rowValues"), app.results, row, app.zone);
    const tools = [];
    const add = (text, act) => {
      const button = document.createElement("button");
      button.type = "button";
      button.textContent = text;
      button.addEventListener("click", act);
      tools.push(button);
    };
    if (app.results.placeOf[row] >= 0) add("Zoom to it", () => app.goTo(row, true));
    for (const who of new Set(app.results.who.map(numbers => numbers[row]))) {
      const name = app.results.entities[who];
      add(`Only ${name.length > 24 ? name.slice(0, 24) + "…" : name}`, () => app.chooseOnly(who));
    }
    element("rowTools").replaceChildren(...tools);
  }

  // Beside the pointer.
  hover(rows, x, y) {
    const { app } = this;
    const row = rows.length ? rows[0] : -1;
    const tip = element("tip");
    if (row !== app.hovered) {
      app.hovered = row;
      app.drawing.want("marks");
      tip.hidden = row < 0;
      if (row >= 0) {
        const list = document.createElement("dl");
        listValues(list, app.results, row, app.zone);
        tip.replaceChildren(list);
      }
    }
    if (row < 0) return;
    let more = tip.querySelector("p");
    if (rows.length > 1 && !more) more = tip.appendChild(document.createElement("p"));
    if (more) more.textContent = rows.length > 1 ? `and ${(rows.length - 1).toLocaleString("en")} more here: click` : "";
    const { width, height } = app.view;
    tip.style.left = `${Math.max(x + 16 + tip.offsetWidth > width ? x - 16 - tip.offsetWidth : x + 16, 4)}px`;
    tip.style.top = `${Math.max(Math.min(y + 16, height - tip.offsetHeight - 4), 4)}px`;
  }
}
