// The same rows as a table, a page of them at a time: what is sorted and read aloud.

const ROWS_A_PAGE = 100;

class Table {
  constructor(app) {
    this.app = app;
    this.page = 0;
    this.sortedBy = null; // a column; null for the order of the results
    this.isDescending = false;
    this.rows = null;
    const turns = { firstPage: () => 0, pageBefore: () => this.page - 1, pageAfter: () => this.page + 1, lastPage: () => Infinity };
    for (const [id, turn] of Object.entries(turns)) {
      element(id).addEventListener("click", () => { this.page = turn(); this.show(); });
    }
    element("table").addEventListener("click", event => {
      const { row } = event.target.dataset;
      if (row !== undefined) app.showOnMap(+row);
    });
    this.makeHead();
  }

  makeHead() {
    const head = element("table").appendChild(document.createElement("thead")).appendChild(document.createElement("tr"));
    const corner = head.appendChild(document.createElement("th"));
    corner.scope = "col";
    corner.textContent = "Row";
    this.heads = this.app.results.columns.map(column => {
      const cell = head.appendChild(document.createElement("th"));
      cell.scope = "col";
      const button = cell.appendChild(document.createElement("button"));
      button.type = "button";
      button.textContent = column.name;
      button.title = column.description;
      button.addEventListener("click", () => this.sort(column));
      return cell;
    });
    this.body = element("table").appendChild(document.createElement("tbody"));
  }

  sort(column) {
    this.isDescending = this.sortedBy === column && !this.isDescending;
    this.sortedBy = column;
    this.page = 0;
    this.forget();
    this.show();
  }

  // The rows shown are others.
  forget() { this.rows = null; }

  collect() {
    const { results, visible, shown } = this.app;
    const rows = new Uint32Array(shown);
    for (let row = 0, at = 0; row < results.size; row++) if (visible[row]) rows[at++] = row;
    const column = this.sortedBy;
    if (!column) return rows;
    const rank = column.isText ? this.ranks(column) : null;
    const value = row => column.missing.has(row) ? -Infinity : rank ? rank[column.values[row]] : column.values[row];
    const way = this.isDescending ? -1 : 1;
    return rows.sort((a, b) => way * (value(a) - value(b) || 0) || a - b);
  }

  ranks(column) {
    const order = column.texts.map((_, code) => code).sort((a, b) => column.texts[a] < column.texts[b] ? -1 : 1);
    const ranks = new Int32Array(order.length);
    order.forEach((code, rank) => { ranks[code] = rank; });
    return ranks;
  }

  show() {
    if (element("tableView").hidden) return;
    const { results, zone } = this.app;
    this.rows ||= this.collect();
    const pages = Math.max(Math.ceil(this.rows.length / ROWS_A_PAGE), 1);
    this.page = Math.min(Math.max(this.page, 0), pages - 1);
    const from = this.page * ROWS_A_PAGE;
    this.body.replaceChildren(...Array.from(this.rows.subarray(from, from + ROWS_A_PAGE), row => {
      const line = document.createElement("tr");
      const button = line.appendChild(document.createElement("td")).appendChild(document.createElement("button"));
      button.type = "button";
      button.textContent = row + 1;
      button.dataset.row = row;
      button.setAttribute("aria-label", `Row ${row + 1}, show on the map`);
      for (const column of results.columns) {
        const cell = line.appendChild(document.createElement("td"));
        cell.className = column.isText || column.isTime ? "" : "number";
        cell.appendChild(document.createElement("bdi")).textContent = column.text(row, zone);
      }
      return line;
    }));
    this.heads.forEach((cell, i) => {
      const isSorted = results.columns[i] === this.sortedBy;
      cell.setAttribute("aria-sort", !isSorted ? "none" : this.isDescending ? "descending" : "ascending");
    });
    const last = Math.min(from + ROWS_A_PAGE, this.rows.length);
    const number = value => value.toLocaleString("en");
    element("pageNow").textContent = this.rows.length === 0 ? "No rows"
      : `Rows ${number(from + 1)} to ${number(last)} of ${number(this.rows.length)}`;
    for (const id of ["firstPage", "pageBefore"]) element(id).disabled = this.page === 0;
    for (const id of ["pageAfter", "lastPage"]) element(id).disabled = this.page === pages - 1;
  }
}
