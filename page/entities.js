// The list of entities: search, filter, counts.

const MOST_LISTED = 200;

class EntityList {
  constructor(app) {
    this.app = app;
    const { results } = app;
    this.byCount = results.entities.map((_, entity) => entity).sort((a, b) =>
      results.counts[b] - results.counts[a] || (results.entities[a] < results.entities[b] ? -1 : 1));
    this.lower = results.entities.map(name => name.toLowerCase());
    element("search").addEventListener("input", event => app.setSearch(event.target.value));
    element("chooseAll").addEventListener("click", () => this.choose(1));
    element("chooseNone").addEventListener("click", () => this.choose(0));
    element("entityList").addEventListener("change", event => {
      app.isChosen[+event.target.value] = event.target.checked ? 1 : 0;
      app.changeChosen();
    });
    element("entityList").addEventListener("click", event => {
      if (event.target.dataset.only) app.chooseOnly(+event.target.dataset.only);
    });
  }

  found() {
    const wanted = this.app.search.toLowerCase();
    return wanted ? this.byCount.filter(entity => this.lower[entity].includes(wanted)) : this.byCount;
  }

  // Those that the search finds.
  choose(isChosen) {
    for (const entity of this.found()) this.app.isChosen[entity] = isChosen;
    this.app.changeChosen();
  }

  show() {
    const { results, isChosen, classes, theme, entityColours } = this.app;
    const found = this.found();
    const list = element("entityList");
    list.replaceChildren(...found.slice(0, MOST_LISTED).map(entity => {
      const item = document.createElement("li");
      const label = item.appendChild(document.createElement("label"));
      const box = label.appendChild(document.createElement("input"));
      box.type = "checkbox";
      box.value = entity;
      box.checked = isChosen[entity] === 1;
      const swatch = label.appendChild(document.createElement("i"));
      if (!classes && box.checked) swatch.style.background = PALETTES[theme][entityColours[entity]];
      const name = label.appendChild(document.createElement("bdi"));
      name.textContent = results.entities[entity] || "(no name)";
      name.title = results.entities[entity].slice(0, 300);
      label.appendChild(document.createElement("span")).textContent = results.counts[entity].toLocaleString("en");
      const only = item.appendChild(document.createElement("button"));
      only.type = "button";
      only.textContent = "only";
      only.dataset.only = entity;
      only.setAttribute("aria-label", `only ${results.entities[entity].slice(0, 100)}`);
      return item;
    }));
    const chosen = isChosen.reduce((sum, one) => sum + one, 0);
    const rest = found.length > MOST_LISTED ? `; the first ${MOST_LISTED} of ${found.length.toLocaleString("en")} found` : "";
    element("entityCount").textContent =
      `${chosen.toLocaleString("en")} of ${results.entities.length.toLocaleString("en")} shown${rest}`;
    if (element("search").value !== this.app.search) element("search").value = this.app.search;
  }
}
