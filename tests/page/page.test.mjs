// The page in a browser: node --test tests/page/page.test.mjs, with QORVEL naming the program. See
// scripts/test-page.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { chromium } from "playwright-core";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const folder = mkdtempSync(join(tmpdir(), "qorvel-page-"));
const run = (command, rows, ending, more = []) => {
  const [tracks, out] = [join(folder, "tracks.csv"), join(folder, `out.${ending}`)];
  writeFileSync(tracks, "entity,lat,lon,time\n" + rows.map(row => row.join(",") + "\n").join(""));
  execFileSync(process.env.QORVEL, [command, "--quiet", ...more, "--out", out, tracks]);
  return out;
};
const time = minute => new Date(Date.UTC(2024, 2, 4) + 60000 * minute).toISOString();
const quoted = name => `"${name.replaceAll('"', '""')}"`;
const stay = (name, lat, lon, from = 0) => Array.from({ length: 30 }, (_, i) => [quoted(name), lat, lon, time(from + 2 * i)]);
// The fields of CSV, which may be quoted.
const readCsv = file => readFileSync(file, "utf8").trimEnd().split("\n").map(line =>
  [...line.matchAll(/("(?:[^"]|"")*"|[^,]*)(?:,|$)/g)].slice(0, -1).map(([, field]) =>
    field.startsWith('"') ? field.slice(1, -1).replaceAll('""', '"') : field));

let browser;
before(async () => {
  browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
});
after(async () => {
  await browser.close();
  rmSync(folder, { recursive: true });
});

// Opens the page; neither requests nor faults of the script are allowed, whatever the test does with it.
async function open(file, { hash = "", width = 1280, height = 800, theme = "light", ...more } = {}) {
  const context = await browser.newContext({ viewport: { width, height }, colorScheme: theme, timezoneId: "Asia/Tokyo", ...more });
  const page = await context.newPage();
  page.faults = [];
  page.on("request", request => { if (request.url().split("#")[0] !== `file://${file}`) page.faults.push(request.url()); });
  page.on("pageerror", error => page.faults.push(error.message));
  page.on("console", message => page.faults.push(message.text()));
  page.on("dialog", dialog => { page.faults.push(dialog.message()); dialog.dismiss(); });
  await page.goto(`file://${file}${hash && "#" + hash}`);
  await page.waitForSelector("html[data-ready]");
  page.done = async () => { assert.deepEqual(page.faults, []); await context.close(); };
  return page;
}

// What the canvas of rows shows: how many pixels are drawn, and where their middle is, from 0 to 1.
const drawn = page => page.evaluate(() => new Promise(resolve => requestAnimationFrame(() => requestAnimationFrame(() => {
  const canvas = document.getElementById("rows");
  const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
  let count = 0, x = 0, y = 0;
  for (let i = 0; i < data.length; i += 4) if (data[i + 3]) { count++; x += i / 4 % canvas.width; y += Math.floor(i / 4 / canvas.width); }
  resolve({ count, x: x / count / canvas.width, y: y / count / canvas.height });
}))));
const values = (page, list) => page.evaluate(id => Object.fromEntries([...document.querySelectorAll(`${id} dd`)].map(
  value => [value.dataset.column, value.textContent])), list);
const fromCsv = (csv, row) => Object.fromEntries(csv[0].map((name, i) => [name, csv[row][i]]));

const town = [...stay("one", 54.3, 10.1), ...stay("two", 54.3001, 10.1001, 4), ...stay("three", 54.31, 10.12, 120)]
  .sort((a, b) => a[3] < b[3] ? -1 : 1);

test("all columns of each kind of result are those of the CSV", async () => {
  for (const command of ["boxes", "presence", "hangouts", "stays", "places", "meet"]) {
    const csv = readCsv(run(command, town, "csv"));
    const page = await open(run(command, town, "html"), { hash: "row=1" });
    for (let row = 1; row < Math.min(csv.length, 8); row++) {
      assert.deepEqual(await values(page, "#rowValues"), fromCsv(csv, row), `${command} ${row}`);
      await page.locator("#marks").press("n");
    }
    await page.click("#showTable");
    const shown = await page.$$eval("tbody tr", lines => lines.slice(0, 100).map(line => [...line.cells].slice(1).map(cell => cell.textContent)));
    assert.deepEqual(shown, csv.slice(1, 101), command);
    await page.done();
  }
});

