// node page_in_browser.mjs WEB FOLDER...: opens report.html of each folder, as kandrel-post has
// written it, in Chromium. The page shows the counts of summary.txt and posted.csv beside it,
// complains of nothing and asks for nothing. Where there is a refused.txt, the error lines of a run
// with --refused-report, the page says what its first line does. WEB is the page's folder, with its packages installed.
import { existsSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";
import { pathToFileURL } from "node:url";

const [, , web, ...folders] = process.argv;
const { chromium } = createRequire(resolve(web, "package.json"))("playwright-core");

const words = {
  source: "source moves",
  posted: "posted moves",
  inserted: "inserted",
  rapid: "rapid",
  largeJumps: "large jumps",
  rewindings: "rewindings",
};

function countsOf(folder) {
  const summary = readFileSync(join(folder, "summary.txt"), "utf8");
  const counts = {};
  for (const [key, word] of Object.entries(words))
    counts[key] = Number(new RegExp(`^${word} +(\\d+)$`, "m").exec(summary)[1]);
  const lines = readFileSync(join(folder, "posted.csv"), "utf8").split("\n").length - 2;
  if (lines !== counts.posted) throw new Error(`${folder}: ${lines} lines, ${counts.posted} told`);
  return counts;
}

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-quic", "--no-first-run", "--disable-background-networking",
    "--disable-component-update", "--disable-sync", "--use-angle=swiftshader",
    "--enable-unsafe-swiftshader", "--ignore-gpu-blocklist"],
});
let failures = 0;
for (const folder of folders) {
  const page = await browser.newPage();
  const complaints = [];
  page.on("console", (message) => {
    if (message.type() === "error") complaints.push(message.text());
  });
  page.on("pageerror", (error) => complaints.push(String(error.stack)));
  page.on("request", (request) => {
    if (!/^(file|data|blob):/.test(request.url())) complaints.push(`asks for ${request.url()}`);
  });
  const isRefused = existsSync(join(folder, "refused.html"));
  await page.goto(pathToFileURL(resolve(folder, isRefused ? "refused.html" : "report.html")).href);
  await page.waitForFunction(() => window.kandrel !== undefined && window.kandrel.ready);
  const shown = await page.evaluate(() => window.kandrel.counts);
  if (isRefused) {
    const [error] = readFileSync(join(folder, "refused.txt"), "utf8").split("\n");
    const told = await page.locator("#refusal").innerText();
    if (!told.includes(error)) complaints.push(`says "${told}" in place of "${error}"`);
    const isMarked = (await page.locator("#findings-rows tr").count()) > 0;
    if (!isMarked || shown.posted === 0) complaints.push("shows no line beyond its limits");
  } else for (const [key, count] of Object.entries(countsOf(folder)))
    if (shown[key] !== count) complaints.push(`${key} ${shown[key]}, ${count} expected`);
  console.log(`${folder}: ${complaints.length === 0 ? "good" : complaints.join("\n  ")}`);
  failures += complaints.length;
  await page.close();
}
await browser.close();
process.exitCode = failures === 0 ? 0 : 1;
