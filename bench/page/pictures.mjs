// node pictures.mjs PAGE PICTURE [HASH [dark]]: how a page looks, for docs/images.
import { chromium } from "playwright-core";

const [page, picture, hash = "", theme = "light"] = process.argv.slice(2);
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
const tab = await browser.newPage({ viewport: { width: 1200, height: 720 }, colorScheme: theme });
await tab.goto(`file://${page}#${hash}`);
await tab.waitForSelector("html[data-ready]");
await tab.screenshot({ path: picture });
await browser.close();