test("hovering shows the row, clicking opens it, its place is where it belongs", async () => {
  const csv = readCsv(run("stays", town, "csv"));
  const page = await open(run("stays", town, "html"), { hash: `at=${csv[3][4]},${csv[3][5]},60000` });
  const { x, y, width, height } = await page.locator("#marks").boundingBox();
  await page.mouse.move(x + width / 2, y + height / 2);
  await page.waitForSelector("#tip:not([hidden])");
  assert.deepEqual(await values(page, "#tip"), fromCsv(csv, 3));
  await page.mouse.click(x + width / 2, y + height / 2);
  assert.deepEqual(await values(page, "#rowValues"), fromCsv(csv, 3));
  await page.selectOption("#zone", "Europe/Berlin");
  assert.equal((await values(page, "#rowValues")).from, "2024-03-04T03:00:00+01:00");
  await page.done();
});

test("time, entities and search choose the rows", async () => {
  const page = await open(run("stays", town, "html"));
  const summary = () => page.textContent("#summary");
  const all = await drawn(page);
  await page.locator("#time").fill("0");
  assert.equal(await summary(), "1 of 3 rows, 3 entities");
  assert.ok((await drawn(page)).count < all.count);
  await page.locator("#time").press("End");
  await page.selectOption("#mode", "at");
  assert.equal(await summary(), "1 of 3 rows, 3 entities");
  await page.selectOption("#mode", "upto");
  await page.fill("#search", "TH");
  assert.deepEqual(await page.$$eval("#entityList bdi", names => names.map(name => name.textContent)), ["three"]);
  await page.click("#chooseNone");
  assert.equal(await summary(), "2 of 3 rows, 3 entities");
  await page.waitForFunction(() => location.hash.includes("only=one"));
  const again = await open(run("stays", town, "html"), { hash: (await page.evaluate(() => location.hash)).slice(1) });
  assert.equal(await again.textContent("#summary"), "2 of 3 rows, 3 entities"); // a link leads to the view
  await page.click("#play");
  await page.waitForFunction(() => document.getElementById("time").value < 100);
  await page.done();
  await again.done();
});

test("all goes by keyboard alone, also without a map", async () => {
  const page = await open(run("meet", town, "html"));
  await page.locator("#marks").focus();
  const before = await drawn(page);
  await page.keyboard.press("+");
  await page.keyboard.press("ArrowRight");
  await page.waitForFunction(() => location.hash.includes("at="));
  assert.notDeepEqual(await drawn(page), before);
  await page.keyboard.press("0");
  assert.deepEqual(await drawn(page), before);
  await page.keyboard.press("Enter");
  assert.equal((await values(page, "#rowValues")).entity_a, "one");
  await page.keyboard.press("Escape");
  assert.ok(await page.isHidden("#details"));
  await page.keyboard.press("t");
  await page.locator("th button", { hasText: "entity_b" }).press("Enter");
  assert.equal(await page.getAttribute("th:nth-child(3)", "aria-sort"), "ascending");
  await page.done();
  const pairs = await open(run("meet", town, "html", ["--pairs"]));
  assert.equal(await pairs.locator("tbody tr").count(), 1);
  await pairs.done();
});

test("names are text and nothing else", async () => {
  const names = ["</script><script>alert(1)</script>", "<img src=x onerror=alert(2)>", "&lt;b&gt;", "\"'`${alert(3)}", "\u202egnirts",
    "\ufeffmark", "@DATA@", "__proto__", "constructor", "x".repeat(10000)];
  const rows = names.flatMap((name, i) => stay(name, 10 + i / 10, 20));
  const page = await open(run("stays", rows, "html"), { hash: "colour=entity" });
  const listed = await page.$$eval("#entityList bdi", items => items.map(item => item.textContent));
  assert.deepEqual(listed.sort(), [...names].sort());
  for (let row = 0; row < names.length; row++) {
    await page.locator("#marks").press("n");
    assert.equal((await values(page, "#rowValues")).entity, names[row]);
  }
  await page.click("#showTable");
  assert.equal(await page.locator("script, img, [onerror]").count(), 2); // the outline and the page's own
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
  await page.done();
});

