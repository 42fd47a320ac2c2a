// node measure.mjs NAME=PAGE...: what a page with a map weighs, how long the first picture takes and a step of the
// slider, as medians. See scripts/bench-page.
import { readFileSync } from "node:fs";
import { chromium } from "playwright-core";

const RUNS = 5, STEPS = 20;
const median = values => values.sort((a, b) => a - b)[values.length >> 1];
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox", "--disable-gpu"] });
const lines = [["results", "rows", "page KB", "data KB", "first picture ms", "slider step ms"]];
for (const [name, file] of process.argv.slice(2).map(word => word.split("="))) {
  const first = [], steps = [];
  let rows = 0;
  for (let run = 0; run < RUNS; run++) {
    const page = await browser.newPage({ viewport: { width: 1280, height: 800 } });
    await page.goto(`file://${file}`);
    await page.waitForSelector("html[data-ready]", { timeout: 120000 });
    rows = +await page.getAttribute("html", "data-ready");
    first.push(await page.evaluate(() => performance.getEntriesByName("first picture")[0].startTime));
    steps.push(...await page.evaluate(async count => {
      const slider = document.getElementById("time");
      const taken = [];
      for (let i = 0; i < count; i++) {
        const begin = performance.now();
        slider.value = Math.round(slider.max * (i + 0.5) / count);
        slider.dispatchEvent(new Event("input"));
        await new Promise(requestAnimationFrame); // behind that in which the page draws
        taken.push(performance.now() - begin);
      }
      return taken;
    }, STEPS));
    await page.close();
  }
  const text = readFileSync(file, "utf8");
  const data = text.match(/id="data">([^<]*)</)[1].length;
  lines.push([name, rows.toLocaleString("en"), ...[(text.length - data) / 1000, data / 1000, median(first), median(steps)]
    .map(value => Math.round(value).toLocaleString("en"))]);
}
await browser.close();
const widths = lines[0].map((_, i) => Math.max(...lines.map(line => line[i].length)));
lines.splice(1, 0, widths.map((width, i) => "-".repeat(width - (i > 0)) + (i > 0 ? ":" : "")));
for (const line of lines) console.log(`| ${line.map((cell, i) => i ? cell.padStart(widths[i]) : cell.padEnd(widths[i])).join(" | ")} |`);