test("nothing is lost at the edges of the earth, in time and in number", async () => {
  const edges = [...stay("a", 0, 179.9999), ...stay("b", 0, -179.9999), ...stay("c", 0.5, 179)];
  for (const command of ["stays", "boxes"]) { // the shorter way, across the antimeridian
    const page = await open(run(command, edges, "html"));
    await page.waitForFunction(() => location.hash);
    const lon = await page.evaluate(() => +location.hash.match(/at=[^%]*%2C([-0-9.]+)%2C/)[1]);
    assert.ok(Math.abs(lon) > 179, `${command} ${lon}`);
    const { x, y, count } = await drawn(page);
    assert.ok(count > 100 && Math.abs(x - 0.5) < 0.4 && Math.abs(y - 0.5) < 0.4);
    await page.done();
  }
  for (const lat of [89.9999, -90]) {
    const page = await open(run("boxes", stay("pole", lat, 5), "html", ["--space-factor", "0"]));
    assert.ok((await drawn(page)).count > 1000);
    await page.done();
  }
  const one = await open(run("stays", stay("only", 1, 2), "html"));
  assert.equal(await one.textContent("#summary"), "1 row, 1 entity");
  assert.ok((await drawn(one)).count > 20);
  await one.done();
  const none = await open(run("stays", [["a", 1, 2, time(0)]], "html"));
  assert.equal(await none.textContent("#summary"), "Nothing was found.");
  await none.done();
  const odd = ["9223372036854775000", "1", "253402300799999"].map(ms => ["a", 1, 2, ms]);
  const csv = readCsv(run("boxes", odd, "csv", ["--time-unit", "ms"]));
  const page = await open(run("boxes", odd, "html", ["--time-unit", "ms"]), { hash: "view=table" });
  assert.deepEqual(await page.$$eval("tbody tr", lines => lines.map(line => [...line.cells].slice(1).map(cell => cell.textContent))), csv.slice(1));
  await page.done();
});

test("100,000 boxes are small, and all there", async () => {
  const rows = Array.from({ length: 100000 }, (_, i) => [`e${i % 50}`, (54 + Math.sin(i / 700) / 5).toFixed(6), (10 + i % 50 / 100 + Math.cos(i / 900) / 5).toFixed(6), time(i / 50 | 0)]);
  const file = run("boxes", rows, "html", ["--space-factor", "0"]);
  assert.ok(readFileSync(file).length < 600000, `${readFileSync(file).length} bytes`);
  const page = await open(file, { width: 360, height: 640 });
  assert.match(await page.textContent("#summary"), /^100,000 rows, 50 entities/);
  assert.ok((await drawn(page)).count > 1000);
  await page.click("#showTable");
  await page.click("#lastPage");
  assert.equal(await page.textContent("#pageNow"), "Rows 99,901 to 100,000 of 100,000");
  await page.done();
});

test("both themes, all views and a telephone are accessible", async () => {
  const file = run("stays", town, "html");
  const frame = readFileSync(file).length - 2000;
  assert.ok(frame < 100000, `${frame} bytes besides the data`);
  for (const [theme, width] of [["light", 1280], ["dark", 1280], ["light", 360]]) {
    const page = await open(file, { theme, width, height: 700, hash: "row=1&colour=entity" });
    const backs = [];
    for (const act of ["#showMap", "#showTable", "#showHelp"]) {
      await page.click(act);
      const { violations } = await page.evaluate(`${axe}; axe.run()`);
      assert.deepEqual(violations.filter(({ impact }) => ["serious", "critical"].includes(impact))
        .map(({ id, nodes }) => [id, nodes.map(node => node.html)]), [], `${theme} ${width} ${act}`);
      backs.push(await page.evaluate(() => getComputedStyle(document.body).color));
    }
    assert.equal(backs[0] === "rgb(232, 237, 244)", theme === "dark");
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${width} wide`);
    await page.done();
  }
});

test("the picture is saved, and tiles come from the host that was named, when asked for", async () => {
  const page = await open(run("stays", town, "html", ["--tiles", "https://tiles.invalid/{z}/{x}/{y}.png"]));
  const [download] = await Promise.all([page.waitForEvent("download"), page.click("#savePicture")]);
  assert.equal(readFileSync(await download.path()).subarray(1, 4).toString(), "PNG");
  assert.deepEqual(page.faults.filter(fault => !fault.startsWith("blob:")), []);
  page.faults.length = 0;
  await page.click("#tiles");
  await page.waitForFunction(() => !document.getElementById("tilesNote").hidden);
  await drawn(page);
  assert.ok(page.faults.some(fault => fault.startsWith("https://tiles.invalid/")));
  assert.deepEqual(page.faults.filter(fault => !/tiles\.invalid|ERR_/.test(fault)), []);
  await page.context().close();
});
